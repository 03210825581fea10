#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace inspect {

/// Texts one behind the other in one run of bytes, each behind its length, so that a million short ones cost
/// little more memory than they have bytes.
class TextArena {
 public:
  /// Where a text begins.
  using Place = std::uint32_t;

  /// Adds a text, or the mark of a slot that holds none. All texts together stay below 4 GiB.
  Place append(std::optional<std::string_view> text) {
    make_room(text ? text->size() : 0);
    const auto place = static_cast<Place>(bytes_.size());
    std::uint64_t head = text ? std::uint64_t{text->size()} + 1 : 0;
    for (; head > 0x7F; head >>= 7U) bytes_ += static_cast<char>(0x80U | (head & 0x7FU));
    bytes_ += static_cast<char>(head);
    if (text) bytes_ += *text;
    return place;
  }

  /// The text at `place`; valid until the next append().
  std::optional<std::string_view> at(Place place) const { return text_at(place); }

  /// The place behind the text at `place`.
  Place next(Place place) const {
    text_at(place);
    return place;
  }

  std::size_t byte_count() const { return bytes_.size(); }

 private:
  static constexpr std::size_t kSmall = 65536;
  static constexpr std::size_t kLarge = (std::size_t{16} << 20U) + kSmall;

  /// Growing by copies would hold twice the bytes at times; memory that is set aside and not used costs none.
  void make_room(std::size_t count) {
    const std::size_t size = bytes_.size() + count + sizeof(std::uint64_t);
    if (size > bytes_.capacity() && size > kSmall && size < kLarge) bytes_.reserve(kLarge);
  }

  /// Moves `place` behind the text.
  std::optional<std::string_view> text_at(Place& place) const {
    std::uint64_t head = 0;
    unsigned shift = 0;
    auto byte = static_cast<std::uint8_t>(bytes_[place++]);
    for (; (byte & 0x80U) != 0; byte = static_cast<std::uint8_t>(bytes_[place++])) {
      head |= std::uint64_t{byte & 0x7FU} << shift;
      shift += 7;
    }
    head |= std::uint64_t{byte} << shift;
    if (head == 0) return std::nullopt;
    const std::string_view text = std::string_view(bytes_).substr(place, head - 1);
    place += static_cast<Place>(text.size());
    return text;
  }

  std::string bytes_;
};

}  // namespace inspect
