#include "inspect/records/object_manager_limits.h"

#include "inspect/records/inspect_errors.h"

namespace inspect {

void check_om_limit(InspectFile& file, std::size_t count, std::size_t limit, const char* of_what) {
  if (count >= limit) inspect_error(file, "More than %zu %s in an object-manager partition", limit, of_what);
}

void cut_at_terminator(std::string& text) {
  const std::size_t end = text.find('\0');
  if (end != std::string::npos) text.resize(end);
}

}  // namespace inspect
