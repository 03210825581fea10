#include "inspect/sections/release_names.h"

#include <array>
#include <cstddef>

namespace inspect {

namespace {

constexpr std::array kNames = {
    "VR1",
    "V1",
    "V2",
    "V3",
    "V4",
    "V4.1",
    "V5",
    "V6",
    "V7",
    "V8",
    "V8A",
    "V9",
    "V9McAir",
    "V9.1",
    "V9.2",
    "Obsolete V10",
    "V10",
    "V10.1",
    "V10.2",
    "V10.3",
    "V10.3.3",
    "V10.4",
    "V10.5",
    "V10.6",
    "reserved for 10.6",
    "reserved for 10.6",
    "reserved for 10.6",
    "V11.0A",
    "V11.0",
    "V11.1",
    "V12.0",
    "V12WAVE",
    "V13.0",
    "V14.0",
    "V15.0",
    "V15.1G",
    "V16.0",
    "V17.0",
    "V18.0",
    "KX 1",
    "KX 2",
    "KX 3",
    "KX 3.1",
    "KX 4.0 pre-release",
    "KX 4",
    "KX 5",
    "KX 6",
    "KX 7",
    "KX 7.5",
    "KX 8",
    "KX 8.5",
    "KX 9",
    "KX 10",
    "KX 11",
    "KX 12",
    "KX 1847",
    "KX 1872",
    "KX 1899",
    "KX 1926",
    "KX 1953",
    "KX 1980",
    "KX 2007",
    "KX 2206",
    "KX 2212",
    "KX 2306",
    "KX 2312",
    "KX 2406",
    "KX 2412",
    "KX 2506",
    "KX 2512",
    "KX 2606",
    "complete part (i.e. not selectively filed)",
    "selectively filed part",
};
static_assert(kNames.size() == kLastRelease + 3);

}  // namespace

const char* release_name(std::int32_t release) { return kNames[static_cast<std::size_t>(release)]; }

const char* filing_mode_name(bool complete) {
  return release_name(complete ? kLastRelease + 1 : kLastRelease + 2);
}

}  // namespace inspect
