#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace inspect {

/// Number of a text in its TextPool.
using TextId = std::uint32_t;
inline constexpr TextId kNoText = UINT32_MAX;

/// Texts kept once each, however often they occur: a file may name one user in each of a million saves.
class TextPool {
 public:
  TextId intern(std::string_view text);

  /// Valid until the next intern(); empty for kNoText.
  std::string_view operator[](TextId id) const {
    if (id == kNoText) return {};
    const std::uint64_t begin = id == 0 ? 0 : ends_[id - 1];
    return std::string_view(bytes_).substr(begin, ends_[id] - begin);
  }

  std::size_t size() const { return ends_.size(); }
  std::size_t byte_count() const { return bytes_.size(); }

 private:
  std::size_t slot_of(std::string_view text) const;
  void grow();

  std::string bytes_;
  std::vector<std::uint64_t> ends_;
  std::vector<TextId> slots_;  ///< open addressing; a power of two of slots
};

}  // namespace inspect
