#include "cfi/diagnostics_channels.h"

namespace VRX::System::CFI {

const support::DiagnosticsChannel& cfi_storage_channel() {
  static const support::DiagnosticsChannel channel("cfi_storage");
  return channel;
}

const support::DiagnosticsChannel& structured_storage_channel() {
  static const support::DiagnosticsChannel channel("structured_storage");
  return channel;
}

const support::DiagnosticsChannel& structured_storage_io_channel() {
  static const support::DiagnosticsChannel channel("structured_storage_io");
  return channel;
}

}  // namespace VRX::System::CFI
