#pragma once

#include <cstdint>
#include <vector>

#include "support/byte_source.h"

namespace inspect {

/// Where a body begins, in bytes from the start of its stream, as the table claims.
struct JtTableEntry {
  std::uint64_t id = 0;
  std::uint64_t offset = 0;
};

/// The head of a JT stream, and its table read in pieces: memory does not grow with the number of bodies.
class JtTable {
 public:
  /// Reads the head; false when the stream is too short for it. The stream must outlive this object.
  bool read_head(support::ByteSource& stream);

  std::int32_t version() const { return version_; }
  std::uint32_t body_count() const { return body_count_; }
  std::uint32_t body_partition_count() const { return body_partition_count_; }

  /// The first byte behind the table.
  std::uint64_t data_start() const { return table_start_ + std::uint64_t{body_count_} * entry_size_; }

  /// Entry `number`, below body_count(). Moves the stream when another piece of the table has to be read;
  /// raises ErrorEscape 1020023 when the stream ends inside the table.
  JtTableEntry entry(std::uint32_t number);

 private:
  void load_piece(std::uint32_t first);

  support::ByteSource* stream_ = nullptr;
  std::int32_t version_ = 0;
  std::uint32_t body_count_ = 0;
  std::uint32_t body_partition_count_ = 0;
  std::uint64_t table_start_ = 0;
  std::size_t entry_size_ = 8;
  std::vector<unsigned char> piece_;
  std::uint32_t piece_first_ = 0;
  std::uint32_t piece_count_ = 0;
};

}  // namespace inspect
