#include "inspect/sections/referenced_names.h"

#include <deque>
#include <string>
#include <unordered_map>

#include "inspect/sections/external_references.h"
#include "inspect/sections/printable_texts.h"
#include "support/keyed_hash.h"
#include "support/limits.h"

namespace inspect {

void visit_referenced_names(support::ByteSource& stream,
                            const std::function<void(const ReferencedName&)>& visit) {
  constexpr std::size_t kEntryOverhead = 128;
  struct Counted {
    std::string text;
    std::uint64_t times;
    std::uint64_t first_offset;
    std::uint64_t last_offset;
  };
  std::deque<Counted> names;
  std::unordered_map<std::string_view, Counted*, support::KeyedHash> by_text;
  std::size_t kept_bytes = 0;
  const auto give = [&] {
    for (const Counted& name : names) {
      visit({.text = name.text,
             .times = name.times,
             .first_offset = name.first_offset,
             .last_offset = name.last_offset,
             .names_part = names_part(name.text)});
    }
    names.clear();
    by_text.clear();
  };
  PrintableTexts texts(stream);
  while (const auto text = texts.next()) {
    if (const auto known = by_text.find(*text); known != by_text.end()) {
      ++known->second->times;
      known->second->last_offset = texts.offset();
      continue;
    }
    if (kept_bytes > limits::kKeptNameBytes) {
      give();
      kept_bytes = 0;
    }
    names.push_back({std::string(*text), 1, texts.offset(), texts.offset()});
    Counted& name = names.back();
    by_text.emplace(name.text, &name);
    kept_bytes += name.text.size() + kEntryOverhead;
  }
  give();
}

}  // namespace inspect
