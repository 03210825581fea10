#include "cfi/writing/lock_bytes_factories.h"

#include "cfi/cfi_error_codes.h"
#include "cfi/writing/v_file_channel.h"

namespace VRX::System::CFI {

std::unique_ptr<FileChannel> ReadOnlyLockBytesFactory::make(const std::string& file_name) const {
  return std::make_unique<FileChannel>(file_name);
}

std::unique_ptr<FileChannel> ReadWriteLockBytesFactory::make(const std::string& file_name) const {
  return std::make_unique<VFileChannel>(file_name);
}

std::unique_ptr<FileChannel> make_lock_bytes(const ILockBytesFactory* for_reading,
                                             const ILockBytesFactory* for_update,
                                             const std::string& file_name) {
  if (for_update != nullptr) return for_update->make(file_name);
  if (for_reading != nullptr) return for_reading->make(file_name);
  throw make_error(kInternalFailure, "no lock-bytes factory is given");
}

}  // namespace VRX::System::CFI
