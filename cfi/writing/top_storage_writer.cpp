#include "cfi/writing/top_storage_writer.h"

#include <algorithm>
#include <array>

#include "cfi/cfi_error_codes.h"
#include "cfi/element_path.h"
#include "cfi/kvpm/header_paths.h"
#include "support/limits.h"
#include "support/printable.h"
#include "support/text_format.h"

namespace VRX::System::CFI {

namespace {

constexpr std::array<std::string_view, 5> kDirectStreams = {
    "/Root/FastLoad/JT", "/Root/FastLoad/RMFastLoad", "/Root/FastLoad/Structure",
    "/Root/FastLoad/ExternalReferences", "/Root/FastLoad/PartIdentifier"};

constexpr std::uint64_t kHeaderAreaStep = 4096;

support::ErrorEscape failure_at(ErrorCode code, const char* text, const std::string& path) {
  return {"cfi", code, support::format_text("%s\"%s\"", text, support::printable(path).c_str())};
}

}  // namespace

bool TopStorageWriter::Element::is_fast_load() const {
  return is_stream() && header_number > 0 && header_number <= kLastFastLoadNumber;
}

TopStorageWriter::TopStorageWriter(std::string file_name, const WriterOptions& options)
    : options_(options), file_(std::move(file_name)) {
  add(kRootPath, ElementType::storage);
}

TopStorageWriter::TopStorageWriter(std::string file_name, TopStorage& old)
    : TopStorageWriter(std::move(file_name), WriterOptions{.version = old.version()}) {
  old.load_footer();
  if (old.is_truncated()) throw make_error(kEndOfStream);
  file_.require_replaced(old.channel());
  old_ = &old;
  part_header_.assign(old.part_header().begin(), old.part_header().end());
  for (std::uint32_t entry = 0; entry < old.index().size(); ++entry) add_from_old(old.index(), entry);
}

TopStorageWriter::Number TopStorageWriter::add_from_old(const StorageIndex& index, std::uint32_t entry) {
  const IndexEntry listed = index.entry(entry);
  const std::string path = index.path(entry);
  if (listed.is_storage()) {
    const Number storage = storage_from_old(path);
    set_class(storage, listed.class_id());
    return storage;
  }
  // Of two streams with one path only the first can ever be read.
  if (const auto known = find(path)) return *known;
  storage_from_old(index.parent_path(index.parent_of(entry)));
  const Number stream = add(path, ElementType::stream);
  elements_[stream].listed.offset = listed.offset();
  elements_[stream].listed.size_bytes = listed.size();
  elements_[stream].area = index.area(entry);
  return stream;
}

// A storage that is only implied is listed from now on.
TopStorageWriter::Number TopStorageWriter::storage_from_old(std::string_view path) {
  for (std::size_t end = kRootPathLength; end < path.size();) {
    end = std::min(path.find('/', end + 1), path.size());
    if (!find(path.substr(0, end))) add(path.substr(0, end), ElementType::storage);
  }
  return *find(path);
}

void TopStorageWriter::set_part_header(std::span<const std::byte> bytes) {
  if (bytes.size() / 2 > limits::kPartHeaderUnits) {
    throw support::ErrorEscape("cfi", kDamagedIndex,
                               support::format_text("Header Length %zu is not sane", bytes.size() / 2));
  }
  part_header_.assign(bytes.begin(), bytes.end());
  part_header_is_given_ = true;
  require_room_in_header();
}

void TopStorageWriter::set_area(Number number, IndexArea area) {
  elements_[number].area = area;
  require_room_in_header();
}

std::optional<TopStorageWriter::Number> TopStorageWriter::find(std::string_view path) const {
  const auto found = by_path_.find(path);
  if (found == by_path_.end()) return std::nullopt;
  return found->second;
}

std::vector<TopStorageWriter::Number> TopStorageWriter::children(Number storage) const {
  std::vector<Number> found;
  for (Number number = 1; number < elements_.size(); ++number) {
    if (elements_[number].parent == storage) found.push_back(number);
  }
  return found;
}

TopStorageWriter::Number TopStorageWriter::add(std::string_view path, ElementType type) {
  thread_check_.require_own_thread();
  check_path(path);
  if (find(path)) throw make_error(kElementExists, path);
  Number parent_number = 0;
  if (const std::string_view parent = path.substr(0, path.rfind('/')); !parent.empty()) {
    const std::optional<Number> found = find(parent);
    if (!found) throw make_error(kElementNotFound, parent);
    if (elements_[*found].is_stream()) {
      throw make_error(kInternalFailure, "the parent of a new element is no storage");
    }
    parent_number = *found;
  }
  const auto number = static_cast<Number>(elements_.size());
  Element& added = elements_.emplace_back();
  added.listed.path = path;
  added.listed.type = type;
  added.parent = parent_number;
  for (const HeaderPath& known : HeaderPaths::standard().of(options_.version)) {
    if (known.path == path) added.header_number = known.number;
  }
  const bool in_header = added.header_number > 0 || !options_.has_footer;
  added.area = in_header ? IndexArea::header : IndexArea::footer;
  by_path_.emplace(added.listed.path, number);
  if (in_header) {
    try {
      require_room_in_header();
    } catch (const support::ErrorEscape&) {
      drop_last();
      throw;
    }
  }
  return number;
}

void TopStorageWriter::drop_last() {
  const auto number = static_cast<Number>(elements_.size() - 1);
  Element& last = elements_.back();
  if (last.is_direct && last.container) {
    // A direct stream that was created last is the last in the file.
    last.container->truncate(0);
    data_end_ = last.listed.offset;
    if (current_direct_ == number) current_direct_.reset();
  }
  by_path_.erase(last.listed.path);
  elements_.pop_back();
}

void TopStorageWriter::drop_from(std::size_t count) {
  thread_check_.require_own_thread();
  while (elements_.size() > count) drop_last();
}

TopStorageWriter::Number TopStorageWriter::create_storage(std::string_view path, const ClassId& class_id) {
  const Number number = path == kRootPath ? 0 : add(path, ElementType::storage);
  set_class(number, class_id);
  return number;
}

TopStorageWriter::Number TopStorageWriter::create_stream(std::string_view path) {
  const bool is_direct = std::ranges::find(kDirectStreams, path) != kDirectStreams.end();
  if (is_direct && current_direct_ && !find(path)) raise_current_direct();
  const Number number = add(path, ElementType::stream);
  elements_[number].is_direct = is_direct;
  if (is_direct) {
    begin_direct(number);
  } else {
    elements_[number].container = std::make_unique<BufferedContainer>();
  }
  return number;
}

// Room for the part header is kept as long as the part stream may still bring one.
std::uint64_t TopStorageWriter::header_size() const {
  const std::uint64_t now = header_index_offset(options_.version) + listed_in(IndexArea::header).size();
  if (part_header_is_given_ || options_.version < kFirstVersionWithPartHeader) return now;
  return now + kLongestPartHeader - std::min<std::uint64_t>(part_header_.size(), kLongestPartHeader);
}

void TopStorageWriter::require_room_in_header() const {
  if (data_start_ && header_size() > *data_start_) {
    throw make_error(kInternalFailure, "the header index is longer than the header area");
  }
}

// The data follows the header area, whose size is fixed from then on.
void TopStorageWriter::choose_data_start() {
  if (data_start_) return;
  const std::uint64_t needed = header_size();
  const std::uint64_t rounded = (needed + kHeaderAreaStep - 1) / kHeaderAreaStep * kHeaderAreaStep;
  const bool fits = needed <= options_.maximum_header_size;
  data_start_ = fits ? options_.maximum_header_size : rounded;
  data_end_ = *data_start_;
}

void TopStorageWriter::raise_current_direct() const {
  throw support::ErrorEscape(
      "cfi", kInternalFailure,
      "Current direct stream is unexpectedly " +
          (current_direct_ ? elements_[*current_direct_].listed.path : std::string("none")));
}

void TopStorageWriter::begin_direct(Number number) {
  choose_data_start();
  current_direct_ = number;
  elements_[number].listed.offset = data_end_;
  elements_[number].container = std::make_unique<DirectContainer>(file_.channel(), data_end_);
}

void TopStorageWriter::end_direct(Number number) {
  if (current_direct_ != number) raise_current_direct();
  data_end_ += elements_[number].container->size();
  current_direct_.reset();
}

std::string TopStorageWriter::old_bytes(Number stream) const {
  const auto source = open_for_read(stream);
  std::string bytes(static_cast<std::size_t>(source->size()), '\0');
  if (source->read(bytes.data(), bytes.size()) != bytes.size()) throw make_error(kEndOfStream);
  return bytes;
}

Container& TopStorageWriter::open_for_write(Number stream) {
  thread_check_.require_own_thread();
  Element& element = elements_[stream];
  if (!element.is_stream()) throw make_error(kInternalFailure, "the element to be written is no stream");
  if (!element.container) {
    element.container = std::make_unique<BufferedContainer>(old_bytes(stream));
  } else if (element.is_released) {
    if (element.is_direct) throw make_error(kUnsupportedOperation, "writing to a direct stream again");
    element.container->set_position(0);
  } else {
    throw failure_at(kInternalFailure,
                     "Attempting to re-open a stream for write which has a container: ", element.listed.path);
  }
  element.is_released = false;
  return *element.container;
}

std::unique_ptr<support::ByteSource> TopStorageWriter::open_for_read(Number stream) const {
  thread_check_.require_own_thread();
  const Element& element = elements_[stream];
  if (element.is_released) {
    throw failure_at(kUnsupportedOperation,
                     element.is_direct ? "Attempting to re-open a direct stream for read which is "
                                         "released but not committed for write: "
                                       : "Attempting to re-open a buffered stream for read which is "
                                         "released but not committed for write: ",
                     element.listed.path);
  }
  if (element.container) {
    throw failure_at(kInternalFailure,
                     "Attempting to re-open a stream for read which has a container: ", element.listed.path);
  }
  return std::make_unique<ChannelSource>(old_->channel(), element.listed.offset, element.listed.size_bytes);
}

void TopStorageWriter::release(Number stream) {
  thread_check_.require_own_thread();
  Element& element = elements_[stream];
  if (!element.container || element.is_released) return;
  if (element.is_direct) end_direct(stream);
  element.is_released = true;
  element.listed.size_bytes = element.container->size();
}

std::uint64_t TopStorageWriter::size(Number number) const {
  const Element& element = elements_[number];
  return element.container ? element.container->size() : element.listed.size_bytes;
}

std::uint64_t TopStorageWriter::fast_load_end() const {
  std::uint64_t end = 0;
  for (Number number = 0; number < elements_.size(); ++number) {
    const std::uint64_t start = elements_[number].listed.offset;
    if (elements_[number].is_fast_load() && start > 0) end = std::max(end, start + size(number));
  }
  return end;
}

}  // namespace VRX::System::CFI
