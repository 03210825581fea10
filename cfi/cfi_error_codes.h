#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "support/error_escape.h"
#include "support/printable.h"

namespace VRX::System::CFI {

/// The container's error numbers, 1020000 to 1024999. A negative status -k means 1020000 + k.
enum ErrorCode : int {
  kErrorBase = 1020000,
  kEndOfStream = 1020023,          ///< also status -23
  kBadCompressedStream = 1020029,  ///< bad LZ4 signature or a block length below 1
  kSystemCallFailed = 1020059,     ///< the text is that of the system; see system_call_failed()
  kCompressedBlockTooLong = 1020204,
  kSeekToNegativeLocation = 1021001,
  kNotAStorageFile = 1021080,
  kElementNotFound = 1021251,
  kElementExists = 1021252,
  kInternalFailure = 1021253,
  kUnsupportedOperation = 1021254,
  kInvalidOptions = 1021255,
  kVersionTooNew = 1021260,
  kDamagedIndex = 1021265,
  kDamagedCompoundFile = 1021266,
  kEncryptedFile = 1021496,
  kIndexChecksumMismatch = 1021501,
  kNameTooLong = 1021502,
};

struct ErrorText {
  ErrorCode code;
  const char* text;
};

// Sorted by number. Where one number serves several causes the text stands at the place that raises it.
inline constexpr std::array kErrorTexts = {
    ErrorText{kEndOfStream, "unexpected end of stream"},
    ErrorText{kBadCompressedStream, "bad signature or block length in a compressed stream"},
    ErrorText{kCompressedBlockTooLong, "block of a compressed stream is too long"},
    ErrorText{kSeekToNegativeLocation, "Attempt to seek to negative absolute location: 0x%016llx"},
    ErrorText{kNotAStorageFile, "File is not a structured-storage file: %s"},
    ErrorText{kElementNotFound, "Storage element %s was not found when opening for read"},
    ErrorText{kElementExists, "Storage element %s already exists"},
    ErrorText{kInternalFailure, "Structured storage internal failure: %s"},
    ErrorText{kUnsupportedOperation, "operation is not supported: %s"},
    ErrorText{kInvalidOptions, "Invalid options '%s'"},
    ErrorText{kVersionTooNew, "Cannot read version %u storage file (greater than current version %u)"},
    ErrorText{kDamagedIndex, "damaged index: %s"},
    ErrorText{kDamagedCompoundFile, "damaged Microsoft storage file: %s"},
    ErrorText{kEncryptedFile, "Encrypted files are not supported on this platform"},
    ErrorText{kIndexChecksumMismatch,
              "Checksum of Index read (%u) does not match stored checksum (%u), file has been corrupted"},
    ErrorText{kNameTooLong, "Structured Storage Error: Storage name is too long: %d"},
};

/// The text of a number with its placeholders; null for one without a text.
constexpr const char* error_format(int code) {
  const auto* found = std::ranges::find(kErrorTexts, code, [](const ErrorText& e) { return int{e.code}; });
  return found == kErrorTexts.end() ? nullptr : found->text;
}

namespace error_arguments {

template <typename Argument>
concept Text = std::convertible_to<const Argument&, std::string_view>;

/// Whether an argument is what the conversion, which ends in `letter`, takes from a variable argument list.
template <typename Argument>
constexpr bool suits(char letter) {
  switch (letter) {
    case 's':
      return Text<Argument>;
    case 'd':
      return std::same_as<Argument, int>;
    case 'u':
      return std::same_as<Argument, unsigned>;
    case 'x':  // as %llx
      return std::integral<Argument> && sizeof(Argument) == sizeof(long long);
    default:
      return false;
  }
}

/// The letter that ends the next conversion; leaves `format` behind it. 0 at the end.
constexpr char next_conversion(std::string_view& format) {
  const auto percent = format.find('%');
  if (percent == std::string_view::npos) return 0;
  const auto letter = format.find_first_of("sdux", percent);
  const char found = format[letter];
  format.remove_prefix(letter + 1);
  return found;
}

/// A number whose text takes exactly these arguments, and the line that raises it.
template <typename... Arguments>
struct RaisedAt {
  // __builtin_LINE: see ErrorEscape.
  consteval RaisedAt(ErrorCode the_code, int the_line = __builtin_LINE()) : code(the_code), line(the_line) {
    std::string_view format = error_format(the_code);
    if (!(suits<Arguments>(next_conversion(format)) && ...) || next_conversion(format) != 0) {
      throw "the arguments do not fit the text of the error number";
    }
  }
  ErrorCode code;
  int line;
};

/// An argument as it is passed on; texts are made fit for a terminal.
template <typename Argument>
struct Passed {
  explicit Passed(const Argument& argument) : value(argument) {}
  Argument value;
  Argument get() const { return value; }
};

template <Text Argument>
struct Passed<Argument> {
  explicit Passed(std::string_view text) : value(support::printable(text)) {}
  std::string value;
  const char* get() const { return value.c_str(); }
};

support::ErrorEscape filled(int line, int code, ...);

}  // namespace error_arguments

/// The escape for a number: its text, filled with the arguments that its placeholders name. The arguments
/// are checked when this is compiled; texts among them may come from a file.
template <typename... Arguments>
support::ErrorEscape make_error(error_arguments::RaisedAt<std::type_identity_t<Arguments>...> raised,
                                const Arguments&... arguments) {
  return error_arguments::filled(raised.line, raised.code,
                                 error_arguments::Passed<Arguments>(arguments).get()...);
}

/// The escape 1020059 for the errno that a system call has just left; its text is that of the system.
support::ErrorEscape system_call_failed(int error_number, int line = __builtin_LINE());

/// The text of a number (or of a negative status) with its placeholders unfilled, as the driver shows it
/// when it has nothing but the number; "Unknown CFI error code %d" for a number with no text.
std::string error_text(int code);

/// 1020000 + k for a status -k, anything else as it is.
constexpr int error_number(int status) { return status < 0 ? kErrorBase - status : status; }

/// -k for the error number 1020000 + k.
constexpr int status_of(int code) { return kErrorBase - code; }

}  // namespace VRX::System::CFI
