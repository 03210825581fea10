#pragma once

#include <memory>

#include "inspect/report/storage_printer.h"

namespace inspect {

/// The text of -storages.
class StorageListingText final : public cfi_tools::StorageListingSink {
 public:
  explicit StorageListingText(support::Console& console) : console_(console) {}

  void begin(const cfi_tools::StorageListingHead& head) override;
  void element(const VRX::System::CFI::ElementNode& node, std::size_t depth) override;
  void end_of_elements() override;
  void truncation(bool is_truncated) override;

 private:
  support::Console& console_;
  cfi_tools::StorageListingHead head_;
  std::unique_ptr<StoragePrinter> printer_;
};

}  // namespace inspect
