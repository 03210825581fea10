#include "cfi/tools/storage_printer.h"

#include <algorithm>
#include <vector>

#include "cfi/cfi_error_codes.h"
#include "support/assertion.h"
#include "support/console.h"
#include "support/limits.h"

namespace cfi_tools {

using VRX::System::CFI::ElementId;
using VRX::System::CFI::ElementNode;
using VRX::System::CFI::ElementRecord;
using VRX::System::CFI::ElementType;
using VRX::System::CFI::FileKind;
using VRX::System::CFI::IndexArea;

namespace {

constexpr std::size_t kIndentStep = 4;
constexpr std::size_t kNameColumns = 40;
constexpr std::size_t kNumberColumns = 10;
constexpr std::size_t kUsualIndentation = 64;
constexpr std::size_t kFastLoadVersionUnit = 225;  // of the part file header

/// One storage on the way to the element at hand.
struct Level {
  std::vector<ElementId> children;
  std::size_t next = 0;
};

/// Visits everything below `storage`, depth first, without recursion. `children_of(storage)` gives the
/// children in listing order, `print(element, indent)` tells whether the element is a storage.
template <typename ChildrenOf, typename Print>
void walk(ElementId storage, std::size_t indent, ChildrenOf children_of, Print print) {
  const auto too_deep = [] {
    return make_error(VRX::System::CFI::kDamagedIndex, "storages are nested too deeply");
  };
  std::size_t indentation = 0;
  std::vector<Level> levels;
  levels.push_back({children_of(storage)});
  while (!levels.empty()) {
    Level& level = levels.back();
    if (level.next == level.children.size()) {
      levels.pop_back();
      continue;
    }
    const ElementId element = level.children[level.next++];
    const std::size_t column = indent + (levels.size() - 1) * kIndentStep;
    indentation += column - std::min(column, kUsualIndentation);
    if (indentation > limits::kIndentationBytes) throw too_deep();
    if (!print(element, column)) continue;
    if (levels.size() == limits::kListedLevels) throw too_deep();
    levels.push_back({children_of(element)});
  }
}

/// The blanks behind a name: up to column 40, and behind a longer name as many as it exceeds that by.
std::size_t padding(std::size_t indent, std::size_t name_length) {
  if (indent > kNameColumns) return 0;
  const std::size_t room = kNameColumns - indent;
  return name_length <= room ? room - name_length : name_length - room;
}

const char* area_name(IndexArea area) { return area == IndexArea::footer ? "Footer" : "Header"; }

}  // namespace

StoragePrinter::StoragePrinter(CFI_storage_t root) : root_(root) {
  [[maybe_unused]] const auto* rootStorage = root;
  VRII_ASSERT(rootStorage != nullptr);
}

void MSStoragePrinter::print_kind() { support::print_text("Uses Microsoft storage\n"); }

void MSStoragePrinter::print_children(ElementId storage, std::size_t indent) {
  walk(
      storage, indent, [this](ElementId element) { return file().children(element); },
      [this](ElementId element, std::size_t at) { return print_element(element, at); });
  text_.flush();
}

bool MSStoragePrinter::print_element(ElementId element, std::size_t indent) {
  const ElementRecord record = file().record(element);
  const bool is_storage = record.type == ElementType::storage;
  text_.spaces(indent).text(is_storage ? "Storage " : "Stream ").name(record.name);
  if (is_storage) {
    text_.text(" ");
  } else {
    text_.text(": ").number(record.size).text(" bytes");
  }
  text_.end_line();
  return is_storage;
}

void KVPMStoragePrinter::print_kind() {
  support::print("Uses KVPM storage (file format %d)\n", file().format_number());
  const int fast_load_version = file().part_header_unit(kFastLoadVersionUnit).value_or(0);
  if (fast_load_version != 0) support::print("Fast Load Partition version: %d\n", fast_load_version);
  support::print("Fast Load Partition End: %lld\n", static_cast<long long>(file().fast_load_end()));
}

void KVPMStoragePrinter::print_column_header() {
  support::print_text(
      "                                                                 Size         Offset Range     \n"
      "===============================================================================================\n");
}

void KVPMStoragePrinter::print_children(ElementId storage, std::size_t indent) {
  walk(
      storage, indent, [this](ElementId element) { return file().readable_children(element); },
      [this](ElementId element, std::size_t at) { return print_element(element, at); });
  text_.flush();
}

bool KVPMStoragePrinter::print_element(ElementId element, std::size_t indent) {
  const ElementNode node = file().node(element);
  const bool is_storage = node.type == ElementType::storage;
  const std::size_t length = text_.spaces(indent).text(is_storage ? "Storage " : "Stream ").name(node.name);
  const std::size_t gap = padding(indent, length);
  if (is_storage) {
    text_.text(" ").spaces(gap).text("  ").text(area_name(node.area));
  } else {
    text_.text(":").spaces(gap).text("   ").text(area_name(node.area)).text("  ");
    text_.number(node.size, kNumberColumns).text(" ").number(node.start_offset, kNumberColumns);
    text_.text(" -  ").number(node.start_offset + node.size, kNumberColumns);
  }
  text_.end_line();
  return is_storage;
}

void KVPMStoragePrinter::finish() { file().load_all(); }

std::unique_ptr<StoragePrinter> make_storage_printer(CFI_storage_t root) {
  if (CFI_storage_file(root).kind() == FileKind::microsoft) return std::make_unique<MSStoragePrinter>(root);
  return std::make_unique<KVPMStoragePrinter>(root);
}

}  // namespace cfi_tools
