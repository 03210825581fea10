#include "inspect/solid/fast_inflate.h"

#if defined(VRII_ISAL)

#include <dlfcn.h>
#include <isa-l/igzip_lib.h>

namespace inspect {

namespace {

/// The entry points of ISA-L, which chooses by itself what the processor can run.
class Library {
 public:
  Library() {
    void* const file = ::dlopen("libisal.so.2", RTLD_NOW | RTLD_LOCAL);
    if (file == nullptr) return;
    init_ = reinterpret_cast<decltype(init_)>(::dlsym(file, "isal_inflate_init"));
    inflate_ = reinterpret_cast<decltype(inflate_)>(::dlsym(file, "isal_inflate"));
    adler32_ = reinterpret_cast<decltype(adler32_)>(::dlsym(file, "isal_adler32"));
  }

  bool complete() const { return init_ != nullptr && inflate_ != nullptr && adler32_ != nullptr; }
  void init(inflate_state& state) const { init_(&state); }
  int inflate(inflate_state& state) const { return inflate_(&state); }
  std::uint32_t fold(std::uint32_t checksum, std::span<const unsigned char> bytes) const {
    return adler32_(checksum, bytes.data(), bytes.size());
  }

 private:
  decltype(&isal_inflate_init) init_ = nullptr;
  decltype(&isal_inflate) inflate_ = nullptr;
  decltype(&isal_adler32) adler32_ = nullptr;
};

class IsalInflate final : public FastInflate {
 public:
  explicit IsalInflate(const Library& library) : library_(library) {
    library_.init(state_);
    state_.crc_flag = ISAL_ZLIB;
  }

  void set_input(std::span<const unsigned char> input) override {
    // ISA-L passes over the window size that zlib refuses.
    if (at_start_ && !input.empty()) {
      window_is_known_ = input[0] >> kWindowShift <= kLargestWindow;
      at_start_ = false;
    }
    // It takes a pointer to mutable bytes but never writes through it.
    state_.next_in = const_cast<unsigned char*>(input.data());
    state_.avail_in = static_cast<std::uint32_t>(input.size());
  }

  bool input_empty() const override {
    return state_.avail_in == 0 && (state_.block_state != ISAL_BLOCK_FINISH || state_.read_in_length < 8);
  }

  State expand(std::span<unsigned char> room, std::size_t& produced) override {
    if (!window_is_known_) return State::unsound;
    state_.next_out = room.data();
    state_.avail_out = static_cast<std::uint32_t>(room.size());
    const int result = library_.inflate(state_);
    produced += room.size() - state_.avail_out;
    if (result != ISAL_DECOMP_OK) return State::unsound;
    return state_.block_state == ISAL_BLOCK_FINISH ? State::ended : State::going_on;
  }

  std::uint32_t checksum() const override { return state_.crc; }

  std::uint32_t fold(std::uint32_t checksum, std::span<const unsigned char> bytes) const override {
    return library_.fold(checksum, bytes);
  }

 private:
  static constexpr int kWindowShift = 4;
  static constexpr int kLargestWindow = 7;  ///< 32 KiB

  const Library& library_;
  inflate_state state_ = {};
  bool at_start_ = true;
  bool window_is_known_ = true;
};

}  // namespace

std::unique_ptr<FastInflate> FastInflate::create() {
  static const Library library;
  if (!library.complete()) return nullptr;
  return std::make_unique<IsalInflate>(library);
}

}  // namespace inspect

#else

namespace inspect {

std::unique_ptr<FastInflate> FastInflate::create() { return nullptr; }

}  // namespace inspect

#endif
