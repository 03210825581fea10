#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "inspect/records/text_arena.h"
#include "support/number_table.h"

namespace inspect {

/// Names a text of a TextPool, or by shared_text_id() one of the shared strings of its partition.
using TextId = std::uint32_t;
inline constexpr TextId kNoText = support::NumberTable::kNone;

inline constexpr TextId kSharedTextBit = TextId{1} << 31U;

/// The id of shared string `index`, which is below 2^31 - 1.
constexpr TextId shared_text_id(std::size_t index) { return static_cast<TextId>(index) | kSharedTextBit; }

/// Texts kept once each, however often they occur: a file may name one user in each of a million saves.
class TextPool {
 public:
  TextId intern(std::string_view text);

  /// Valid until the next intern(); empty for kNoText. Not for ids of shared strings.
  std::string_view operator[](TextId id) const {
    return id == kNoText ? std::string_view{} : texts_.at(id).value_or(std::string_view{});
  }

  std::size_t size() const { return table_.size(); }

  /// Bytes of memory taken.
  std::size_t byte_count() const { return texts_.byte_count() + table_.byte_count(); }

 private:
  TextArena texts_;
  support::NumberTable table_;
};

}  // namespace inspect
