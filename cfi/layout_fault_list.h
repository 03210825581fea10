#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cfi/container_layout.h"

namespace VRX::System::CFI {

/// Collects the faults of a layout: each is counted, the first of each kind are kept.
class LayoutFaultList {
 public:
  /// Counts a fault; true when it is to be described by a call of add().
  bool count(LayoutFaultKind kind);
  void add(LayoutFault fault) { faults_.rows.push_back(std::move(fault)); }

  LayoutFaults take() { return std::move(faults_); }

 private:
  LayoutFaults faults_;
};

/// A path as faults tell it, from what stands before its last "/" and behind it: without "/Root/", and "..."
/// for all but the end of a very long one.
std::string fault_path(std::string_view parent, std::string_view name);

}  // namespace VRX::System::CFI
