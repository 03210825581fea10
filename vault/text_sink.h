#pragma once

#include <string>
#include <string_view>

#include "support/byte_sink.h"

namespace vault {

/// Keeps in memory what is written.
class TextSink final : public support::ByteSink {
 public:
  void write(std::string_view bytes) override { text.append(bytes); }
  std::string text;
};

}  // namespace vault
