#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "cfi/lz4_decompress_stream.h"
#include "support/byte_source.h"
#include "support/error_escape.h"

namespace VRX::System::CFI {

/// An LZ4-framed stream as a source of its expanded bytes. Reading forward is the natural way; a position
/// further back costs expanding again from the start, and size() expands the whole frame once.
/// A frame that ends with a status raises ErrorEscape with that number and a text that names the stream:
/// size() at once, read() when all bytes before the damage have been delivered. One that expands to more than
/// limits::kExpansionRatio allows ends there, as if with status 1020029.
class ExpandedSource final : public support::ByteSource {
 public:
  /// `inner` holds the frame from its start and outlives this object, which moves it at will.
  ExpandedSource(support::ByteSource& inner, std::string name);
  ExpandedSource(std::unique_ptr<support::ByteSource> inner, std::string name);

  std::size_t read(void* destination, std::size_t count) override;
  std::uint64_t position() const override { return position_; }
  void set_position(std::uint64_t position) override { position_ = position; }
  std::uint64_t size() const override;

  /// The frame ends, without a status, at a block that cannot be decoded. Raises what size() raises.
  bool ends_at_bad_block() const;

 private:
  bool reach_position();
  std::uint64_t budget() const;

  std::unique_ptr<support::ByteSource> owned_;
  support::ByteSource& inner_;
  std::string name_;
  std::optional<LZ4DecompressStream> decoder_;
  std::uint64_t position_ = 0;
  mutable std::optional<std::uint64_t> size_;
  mutable bool ends_at_bad_block_ = false;
};

/// True when the first four bytes are the frame's signature. Leaves the source at its start.
bool is_lz4_framed(support::ByteSource& source);

/// The source itself, or its expansion when it is framed; `name` is for messages.
std::unique_ptr<support::ByteSource> expand_when_framed(std::unique_ptr<support::ByteSource> source,
                                                        std::string name);

/// A framed stream expanded once, to be read in any order.
struct ExpandedFile {
  std::unique_ptr<support::ByteSource> source;  ///< what could be expanded
  std::optional<support::ErrorEscape> failure;  ///< the status with which the frame ended, if any
};

/// Expands into a file without a name in the temporary folder, which takes no more than the frame may expand
/// to when `file_length` bytes are all that there are. Raises 1020059 when it cannot be written.
ExpandedFile expand_to_temporary_file(support::ByteSource& framed, const std::string& name,
                                      std::uint64_t file_length);

}  // namespace VRX::System::CFI
