#include "inspect/report/release_report.h"

#include "inspect/records/inspect_errors.h"
#include "inspect/report/release_names.h"
#include "support/console.h"

namespace inspect {

void print_release_line(const InspectFile& file) {
  std::int32_t release = file.release;
  if (!is_known_release(release)) {
    support::print("Release number %d is unknown - are you using the latest version of vr_inspect?\n",
                   release);
    return;
  }
  const bool development = file.header.development;
  if (development) {
    if (release == kLastRelease) {
      report_warning(file.options, "Release update not done correctly in vr_inspect");
    }
    ++release;
  }
  support::print("Release: %s%s\n\n", release_name(release), development ? " (DEV)" : "");
}

void print_release_report(const InspectFile& file) {
  support::print("\n-------- Part Release Information ------------\n");
  support::print("Part name: %s\n", file.shown_name.c_str());
  print_release_line(file);
}

}  // namespace inspect
