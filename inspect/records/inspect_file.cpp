#include "inspect/records/inspect_file.h"

#include <array>

namespace inspect {

namespace {

constexpr std::array kTypeNames = {
    "UNKNOWN", "Record Mgr", "Brepsolid",    "CMOD",        "ESS",        "Pattern",     "Occurrence",
    "Path",    "XESS",       "Facet",        "Brepsolid",   "Vised",      "BS (Latent)", "BS Sheet",
    "BS Tool", "KF",         "BS Partition", "BSP (Sheet)", "BSP (tool)", "BS Delta",    "**Invalid**",
};

}  // namespace

const char* partition_type_name(std::int32_t type) {
  const bool known = type >= kRecordManager && type <= kBrepsolidDelta;
  return known ? kTypeNames[static_cast<std::size_t>(type)] : "unknown";
}

}  // namespace inspect
