#include "inspect/sections/written_bodies.h"

#include "inspect/records/inspect_errors.h"
#include "support/limits.h"
#include "support/printable.h"

namespace inspect {

void WrittenBodies::note(const InspectFile& file, const std::string& name, std::uint64_t id) {
  if (part_names_.empty() || part_names_.back() != file.name) part_names_.push_back(file.name);
  const Body body = {id, part_names_.size() - 1};
  const auto place = bodies_.find(name);
  if (place == bodies_.end()) {
    if (bodies_.size() < limits::kRememberedBodies) bodies_.emplace(name, body);
    return;
  }
  support::Finding replaced;
  replaced.rule = Rule::output_replaced;
  replaced.manner = support::Manner::notice;
  report_finding(file, std::move(replaced), "file %s of JT body %llu of %s is replaced by JT body %llu",
                 name.c_str(), static_cast<unsigned long long>(place->second.id),
                 support::printable(part_names_[place->second.part]).c_str(),
                 static_cast<unsigned long long>(id));
  place->second = body;
}

}  // namespace inspect
