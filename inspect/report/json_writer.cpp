#include "inspect/report/json_writer.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <variant>

#include "support/utf8.h"

namespace inspect {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool is_ascii(const char* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return (word & 0x8080808080808080U) == 0;
}

/// The bytes of the text that are UTF-8, from its start.
std::size_t sound_length(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    if (text.size() - at >= sizeof(std::uint64_t) && is_ascii(text.data() + at)) {
      at += sizeof(std::uint64_t);
    } else if (static_cast<unsigned char>(text[at]) < 0x80) {
      ++at;
    } else {
      const support::Utf8Character next = support::first_utf8_character(text.substr(at));
      if (next.length == 0 || next.is_surrogate()) break;
      at += next.length;
    }
  }
  return at;
}

std::string base64(std::string_view bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      group = group << 8U | (i < count ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += i <= count ? kDigits[group >> (18 - 6 * i) & 63U] : '=';
    }
  }
  return text;
}

}  // namespace

/// The library's writers, which are quickest into a buffer of its own.
class JsonWriter::Engine {
 public:
  Engine(support::ByteSink& out, Layout layout) : out_(out) {
    if (layout == Layout::one_line) {
      writer_.emplace<Plain>(buffer_);
    } else {
      writer_.emplace<Pretty>(buffer_).SetIndent(' ', 1);
    }
  }

  template <typename Call>
  void run(Call call) {
    if (Plain* plain = std::get_if<Plain>(&writer_)) {
      call(*plain);
    } else {
      call(std::get<Pretty>(writer_));
    }
    if (buffer_.GetSize() >= kPiece) flush();
  }

  void flush() {
    out_.write({buffer_.GetString(), buffer_.GetSize()});
    buffer_.Clear();
  }

 private:
  using Plain = rapidjson::Writer<rapidjson::StringBuffer>;
  using Pretty = rapidjson::PrettyWriter<rapidjson::StringBuffer>;
  static constexpr std::size_t kPiece = 16384;

  support::ByteSink& out_;
  rapidjson::StringBuffer buffer_;
  std::variant<std::monostate, Plain, Pretty> writer_;
};

JsonWriter::JsonWriter(support::ByteSink& out, Layout layout)
    : engine_(std::make_unique<Engine>(out, layout)) {}

JsonWriter::JsonWriter() = default;
JsonWriter::~JsonWriter() = default;

void JsonWriter::begin_object() {
  if (engine_) engine_->run([](auto& writer) { writer.StartObject(); });
}
void JsonWriter::end_object() {
  if (engine_) engine_->run([](auto& writer) { writer.EndObject(); });
}
void JsonWriter::begin_array() {
  if (engine_) engine_->run([](auto& writer) { writer.StartArray(); });
}
void JsonWriter::end_array() {
  if (engine_) engine_->run([](auto& writer) { writer.EndArray(); });
}
void JsonWriter::key(std::string_view name) {
  if (!engine_) return;
  if (sound_length(name) < name.size()) return key(utf8_text(name));
  engine_->run([&](auto& writer) { writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size())); });
}
void JsonWriter::null() {
  if (engine_) engine_->run([](auto& writer) { writer.Null(); });
}
void JsonWriter::value(bool truth) {
  if (engine_) engine_->run([=](auto& writer) { writer.Bool(truth); });
}
void JsonWriter::signed_number(std::int64_t number) {
  if (engine_) engine_->run([=](auto& writer) { writer.Int64(number); });
}
void JsonWriter::unsigned_number(std::uint64_t number) {
  if (engine_) engine_->run([=](auto& writer) { writer.Uint64(number); });
}

void JsonWriter::value(std::string_view text) {
  if (!engine_) return;
  if (sound_length(text) < text.size()) return value(std::string_view(utf8_text(text)));
  engine_->run([&](auto& writer) {
    writer.String(text.data() == nullptr ? "" : text.data(), static_cast<rapidjson::SizeType>(text.size()));
  });
}

void JsonWriter::text_member(std::string_view name, std::string_view text) {
  if (!engine_) return;
  member(name, text);
  if (sound_length(text) == text.size()) return;
  member(std::string(name) + "_base64", std::string_view(base64(text)));
}

void JsonWriter::text_or_null(std::string_view name, std::string_view text) {
  if (text.empty()) return null_member(name);
  text_member(name, text);
}

void JsonWriter::checksum_member(std::string_view name, std::uint64_t checksum) {
  if (!engine_) return;
  char digits[20];
  const int width = checksum >> 32U != 0 ? 16 : 8;
  std::snprintf(digits, sizeof digits, "0x%0*llx", width, static_cast<unsigned long long>(checksum));
  member(name, std::string_view(digits));
}

void JsonWriter::time_member(std::string_view name, std::int64_t seconds) {
  if (!engine_) return;
  char form[32];
  const std::string_view time = utc_time(seconds, form);
  if (time.empty()) return null_member(name);
  member(name, time);
}

void JsonWriter::flush() {
  if (engine_) engine_->flush();
}

std::string utf8_text(std::string_view text) {
  std::string sound;
  for (;;) {
    const std::size_t length = sound_length(text);
    sound += text.substr(0, length);
    if (length == text.size()) return sound;
    sound += kReplacement;
    text.remove_prefix(length + 1);
  }
}

std::string_view utc_time(std::int64_t seconds, char (&form)[32]) {
  const std::time_t time = seconds;
  std::tm parts = {};
  if (gmtime_r(&time, &parts) == nullptr) return "";
  constexpr int kFirstYear = 1900;
  if (parts.tm_year < -kFirstYear || parts.tm_year > 9999 - kFirstYear) return "";
  std::snprintf(form, sizeof form, "%04d", parts.tm_year + kFirstYear);
  return {form, 4 + std::strftime(form + 4, sizeof form - 4, "-%m-%dT%H:%M:%SZ", &parts)};
}

}  // namespace inspect
