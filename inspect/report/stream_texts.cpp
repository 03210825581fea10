#include "inspect/report/stream_texts.h"

#include <string>

#include "support/console.h"
#include "support/printable.h"

namespace inspect {

using support::print;
using support::print_text;

void print_compatibility_line(const CompatibilityLine& line) {
  print(line.first ? "Earliest compatible release: %s\n" : "%s\n", support::printable(line.text).c_str());
}

void print_jt_head(const JtHead& head) {
  if (head.body_partition_count != 0) {
    print("Part contains %u JT BodyPartition objects\n", head.body_partition_count);
  }
  print("Part contains %u JT bodies in the %s stream:\n", head.body_count,
        std::string(head.stream_name).c_str());
}

void print_jt_table_heading() { print_text("   Id  Offset\n   --  ------\n"); }

void print_jt_body(const JtBody& body) {
  print(" %llu %llu\n", static_cast<unsigned long long>(body.id),
        static_cast<unsigned long long>(body.offset));
}

void print_reference_heading(ReferenceList list) {
  switch (list) {
    case ReferenceList::part_storage:
      print_text("Contents of ExternalReferenceTable for VRPart Storage:\n");
      return;
    case ReferenceList::fast_load_storage:
      print_text("Contents of ExternalReferenceTable for Fast Load Partition Storage:\n");
      return;
    case ReferenceList::most_recent:
      print_text("\nReferenced parts (most recent):\n");
      return;
    case ReferenceList::all:
      print_text("\nReferenced parts (all):\n");
      return;
  }
}

void print_reference(std::string_view text) {
  print_text("  ");
  print_text(support::printable(text));
  print_text("\n");
}

}  // namespace inspect
