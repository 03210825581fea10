#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/console.h"

namespace inspect {

/// Lines of a listing, put together in one block and printed in large pieces: printf is too slow where there
/// are a million of them.
class ListingText {
 public:
  explicit ListingText(support::Console& console) : console_(console) {}

  ListingText& text(std::string_view text) {
    block_ += text;
    return *this;
  }
  ListingText& spaces(std::size_t count);

  /// A name from the file, fit for a terminal; gives its length as printed.
  std::size_t name(std::string_view name);

  /// Decimal, right-justified in `width` columns.
  ListingText& number(std::uint64_t value, std::size_t width = 0);

  void end_line();

  /// Prints what is left.
  void flush();

 private:
  support::Console& console_;
  std::string block_;
};

}  // namespace inspect
