#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// The form of a transmit file, and the extensions that tell it.
struct TransmitFormat {
  bool binary = true;
  std::string main_extension;
  std::string second_extension;  ///< of the file for the second data block
};

/// The form by the FORMAT value of the header text; binary when there is none. Nothing for a value that does
/// not exist.
std::optional<TransmitFormat> known_transmit_format(std::int32_t type, std::optional<std::string_view> value);

/// The form by the FORMAT value of the header text; binary when there is none. Raises inspect_error "Unknown
/// file format".
TransmitFormat transmit_format(InspectFile& file, std::int32_t type, std::optional<std::string_view> value);

struct TransmitNames {
  std::string main;
  std::string second;
};

enum class AppendId : std::uint8_t { no, yes };

/// The names of the files that one partition is extracted into: from the -extract name when one was given,
/// else from the part file's name, into the current folder. Raises 1510005 for a name of 3469 bytes or more,
/// and inspect_error when the given name has its extension already although the id must be appended.
TransmitNames transmit_names(InspectFile& file, std::string_view output_name, std::int32_t id,
                             const TransmitFormat& format, AppendId append);

}  // namespace inspect
