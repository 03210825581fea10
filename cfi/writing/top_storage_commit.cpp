#include <algorithm>
#include <array>
#include <cinttypes>
#include <optional>
#include <span>

#include "cfi/cfi_error_codes.h"
#include "cfi/diagnostics_channels.h"
#include "cfi/expanded_source.h"
#include "cfi/lz4_decompress_stream.h"
#include "cfi/stream_names.h"
#include "cfi/writing/top_storage_writer.h"
#include "support/byte_copy.h"
#include "support/byte_order.h"
#include "support/part_signature.h"
#include "support/printable.h"

namespace VRX::System::CFI {

namespace {

std::size_t read_beginning(support::ByteSource& stream, std::span<unsigned char> bytes) {
  if (!is_lz4_framed(stream)) return stream.read(bytes.data(), bytes.size());
  return LZ4DecompressStream(stream).read(bytes.data(), static_cast<std::int64_t>(bytes.size())).bytes_read;
}

}  // namespace

// The header index follows the part stream once that has been written. The copy is little-endian as all in
// the index; beside a part in the other byte order it only stays where it was.
void TopStorageWriter::copy_part_header() {
  const std::optional<Number> part = find(stream_names::kPartPath);
  const bool is_written = part && elements_[*part].container;
  if (part_header_is_given_ || !is_written || options_.version < kFirstVersionWithPartHeader) return;
  std::array<unsigned char, kLongestPartHeader> bytes = {};
  Container& stream = container(*part);
  stream.set_position(0);
  const std::size_t got = read_beginning(stream, bytes);
  const auto little = support::load_little<std::uint16_t>(bytes.data());
  const auto big = static_cast<std::uint16_t>(bytes[0] << 8U | bytes[1]);
  const bool takes_big = !part_header_.empty();
  part_header_.clear();
  for (const std::uint16_t count : support::kPartHeaderCounts) {
    const std::size_t length = 2 * (std::size_t{1} + count);
    if (got < length || (count != little && !(takes_big && count == big))) continue;
    const auto header = std::as_bytes(std::span(bytes).first(length));
    part_header_.assign(header.begin(), header.end());
  }
}

void TopStorageWriter::write(std::uint64_t offset, std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t written = file_.channel().write_at(offset, bytes.data(), bytes.size());
    offset += written;
    bytes.remove_prefix(written);
  }
}

void TopStorageWriter::copy_from_old(const Element& element) {
  ChannelSource source(old_->channel(), element.listed.offset, element.listed.size_bytes);
  std::uint64_t end = data_end_;
  const std::uint64_t copied = support::copy_source(source, [&](std::span<const std::byte> bytes) {
    write(end, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    end += bytes.size();
  });
  if (copied < element.listed.size_bytes) throw make_error(kEndOfStream);
}

void TopStorageWriter::flush(Element& element) {
  if (element.container) {
    element.listed.size_bytes = element.container->size();
    structured_storage_channel().print("    Flushing buffered container &%p to offset 0x%016" PRIx64 ": %s\n",
                                       static_cast<const void*>(element.container.get()), data_end_,
                                       support::printable(element.listed.path).c_str());
    write(data_end_, static_cast<const BufferedContainer&>(*element.container).bytes());
  } else {
    copy_from_old(element);
  }
  element.listed.offset = data_end_;
  data_end_ += element.listed.size_bytes;
}

void TopStorageWriter::flush_all() {
  if (current_direct_) release(*current_direct_);
  choose_data_start();
  // The fast-load partition stands together at the start of the data.
  for (const bool is_fast_load : {true, false}) {
    for (Element& element : elements_) {
      if (element.is_stream() && !element.is_direct && element.is_fast_load() == is_fast_load) flush(element);
    }
  }
}

void TopStorageWriter::check_contiguous() const {
  std::vector<const ListedElement*> streams;
  for (const Element& element : elements_) {
    if (element.is_stream()) streams.push_back(&element.listed);
  }
  std::ranges::sort(streams, [](const ListedElement* a, const ListedElement* b) {
    return a->offset != b->offset ? a->offset < b->offset : a->size_bytes < b->size_bytes;
  });
  std::uint64_t end = *data_start_;
  for (const ListedElement* stream : streams) {
    if (stream->offset != end) throw make_error(kInternalFailure, "stream data is not contiguous");
    end += stream->size_bytes;
  }
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
  if (header.size() > *data_start_) {
    throw make_error(kInternalFailure, "the header index is longer than the header area");
  }
  header.resize(static_cast<std::size_t>(*data_start_));
  write(0, header);
}

void TopStorageWriter::commit() {
  thread_check_.require_own_thread();
  if (has_failed_) throw make_error(kInternalFailure, "a write to the file has failed before");
  copy_part_header();
  flush_all();
  check_contiguous();
  if (options_.has_footer) write(data_end_, listed_in(IndexArea::footer));
  write_header(options_.has_footer ? static_cast<std::int64_t>(data_end_) : kNoFooter);
  if (options_.flushes_to_disk) file_.channel().flush();
  file_.commit();
}

}  // namespace VRX::System::CFI
