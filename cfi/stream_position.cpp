#include "cfi/stream_position.h"

#include <cinttypes>

#include "cfi/cfi_error_codes.h"
#include "cfi/diagnostics_channels.h"

using namespace VRX::System::CFI;

std::uint64_t CFI_get_position(const support::ByteSource& source) {
  const std::uint64_t position = source.position();
  cfi_storage_channel().print("CFI_get_position: %" PRIu64 "\n", position);
  return position;
}

void CFI_set_position(support::ByteSource& source, std::uint64_t position) {
  cfi_storage_channel().print("CFI_set_position: %" PRIu64 "\n", position);
  if (position > kFarthestPosition) {
    throw make_error(kSeekToNegativeLocation, static_cast<unsigned long long>(position));
  }
  source.set_position(position);
}
