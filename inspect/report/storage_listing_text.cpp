#include "inspect/report/storage_listing_text.h"

namespace inspect {

namespace {

constexpr std::size_t kIndentStep = 4;

}  // namespace

void StorageListingText::begin(const cfi_tools::StorageListingHead& head) {
  head_ = head;
  printer_ = make_storage_printer(head_, console_);
  console_.print_text("-------- Structured Storage Summary ------------\n");
  printer_->print_kind();
  printer_->print_column_header();
}

void StorageListingText::element(const VRX::System::CFI::ElementNode& node, std::size_t depth) {
  printer_->print_child(node, kIndentStep * depth);
}

void StorageListingText::end_of_elements() { printer_->finish(); }

void StorageListingText::truncation(bool is_truncated) {
  console_.print_text(is_truncated ? "File appears to have been truncated.\n"
                                   : "File does not appear to have been truncated.\n");
}

}  // namespace inspect
