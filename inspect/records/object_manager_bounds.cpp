#include "inspect/records/object_manager_bounds.h"

#include "inspect/records/inspect_errors.h"
#include "support/limits.h"

namespace inspect {

void check_om_limit(InspectFile& file, std::size_t count, std::size_t limit, const char* of_what) {
  if (count >= limit)
    inspect_error(file.reader, Rule::om_limit, "More than %zu %s in an object-manager partition", limit,
                  of_what);
}

void check_object_memory(InspectFile& file, const PartitionEntry& partition, const ObjectManagerPartition& om,
                         std::size_t further) {
  const std::size_t texts = partition.shared_strings.byte_count() + om.texts.byte_count();
  if (file.partition_memory + texts + further <= limits::kPartitionMemory) return;
  inspect_error(file.reader, Rule::om_limit,
                "More texts and saves than fit into memory in an object-manager partition");
}

void cut_at_terminator(std::string& text) {
  const std::size_t end = text.find('\0');
  if (end != std::string::npos) text.resize(end);
}

}  // namespace inspect
