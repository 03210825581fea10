#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "inspect/records/inspect_file.h"
#include "inspect/solid/solid_sink.h"

namespace inspect {

enum class PassChecks : std::uint8_t { none, all };

/// What damage to a partition, or to the index, ends.
enum class PassDamage : std::uint8_t {
  ends_reading,
  ends_partition,  ///< the pass goes on with what is left, and raises nothing of it
};

struct PassRequest {
  PassChecks checks = PassChecks::none;
  PassDamage damage = PassDamage::ends_reading;
};

/// Reads the part header and the partition index (or the first directory), then visits every partition once,
/// in order: start check, and the headers of modeller partitions, which are kept in the entries; a header
/// text is borrowed once it is known from where. With PassChecks::all the checksums of modeller data and
/// object-manager partitions are checked there and then. Raises through inspect_error.
void read_part(InspectFile& file, std::span<const std::byte> header_copy, const PassRequest& request,
               SolidSink& sink);

}  // namespace inspect
