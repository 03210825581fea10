#include "cfi/top_storage_writer.h"

#include <algorithm>
#include <array>
#include <cinttypes>

#include "cfi/cfi_error_codes.h"
#include "cfi/diagnostics_channels.h"
#include "cfi/element_path.h"
#include "cfi/header_paths.h"

namespace VRX::System::CFI {

namespace {

constexpr std::array<std::string_view, 5> kDirectStreams = {
    "/Root/FastLoad/JT", "/Root/FastLoad/RMFastLoad", "/Root/FastLoad/Structure",
    "/Root/FastLoad/ExternalReferences", "/Root/FastLoad/PartIdentifier"};

bool is_direct_stream(std::string_view path) {
  return std::ranges::find(kDirectStreams, path) != kDirectStreams.end();
}

}  // namespace

TopStorageWriter::TopStorageWriter(std::string file_name, const WriterOptions& options)
    : options_(options), file_(std::move(file_name)), data_end_(options.maximum_header_size) {
  add(kRootPath, ElementType::storage);
}

void TopStorageWriter::set_part_header(std::span<const std::byte> bytes) {
  part_header_.assign(bytes.begin(), bytes.end());
}

TopStorageWriter::Element& TopStorageWriter::add(std::string_view path, ElementType type) {
  check_path(path);
  if (exists(path)) throw make_error(kElementExists, std::string(path).c_str());
  const std::string_view parent = path.substr(0, path.rfind('/'));
  if (!parent.empty() && element(parent).listed.type != ElementType::storage) {
    throw make_error(kInternalFailure, "the parent of a new element is no storage");
  }
  Element& added = elements_.emplace_back();
  added.listed.path = path;
  added.listed.type = type;
  for (const HeaderPath& known : HeaderPaths::standard().of(options_.version)) {
    if (known.path == path) added.header_number = known.number;
  }
  const bool in_header = added.header_number > 0 || !options_.has_footer;
  added.area = in_header ? IndexArea::header : IndexArea::footer;
  by_path_.emplace(added.listed.path, &added);
  return added;
}

TopStorageWriter::Element& TopStorageWriter::element(std::string_view path) {
  const auto found = by_path_.find(path);
  if (found == by_path_.end()) throw make_error(kElementNotFound, std::string(path).c_str());
  return *found->second;
}

void TopStorageWriter::create_storage(std::string_view path, const ClassId& class_id) {
  if (path == kRootPath) return set_class(path, class_id);
  add(path, ElementType::storage).listed.class_id = class_id;
}

void TopStorageWriter::set_class(std::string_view storage, const ClassId& class_id) {
  element(storage).listed.class_id = class_id;
}

void TopStorageWriter::create_stream(std::string_view path) {
  Element& added = add(path, ElementType::stream);
  added.is_direct = is_direct_stream(path);
  if (added.is_direct) {
    begin_direct(added);
  } else {
    added.container = std::make_unique<BufferedContainer>();
  }
}

void TopStorageWriter::begin_direct(Element& element) {
  if (current_direct_ != nullptr) {
    const std::string text = "Current direct stream is unexpectedly " + current_direct_->listed.path;
    throw support::ErrorEscape("cfi", kInternalFailure, text);
  }
  current_direct_ = &element;
  element.listed.offset = data_end_;
  element.container = std::make_unique<DirectContainer>(file_, data_end_);
}

void TopStorageWriter::end_direct(const Element& element) {
  if (current_direct_ != &element) {
    const std::string text =
        "Current direct stream is unexpectedly " +
        (current_direct_ == nullptr ? std::string("none") : current_direct_->listed.path);
    throw support::ErrorEscape("cfi", kInternalFailure, text);
  }
  data_end_ += element.container->size();
  current_direct_ = nullptr;
}

Container& TopStorageWriter::container(std::string_view stream) {
  Element& found = element(stream);
  if (!found.container) throw make_error(kInternalFailure, "the element to be written is no stream");
  return *found.container;
}

void TopStorageWriter::release(std::string_view stream) {
  Element& found = element(stream);
  if (found.is_released) return;
  if (found.is_direct) end_direct(found);
  found.is_released = true;
  if (found.container) found.listed.size_bytes = found.container->size();
}

void TopStorageWriter::set_area(std::string_view path, IndexArea area) { element(path).area = area; }

void TopStorageWriter::flush(Element& element) {
  element.listed.offset = data_end_;
  element.listed.size_bytes = element.container->size();
  structured_storage_channel().print("    Flushing buffered container &%p to offset 0x%016" PRIx64 ": %s\n",
                                     static_cast<const void*>(element.container.get()), data_end_,
                                     element.listed.path.c_str());
  file_.write_at(data_end_, static_cast<const BufferedContainer&>(*element.container).bytes());
  data_end_ += element.listed.size_bytes;
}

void TopStorageWriter::flush_all() {
  if (current_direct_ != nullptr) release(current_direct_->listed.path);
  // The fast-load partition stands together at the start of the data.
  for (const bool is_fast_load : {true, false}) {
    for (Element& element : elements_) {
      if (element.listed.type != ElementType::stream || element.is_direct) continue;
      const bool is_numbered = element.header_number > 0 && element.header_number <= kLastFastLoadNumber;
      if (is_numbered == is_fast_load) flush(element);
    }
  }
}

std::uint64_t TopStorageWriter::fast_load_end() const {
  std::uint64_t end = 0;
  for (const Element& element : elements_) {
    if (element.listed.type != ElementType::stream) continue;
    if (element.header_number == 0 || element.header_number > kLastFastLoadNumber) continue;
    end = std::max(end, element.listed.offset + element.listed.size_bytes);
  }
  return end;
}

std::string TopStorageWriter::listed_in(IndexArea area) const {
  std::vector<ListedElement> listed;
  for (const Element& element : elements_) {
    if (element.area == area) listed.push_back(element.listed);
  }
  return index_bytes(options_.version, area, listed, part_header_);
}

void TopStorageWriter::write_header(std::int64_t footer_offset) {
  std::string header(kKvpmSignature);
  header += static_cast<char>(options_.version);
  if (options_.version >= kFirstVersionWithFastLoadEnd) append_little(header, fast_load_end());
  append_little(header, footer_offset);
  header += listed_in(IndexArea::header);
  if (header.size() > options_.maximum_header_size) {
    throw make_error(kInternalFailure, "the header index is longer than the header area");
  }
  header.resize(static_cast<std::size_t>(options_.maximum_header_size));
  file_.write_at(0, header);
}

void TopStorageWriter::commit() {
  flush_all();
  if (options_.has_footer) file_.write_at(data_end_, listed_in(IndexArea::footer));
  write_header(options_.has_footer ? static_cast<std::int64_t>(data_end_) : kNoFooter);
  file_.commit();
}

}  // namespace VRX::System::CFI
