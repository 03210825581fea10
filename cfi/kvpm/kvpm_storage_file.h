#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "cfi/kvpm/kvpm_tree.h"
#include "cfi/kvpm/top_storage.h"
#include "cfi/storage_file.h"

namespace VRX::System::CFI {

/// The maker's storage file, open for reading. A storage that only appears as the prefix of a listed path
/// exists, with a zero class identifier and the area of its first child.
class KVPMStorageFile final : public StorageFile {
 public:
  /// Reads the header index; the channel must outlive this object. Raises what TopStorage raises.
  explicit KVPMStorageFile(FileChannel& channel);

  FileKind kind() const override { return FileKind::kvpm; }
  int format_number() const override { return top_.version(); }
  std::span<const std::byte> part_header() const override { return top_.part_header(); }
  std::int64_t fast_load_end() const override { return top_.fast_load_end(); }

  /// Loads the footer index.
  void load_all() override { top_.load_footer(); }
  std::optional<ElementId> find_child(ElementId storage, std::string_view name) override;
  ElementNode node(ElementId element) override;
  ClassId class_id(ElementId element) override;
  std::string path(ElementId element) override;

  /// In listing order; loads the footer index.
  std::vector<ElementId> children(ElementId storage) override;

  /// A footer index that cannot be loaded only hides what it lists.
  std::vector<ElementId> readable_children(ElementId storage) override;
  std::unique_ptr<support::ByteSource> open_stream(ElementId stream) override;
  bool is_truncated() override { return top_.is_truncated(); }

  /// Loads the footer index.
  std::vector<ElementId> streams_named(std::string_view name) override;

  /// A footer index that cannot be loaded only hides what it lists, here and in the two calls below.
  void lay_out(LayoutSink& sink) override;
  ContainerFacts facts() override;
  LayoutFaults layout_faults() override;

  bool footer_is_loaded() const { return top_.footer_is_loaded(); }

 private:
  KVPMTree& tree();
  void load_readable();

  TopStorage top_;
  std::unique_ptr<KVPMTree> tree_;
};

}  // namespace VRX::System::CFI
