#include "cfi/storage_file.h"

namespace VRX::System::CFI {

FileKind recognise(FileChannel& channel) {
  char bytes[kSignatureSize];
  if (channel.read_at(0, bytes, sizeof bytes) != sizeof bytes) return FileKind::flat;
  const std::string_view signature(bytes, sizeof bytes);
  if (signature == kKvpmSignature) return FileKind::kvpm;
  if (signature == kMicrosoftSignature) return FileKind::microsoft;
  return FileKind::flat;
}

}  // namespace VRX::System::CFI
