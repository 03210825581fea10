#pragma once

#include <string_view>

namespace support {

/// A named channel of diagnostics on standard error, on when VRII_DISPLAY_DEBUG lists its name.
class DiagnosticsChannel {
 public:
  explicit DiagnosticsChannel(std::string_view name);
  bool enabled() const { return enabled_; }
  [[gnu::format(printf, 2, 3)]] void print(const char* format, ...) const;

 private:
  bool enabled_;
};

}  // namespace support
