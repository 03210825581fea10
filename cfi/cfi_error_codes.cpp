#include "cfi/cfi_error_codes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <string_view>

#include "support/text_format.h"

namespace VRX::System::CFI {

namespace {

struct ErrorText {
  ErrorCode code;
  const char* text;
};

// Sorted by number. Where one number serves several causes the text stands at the place that raises it.
constexpr std::array kErrorTexts = {
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

const char* table_text(int code) {
  const auto* found = std::ranges::find(kErrorTexts, code, [](const ErrorText& e) { return int{e.code}; });
  return found == kErrorTexts.end() ? nullptr : found->text;
}

}  // namespace

std::string error_text(int code) {
  const int number = error_number(code);
  if (number == kSystemCallFailed) return std::strerror(errno);
  if (const char* text = table_text(number)) return text;
  return support::format_text("Unknown CFI error code %d", code);
}

// The one place where a format is no literal: it comes from the table above.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

support::ErrorEscape make_error(int code, ...) {
  if (code == kSystemCallFailed) return {"cfi", code, std::strerror(errno)};
  std::va_list arguments;
  va_start(arguments, code);
  std::string message = support::format_text_list(table_text(code), arguments);
  va_end(arguments);
  return {"cfi", code, std::move(message)};
}

#pragma GCC diagnostic pop

}  // namespace VRX::System::CFI
