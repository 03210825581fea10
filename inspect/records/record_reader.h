#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "cfi/stream_position.h"
#include "inspect/records/trace.h"
#include "support/byte_source.h"
#include "support/findings.h"

namespace inspect {

template <typename T>
concept FieldInteger = std::integral<T> && !std::same_as<T, bool>;

/// How an object-manager partition stores its integers, shorts and labels.
enum class Encoding : std::uint8_t { plain, compact };

/// Reads the fields of a part's records from its stream, one at a time and in order. Each read names its
/// field in the trace, when there is one, before it reads; converts from the file's byte order; and does not
/// return from a short read: that is the finding record.end-of-file and an ErrorEscape of code 99.
class RecordReader {
 public:
  /// The sink and the trace (null for none) outlive the reader.
  explicit RecordReader(support::FindingSink& findings, Trace* trace = nullptr)
      : findings_(&findings), trace_(trace) {}

  /// Reads from `source`, which outlives its use here, from its position on. `stream_name` is its path below
  /// the root storage, empty for a flat file.
  void attach(support::ByteSource& source, std::string_view stream_name);
  void detach() { source_ = nullptr; }

  /// While one lives, fields are read from another source, from its start.
  class OtherSource {
   public:
    OtherSource(RecordReader& reader, support::ByteSource& source)
        : reader_(reader), before_(reader.source_) {
      reader.source_ = &source;
    }
    ~OtherSource() { reader_.source_ = before_; }
    OtherSource(const OtherSource&) = delete;
    OtherSource& operator=(const OtherSource&) = delete;

   private:
    RecordReader& reader_;
    support::ByteSource* before_;
  };

  support::ByteSource& source() const { return *source_; }
  support::FindingSink& findings() const { return *findings_; }
  Trace* trace() const { return trace_; }

  /// True when the file was written on a machine of the other byte order.
  bool swaps_bytes() const { return swaps_bytes_; }
  void set_swaps_bytes(bool swaps) { swaps_bytes_ = swaps; }

  /// One field of 1, 2, 4 or 8 bytes.
  template <FieldInteger T>
  T read(const FieldLabel& label) {
    T value = {};
    read(std::span(&value, 1), label);
    return value;
  }

  template <FieldInteger T>
  void read(T& value, const FieldLabel& label) {
    read(std::span(&value, 1), label);
  }

  /// As many fields as the span has; none is no read, but a line of the trace.
  template <FieldInteger T, std::size_t kExtent>
  void read(std::span<T, kExtent> values, const FieldLabel& label) {
    begin_field(label, sizeof(T), values.size());
    take(values.data(), values.size_bytes());
    convert(values);
  }

  /// A position: 8 bytes when `wide`, else 4, zero-extended.
  std::uint64_t read_position(bool wide, const FieldLabel& label);

  /// 4 bytes, or the compact form of 1 to 5 bytes.
  std::int32_t read_compact_int(Encoding encoding, const FieldLabel& label);

  /// 2 bytes, or the compact form of 1 to 3 bytes; sign-extended from 16 bits (14 in the short compact form).
  std::int32_t read_compact_short(Encoding encoding, const FieldLabel& label);

  /// Steps over one compact label: 42 stands for any present object, -1 and -2 for none. Not traced.
  std::int32_t read_compact_om_label();

  /// Converts values that were read before to the other byte order, when the file's is the other one.
  template <FieldInteger T, std::size_t kExtent>
  void convert(std::span<T, kExtent> values) {
    if (sizeof(T) > 1 && swaps_bytes_) swap(std::as_writable_bytes(values), sizeof(T));
  }

  /// In bytes from the start of the stream.
  std::uint64_t position() const { return CFI_get_position(*source_); }

  /// Any position below 2^63; beyond, the finding record.position.
  void move_to(std::uint64_t position);

  /// Names a field in the trace whose form is read from the file: ": ", `what`, its position, `end`.
  void begin_composed(const FieldLabel& label, std::string_view what, std::string_view end = "\n") {
    field_ = label;
    field_size_ = 0;
    if (trace_ != nullptr) [[unlikely]]
      trace_composed(what, end);
  }

  /// What has been read so far, and how much may be before records are taken to overlap without end: bytes
  /// of fields, and fields named in the trace.
  struct Count {
    std::uint64_t bytes = 0;
    std::uint64_t traced_fields = 0;
  };
  static constexpr Count kNoLimit = {UINT64_MAX, UINT64_MAX};
  const Count& count() const { return count_; }

  /// Counts bytes as read that were read before and are used again.
  void charge(std::uint64_t bytes);
  void set_limit(const Count& limit) { limit_ = limit; }

  /// The partition whose records are read, for the places of findings.
  void set_partition(std::optional<std::int32_t> id) { partition_ = id; }

  /// Bytes of the stream, as the place of a finding.
  support::Place place(std::uint64_t offset, std::uint64_t length) const;

  /// Where the last field began, and its name.
  support::Place last_field() const;

 private:
  friend class SilentReading;

  void begin_field(const FieldLabel& label, std::size_t width, std::size_t count) {
    field_ = label;
    field_size_ = width * count;
    if (trace_ != nullptr) [[unlikely]]
      trace_field(width, count);
  }
  void trace_field(std::size_t width, std::size_t count);
  void trace_composed(std::string_view what, std::string_view end);
  void begin_line();
  void append_position();
  void end_field_line(std::string_view end);
  [[noreturn]] void report_overlap() const;
  void take(void* destination, std::size_t count);

  /// A field whose line of the trace has been begun.
  template <FieldInteger T>
  T take_plain() {
    T value = {};
    field_size_ = sizeof value;
    take(&value, sizeof value);
    convert(std::span(&value, 1));
    return value;
  }

  std::uint8_t read_byte();
  std::uint32_t append_bytes(std::uint32_t value, int further);
  void swap(std::span<std::byte> bytes, std::size_t width);

  support::ByteSource* source_ = nullptr;
  support::FindingSink* findings_;
  Trace* trace_;
  std::string line_;  ///< of the trace, while it is put together
  bool swaps_bytes_ = false;
  Count count_;
  Count limit_ = kNoLimit;
  std::string stream_name_;
  std::optional<std::int32_t> partition_;
  FieldLabel field_ = "";         ///< of the last read
  std::uint64_t field_size_ = 0;  ///< in bytes
};

/// While one lives, findings go nowhere and nothing is traced: for content that a report can do without.
/// That the system cannot read is never kept quiet.
class SilentReading final : public support::FindingSink {
 public:
  explicit SilentReading(RecordReader& reader)
      : reader_(reader), findings_(reader.findings_), trace_(reader.trace_) {
    reader.findings_ = this;
    reader.trace_ = nullptr;
  }
  ~SilentReading() override {
    reader_.findings_ = findings_;
    reader_.trace_ = trace_;
  }
  SilentReading(const SilentReading&) = delete;
  SilentReading& operator=(const SilentReading&) = delete;

  void report(const support::Finding& finding) override;

 private:
  RecordReader& reader_;
  support::FindingSink* findings_;
  Trace* trace_;
};

}  // namespace inspect
