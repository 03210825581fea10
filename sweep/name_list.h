#pragma once

#include <optional>
#include <string>

#include "support/descriptor.h"

namespace sweep {

/// Names from a file or a pipe, each ended by a zero byte, the last perhaps by the end alone. They are read
/// as they come, a piece at a time.
class NameList {
 public:
  /// Names longer than this, in bytes, come cut to it: no file can have one.
  static constexpr std::size_t kLongestName = 65536;

  /// "-" is standard input. Raises 641002 when the file cannot be opened.
  explicit NameList(const std::string& file_name);

  /// The next name, waited for; nothing at the end. Raises 641002 when the list cannot be read.
  std::optional<std::string> next();

  /// The descriptor from which something must come before next() can return without waiting; -1 when it
  /// would not wait. Raises what next() raises.
  int awaited();

 private:
  bool has_name() const;
  void find_end();
  void read_piece();
  int descriptor() const { return file_.is_open() ? file_.number() : 0; }

  std::string shown_name_;
  support::Descriptor file_;  ///< none for standard input
  std::string piece_;
  std::size_t at_ = 0;   ///< of the next name in the piece
  std::size_t end_ = 0;  ///< of the first zero byte from there; npos when there is none
  bool is_cut_ = false;  ///< what stands at `at_` is the rest of a name that was too long
  bool at_end_ = false;
};

}  // namespace sweep
