#include "inspect/records/text_pool.h"

#include "support/keyed_hash.h"

namespace inspect {

TextId TextPool::intern(std::string_view text) {
  const std::uint64_t hash = support::keyed_hash(text);
  const TextId known = table_.find(hash, [&](TextId id) { return (*this)[id] == text; });
  if (known != kNoText) return known;
  const TextId added = texts_.append(text);
  table_.insert(hash, added, [this](TextId id) { return support::keyed_hash((*this)[id]); });
  return added;
}

}  // namespace inspect
