#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "support/byte_source.h"

namespace inspect {

/// Finds the printable texts of a stream without a known layout, in order: runs of at least four printable
/// UTF-8 characters. A run of more than 4096 bytes comes in pieces. The stream is read once from its start,
/// in pieces; memory does not depend on its size.
class PrintableTexts {
 public:
  explicit PrintableTexts(support::ByteSource& source);

  /// The next text, valid until the next call; none at the end of the stream. Raises what the source raises.
  std::optional<std::string_view> next();

  /// Of the first byte of the text that was given last, in bytes from the start of the stream.
  std::uint64_t offset() const { return offset_; }

 private:
  static constexpr std::size_t kMinCharacters = 4;
  static constexpr std::size_t kMaxCharacterBytes = 4;

  bool refill();
  void start_run();
  void step_over(std::size_t count);
  std::string_view text_without_length(bool behind_nul);

  support::ByteSource& source_;
  std::array<char, std::size_t{64}* 1024> buffer_ = {};
  std::string_view rest_;  ///< bytes of buffer_ not yet looked at
  bool at_end_ = false;
  std::uint64_t looked_at_ = 0;  ///< bytes of the stream
  std::uint64_t offset_ = 0;
  std::string text_;
  std::size_t characters_ = 0;
};

}  // namespace inspect
