#include "cfi/tools/file_digest.h"

#include <nettle/sha2.h>

#include <array>
#include <cstdint>
#include <memory>

namespace cfi_tools {

std::string sha256_of(VRX::System::CFI::FileChannel& file) {
  constexpr std::size_t kPiece = std::size_t{256} * 1024;
  const auto buffer = std::make_unique_for_overwrite<std::uint8_t[]>(kPiece);
  sha256_ctx context;
  sha256_init(&context);
  std::uint64_t at = 0;
  while (const std::size_t count = file.read_at(at, buffer.get(), kPiece)) {
    sha256_update(&context, count, buffer.get());
    at += count;
  }
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest = {};
  sha256_digest(&context, digest.size(), digest.data());
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : digest) {
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 15U];
  }
  return text;
}

}  // namespace cfi_tools
