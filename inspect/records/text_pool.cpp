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
  for (TextId id = 0; id < ends_.size(); ++id) slots_[slot_of((*this)[id])] = id;
}

TextId TextPool::intern(std::string_view text) {
  if ((ends_.size() + 1) * 2 > slots_.size()) grow();
  TextId& slot = slots_[slot_of(text)];
  if (slot == kNoText) {
    slot = static_cast<TextId>(ends_.size());
    bytes_ += text;
    ends_.push_back(bytes_.size());
  }
  return slot;
}

}  // namespace inspect
