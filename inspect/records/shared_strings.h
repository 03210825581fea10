#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/records/text_arena.h"

namespace inspect {

/// A shared string, or none where the table's slot holds no text.
using SharedString = std::optional<std::string>;

/// The shared string table of one partition. Empty it takes no more room than a pointer.
class SharedStrings {
 public:
  SharedStrings() = default;
  SharedStrings(std::initializer_list<SharedString> strings) {
    for (const SharedString& text : strings) push_back(text);
  }

  void push_back(const SharedString& text) {
    if (!table_) table_ = std::make_unique<Table>();
    const TextArena::Place place =
        table_->texts.append(text ? std::optional<std::string_view>(*text) : std::nullopt);
    if (table_->size++ % kGroup == 0) table_->groups.push_back(place);
  }

  void clear() { table_.reset(); }

  std::size_t size() const { return table_ ? table_->size : 0; }

  /// Bytes of memory taken.
  std::size_t byte_count() const {
    return table_ ? table_->texts.byte_count() + table_->groups.capacity() * sizeof(TextArena::Place) : 0;
  }

  /// String `index`, which is below size(). Valid until the table changes.
  std::optional<std::string_view> operator[](std::size_t index) const {
    TextArena::Place place = table_->groups[index / kGroup];
    for (std::size_t i = 0; i < index % kGroup; ++i) place = table_->texts.next(place);
    return table_->texts.at(place);
  }

 private:
  static constexpr std::size_t kGroup = 16;  ///< strings found by stepping from the first of them

  struct Table {
    TextArena texts;
    std::vector<TextArena::Place> groups;  ///< the first string of each group
    std::size_t size = 0;
  };

  std::unique_ptr<Table> table_;
};

}  // namespace inspect
