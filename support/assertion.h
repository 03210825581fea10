#pragma once

namespace support {

/// Reports on standard error that a condition that must hold (or must never hold) does not: a fault of the
/// program, never of a file.
void report_assertion(const char* text, const char* file, int line);

}  // namespace support

/// Reports "Never condition true: <condition>" and is true when `condition` is.
#define VRII_NEVER(condition)                                                                         \
  ((condition)                                                                                        \
       ? (::support::report_assertion("Never condition true: " #condition, __FILE__, __LINE__), true) \
       : false)

/// Reports `condition` when it is false; costs nothing in a release build.
#ifdef NDEBUG
#define VRII_ASSERT(condition) static_cast<void>(0)
#else
#define VRII_ASSERT(condition) \
  ((condition) ? static_cast<void>(0) : ::support::report_assertion(#condition, __FILE__, __LINE__))
#endif
