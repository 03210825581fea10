#pragma once

#include <string_view>

namespace support {

/// Takes the bytes of a document in order, as they are written. Raises ErrorEscape when it cannot keep them.
class ByteSink {
 public:
  ByteSink() = default;
  ByteSink(const ByteSink&) = delete;
  ByteSink& operator=(const ByteSink&) = delete;
  virtual ~ByteSink() = default;

  virtual void write(std::string_view bytes) = 0;
};

}  // namespace support
