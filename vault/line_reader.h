#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "support/descriptor.h"

namespace vault {

/// The lines of a file, the last perhaps without a line end.
class LineReader {
 public:
  /// Longer than the document of any part, in bytes.
  static constexpr std::size_t kLongestLine = std::size_t{256} << 20U;

  /// "-" is standard input. Raises 641002 when the file cannot be opened.
  explicit LineReader(const std::string& file_name);

  /// The next line without its end; nothing at the end. Raises 641002 when the file cannot be read, or the
  /// line is too long.
  std::optional<std::string> next();

  /// Of the line that came last; the first is 1.
  std::uint64_t number() const { return number_; }

 private:
  bool read_piece();

  std::string file_name_;
  support::Descriptor file_;  ///< none for standard input
  std::string piece_;
  std::size_t at_ = 0;
  std::uint64_t number_ = 0;
};

}  // namespace vault
