#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "cfi/file_channel.h"
#include "cfi/storage_reader.h"
#include "support/byte_source.h"
#include "support/error_escape.h"

namespace inspect {

/// The open file of one part: a flat file, or a storage file with its root storage open. What is opened
/// through it lives no longer than it.
class PartContainer {
 public:
  /// Opens the file read only. Raises 1020059 for what cannot be opened, 1021080 for what is no regular file,
  /// and the numbers of a damaged container.
  void open(const std::string& name);

  /// Of the open file.
  support::FileIdentity identity() const { return channel_->identity(); }

  /// Bytes of the file on disk, when it was opened.
  std::uint64_t file_size() const { return channel_->size(); }

  /// True once a read has found the file shorter than it was when it was opened.
  bool has_shrunk() const { return channel_ != nullptr && channel_->has_shrunk(); }

  /// How many sources over the file live: streams that were opened and not let go of.
  std::size_t open_source_count() const { return channel_ != nullptr ? channel_->user_count() : 0; }

  bool is_open() const { return channel_ != nullptr; }

  /// Of the open file.
  VRX::System::CFI::FileChannel& channel() const { return *channel_; }

  /// Null for a flat file.
  VRX::System::CFI::StorageFile* storage_file() const { return file_.get(); }

  /// The part stream: /Root/VR_PART/VR_PART, expanded when it is LZ4-framed, or the flat file itself. A frame
  /// that is damaged raises its error, or leaves it in `failure` and gives what comes before the damage.
  std::unique_ptr<support::ByteSource> open_part_stream(
      std::optional<support::ErrorEscape>* failure = nullptr);

  /// Loads the footer index of the maker's format, which nothing else may ask for. Raises what a damaged one
  /// raises.
  void load_all();

  /// The part header copy in the header index of the maker's format; else empty.
  std::span<const std::byte> header_copy() const;

 private:
  std::unique_ptr<VRX::System::CFI::FileChannel> channel_;
  std::unique_ptr<VRX::System::CFI::StorageFile> file_;
  std::optional<VRX::System::CFI::StorageReader> root_;
};

}  // namespace inspect
