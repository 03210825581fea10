#include "inspect/report/entity_chain_listing.h"

#include "inspect/records/object_manager_label.h"
#include "support/console.h"

namespace inspect {

namespace {

using support::print;
using support::print_text;

constexpr std::int32_t kBlockSize = 512;
constexpr const char* kHeading = "\n-------- Non-empty entity type chains ---------\n";

}  // namespace

void print_entity_type_chains(const EntityTypeChains& heads, Encoding encoding) {
  print_text(kHeading);
  print_text("  Type       Head\n  ----       ----\n");
  for (std::size_t type = 0; type < heads.size(); ++type) {
    const std::int32_t head = heads[type];
    if (head == kNullIndex || head == kOtherNullIndex) continue;
    if (encoding == Encoding::compact && head == kSomeObject) {
      print("  %4zu    present\n", type);
    } else {
      print("  %4zu  %9d\n", type, head);
    }
  }
}

void print_old_entity_chains(std::span<const std::int16_t> words) {
  print_text(kHeading);
  print_text("  Entity Name          Type     Offset\n");
  print_text("  -----------          ----     ------\n");
  for (std::size_t type = 1; type < words.size(); ++type) {
    const std::int32_t block = static_cast<std::uint16_t>(words[type]);
    if (block != 0) print("  %-20.20s %4d  %9d\n", "Unknown", static_cast<int>(type), block * kBlockSize);
  }
}

}  // namespace inspect
