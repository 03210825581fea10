#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "cfi/kvpm/kvpm_tree.h"
#include "cfi/kvpm/top_storage.h"
#include "cfi/storage_file.h"

namespace VRX::System::CFI {

/// What the storage listing shows of one element. The name is valid as long as the file is open and nothing
/// more is loaded.
struct ElementNode {
  ElementType type = ElementType::stream;
  std::string_view name;
  IndexArea area = IndexArea::header;
  std::uint64_t start_offset = 0;  ///< in the file; 0 for storages
  std::uint64_t size = 0;          ///< in bytes; 0 for storages
};

/// The maker's storage file, open for reading. A storage that only appears as the prefix of a listed path
/// exists, with a zero class identifier and the area of its first child.
class KVPMStorageFile final : public StorageFile {
 public:
  /// Reads the header index; the channel must outlive this object. Raises what TopStorage raises.
  explicit KVPMStorageFile(FileChannel& channel);

  FileKind kind() const override { return FileKind::kvpm; }
  std::optional<ElementId> find_child(ElementId storage, std::string_view name) override;
  ElementRecord record(ElementId element) override;

  /// In listing order; loads the footer index.
  std::vector<ElementId> children(ElementId storage) override;
  std::unique_ptr<support::ByteSource> open_stream(ElementId stream) override;
  bool is_truncated() override { return top_.is_truncated(); }

  /// Loads the footer index.
  std::vector<ElementId> streams_named(std::string_view name) override;

  ElementNode node(ElementId element) const;

  /// Raises what kept the footer index from being loaded.
  void load_footer() { top_.load_footer(); }

  /// As children(), but a footer index that cannot be loaded only hides what it lists.
  std::vector<ElementId> readable_children(ElementId storage);

  /// The file format number, the part file header and the fast-load partition.
  const TopStorage& top_storage() const { return top_; }

 private:
  KVPMTree& tree();

  TopStorage top_;
  std::unique_ptr<KVPMTree> tree_;
};

}  // namespace VRX::System::CFI
