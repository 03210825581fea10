#include "cfi/tools/storage_listing.h"

#include <memory>

#include "cfi/tools/storage_printer.h"
#include "support/console.h"

namespace cfi_tools {

void print_storages(CFI_storage_t root) {
  support::print_text("-------- Structured Storage Summary ------------\n");
  const std::unique_ptr<StoragePrinter> printer = make_storage_printer(root);
  printer->print_kind();
  printer->print_column_header();
  printer->print_children(CFI_element(root), 0);
  support::print_text(CFI_storage_file(root).is_truncated()
                          ? "File appears to have been truncated.\n"
                          : "File does not appear to have been truncated.\n");
  printer->finish();
}

}  // namespace cfi_tools
