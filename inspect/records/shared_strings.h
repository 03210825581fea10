#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace inspect {

/// A shared string, or none where the table's slot holds no text.
using SharedString = std::optional<std::string>;

/// The shared string table of one partition: all texts in one run of bytes, so that a table of a million
/// short strings costs little more memory than it has bytes in the file.
class SharedStrings {
 public:
  SharedStrings() = default;
  SharedStrings(std::initializer_list<SharedString> strings) {
    for (const SharedString& text : strings) push_back(text);
  }

  void push_back(const SharedString& text) {
    if (text) bytes_ += *text;
    ends_.push_back(std::uint64_t{bytes_.size()} << 1U | (text ? 1U : 0U));
  }

  /// Gives the memory back too, which the assignment of an empty string does not.
  void clear() {
    std::string().swap(bytes_);
    std::vector<std::uint64_t>().swap(ends_);
  }

  std::size_t size() const { return ends_.size(); }
  std::size_t byte_count() const { return bytes_.size(); }
  bool empty() const { return ends_.empty(); }

  /// A copy of string `index`, which is below size().
  SharedString operator[](std::size_t index) const {
    if ((ends_[index] & 1U) == 0) return std::nullopt;
    const std::uint64_t begin = index == 0 ? 0 : ends_[index - 1] >> 1U;
    return bytes_.substr(begin, (ends_[index] >> 1U) - begin);
  }

 private:
  std::string bytes_;
  std::vector<std::uint64_t> ends_;  ///< end of each text in bytes_, shifted; bit 0: the slot holds a text
};

}  // namespace inspect
