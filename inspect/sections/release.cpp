#include "inspect/sections/release.h"

#include "inspect/sections/release_names.h"
#include "inspect/sections/section_sink.h"

namespace inspect {

namespace {

void report_release_update(support::FindingSink& findings) {
  support::Finding finding;
  finding.rule = support::Rule::program_release;
  finding.manner = support::Manner::program_warning;
  finding.message = "Release update not done correctly in vr_inspect";
  findings.report(finding);
}

}  // namespace

void read_release(const InspectFile& file, SectionSink& sink) {
  ReleaseSection release;
  release.number = file.records.version;
  release.known = is_known_release(release.number);
  if (release.known) {
    release.development = file.records.header.development;
    if (release.development && release.number == kLastRelease) report_release_update(file.reader.findings());
    release.name = release_name(release.number + (release.development ? 1 : 0));
  }
  sink.take_release(release);
}

}  // namespace inspect
