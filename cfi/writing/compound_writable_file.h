#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/compound/compound_file_format.h"
#include "cfi/compound/element_name.h"
#include "cfi/compound/microsoft_storage_file.h"
#include "cfi/thread_check.h"
#include "cfi/writing/replacement_file.h"
#include "cfi/writing/sector_space.h"
#include "cfi/writing/sector_stream.h"
#include "cfi/writing/writable_file.h"

namespace VRX::System::CFI {

/// A Microsoft compound file that is open for writing. It is written anew, from its first sector on: version
/// 3 with sectors of 512 bytes, up to 2 GiB, or version 4 with sectors of 4096 bytes. Names have at most 31
/// UTF-16 units (1021502) and none of the characters / \ : ! (1021253); names that differ in case alone are
/// the same.
class CompoundWritableFile final : public WritableFile {
 public:
  /// A new file; `version` is 3 or 4.
  CompoundWritableFile(const std::string& file_name, unsigned version);

  /// Updates the file of the channel, which must outlive this object; it becomes one of version 3 when it was
  /// that and has sectors of 512 bytes, else of version 4. Raises what reading it raises, 1021266 when an
  /// entry of its directory is damaged, and 1020023 when it is truncated.
  CompoundWritableFile(const std::string& file_name, FileChannel& old);

  FileKind kind() const override { return FileKind::microsoft; }
  std::optional<ElementId> find_child(ElementId storage, std::string_view name) override;
  ElementNode node(ElementId element) override;
  ClassId class_id(ElementId id) override { return element(id).class_id; }
  std::string path(ElementId element) override;
  std::vector<ElementId> children(ElementId storage) override;

  /// The bytes that a stream has in the old file. Raises 1021253 when it is being written, and 1021254 when
  /// it was released but not committed.
  std::unique_ptr<support::ByteSource> open_stream(ElementId stream) override;

  ElementId create_storage(ElementId parent, std::string_view name) override;
  ElementId create_stream(ElementId parent, std::string_view name) override;
  void set_class(ElementId storage, const ClassId& class_id) override;
  Container& container(ElementId stream) override;
  Container& open_for_write(ElementId stream) override;
  void release(ElementId stream) override;
  std::size_t element_count() const override { return elements_.size(); }
  void drop_from(std::size_t count) override;
  void mark_failed() override { has_failed_ = true; }
  void commit() override;

 private:
  struct NameOrder {
    using is_transparent = void;
    bool operator()(std::u16string_view left, std::u16string_view right) const {
      return compare_element_names(left, right) < 0;
    }
  };
  struct Element {
    std::u16string name;
    ElementType type = ElementType::storage;
    ElementId parent = kRootElement;
    ClassId class_id;
    std::map<std::u16string, ElementId, NameOrder> children;
    std::optional<ElementId> old;             ///< its number in the old file
    std::unique_ptr<SectorStream> container;  ///< null: a storage, or the bytes are in the old file
    bool is_released = false;
  };

  static unsigned version_for(FileChannel& old);
  Element& element(ElementId id);
  Element& storage(ElementId id);
  Element& stream(ElementId id);
  ElementId create(ElementId parent, std::string_view name, ElementType type);
  ElementId add(ElementId parent, std::u16string name, ElementType type);
  void add_from_old();
  std::unique_ptr<SectorStream> copy_from_old(Element& element);

  ReplacementFile file_;
  std::unique_ptr<MicrosoftStorageFile> old_;
  SectorSpace space_;
  std::deque<Element> elements_;
  bool has_failed_ = false;
  std::string node_name_;  ///< of the last node() given out
  ThreadCheck thread_check_;
};

}  // namespace VRX::System::CFI
