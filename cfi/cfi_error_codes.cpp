#include "cfi/cfi_error_codes.h"

#include <cstdarg>
#include <cstring>
#include <utility>

#include "support/text_format.h"

namespace VRX::System::CFI {

std::string error_text(int code) {
  const int number = error_number(code);
  if (number == kSystemCallFailed) return "a system call failed";
  if (const char* text = error_format(number)) return text;
  return support::format_text("Unknown CFI error code %d", code);
}

support::ErrorEscape system_call_failed(int error_number, int line) {
  return {"cfi", kSystemCallFailed, std::strerror(error_number), line};
}

// The one place where a format is no literal: it comes from the table, held against the arguments before.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

support::ErrorEscape error_arguments::filled(int line, int code, ...) {
  std::va_list arguments;
  va_start(arguments, code);
  std::string message = support::format_text_list(error_format(code), arguments);
  va_end(arguments);
  return {"cfi", code, std::move(message), line};
}

#pragma GCC diagnostic pop

}  // namespace VRX::System::CFI
