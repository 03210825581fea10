#include "cfi/tools/feature_toggles.h"

#include <algorithm>
#include <memory>
#include <string>

#define XXH_STATIC_LINKING_ONLY  // the state stands on the stack
#include <xxhash.h>

#include "cfi/cfi_error_codes.h"
#include "cfi/stream_names.h"
#include "support/byte_order.h"
#include "support/error_escape.h"
#include "support/limits.h"
#include "support/text_format.h"

namespace cfi_tools {

namespace {

constexpr std::size_t kPieceSize = 65536;

/// Reads the fields of a toggle stream in their order and keeps the running checksum.
class ToggleReader {
 public:
  explicit ToggleReader(support::ByteSource& stream) : stream_(stream) { XXH32_reset(&digest_, 0); }

  std::uint8_t read_format() {
    std::uint8_t format = 0;
    read(&format, sizeof format);
    XXH32_update(&digest_, &format, sizeof format);
    return format;
  }

  std::uint32_t read_number() {
    unsigned char bytes[4];
    read(bytes, sizeof bytes);
    XXH32_update(&digest_, bytes, sizeof bytes);
    return support::load_little<std::uint32_t>(bytes);
  }

  std::string read_text() {
    const std::uint32_t length = read_number();
    if (length > limits::kToggleTextBytes) {
      throw support::ErrorEscape("cfi", VRX::System::CFI::kEndOfStream,
                                 support::format_text("feature toggle text of %u bytes in %s is too long",
                                                      length, stream_names::kFeatureToggles));
    }
    std::string text;
    while (text.size() < length) {  // piece by piece: the length is a claim until the bytes are there
      const std::size_t had = text.size();
      text.resize(had + std::min(kPieceSize, length - had));
      read(text.data() + had, text.size() - had);
    }
    XXH32_update(&digest_, text.data(), text.size());
    return text;
  }

  ToggleChecksums read_checksums() {
    const std::uint32_t computed = XXH32_digest(&digest_);
    return {computed, read_number()};
  }

 private:
  void read(void* destination, std::size_t count) {
    if (stream_.read(destination, count) == count) return;
    throw support::ErrorEscape(
        "cfi", VRX::System::CFI::kEndOfStream,
        support::format_text("unexpected end of stream %s", stream_names::kFeatureToggles));
  }

  support::ByteSource& stream_;
  XXH32_state_t digest_ = {};
};

}  // namespace

ToggleChecksums read_feature_toggles(support::ByteSource& stream, FeatureToggleSink& sink) {
  stream.set_position(0);
  ToggleReader reader(stream);
  const std::uint8_t format = reader.read_format();
  const std::uint32_t count = reader.read_number();
  sink.begin(format);
  for (std::uint32_t i = 0; i < count; ++i) sink.toggle(reader.read_text());
  return reader.read_checksums();
}

}  // namespace cfi_tools
