#include "support/diagnostics.h"

#include <cstdarg>
#include <cstdio>

#include "support/console.h"
#include "support/environment.h"

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
  flush_console();
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
}

}  // namespace support
