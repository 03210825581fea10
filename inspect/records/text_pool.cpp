#include "inspect/records/text_pool.h"

#include "support/keyed_hash.h"

namespace inspect {

/// The slot that holds `text`, or the free one where it belongs.
std::size_t TextPool::slot_of(std::string_view text) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = support::keyed_hash(text) & mask;
  while (slots_[at] != kNoText && (*this)[slots_[at]] != text) at = (at + 1) & mask;
  return at;
}

void TextPool::grow() {
  slots_.assign(slots_.empty() ? 64 : slots_.size() * 2, kNoText);
  TextArena::Place place = 0;
  for (std::size_t i = 0; i < size_; ++i, place = texts_.next(place)) slots_[slot_of((*this)[place])] = place;
}

TextId TextPool::intern(std::string_view text) {
  if ((size_ + 1) * 4 > slots_.size() * 3) grow();
  TextId& slot = slots_[slot_of(text)];
  if (slot == kNoText) {
    slot = texts_.append(text);
    ++size_;
  }
  return slot;
}

}  // namespace inspect
