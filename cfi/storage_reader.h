#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "cfi/storage_element.h"
#include "support/byte_source.h"

namespace VRX::System::CFI {

/// A storage that is open for reading, from its making to its end. What is done with it is shown on the
/// "cfi_storage" channel as the call of the flat interface that does the same.
class StorageReader final : public StorageElement {
 public:
  /// The root storage of the file of that name; the file must outlive this object.
  StorageReader(StorageFile& file, std::string_view file_name);

  /// A storage in another. Raises 1021251 when there is none of that name, 1021253 when the name is empty or
  /// holds a "/", or is that of a stream.
  StorageReader(const StorageElement& parent, std::string_view name);
  ~StorageReader();
};

/// Shows on the "cfi_storage" channel what a caller hands over with the name of a file that it will open.
void announce_opening(std::string_view file_name, std::string_view text);

/// The same for a stream.
class StreamReader final : public StorageElement {
 public:
  /// A stream in a storage. Raises what StorageReader raises, and what opening the stream raises.
  StreamReader(const StorageElement& storage, std::string_view name);
  ~StreamReader();

  /// What the directory tells of the stream.
  ElementRecord stats() const;

  /// The bytes that can be read, which damage may make fewer than the recorded ones.
  std::uint64_t size() const { return source_->size(); }

  /// Reads `count` bytes; fewer only at the stream's end.
  std::size_t read(void* buffer, std::size_t count);

 private:
  std::unique_ptr<support::ByteSource> source_;
};

}  // namespace VRX::System::CFI
