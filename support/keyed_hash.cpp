#include "support/keyed_hash.h"

#include <sys/random.h>
#include <xxhash.h>

#include <ctime>

namespace support {

namespace {

std::uint64_t random_key() {
  std::uint64_t key = 0;
  // Early in the start of a machine there may be none yet; the time is hard enough to foresee.
  if (::getrandom(&key, sizeof key, GRND_NONBLOCK) != sizeof key) {
    std::timespec now = {};
    std::timespec_get(&now, TIME_UTC);
    key = static_cast<std::uint64_t>(now.tv_sec) << 30U ^ static_cast<std::uint64_t>(now.tv_nsec);
  }
  return key;
}

}  // namespace

std::uint64_t keyed_hash(std::string_view bytes) {
  static const std::uint64_t key = random_key();
  return XXH3_64bits_withSeed(bytes.data(), bytes.size(), key);
}

}  // namespace support
