#include <sys/mman.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>

#include "inspect/solid/fast_inflate.h"
#include "tests/fuzz/fuzz_targets.h"

namespace fuzz {

namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kRoom = 16 * kPage;
constexpr std::size_t kMostExpanded = std::size_t{1} << 20U;

/// Bytes that end where no access is allowed: the sanitizers do not see what the fast decoder does.
class GuardedBytes {
 public:
  GuardedBytes()
      : start_(static_cast<unsigned char*>(
            ::mmap(nullptr, kRoom + kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
    if (start_ == MAP_FAILED || ::mprotect(start_ + kRoom, kPage, PROT_NONE) != 0) {
      throw std::runtime_error("no guarded memory");
    }
  }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;
  ~GuardedBytes() { ::munmap(start_, kRoom + kPage); }

  std::span<unsigned char> last(std::size_t count) { return {start_ + kRoom - count, count}; }

 private:
  unsigned char* start_;
};

struct Expanded {
  std::string bytes;
  std::uint32_t checksum = 0;
};

/// No value when the stream is not sound, or bytes follow it.
std::optional<Expanded> expand_fast(inspect::FastInflate& inflate, std::string_view stored, std::size_t piece,
                                    std::size_t room_size) {
  static GuardedBytes input;
  static GuardedBytes output;
  using State = inspect::FastInflate::State;
  Expanded found;
  State state = State::going_on;
  while (!stored.empty() && state == State::going_on) {
    const std::span<unsigned char> bytes = input.last(std::min(piece, stored.size()));
    std::memcpy(bytes.data(), stored.data(), bytes.size());
    stored.remove_prefix(bytes.size());
    inflate.set_input(bytes);
    std::size_t got = room_size;
    while (got == room_size && state == State::going_on && found.bytes.size() < kMostExpanded) {
      const std::span<unsigned char> room = output.last(room_size);
      got = 0;
      state = inflate.expand(room, got);
      found.bytes.append(reinterpret_cast<const char*>(room.data()), got);
    }
  }
  if (state != State::ended || !stored.empty() || !inflate.input_empty()) return std::nullopt;
  found.checksum = inflate.checksum();
  return found;
}

/// What zlib says of the same bytes; its text when it refuses them.
std::string refusal_by_zlib(std::string_view stored, Expanded& found) {
  z_stream stream = {};
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(stored.data()));
  stream.avail_in = static_cast<uInt>(stored.size());
  if (inflateInit(&stream) != Z_OK) throw std::bad_alloc();
  std::array<unsigned char, kPage> room;
  int state = Z_OK;
  while (state == Z_OK) {
    stream.next_out = room.data();
    stream.avail_out = room.size();
    state = inflate(&stream, Z_NO_FLUSH);
    found.bytes.append(reinterpret_cast<const char*>(room.data()), room.size() - stream.avail_out);
  }
  found.checksum = static_cast<std::uint32_t>(stream.adler);
  std::string text = stream.msg != nullptr ? stream.msg : "the end is missing";
  inflateEnd(&stream);
  return state == Z_STREAM_END ? "" : text;
}

/// Codes with patterns that mean nothing: the one thing that only zlib refuses.
bool is_unfilled_code(const std::string& refusal) {
  return refusal == "invalid code lengths set" || refusal == "invalid literal/lengths set" ||
         refusal == "invalid distances set";
}

}  // namespace

void run_inflate(std::string_view input) {
  const auto inflate = inspect::FastInflate::create();
  if (inflate == nullptr || input.empty()) return;
  const auto selector = static_cast<unsigned char>(input[0]);
  input.remove_prefix(1);
  const std::size_t piece = std::size_t{1} << (selector % 14U);
  const std::size_t room = std::size_t{64} << (selector / 14U % 11U);
  const auto fast = expand_fast(*inflate, input, piece, room);
  if (!fast) return;
  Expanded slow;
  const std::string refusal = refusal_by_zlib(input, slow);
  if (is_unfilled_code(refusal)) return;
  if (!refusal.empty()) throw std::logic_error("sound, but for zlib: " + refusal);
  if (slow.bytes != fast->bytes || slow.checksum != fast->checksum)
    throw std::logic_error("other bytes than zlib's");
}

}  // namespace fuzz
