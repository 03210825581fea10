#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace inspect {

/// Texts one behind the other, each behind its length, so that a million short ones cost little more memory
/// than they have bytes. They lie in chunks: one run of bytes would be held twice each time it grows.
class TextArena {
 public:
  /// Where a text begins: below 2^31.
  using Place = std::uint32_t;

  /// Adds a text of at most 65536 bytes, or the mark of a slot that holds none.
  Place append(std::optional<std::string_view> text) {
    const std::size_t count = (text ? text->size() : 0) + kLongestHead;
    if (chunks_.empty() || chunks_.back().size() + count > kChunk) chunks_.emplace_back();
    std::string& chunk = chunks_.back();
    if (chunks_.size() > 1 && chunk.empty()) chunk.reserve(kChunk);
    const std::size_t begin = chunk.size();
    std::uint64_t head = text ? std::uint64_t{text->size()} + 1 : 0;
    for (; head > 0x7F; head >>= 7U) chunk += static_cast<char>(0x80U | (head & 0x7FU));
    chunk += static_cast<char>(head);
    if (text) chunk += *text;
    byte_count_ += chunk.size() - begin;
    return static_cast<Place>((chunks_.size() - 1) * kChunk + begin);
  }

  /// The text at `place`; valid until the next append().
  std::optional<std::string_view> at(Place place) const { return text_at(place); }

  /// The place behind the text at `place`, of the next one if there is one.
  Place next(Place place) const {
    text_at(place);
    const std::size_t chunk = place / kChunk;
    return place % kChunk < chunks_[chunk].size() ? place : static_cast<Place>((chunk + 1) * kChunk);
  }

  /// Of all texts with their lengths.
  std::size_t byte_count() const { return byte_count_; }

 private:
  static constexpr std::size_t kChunk = std::size_t{1} << 20U;
  static constexpr std::size_t kLongestHead =
      4;  ///< bytes of a length, and one so that no chunk is ever full

  /// Moves `place` behind the text.
  std::optional<std::string_view> text_at(Place& place) const {
    const std::string_view chunk = chunks_[place / kChunk];
    std::size_t at = place % kChunk;
    std::uint64_t head = 0;
    unsigned shift = 0;
    std::uint8_t byte = 0;
    do {
      byte = static_cast<std::uint8_t>(chunk[at]);
      ++at;
      head |= std::uint64_t{byte & 0x7FU} << shift;
      shift += 7;
    } while ((byte & 0x80U) != 0);
    const std::size_t count = head == 0 ? 0 : head - 1;
    place += static_cast<Place>(at + count - place % kChunk);
    if (head == 0) return std::nullopt;
    return chunk.substr(at, count);
  }

  std::vector<std::string> chunks_;
  std::size_t byte_count_ = 0;
};

}  // namespace inspect
