#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace support {

/// A hash for tables of what a file names. It is keyed with random bytes once per process, so that no file
/// can be composed whose names all fall into one place. Never for what is stored or printed: it differs from
/// run to run.
std::uint64_t keyed_hash(std::string_view bytes);

/// The same for the tables of the standard library.
struct KeyedHash {
  std::size_t operator()(std::string_view bytes) const { return static_cast<std::size_t>(keyed_hash(bytes)); }
};

}  // namespace support
