#include "inspect/records/trace.h"

#include <cstdarg>

#include "support/text_format.h"
#include "support/text_line.h"

namespace inspect {

void Trace::print(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  write(support::format_text_list(format, arguments));
  va_end(arguments);
}

void FieldLabel::append_to(std::string& text) const {
  constexpr std::string_view kPlace = "{}";
  std::string_view rest = pattern_;
  for (const std::int64_t number : numbers_) {
    const std::size_t at = rest.find(kPlace);
    if (at == std::string_view::npos) break;
    text += rest.substr(0, at);
    support::append_number(text, number);
    rest.remove_prefix(at + kPlace.size());
  }
  text += rest;
}

std::string FieldLabel::text() const {
  std::string text;
  append_to(text);
  return text;
}

}  // namespace inspect
