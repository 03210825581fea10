#include "inspect/sections/printable_texts.h"

#include <algorithm>
#include <cstring>

#include "support/limits.h"
#include "support/printable.h"

namespace inspect {

PrintableTexts::PrintableTexts(support::ByteSource& source) : source_(source) { source_.set_position(0); }

/// Moves what is left to the front of the buffer and reads behind it; false when nothing is left at all.
bool PrintableTexts::refill() {
  if (rest_.size() >= kMaxCharacterBytes || at_end_) return !rest_.empty();
  const std::size_t kept = rest_.size();
  if (kept > 0) std::memmove(buffer_.data(), rest_.data(), kept);
  const std::size_t got = source_.read(buffer_.data() + kept, buffer_.size() - kept);
  at_end_ = got == 0;
  rest_ = {buffer_.data(), kept + got};
  return !rest_.empty();
}

void PrintableTexts::step_over(std::size_t count) {
  rest_.remove_prefix(count);
  looked_at_ += count;
}

void PrintableTexts::start_run() {
  text_.clear();
  characters_ = 0;
}

std::optional<std::string_view> PrintableTexts::next() {
  start_run();
  bool behind_nul = false;
  while (refill()) {
    const std::size_t length = support::printable_length(rest_);
    if (length == 0) {
      const bool ends_text = characters_ >= kMinCharacters;
      if (ends_text) return text_without_length(behind_nul);
      start_run();
      behind_nul = rest_.front() == '\0';
      step_over(1);
      continue;
    }
    if (text_.size() + length > limits::kPrintableTextBytes) return text_without_length(behind_nul);
    text_.append(rest_.substr(0, length));
    step_over(length);
    ++characters_;
  }
  if (characters_ >= kMinCharacters) return text_without_length(behind_nul);
  return std::nullopt;
}

/// The run, without a first byte that is the length of the rest: the last byte of a stored length may happen
/// to be printable.
std::string_view PrintableTexts::text_without_length(bool behind_nul) {
  const std::string_view text = text_;
  const bool begins_with_length = behind_nul && characters_ > kMinCharacters &&
                                  static_cast<unsigned char>(text.front()) == text.size() - 1;
  offset_ = looked_at_ - text.size() + (begins_with_length ? 1 : 0);
  return begins_with_length ? text.substr(1) : text;
}

}  // namespace inspect
