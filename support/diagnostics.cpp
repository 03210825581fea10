#include "support/diagnostics.h"

#include <cstdarg>
#include <string>

#include "support/console.h"
#include "support/environment.h"
#include "support/text_format.h"

namespace support {

namespace {

bool lists(std::string_view names, std::string_view wanted) {
  while (!names.empty()) {
    const auto comma = names.find(',');
    if (names.substr(0, comma) == wanted) return true;
    if (comma == std::string_view::npos) break;
    names.remove_prefix(comma + 1);
  }
  return false;
}

}  // namespace

DiagnosticsChannel::DiagnosticsChannel(std::string_view name) : enabled_(lists(wanted_diagnostics(), name)) {}

void DiagnosticsChannel::print(const char* format, ...) const {
  if (!enabled_) return;
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = format_text_list(format, arguments);
  va_end(arguments);
  print_diagnostics(text);
}

}  // namespace support
