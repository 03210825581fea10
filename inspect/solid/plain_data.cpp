#include "inspect/solid/plain_data.h"

#include <algorithm>
#include <array>

#include "inspect/records/inspect_errors.h"
#include "inspect/solid/inflate_stream.h"

namespace inspect {

namespace {

constexpr std::size_t kLookedAt = 1024;
constexpr std::size_t kTellingBytes = 64;  ///< expanded; by chance hardly anything comes that far

bool looks_deflated(std::span<const unsigned char> bytes) {
  if (bytes.size() < 2 || (bytes[0] & 0x0FU) != 8 || (bytes[0] * 256U + bytes[1]) % 31 != 0) return false;
  InflateStream inflate;
  if (!inflate.started()) return false;
  std::array<unsigned char, kTellingBytes> room = {};
  inflate.set_input(bytes);
  const int status = inflate.expand(room);
  return status == Z_STREAM_END || (status == Z_OK && inflate.produced() == room.size());
}

}  // namespace

void check_plain_data(InspectFile& file, const PartitionEntry& partition) {
  const BrepsolidPartition& solid = *partition.solid;
  std::array<unsigned char, kLookedAt> bytes = {};
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), solid.bits.rest_size));
  file.stream->set_position(solid.data_position);
  const std::size_t count = file.stream->read(bytes.data(), wanted);
  if (!looks_deflated(std::span(bytes).first(count))) return;
  support::Finding finding;
  finding.rule = Rule::solid_looks_deflated;
  finding.manner = support::Manner::result;
  finding.place = file.reader.place(solid.data_position, solid.bits.rest_size);
  finding.place.partition = partition.id;
  finding.place.field = "data";
  report_finding(file, std::move(finding), "the plain data of solid %d begin like deflated ones",
                 partition.id);
}

}  // namespace inspect
