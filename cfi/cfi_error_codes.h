#pragma once

#include <string>

#include "support/error_escape.h"

namespace VRX::System::CFI {

/// The container's error numbers, 1020000 to 1024999. A negative status -k means 1020000 + k.
enum ErrorCode : int {
  kErrorBase = 1020000,
  kEndOfStream = 1020023,          ///< also status -23
  kBadCompressedStream = 1020029,  ///< bad LZ4 signature or a block length below 1
  kSystemCallFailed = 1020059,     ///< the text is that of errno
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

/// The escape for `code`: the text of the message table, filled in printf-style with the arguments that its
/// placeholders name. kSystemCallFailed takes no arguments and reads errno.
support::ErrorEscape make_error(int code, ...);

/// The text of a number (or of a negative status) with its placeholders unfilled, as the driver shows it
/// when it has nothing but the number; "Unknown CFI error code %d" for a number with no text.
std::string error_text(int code);

/// 1020000 + k for a status -k, anything else as it is.
constexpr int error_number(int status) { return status < 0 ? kErrorBase - status : status; }

/// -k for the error number 1020000 + k.
constexpr int status_of(int code) { return kErrorBase - code; }

}  // namespace VRX::System::CFI
