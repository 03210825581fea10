#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// The JT bodies that a run has written. The output of a body is named by half of its id, and all parts of
/// the run write into one folder: a later body may take the name of an earlier one.
class WrittenBodies {
 public:
  /// Notes that the output `name` now holds the body `id` of this part; a body that is
  /// lost by that is a finding. Of very many outputs the last are not remembered.
  void note(const InspectFile& file, const std::string& name, std::uint64_t id);

 private:
  struct Body {
    std::uint64_t id = 0;
    std::size_t part = 0;  ///< index into the part names
  };

  std::map<std::string, Body, std::less<>> bodies_;
  std::vector<std::string> part_names_;
};

}  // namespace inspect
