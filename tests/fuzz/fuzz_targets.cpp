#include "tests/fuzz/fuzz_targets.h"

#include <algorithm>

namespace fuzz {

namespace {

constexpr Target kTargets[] = {{"kvpm_container", run_kvpm_container, repair_kvpm_container},
                               {"compound_file", run_compound_file, repair_compound_file},
                               {"lz4_stream", run_lz4_stream, nullptr},
                               {"toggle_stream", run_toggle_stream, nullptr},
                               {"jt_stream", run_jt_stream, nullptr},
                               {"part_index", run_part_index, nullptr},
                               {"object_manager", run_object_manager, nullptr},
                               {"brepsolid", run_brepsolid, nullptr},
                               {"inflate", run_inflate, nullptr},
                               {"driver", run_driver, repair_driver},
                               {"document", run_document, repair_file}};

}  // namespace

std::span<const Target> targets() { return kTargets; }

const Target* find_target(std::string_view name) {
  const auto* const found = std::ranges::find(kTargets, name, &Target::name);
  return found == std::ranges::end(kTargets) ? nullptr : found;
}

}  // namespace fuzz
