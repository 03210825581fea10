#include "tests/support/files.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace test_support {

void write_file(const std::string& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out.flush()) throw std::runtime_error("can not write " + path);
}

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("can not read " + path);
  return {std::istreambuf_iterator<char>(in), {}};
}

std::string sample(const std::string& name) { return std::string(VRII_SAMPLES) + "/" + name; }

}  // namespace test_support
