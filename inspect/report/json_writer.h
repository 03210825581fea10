#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "support/byte_sink.h"

namespace inspect {

/// Writes one JSON value to a sink as it is told, piece by piece. Texts of a part may hold any bytes: what is
/// no UTF-8 in them becomes U+FFFD.
class JsonWriter {
 public:
  enum class Layout : std::uint8_t {
    one_line,
    indented,  ///< a member a line, by one blank a level
  };

  /// Writes nothing: for a reading whose findings alone are wanted.
  JsonWriter();

  /// The sink outlives the writer.
  JsonWriter(support::ByteSink& out, Layout layout);
  ~JsonWriter();
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

  bool is_mute() const { return engine_ == nullptr; }

  void begin_object();
  void end_object();
  void begin_array();
  void end_array();

  /// What is no UTF-8 in a name that comes from a part becomes U+FFFD, as in its texts.
  void key(std::string_view name);

  void null();
  void value(bool truth);
  void value(std::string_view text);
  void value(const char* text) { value(std::string_view(text)); }

  template <std::integral Number>
  requires(!std::same_as<Number, bool>) void value(Number number) {
    if constexpr (std::signed_integral<Number>) {
      signed_number(number);
    } else {
      unsigned_number(number);
    }
  }

  template <typename Value>
  void value(const std::optional<Value>& value_or_none) {
    if (value_or_none) {
      value(*value_or_none);
    } else {
      null();
    }
  }

  template <typename Value>
  void member(std::string_view name, const Value& of) {
    key(name);
    value(of);
  }
  void null_member(std::string_view name) {
    key(name);
    null();
  }
  void begin_object(std::string_view name) {
    key(name);
    begin_object();
  }
  void begin_array(std::string_view name) {
    key(name);
    begin_array();
  }

  /// A text of the part: when it is no UTF-8 its exact bytes stand beside it, in the member `name`_base64.
  void text_member(std::string_view name, std::string_view text);

  /// The same, null for an empty text.
  void text_or_null(std::string_view name, std::string_view text);

  /// "0x" and 8 digits, 16 for what does not fit into them.
  void checksum_member(std::string_view name, std::uint64_t checksum);

  /// Seconds since 1970, as "2026-05-25T06:52:06Z"; null beyond the years 0 to 9999.
  void time_member(std::string_view name, std::int64_t seconds);

  /// Hands what is still held back to the sink.
  void flush();

 private:
  class Engine;

  void signed_number(std::int64_t number);
  void unsigned_number(std::uint64_t number);

  std::unique_ptr<Engine> engine_;
};

/// The text as it stands in a document: what is no UTF-8 is U+FFFD.
std::string utf8_text(std::string_view text);

/// "2026-05-25T06:52:06Z" in `form`, which keeps it; for years 0 to 9999.
std::string_view utc_time(std::int64_t seconds, char (&form)[32]);

}  // namespace inspect
