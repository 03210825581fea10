#pragma once

#include <bit>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/files.h"

namespace test_support {

/// One partition of a part to build. What is not set is what a sound part has there.
struct PartitionPlan {
  std::int32_t id = 1;  ///< in files without an index the type is the id
  std::int32_t type = 10;
  std::int32_t data = 1;  ///< the data word
  std::string bytes = {};

  std::optional<std::uint64_t> listed_offset = {};   ///< offset in the index
  std::string marker = "\xC0\xD1\xF1\xED";           ///< the bytes before it, when the file has markers
  std::size_t gap = 0;                               ///< unused bytes before the marker or directory header
  std::optional<std::uint32_t> next_directory = {};  ///< without an index: the position of the next
  std::optional<std::uint16_t> directory_word_count = {};  ///< without an index: the count K; usually 4
};

/// Composes a part stream: header, then an index and partitions behind markers when the header carries units,
/// else a chain of directories. A flat part file is exactly this stream.
///
///   PartBuilder part;                                    // little endian, V 70, index format 2
///   part.add({.id = 10, .type = 10, .bytes = solid_partition({.data = "..."})});
///   write_file(path, part.build());
class PartBuilder {
 public:
  std::endian order = std::endian::little;
  std::uint16_t header_words = 269;  ///< 10, 12 or 269
  std::int16_t version = 70;
  std::int16_t units = 1;            ///< 0: no markers and no index
  std::int32_t index_format = 2;     ///< 1: offsets of 32 bits
  std::uint16_t directory_mode = 2;  ///< of files without an index: 2, the directories go on behind type 1
  std::optional<std::int32_t> partition_count;
  std::optional<std::int32_t> next_partition_id;
  std::string tail = "\xFF";  ///< behind the last partition

  PartBuilder& add(PartitionPlan partition);

  /// Sets the header word at a byte offset counted from behind the count word.
  PartBuilder& word(std::size_t byte_offset, std::uint16_t value);

  /// Sets header bytes that are kept in file order (description, customer area, identifier, transfer check).
  PartBuilder& text(std::size_t byte_offset, std::string_view bytes);

  std::string build() const;

  /// Where the partition's bytes begin in what build() returns (in older files: behind the directory header).
  std::uint64_t data_offset(std::size_t partition_number) const;

 private:
  struct Place {
    std::uint64_t start;  ///< what an index or a directory chain names
    std::uint64_t data;   ///< the partition's first byte
  };

  bool has_index() const { return header_words == 269 && units != 0; }
  std::size_t directories_start() const;
  std::size_t index_size() const;
  std::vector<Place> places() const;
  std::string header(const std::vector<Place>& at) const;
  std::string index(const std::vector<Place>& at) const;
  std::string directory(std::size_t number, const std::vector<Place>& at) const;

  std::vector<PartitionPlan> partitions_;
  std::map<std::size_t, std::uint16_t> words_;
  std::map<std::size_t, std::string> texts_;
};

}  // namespace test_support
