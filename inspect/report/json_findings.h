#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "inspect/report/json_writer.h"
#include "inspect/sections/byte_map.h"
#include "inspect/sections/finding_list.h"
#include "inspect/sections/part_facts.h"

namespace inspect {

/// Members "counts" and "findings".
void write_findings(JsonWriter& json, const FindingList& findings);

/// Names the streams of a map.
class StreamNames {
 public:
  virtual ~StreamNames() = default;
  virtual std::string path(std::uint64_t stream) const = 0;

 protected:
  StreamNames() = default;
  StreamNames(const StreamNames&) = default;
  StreamNames& operator=(const StreamNames&) = default;
};

/// Value of one byte that fills a whole range; none when the bytes differ.
using FillOf = std::function<std::optional<std::uint8_t>(const ByteClaim&)>;

/// Member "bytes"; `with_ranges` adds the map to the sums.
void write_bytes(JsonWriter& json, const ByteMap& map, bool with_ranges, std::string_view part_stream,
                 const StreamNames& streams, const FillOf& fill_of);

}  // namespace inspect
