#include "cfi/writing/replacement_file.h"

#include <utility>

#include "cfi/cfi_error_codes.h"
#include "cfi/writing/lock_bytes_factories.h"

namespace VRX::System::CFI {

ReplacementFile::ReplacementFile(std::string name) : file_(std::move(name)) {
  if (file_.error() != 0) throw system_call_failed(file_.error());
  const ReadWriteLockBytesFactory for_update;
  channel_ = make_lock_bytes(nullptr, &for_update, file_.temporary_name());
}

void ReplacementFile::commit() {
  if (!file_.commit()) throw system_call_failed(file_.error());
}

}  // namespace VRX::System::CFI
