#include "inspect/sections/container_claims.h"

#include <algorithm>

namespace inspect {

using VRX::System::CFI::LayoutRange;
using VRX::System::CFI::StreamRun;

/// What is in nobody's use stays a gap.
void ContainerClaims::structure(const LayoutRange& range) {
  if (range.protection == Protection::unclaimed) return;
  map_.claim({range.offset,
              range.length,
              ByteClaim::kNoOffset,
              {ByteOwner::Kind::container, range.protection, 0, 0, range.owner.data()}});
}

void ContainerClaims::stream_run(const StreamRun& run) {
  if (request_.kept == run.stream) {
    runs_.push_back(run);
    return;
  }
  const Protection protection =
      request_.protection_of ? request_.protection_of(run.stream) : Protection::opaque;
  map_.claim({run.file_offset,
              run.length,
              run.stream_offset == 0 ? ByteClaim::kNoOffset : run.stream_offset,
              {ByteOwner::Kind::stream, protection, 0, run.stream, ""}});
}

const std::vector<StreamRun>& ContainerClaims::kept_runs() {
  if (!sorted_) std::ranges::sort(runs_, {}, &StreamRun::stream_offset);
  sorted_ = true;
  return runs_;
}

void ContainerClaims::claim_in_kept(const ByteClaim& claim) {
  const auto& runs = kept_runs();
  const auto run_end = [](const StreamRun& run) { return run.stream_offset + run.length; };
  for (auto run = std::ranges::upper_bound(runs, claim.offset, {}, run_end);
       run != runs.end() && run->stream_offset < claim.end(); ++run) {
    const std::uint64_t begin = std::max(claim.offset, run->stream_offset);
    const std::uint64_t end = std::min(claim.end(), run_end(*run));
    map_.claim({run->file_offset + (begin - run->stream_offset), end - begin, begin, claim.owner});
  }
}

}  // namespace inspect
