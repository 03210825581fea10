#pragma once

#include <memory>
#include <string>

#include "cfi/file_channel.h"

namespace VRX::System::CFI {

/// Makes the object through which the bytes of a storage file are reached.
class ILockBytesFactory {
 public:
  ILockBytesFactory() = default;
  ILockBytesFactory(const ILockBytesFactory&) = delete;
  ILockBytesFactory& operator=(const ILockBytesFactory&) = delete;
  virtual ~ILockBytesFactory() = default;

  /// Opens an existing regular file. Raises what FileChannel raises.
  virtual std::unique_ptr<FileChannel> make(const std::string& file_name) const = 0;
};

class ReadOnlyLockBytesFactory final : public ILockBytesFactory {
 public:
  std::unique_ptr<FileChannel> make(const std::string& file_name) const override;
};

class ReadWriteLockBytesFactory final : public ILockBytesFactory {
 public:
  std::unique_ptr<FileChannel> make(const std::string& file_name) const override;
};

/// Opens a file through the factory for update when there is one, else through that for reading; at least
/// one of the two must be given (1021253).
std::unique_ptr<FileChannel> make_lock_bytes(const ILockBytesFactory* for_reading,
                                             const ILockBytesFactory* for_update,
                                             const std::string& file_name);

}  // namespace VRX::System::CFI
