#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include "support/error_escape.h"
#include "support/text_format.h"

namespace support {

inline constexpr int kTextTooLong = 1510005;

/// A NUL-terminated text of at most `Size` - 1 bytes. What does not fit is never cut: it raises 1510005.
template <std::size_t Size>
class BoundedText {
 public:
  const char* c_str() const { return bytes_; }
  std::string_view view() const { return {bytes_, length_}; }
  bool empty() const { return length_ == 0; }

  void assign(std::string_view text) {
    length_ = 0;
    append(text);
  }

  void append(std::string_view text) {
    if (text.size() >= Size - length_) {
      throw ErrorEscape("str", kTextTooLong,
                        format_text("buffer size %zd is too small for source string length %zd",
                                    static_cast<ssize_t>(Size), static_cast<ssize_t>(length_ + text.size())));
    }
    if (!text.empty()) std::memcpy(bytes_ + length_, text.data(), text.size());
    length_ += text.size();
    bytes_[length_] = '\0';
  }

 private:
  char bytes_[Size] = {};
  std::size_t length_ = 0;
};

}  // namespace support
