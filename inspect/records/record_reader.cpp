#include "inspect/records/record_reader.h"

#include <algorithm>
#include <bit>
#include <cerrno>

#include "cfi/cfi_error_codes.h"
#include "inspect/records/inspect_errors.h"
#include "support/text_format.h"
#include "support/text_line.h"

namespace inspect {

namespace {

using support::append_number;

constexpr std::int32_t kPresentObject = 42;

void append_bytes_in_hex(std::string& text, std::span<const std::byte> bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  for (const std::byte byte : bytes) {
    text += kDigits[std::to_integer<unsigned>(byte) >> 4U];
    text += kDigits[std::to_integer<unsigned>(byte) & 0xFU];
  }
}

std::int32_t sign_extend(std::uint32_t value, int unused_bits) {
  return std::bit_cast<std::int32_t>(value << unused_bits) >> unused_bits;
}

const char* width_name(std::size_t width) {
  switch (width) {
    case 1:
      return "bytes";
    case 2:
      return "shorts";
    case 4:
      return "ints";
    default:
      return "int64s";
  }
}

}  // namespace

void RecordReader::attach(support::ByteSource& source, std::string_view stream_name) {
  source_ = &source;
  stream_name_ = stream_name;
}

void RecordReader::report_overlap() const {
  inspect_error(*this, Rule::partition_overlap,
                "object-manager data overlap: together they are several times as large as the file");
}

void RecordReader::begin_line() {
  line_ = "Reading ";
  field_.append_to(line_);
  line_ += ": ";
}

void RecordReader::append_position() {
  line_ += " @";
  append_number(line_, position());
}

void RecordReader::end_field_line(std::string_view end) {
  line_ += end;
  trace_->write(line_);
  if (++count_.traced_fields > limit_.traced_fields) report_overlap();
}

void RecordReader::trace_field(std::size_t width, std::size_t count) {
  begin_line();
  append_number(line_, count);
  line_ += ' ';
  line_ += width_name(width);
  append_position();
  end_field_line(width == 1 ? " \n" : "\n");
}

void RecordReader::trace_composed(std::string_view what, std::string_view end) {
  begin_line();
  line_ += what;
  append_position();
  end_field_line(end);
}

void RecordReader::charge(std::uint64_t bytes) {
  count_.bytes += bytes;
  if (count_.bytes > limit_.bytes) report_overlap();
}

void RecordReader::take(void* destination, std::size_t count) {
  charge(count);
  std::size_t got = 0;
  try {
    got = source_->take(destination, count);
  } catch (const support::ErrorEscape& escape) {
    inspect_read_error(*this, VRX::System::CFI::status_of(escape.code()));
  }
  if (got == count) return;
  field_size_ = got;
  inspect_error(*this, Rule::record_end_of_file, "unexpected end of file");
}

std::uint8_t RecordReader::read_byte() {
  std::uint8_t byte = 0;
  take(&byte, 1);
  return byte;
}

void RecordReader::swap(std::span<std::byte> bytes, std::size_t width) {
  if (trace_ != nullptr && width == 2) {
    trace_->write(support::format_text("Converting %zu shorts\n", bytes.size() / width));
  }
  for (; bytes.size() >= width; bytes = bytes.subspan(width)) {
    const auto group = bytes.first(width);
    if (trace_ == nullptr) {
      std::ranges::reverse(group);
      continue;
    }
    line_ = width == 2 ? "Data in: " : "Data in:  ";
    append_bytes_in_hex(line_, group);
    std::ranges::reverse(group);
    line_ += " ... out: ";
    append_bytes_in_hex(line_, group);
    line_ += '\n';
    trace_->write(line_);
  }
}

std::uint64_t RecordReader::read_position(bool wide, const FieldLabel& label) {
  if (wide) return read<std::uint64_t>(label);
  return read<std::uint32_t>(label);
}

/// The value of `further` more bytes behind the leading bits, most significant first, kept to 32 bits.
std::uint32_t RecordReader::append_bytes(std::uint32_t value, int further) {
  for (int i = 0; i < further; ++i) value = value << 8U | read_byte();
  field_size_ += static_cast<std::uint64_t>(further);
  return value;
}

std::int32_t RecordReader::read_compact_int(Encoding encoding, const FieldLabel& label) {
  begin_composed(label, "1 int");
  if (encoding == Encoding::plain) return take_plain<std::int32_t>();
  field_size_ = 1;
  const std::uint8_t lead = read_byte();
  if (lead < 0x80) return lead - 1;
  const int further = ((lead >> 5U) & 3U) + 1;
  constexpr int kUnusedBits[] = {19, 11, 3, 0};
  return sign_extend(append_bytes(lead & 0x1FU, further), kUnusedBits[further - 1]);
}

std::int32_t RecordReader::read_compact_short(Encoding encoding, const FieldLabel& label) {
  begin_composed(label, "1 short");
  if (encoding == Encoding::plain) return take_plain<std::int16_t>();
  field_size_ = 1;
  const std::uint8_t lead = read_byte();
  if (lead < 0x80) return lead - 1;
  const bool two_further = (lead & 0x40U) != 0;
  // With two further bytes the six leading bits fall off: writers rely on the low 16 bits alone.
  return sign_extend(append_bytes(lead & 0x3FU, two_further ? 2 : 1), two_further ? 16 : 18);
}

std::int32_t RecordReader::read_compact_om_label() {
  field_size_ = 1;
  const std::uint8_t lead = read_byte();
  if (lead < 0x80) return kPresentObject;
  if (lead == 0xFF) return -1;
  if (lead == 0xFE) return -2;
  if ((lead & 0xFCU) == 0xF0) {
    append_bytes(0, (lead & 3U) + 1);
    return kPresentObject;
  }
  if ((lead & 0xC0U) == 0x80) {
    return std::bit_cast<std::int32_t>(append_bytes(lead & 0x0FU, ((lead >> 4U) & 3U) + 1));
  }
  inspect_error(*this, Rule::om_label, "bad compact OM label");
}

void RecordReader::move_to(std::uint64_t position) {
  try {
    CFI_set_position(*source_, position);
  } catch (const support::ErrorEscape&) {
    // Nothing but a position that no file has is refused.
    inspect_error(*this, Rule::record_position, "fseek to %llu failed errno = %d", position + 0ULL, EINVAL);
  }
  if (trace_ == nullptr) return;
  line_ = "Move to ";
  append_number(line_, position);
  line_ += '\n';
  trace_->write(line_);
}

void SilentReading::report(const support::Finding& finding) {
  if (finding.rule == Rule::file_read_error) findings_->report(finding);
}

support::Place RecordReader::place(std::uint64_t offset, std::uint64_t length) const {
  support::Place place;
  place.partition = partition_;
  place.stream = stream_name_;
  place.stream_offset = offset;
  place.length = length;
  if (source_ != nullptr) place.file_offset = source_->file_offset(offset);
  return place;
}

support::Place RecordReader::last_field() const {
  support::Place place;
  place.partition = partition_;
  if (source_ == nullptr) return place;
  const std::uint64_t end = source_->position();
  const std::uint64_t start = end - std::min(end, field_size_);
  place.stream = stream_name_;
  place.stream_offset = start;
  place.file_offset = source_->file_offset(start);
  if (field_size_ > 0) place.length = field_size_;
  place.field = field_.text();
  return place;
}

}  // namespace inspect
