#pragma once

#include <cstddef>
#include <string_view>

#include "support/byte_sink.h"

namespace inspect {

/// Hands JSON text on in a form that can stand inside an element of a page: '<', '>', '&', U+2028 and U+2029
/// become escapes of six characters. In JSON they occur inside strings only, where the escapes mean the same.
/// A character may be split over two writes.
class MarkupSafeJson final : public support::ByteSink {
 public:
  explicit MarkupSafeJson(support::ByteSink& out) : out_(out) {}

  void write(std::string_view bytes) override;

  /// Hands on what was held back for a character that did not go on: at the end of a document.
  void finish();

 private:
  void take(char byte);

  support::ByteSink& out_;
  std::size_t held_ = 0;  ///< bytes of a line separator seen so far
};

}  // namespace inspect
