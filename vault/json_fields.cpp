#include "vault/json_fields.h"

#include <nettle/base64.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <charconv>
#include <chrono>

namespace vault {

namespace {

const Json kNoElements(rapidjson::kArrayType);

std::optional<std::string> decoded(std::string_view base64) {
  base64_decode_ctx context = {};
  base64_decode_init(&context);
  std::string decoded(BASE64_DECODE_LENGTH(base64.size()), '\0');
  std::size_t length = decoded.size();
  const bool sound = base64_decode_update(&context, &length, reinterpret_cast<std::uint8_t*>(decoded.data()),
                                          base64.size(), base64.data()) == 1 &&
                     base64_decode_final(&context) == 1;
  if (!sound) return std::nullopt;
  decoded.resize(length);
  return decoded;
}

/// The number that stands in `text` from `at` on, in exactly `digits` digits; -1 when there is none.
int digits_at(std::string_view text, std::size_t at, std::size_t digits) {
  int number = 0;
  const char* const end = text.data() + at + digits;
  const auto [next, error] = std::from_chars(text.data() + at, end, number);
  return error == std::errc() && next == end && number >= 0 ? number : -1;
}

}  // namespace

const Json* member(const Json* of, const char* name) {
  if (of == nullptr || !of->IsObject()) return nullptr;
  const auto found = of->FindMember(name);
  return found == of->MemberEnd() ? nullptr : &found->value;
}

Json::ConstArray elements(const Json* of, const char* name) {
  const Json* const array = member(of, name);
  return array != nullptr && array->IsArray() ? array->GetArray() : kNoElements.GetArray();
}

std::optional<std::string_view> text(const Json* of, const char* name) {
  const Json* const value = member(of, name);
  if (value == nullptr || !value->IsString()) return std::nullopt;
  return std::string_view(value->GetString(), value->GetStringLength());
}

std::optional<std::string> bytes(const Json* of, const std::string& name) {
  if (const auto exact = text(of, (name + "_base64").c_str())) {
    if (auto found = decoded(*exact)) return found;
  }
  const auto shown = text(of, name.c_str());
  return shown ? std::optional<std::string>(*shown) : std::nullopt;
}

std::optional<std::int64_t> number(const Json* of, const char* name) {
  const Json* const value = member(of, name);
  if (value == nullptr) return std::nullopt;
  if (value->IsBool()) return value->GetBool() ? 1 : 0;
  if (value->IsInt64()) return value->GetInt64();
  if (value->IsUint64()) return INT64_MAX;
  return std::nullopt;
}

std::optional<std::int64_t> parse_time(std::string_view text) {
  constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
  if (text.size() != kForm.size()) return std::nullopt;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    if (kForm[i] != '0' && kForm[i] != text[i]) return std::nullopt;
  }
  const std::chrono::year_month_day day(std::chrono::year(digits_at(text, 0, 4)),
                                        std::chrono::month(static_cast<unsigned>(digits_at(text, 5, 2))),
                                        std::chrono::day(static_cast<unsigned>(digits_at(text, 8, 2))));
  const int hours = digits_at(text, 11, 2);
  const int minutes = digits_at(text, 14, 2);
  const int seconds = digits_at(text, 17, 2);
  const bool sound = day.ok() && digits_at(text, 0, 4) >= 0 && hours >= 0 && hours < 24 && minutes >= 0 &&
                     minutes < 60 && seconds >= 0 && seconds <= 60;
  if (!sound) return std::nullopt;
  const std::chrono::seconds since = std::chrono::sys_days(day).time_since_epoch() +
                                     std::chrono::hours(hours) + std::chrono::minutes(minutes) +
                                     std::chrono::seconds(seconds);
  return since.count();
}

std::optional<std::int64_t> time(const Json* of, const char* name) {
  const auto form = text(of, name);
  return form ? parse_time(*form) : std::nullopt;
}

std::optional<std::string> json_text(const Json* of, const char* name) {
  const Json* const value = member(of, name);
  if (value == nullptr || value->IsNull()) return std::nullopt;
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value->Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

}  // namespace vault
