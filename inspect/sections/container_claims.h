#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "cfi/container_layout.h"
#include "inspect/sections/byte_map.h"

namespace inspect {

/// Makes the claims of a container and its streams. The runs of one stream, whose bytes others claim more
/// closely, are kept instead.
class ContainerClaims final : public VRX::System::CFI::LayoutSink {
 public:
  struct Request {
    std::optional<VRX::System::CFI::ElementId> kept;  ///< the stream whose runs are kept
    std::function<Protection(VRX::System::CFI::ElementId)> protection_of = nullptr;  ///< of streams
  };

  /// The map outlives this object.
  ContainerClaims(ByteMap& map, Request request) : map_(map), request_(std::move(request)) {}

  void structure(const VRX::System::CFI::LayoutRange& range) override;
  void stream_run(const VRX::System::CFI::StreamRun& run) override;

  /// Claims a range of the kept stream where it lies in the file; its offset counts from the stream's start.
  void claim_in_kept(const ByteClaim& claim);

  /// In the order of the stream.
  const std::vector<VRX::System::CFI::StreamRun>& kept_runs();

 private:
  ByteMap& map_;
  Request request_;
  std::vector<VRX::System::CFI::StreamRun> runs_;
  bool sorted_ = false;
};

}  // namespace inspect
