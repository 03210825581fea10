#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "tests/fuzz/fuzz_targets.h"

// One fuzz target as libFuzzer calls it; VRII_FUZZ_TARGET is its name.

namespace {

const fuzz::Target& this_target() {
  static const fuzz::Target& target = *fuzz::find_target(VRII_FUZZ_TARGET);
  return target;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // libFuzzer has taken its own hold of standard error; the reports of the program go nowhere.
  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
  stderr = std::fopen("/dev/null", "w");
  return stderr == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  this_target().run({reinterpret_cast<const char*>(data), size});
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned seed) {
  const std::size_t changed = LLVMFuzzerMutate(data, size, max_size);
  // Now and then the damage stays as it is.
  if (this_target().repair != nullptr && seed % 16 != 0) this_target().repair({data, changed});
  return changed;
}
