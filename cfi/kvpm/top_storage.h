#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "cfi/container_facts.h"
#include "cfi/file_channel.h"
#include "cfi/kvpm/storage_index.h"
#include "cfi/thread_check.h"
#include "support/error_escape.h"

namespace VRX::System::CFI {

/// The reader of the maker's format: fixed header and header index when it is made, footer index on the
/// first need of it. `find` and `load_footer` are for the thread that made it (1021253).
class TopStorage {
 public:
  /// Reads the fixed header and the header index of a file with the maker's signature; the channel must
  /// outlive this object. Raises 1021260 for a version above 6 and what `read_index` raises.
  explicit TopStorage(FileChannel& channel);

  /// The file format number, 0 to 6.
  int version() const { return facts_.format_version.value(); }

  /// The part file header kept in the header index: its bytes as stored, empty before version 3.
  std::span<const std::byte> part_header() const { return part_header_; }

  /// Where the fast-load partition ends: as stored from version 6 on, before that the highest end of the
  /// loaded streams whose header-path number is 1 to 5, 0 when there is none.
  std::int64_t fast_load_end() const;

  /// The element of a full path. A path that is not listed so far loads the footer index, and raises what
  /// `load_footer` raises. A header path of the version only loads it when no listed path implies it either,
  /// and is not there when the footer index is damaged.
  std::optional<ElementId> find(std::string_view path);

  /// Reads the footer index unless that has been done, or there is none. A failure is remembered and raised
  /// each time. Raises what `read_index` raises, and 1021001 for a negative offset other than -1.
  void load_footer();
  bool footer_is_loaded() const { return footer_state_ == FooterState::loaded; }

  /// True when the footer offset or a stream listed so far reaches beyond the end of the file, or the file
  /// ended inside the footer index. Loads nothing.
  bool is_truncated() const;

  /// What has been learned of the file so far, up to the damage of a footer index that could not be loaded.
  const KvpmFacts& facts() const { return facts_; }

  const StorageIndex& index() const { return index_; }
  FileChannel& channel() const { return channel_; }

 private:
  enum class FooterState { to_load, loaded, failed };

  std::int64_t footer_offset() const { return facts_.footer_offset.value(); }
  void read_footer_index();
  bool load_sound_footer();
  std::optional<ElementId> find_loaded(std::string_view path) const;

  FileChannel& channel_;
  KvpmFacts facts_;
  StorageIndex index_;
  std::vector<std::byte> part_header_;
  FooterState footer_state_ = FooterState::to_load;
  std::unique_ptr<const support::ErrorEscape> footer_failure_;
  ThreadCheck thread_check_;
};

}  // namespace VRX::System::CFI
