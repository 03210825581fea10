#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/storage_file.h"
#include "cfi/writing/top_storage_writer.h"

namespace VRX::System::CFI {

/// The maker's storage file, open for writing: a new one, or one to be updated. Its elements are those of the
/// writer; what has been written can be read once it is committed.
class KVPMWritableFile final : public StorageFile {
 public:
  /// A new file of the current version.
  explicit KVPMWritableFile(const std::string& file_name);

  /// Updates the file of the channel, which must outlive this object. Raises what reading it raises.
  KVPMWritableFile(const std::string& file_name, FileChannel& old);

  FileKind kind() const override { return FileKind::kvpm; }
  std::optional<ElementId> find_child(ElementId storage, std::string_view name) override;
  ElementRecord record(ElementId element) override;
  std::vector<ElementId> children(ElementId storage) override;
  std::unique_ptr<support::ByteSource> open_stream(ElementId stream) override;
  bool is_truncated() override { return false; }

  ElementId create_storage(ElementId parent, std::string_view name);

  /// A new stream, open for writing.
  ElementId create_stream(ElementId parent, std::string_view name);

  TopStorageWriter& writer() { return writer_; }

 private:
  std::unique_ptr<TopStorage> old_;
  TopStorageWriter writer_;
};

}  // namespace VRX::System::CFI
