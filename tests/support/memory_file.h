#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace test_support {

/// A regular file in memory with a name that can be opened, for as long as this object lives.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes);
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string name() const;
  void write_at(std::uint64_t offset, std::string_view bytes);
  void set_length(std::uint64_t length);

 private:
  int descriptor_;
};

}  // namespace test_support
