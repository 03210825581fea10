#include "inspect/sections/written_bodies.h"

#include "support/console.h"
#include "support/limits.h"
#include "support/printable.h"
#include "support/program.h"

namespace inspect {

void WrittenBodies::note(const std::string& name, std::uint64_t id, const std::string& part_name) {
  if (part_names_.empty() || part_names_.back() != part_name) part_names_.push_back(part_name);
  const Body body = {id, part_names_.size() - 1};
  const auto place = bodies_.find(name);
  if (place == bodies_.end()) {
    if (bodies_.size() < limits::kRememberedBodies) bodies_.emplace(name, body);
    return;
  }
  support::print_message(
      "%s: file %s of JT body %llu of %s is replaced by JT body %llu\n", support::program_name(),
      name.c_str(), static_cast<unsigned long long>(place->second.id),
      support::printable(part_names_[place->second.part]).c_str(), static_cast<unsigned long long>(id));
  place->second = body;
}

}  // namespace inspect
