#include "sweep/shard.h"

#include <xxhash.h>

#include <charconv>

namespace sweep {

namespace {

std::optional<std::uint64_t> parse_number(std::string_view text) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [next, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || next != end) return std::nullopt;
  return number;
}

}  // namespace

bool Shard::has(std::string_view name) const {
  return count == 1 || XXH64(name.data(), name.size(), 0) % count == index;
}

std::optional<Shard> parse_shard(std::string_view text) {
  const std::size_t slash = text.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const auto index = parse_number(text.substr(0, slash));
  const auto count = parse_number(text.substr(slash + 1));
  if (!index || !count || *index >= *count) return std::nullopt;
  return Shard{*index, *count};
}

}  // namespace sweep
