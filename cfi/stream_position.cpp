#include "cfi/stream_position.h"

#include "cfi/cfi_error_codes.h"

using namespace VRX::System::CFI;

std::uint64_t CFI_get_position(const support::ByteSource& source) { return source.position(); }

void CFI_set_position(support::ByteSource& source, std::uint64_t position) {
  if (position > kFarthestPosition) {
    throw make_error(kSeekToNegativeLocation, static_cast<unsigned long long>(position));
  }
  source.set_position(position);
}
