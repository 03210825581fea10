#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/compound/compound_directory.h"
#include "cfi/compound/compound_layout.h"
#include "cfi/compound/mini_stream.h"
#include "cfi/compound/sector_allocation_table.h"
#include "cfi/storage_file.h"

namespace VRX::System::CFI {

/// An open Microsoft compound file: version 3 or 4 with sectors of 512 or 4096 bytes.
///
/// The directory is read on opening. An element is named by its place there, names are compared without
/// regard to case (as far as upper_case() goes). A stream whose chain ends early or leaves the file yields
/// the bytes up to there.
class MicrosoftStorageFile final : public StorageFile {
 public:
  /// `channel` outlives this object. Raises 1021253 for another version or sector size, 1021266 when the
  /// header is damaged, the directory has no root entry, or its chain runs in a circle.
  explicit MicrosoftStorageFile(FileChannel& channel);

  FileKind kind() const override { return FileKind::microsoft; }
  std::optional<ElementId> find_child(ElementId storage, std::string_view name) override;
  ElementNode node(ElementId element) override;
  ClassId class_id(ElementId id) override { return element(id).class_id; }
  std::string path(ElementId element) override;
  std::vector<ElementId> children(ElementId storage) override;

  /// Raises 1021266 when the chain of the stream runs in a circle.
  std::unique_ptr<support::ByteSource> open_stream(ElementId stream) override;

  /// True when the directory, a stream's own bytes, or what the header counts lie beyond the end of the
  /// file; what merely fills up the last sector may be missing. Follows the chains of all streams, once:
  /// in time proportional to the FAT, as each sector belongs to one stream; where streams share sectors,
  /// the search ends after as many steps as the file has sectors. Raises 1021266 when the chain of DIFAT
  /// sectors runs in a circle.
  bool is_truncated() override;

  void lay_out(LayoutSink& sink) override;
  ContainerFacts facts() override { return compound_facts(table_); }

  /// Names listed twice alone: streams that share sectors show in the layout.
  LayoutFaults layout_faults() override { return find_equal_names(directory_); }

  std::span<const std::string> damage() const override { return directory_.damage(); }

  /// Every stream of that name in the tree, in listing order: depth first, children in their order.
  std::vector<ElementId> streams_named(std::string_view name) override;

 private:
  const CompoundElement& element(ElementId id) const;
  MiniStream& mini_stream();
  bool any_stream_beyond_file();
  bool in_mini_stream(const CompoundElement& stream) const;

  SectorAllocationTable table_;
  CompoundDirectory directory_;
  std::optional<MiniStream> mini_stream_;
  std::optional<bool> truncated_;
  std::string node_name_;               ///< of the last node() given out
  std::vector<std::uint32_t> parents_;  ///< by element number; filled for the first path
};

}  // namespace VRX::System::CFI
