#include "inspect/solid/header_keywords.h"

namespace inspect {

namespace {

constexpr std::size_t kMinorDigits = 5;  ///< two of the second number, three of the third

/// A text ends at its first NUL.
std::string_view terminated(std::string_view text) { return text.substr(0, text.find('\0')); }

/// The part of `text` in front of the ';' that must end it.
std::optional<std::string_view> up_to_semicolon(std::string_view text) {
  const std::size_t end = text.find(';');
  if (end == std::string_view::npos) return std::nullopt;
  return text.substr(0, end);
}

/// The value of SCH; the first place that shows the word decides.
std::optional<std::string_view> schema_of(std::string_view text) {
  constexpr std::string_view kKey = "SCH";
  const std::size_t at = text.find(kKey);
  if (at == std::string_view::npos) return std::nullopt;
  text.remove_prefix(at + kKey.size());
  if (!text.starts_with('=')) return std::nullopt;
  return up_to_semicolon(text.substr(1));
}

}  // namespace

std::string kernel_version_of(std::string_view header_text) {
  constexpr const char* kUnknown = "Unknown";
  const std::optional<std::string_view> schema = schema_of(terminated(header_text));
  if (!schema) return kUnknown;
  const std::size_t first = schema->find('_');
  if (first == std::string_view::npos) return kUnknown;
  const std::size_t second = schema->find('_', first + 1);
  if (second == std::string_view::npos) return kUnknown;
  const std::string run(schema->substr(first + 1, second - first - 1));
  if (run.size() <= kMinorDigits) return kUnknown;
  const std::size_t major = run.size() - kMinorDigits;
  return run.substr(0, major) + '.' + run.substr(major, 2) + '.' + run.substr(major + 2);
}

std::optional<std::string_view> transmit_format_of(std::string_view header_text) {
  constexpr std::string_view kKey = "FORMAT=";
  header_text = terminated(header_text);
  const std::size_t at = header_text.find(kKey);
  if (at == std::string_view::npos) return std::nullopt;
  return up_to_semicolon(header_text.substr(at + kKey.size()));
}

}  // namespace inspect
