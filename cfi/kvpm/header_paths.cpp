#include "cfi/kvpm/header_paths.h"

#include <algorithm>
#include <string>

#include "cfi/cfi_error_codes.h"
#include "support/text_format.h"

namespace VRX::System::CFI {

namespace {

constexpr std::array kHeaderPaths = {
    HeaderPath{"/Root", 999},
    HeaderPath{"/Root/FastLoad", 999},
    HeaderPath{"/Root/FastLoad/RMFastLoad", 1},
    HeaderPath{"/Root/FastLoad/Structure", 2},
    HeaderPath{"/Root/FastLoad/JT", 3},
    HeaderPath{"/Root/FastLoad/ExternalReferences", 4},
    HeaderPath{"/Root/FastLoad/PartIdentifier", 5},
    HeaderPath{"/Root/images", 999},
    HeaderPath{"/Root/images/preview", 999},
    HeaderPath{"/Root/part", 999},
    HeaderPath{"/Root/part/attrs", 999},
    HeaderPath{"/Root/qafmetadata", 999},
    HeaderPath{"/Root/VR_PART", 999},
    HeaderPath{"/Root/VR_PART/VR_PART", 4},
    HeaderPath{"/Root/VR_PART/ExternalReferences", 5},
    // From version 5 on.
    HeaderPath{"/Root/part/arrangements", 999},
    HeaderPath{"/Root/VR_UDF", 999},
    HeaderPath{"/Root/KF_DATA", 999},
    HeaderPath{"/Root/Spreadsheets", 999},
    HeaderPath{"/Root/DFA", 999},
};
constexpr std::size_t kSharedPathCount = 15;
constexpr int kFirstVersionWithAllPaths = 5;

HeaderPaths standard_tables() {
  const std::span<const HeaderPath> all(kHeaderPaths);
  HeaderPaths tables;
  for (int version = 0; version <= kCurrentVersion; ++version) {
    tables.insert(version, version < kFirstVersionWithAllPaths ? all.first(kSharedPathCount) : all);
  }
  return tables;
}

void require_version(int version) {
  if (version >= 0 && version <= kCurrentVersion) return;
  throw support::ErrorEscape("cfi", kInternalFailure,
                             support::format_text("Failed to initialize header-paths for version %s",
                                                  std::to_string(version).c_str()));
}

}  // namespace

const HeaderPaths& HeaderPaths::standard() {
  static const HeaderPaths tables = standard_tables();
  return tables;
}

void HeaderPaths::insert(int version, std::span<const HeaderPath> table) {
  require_version(version);
  std::span<const HeaderPath>& place = tables_[static_cast<std::size_t>(version)];
  if (!place.empty()) {
    throw support::ErrorEscape(
        "cfi", kInternalFailure,
        support::format_text("Attempt to insert duplicate header-paths for file format version %d", version));
  }
  place = table;
}

std::span<const HeaderPath> HeaderPaths::of(int version) const {
  require_version(version);
  return tables_[static_cast<std::size_t>(version)];
}

bool HeaderPaths::contains(int version, std::string_view path) const {
  const std::span<const HeaderPath> table = of(version);
  return std::ranges::find(table, path, &HeaderPath::path) != table.end();
}

}  // namespace VRX::System::CFI
