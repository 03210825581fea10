#include "tests/support/temporary_file.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "support/environment.h"
#include "support/output_file.h"

namespace test_support {

TemporaryFile::TemporaryFile(std::string_view content) : name_(support::temporary_folder() + "/vrii_XXXXXX") {
  const int descriptor = ::mkstemp(name_.data());
  if (descriptor < 0) throw std::runtime_error("no temporary file");
  ::close(descriptor);
  support::OutputFile file;
  if (!file.open(name_) || !file.write(content.data(), content.size())) throw std::runtime_error("no space");
}

TemporaryFile::~TemporaryFile() { ::unlink(name_.c_str()); }

std::string TemporaryFile::content() const { return read_file(name_); }

std::string read_file(const std::string& name) {
  std::string content;
  std::FILE* file = std::fopen(name.c_str(), "rb");
  if (file == nullptr) throw std::runtime_error("no file " + name);
  std::array<char, 4096> piece;
  while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), file))
    content.append(piece.data(), got);
  std::fclose(file);
  return content;
}

}  // namespace test_support
