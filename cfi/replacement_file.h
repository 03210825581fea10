#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace VRX::System::CFI {

/// A file that is written under a temporary name beside the one it will replace, so that whatever happens
/// before `commit` leaves the old one as it was. All operations raise 1020059 when the system refuses.
class ReplacementFile {
 public:
  /// Creates the temporary file in the folder of `name`.
  explicit ReplacementFile(std::string name);

  /// Removes the temporary file unless it was committed.
  ~ReplacementFile();
  ReplacementFile(const ReplacementFile&) = delete;
  ReplacementFile& operator=(const ReplacementFile&) = delete;

  void write_at(std::uint64_t offset, std::string_view bytes);

  /// Reads `count` bytes that were written before.
  void read_at(std::uint64_t offset, void* destination, std::size_t count) const;

  /// Forces the bytes to disk and gives the file its name.
  void commit();

 private:
  std::string name_;
  std::string temporary_name_;
  int descriptor_ = -1;
};

}  // namespace VRX::System::CFI
