#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/writing/top_storage_writer.h"
#include "cfi/writing/writable_file.h"

namespace VRX::System::CFI {

/// The maker's storage file, open for writing: a new one, or one to be updated. Its elements are those of the
/// writer; what has been written can be read once it is committed.
class KVPMWritableFile final : public WritableFile {
 public:
  /// A new file of the current version.
  explicit KVPMWritableFile(const std::string& file_name);

  /// Updates the file of the channel, which must outlive this object. Raises what reading it raises.
  KVPMWritableFile(const std::string& file_name, FileChannel& old);

  FileKind kind() const override { return FileKind::kvpm; }
  int format_number() const override { return writer_.version(); }
  std::span<const std::byte> part_header() const override { return writer_.part_header(); }
  std::int64_t fast_load_end() const override { return static_cast<std::int64_t>(writer_.fast_load_end()); }
  std::optional<ElementId> find_child(ElementId storage, std::string_view name) override;
  ClassId class_id(ElementId element) override;

  /// A stream's start offset is 0 until it has its place.
  ElementNode node(ElementId element) override;
  std::string path(ElementId element) override;
  std::vector<ElementId> children(ElementId storage) override;
  std::vector<ElementId> readable_children(ElementId storage) override;
  std::unique_ptr<support::ByteSource> open_stream(ElementId stream) override;

  ElementId create_storage(ElementId parent, std::string_view name) override;

  /// Raises 1021253 for a second direct stream as well.
  ElementId create_stream(ElementId parent, std::string_view name) override;
  void set_class(ElementId storage, const ClassId& class_id) override;
  Container& container(ElementId stream) override;
  Container& open_for_write(ElementId stream) override;
  void release(ElementId stream) override;
  std::size_t element_count() const override { return writer_.element_count(); }
  void drop_from(std::size_t count) override { writer_.drop_from(count); }
  void mark_failed() override { writer_.mark_failed(); }
  void commit() override { writer_.commit(); }

  TopStorageWriter& writer() { return writer_; }

 private:
  std::uint64_t listed_offset(ElementId element);

  std::unique_ptr<TopStorage> old_;
  TopStorageWriter writer_;
};

}  // namespace VRX::System::CFI
