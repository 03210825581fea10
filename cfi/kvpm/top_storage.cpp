#include "cfi/kvpm/top_storage.h"

#include <algorithm>
#include <cinttypes>

#include "cfi/cfi_error_codes.h"
#include "cfi/diagnostics_channels.h"
#include "cfi/element_path.h"
#include "cfi/file_container.h"
#include "cfi/kvpm/header_paths.h"
#include "cfi/kvpm/index_reader.h"
#include "support/printable.h"

namespace VRX::System::CFI {

TopStorage::TopStorage(FileChannel& channel) : channel_(channel) {
  FileContainer in(channel, kVersionOffset);
  read_fixed_header(in, facts_);
  read_index(in, IndexArea::header, facts_, index_, part_header_);
  index_.start_footer();
  if (footer_offset() == kNoFooter) footer_state_ = FooterState::loaded;
  structured_storage_channel().print("%s: version %d, header index with %" PRIu32 " entries\n",
                                     support::printable(channel.name()).c_str(), version(), index_.size());
}

void TopStorage::load_footer() {
  thread_check_.require_own_thread();
  if (footer_state_ == FooterState::loaded) return;
  if (footer_state_ == FooterState::failed) throw *footer_failure_;
  try {
    read_footer_index();
    footer_state_ = FooterState::loaded;
  } catch (const support::ErrorEscape& failure) {
    index_.drop_footer();
    footer_failure_ = std::make_unique<const support::ErrorEscape>(failure);
    footer_state_ = FooterState::failed;
    throw;
  }
}

void TopStorage::read_footer_index() {
  if (footer_offset() < 0) throw make_error(kSeekToNegativeLocation, static_cast<long long>(footer_offset()));
  const std::uint32_t listed = index_.size();
  FileContainer in(channel_, static_cast<std::uint64_t>(footer_offset()));
  read_index(in, IndexArea::footer, facts_, index_, part_header_);
  structured_storage_channel().print("%s: footer index with %" PRIu32 " entries\n",
                                     support::printable(channel_.name()).c_str(), index_.size() - listed);
}

std::optional<ElementId> TopStorage::find_loaded(std::string_view path) const {
  const std::optional<std::uint32_t> number = index_.find(path);
  if (!number) return std::nullopt;
  return path == kRootPath ? kRootElement : StorageIndex::listed(*number);
}

std::optional<ElementId> TopStorage::find(std::string_view path) {
  thread_check_.require_own_thread();
  std::optional<ElementId> found = find_loaded(path);
  if (found) return found;
  if (HeaderPaths::standard().contains(version(), path)) {
    found = index_.find_implied(path);
    if (found || footer_is_loaded() || !load_sound_footer()) return found;
  } else {
    load_footer();
  }
  found = find_loaded(path);
  return found ? found : index_.find_implied(path);
}

/// For a path that belongs in the header: a damaged footer index says nothing of it.
bool TopStorage::load_sound_footer() {
  try {
    load_footer();
    return true;
  } catch (const support::ErrorEscape& failure) {
    if (failure.code() == kSystemCallFailed) throw;
    return false;
  }
}

std::int64_t TopStorage::fast_load_end() const {
  if (version() >= kFirstVersionToTrustFastLoadEnd) return facts_.fast_load_end.value();
  std::uint64_t end = 0;
  for (const HeaderPath& path : HeaderPaths::standard().of(version())) {
    if (path.number > kLastFastLoadNumber) continue;
    const std::optional<std::uint32_t> number = index_.find(path.path);
    if (number && !index_.entry(*number).is_storage()) end = std::max(end, index_.entry(*number).end());
  }
  return static_cast<std::int64_t>(end);
}

bool TopStorage::is_truncated() const {
  const bool footer_beyond =
      footer_offset() > 0 && static_cast<std::uint64_t>(footer_offset()) > channel_.size();
  return footer_beyond || index_.highest_end() > channel_.size() ||
         (footer_failure_ && footer_failure_->code() == kEndOfStream);
}

}  // namespace VRX::System::CFI
