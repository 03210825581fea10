#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace inspect {

/// Expands one zlib stream more than twice as fast as zlib. What it takes for sound is so for zlib, but for
/// one thing: codes that leave bit patterns without a meaning, which no compressor writes. What it finds
/// faulty says nothing about which fault zlib would name, nor how far zlib would come.
///
/// The decoder is a library that is looked for when the first stream asks for it, so that runs that expand
/// nothing do not pay for its loading, and the program serves without it.
class FastInflate {
 public:
  enum class State : std::uint8_t {
    going_on,  ///< the input is used up, or the room
    ended,     ///< the stream is over and its own checksum fits
    unsound,
  };

  /// Null where the library is missing, or the build leaves it out.
  static std::unique_ptr<FastInflate> create();

  FastInflate() = default;
  FastInflate(const FastInflate&) = delete;
  FastInflate& operator=(const FastInflate&) = delete;
  virtual ~FastInflate() = default;

  /// The next stored bytes, below 4 GiB; they must outlive the calls that use them up.
  virtual void set_input(std::span<const unsigned char> input) = 0;

  /// True when all stored bytes given so far belong to the stream and are used up.
  virtual bool input_empty() const = 0;

  /// Expands into `room`, below 4 GiB, and adds the bytes produced to `produced`.
  virtual State expand(std::span<unsigned char> room, std::size_t& produced) = 0;

  /// Adler-32 of the expanded bytes; of use once the stream has ended.
  virtual std::uint32_t checksum() const = 0;

  /// Folds bytes into an Adler-32, which begins with 1.
  virtual std::uint32_t fold(std::uint32_t checksum, std::span<const unsigned char> bytes) const = 0;
};

}  // namespace inspect
