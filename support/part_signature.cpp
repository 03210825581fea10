#include "support/part_signature.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>

namespace support {

namespace {

bool has_part_name(std::string_view name) {
  constexpr std::string_view kEnding = ".prt";
  const auto is_same = [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; };
  return name.size() >= kEnding.size() &&
         std::ranges::equal(name.substr(name.size() - kEnding.size()), kEnding, is_same);
}

std::string real_name(const std::string& name) {
  const std::unique_ptr<char, void (*)(void*)> path(::realpath(name.c_str(), nullptr), std::free);
  return path ? path.get() : "";
}

/// The first bytes of a regular file; fewer, or none, when it has no more.
std::string first_bytes(const std::string& name) {
  struct stat found = {};
  if (::stat(name.c_str(), &found) != 0 || !S_ISREG(found.st_mode)) return {};
  const int descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return {};
  std::string bytes(kSignatureSize, '\0');
  const ssize_t got = ::pread(descriptor, bytes.data(), bytes.size(), 0);
  ::close(descriptor);
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return bytes;
}

bool begins_with_header_count(std::string_view bytes) {
  if (bytes.size() < 2) return false;
  const auto low = static_cast<unsigned char>(bytes[0]);
  const auto high = static_cast<unsigned char>(bytes[1]);
  return std::ranges::any_of(
      kPartHeaderCounts, [&](int count) { return count == low + 256 * high || count == high + 256 * low; });
}

}  // namespace

bool is_part_file(const std::string& name) {
  const std::string bytes = first_bytes(name);
  if (bytes == kKvpmSignature || bytes == kMicrosoftSignature) return true;
  return begins_with_header_count(bytes) && (has_part_name(name) || has_part_name(real_name(name)));
}

}  // namespace support
