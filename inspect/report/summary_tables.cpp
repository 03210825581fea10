#include "inspect/report/summary_tables.h"

#include <array>
#include <cstddef>

namespace inspect {

namespace {

constexpr std::array kUnits = {"Unknown", "Metric", "Inches", "Unknown (3)", "Meters", "Micrometers"};

constexpr std::array kCodesets = {
    "ASCII",          "ISO8859-1",      "EUC",
    "S-JIS",          "ISO8859-4",      "ISO8859-5",
    "ISO8859-8",      "BIG5",           "CODE PAGE 866",
    "ISO8859-2",      "CODE PAGE 852",  "CODE PAGE 862",
    "KSC5601",        "GB2312",         "CODE PAGE 1251",
    "CODE PAGE 1255", "CODE PAGE 1250", "CODE PAGE 1252",
    "ISO8859-15",     "CODE PAGE 1253", "ISO8859-7",
    "UTF-8",          "CODE PAGE 1254", "CODE PAGE 1257",
    "CODE PAGE 1256", "ISO8859-6",      "CODE PAGE 874",
    "CODE PAGE 1258", "Unknown",
};

constexpr std::array kCloneOperations = {
    "edited in an unknown way",  "cloned in the operating system", "imported into Vaultcenter",
    "exported from Vaultcenter", "cloned in Vaultcenter",
};

constexpr std::array kPatternData = {"<none>", "wireframe only", "wireframe and shaded"};

template <std::size_t Size>
const char* entry(const std::array<const char*, Size>& table, std::int32_t index, const char* otherwise) {
  return index >= 0 && static_cast<std::size_t>(index) < Size ? table[static_cast<std::size_t>(index)]
                                                              : otherwise;
}

}  // namespace

const char* units_name(std::int32_t units) { return entry(kUnits, units, kUnits[0]); }

const char* codeset_name(std::int32_t codeset) { return entry(kCodesets, codeset, nullptr); }

const char* clone_operation_name(std::int32_t code) {
  return entry(kCloneOperations, code - 1, "** invalid clone operation **");
}

const char* template_type_name(std::int32_t type) {
  switch (type) {
    case 1:
      return "Stage Set Template Part";
    case 2:
      return "Stage Template Part";
    case 4:
      return "Simplify Template Part";
    case 8:
      return "Mass zones top assembly part";
    default:
      return "** invalid template type **";
  }
}

const char* pattern_data_name(std::int32_t mode) { return entry(kPatternData, mode, kPatternData[0]); }

const char* machine_format_name(std::uint16_t word) {
  switch (word) {
    case 1U << 0U:
      return "DG";
    case 1U << 1U:
      return "VMS";
    case 1U << 2U:
      return "IBM";
    case 1U << 3U:
      return "Unix";
    case 1U << 4U:
      return "Ultrix";
    default:
      return "Unknown";
  }
}

}  // namespace inspect
