#include "inspect/report/storage_printer.h"

#include "support/assertion.h"

namespace inspect {

using VRX::System::CFI::ElementNode;
using VRX::System::CFI::ElementType;
using VRX::System::CFI::FileKind;
using VRX::System::CFI::IndexArea;

namespace {

constexpr std::size_t kNameColumns = 40;
constexpr std::size_t kNumberColumns = 10;

/// The blanks behind a name: up to column 40, and behind a longer name as many as it exceeds that by.
std::size_t padding(std::size_t indent, std::size_t name_length) {
  if (indent > kNameColumns) return 0;
  const std::size_t room = kNameColumns - indent;
  return name_length <= room ? room - name_length : name_length - room;
}

const char* area_name(IndexArea area) { return area == IndexArea::footer ? "Footer" : "Header"; }

}  // namespace

StoragePrinter::StoragePrinter(const cfi_tools::StorageListingHead* rootStorage, support::Console& console)
    : root_(rootStorage), console_(console), text_(console) {
  VRII_ASSERT(rootStorage != nullptr);
}

void MSStoragePrinter::print_kind() { console().print_text("Uses Microsoft storage\n"); }

void MSStoragePrinter::print_child(const ElementNode& child, std::size_t indent) {
  const bool is_storage = child.type == ElementType::storage;
  text().spaces(indent).text(is_storage ? "Storage " : "Stream ").name(child.name);
  if (is_storage) {
    text().text(" ");
  } else {
    text().text(": ").number(child.size).text(" bytes");
  }
  text().end_line();
}

void KVPMStoragePrinter::print_kind() {
  console().print("Uses KVPM storage (file format %d)\n", root().format_number);
  if (root().fast_load_version != 0) {
    console().print("Fast Load Partition version: %d\n", root().fast_load_version);
  }
  console().print("Fast Load Partition End: %lld\n", static_cast<long long>(root().fast_load_end));
}

void KVPMStoragePrinter::print_column_header() {
  console().print_text(
      "                                                                 Size         Offset Range     \n"
      "===============================================================================================\n");
}

void KVPMStoragePrinter::print_child(const ElementNode& child, std::size_t indent) {
  const bool is_storage = child.type == ElementType::storage;
  const std::size_t length = text().spaces(indent).text(is_storage ? "Storage " : "Stream ").name(child.name);
  const std::size_t gap = padding(indent, length);
  if (is_storage) {
    text().text(" ").spaces(gap).text("  ").text(area_name(child.area));
  } else {
    text().text(":").spaces(gap).text("   ").text(area_name(child.area)).text("  ");
    text().number(child.size, kNumberColumns).text(" ").number(child.start_offset, kNumberColumns);
    text().text(" -  ").number(child.start_offset + child.size, kNumberColumns);
  }
  text().end_line();
}

std::unique_ptr<StoragePrinter> make_storage_printer(const cfi_tools::StorageListingHead& rootStorage,
                                                     support::Console& console) {
  if (rootStorage.kind == FileKind::microsoft)
    return std::make_unique<MSStoragePrinter>(&rootStorage, console);
  return std::make_unique<KVPMStoragePrinter>(&rootStorage, console);
}

}  // namespace inspect
