#include "inspect/report/stream_texts.h"

#include <string>

#include "support/printable.h"

namespace inspect {

void print_compatibility_line(support::Console& console, const CompatibilityLine& line) {
  console.print(line.first ? "Earliest compatible release: %s\n" : "%s\n",
                support::printable(line.text).c_str());
}

void print_jt_head(support::Console& console, const JtHead& head) {
  if (head.body_partition_count != 0) {
    console.print("Part contains %u JT BodyPartition objects\n", head.body_partition_count);
  }
  console.print("Part contains %u JT bodies in the %s stream:\n", head.body_count,
                std::string(head.stream_name).c_str());
}

void print_jt_table_heading(support::Console& console) {
  console.print_text("   Id  Offset\n   --  ------\n");
}

void print_jt_body(support::Console& console, const JtBody& body) {
  console.print(" %llu %llu\n", static_cast<unsigned long long>(body.id),
                static_cast<unsigned long long>(body.offset));
}

void print_reference_heading(support::Console& console, ReferenceList list) {
  switch (list) {
    case ReferenceList::part_storage:
      console.print_text("Contents of ExternalReferenceTable for VRPart Storage:\n");
      return;
    case ReferenceList::fast_load_storage:
      console.print_text("Contents of ExternalReferenceTable for Fast Load Partition Storage:\n");
      return;
    case ReferenceList::most_recent:
      console.print_text("\nReferenced parts (most recent):\n");
      return;
    case ReferenceList::all:
      console.print_text("\nReferenced parts (all):\n");
      return;
  }
}

void print_reference(support::Console& console, std::string_view text) {
  console.print_text("  ");
  console.print_text(support::printable(text));
  console.print_text("\n");
}

}  // namespace inspect
