#include "inspect/report/entity_chain_listing.h"

#include "inspect/records/object_manager_label.h"

namespace inspect {

namespace {

constexpr std::int32_t kBlockSize = 512;
constexpr const char* kHeading = "\n-------- Non-empty entity type chains ---------\n";

}  // namespace

void print_entity_type_chains(support::Console& console, const EntityTypeChains& heads, Encoding encoding) {
  console.print_text(kHeading);
  console.print_text("  Type       Head\n  ----       ----\n");
  for (std::size_t type = 0; type < heads.size(); ++type) {
    const std::int32_t head = heads[type];
    if (head == kNullIndex || head == kOtherNullIndex) continue;
    if (encoding == Encoding::compact && head == kSomeObject) {
      console.print("  %4zu    present\n", type);
    } else {
      console.print("  %4zu  %9d\n", type, head);
    }
  }
}

void print_old_entity_chains(support::Console& console, std::span<const std::int16_t> words) {
  console.print_text(kHeading);
  console.print_text("  Entity Name          Type     Offset\n");
  console.print_text("  -----------          ----     ------\n");
  for (std::size_t type = 1; type < words.size(); ++type) {
    const std::int32_t block = static_cast<std::uint16_t>(words[type]);
    if (block != 0)
      console.print("  %-20.20s %4d  %9d\n", "Unknown", static_cast<int>(type), block * kBlockSize);
  }
}

}  // namespace inspect
