#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace sweep {

/// One of several disjoint shares of all files. Which share a file falls into follows from its name alone, so
/// that hosts that never talk examine each file once.
struct Shard {
  std::uint64_t index = 0;  ///< below `count`
  std::uint64_t count = 1;

  /// By a hash of the bytes of the name, the same on every host and in every release.
  bool has(std::string_view name) const;
};

/// Reads "I/N", with I below N; nothing when it is anything else.
std::optional<Shard> parse_shard(std::string_view text);

}  // namespace sweep
