#include "inspect/report/listing_text.h"

#include <algorithm>

#include "support/printable.h"
#include "support/text_line.h"

namespace inspect {

namespace {

constexpr std::size_t kBlockSize = 65536;

bool is_plain(char c) { return c >= ' ' && c <= '~'; }

}  // namespace

ListingText& ListingText::spaces(std::size_t count) {
  block_.append(count, ' ');
  return *this;
}

std::size_t ListingText::name(std::string_view name) {
  const std::size_t before = block_.size();
  if (std::ranges::all_of(name, is_plain)) {
    block_ += name;
  } else {
    block_ += support::printable(name);
  }
  return block_.size() - before;
}

ListingText& ListingText::number(std::uint64_t value, std::size_t width) {
  support::append_number(block_, value, width);
  return *this;
}

void ListingText::end_line() {
  block_ += '\n';
  if (block_.size() >= kBlockSize) flush();
}

void ListingText::flush() {
  console_.print_text(block_);
  block_.clear();
}

}  // namespace inspect
