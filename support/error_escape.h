#pragma once

#include <exception>
#include <string>
#include <utility>

namespace support {

/// The one exception for trouble with a file's content or with the system: raised where it is found,
/// caught by the per-file driver. `code` says who raised it: 1020000 to 1024999 the container, 99 an error
/// in a file's content that has been reported already, 641001 the inspector, 641002 a call of the system,
/// 1510005 a text too long.
class ErrorEscape : public std::exception {
 public:
  // __builtin_LINE: clang 14 cannot read this library's <source_location>.
  ErrorEscape(const char* module, int code, std::string message, int line = __builtin_LINE())
      : module_(module), line_(line), code_(code), message_(std::move(message)) {}

  const char* what() const noexcept override { return message_.c_str(); }
  const char* module() const noexcept { return module_; }
  int line() const noexcept { return line_; }
  int code() const noexcept { return code_; }
  const std::string& message() const noexcept { return message_; }

 private:
  const char* module_;
  int line_;
  int code_;
  std::string message_;
};

}  // namespace support
