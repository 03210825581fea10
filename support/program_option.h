#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace support {

/// One option of a program of the GNU kind. The same row feeds the parser, --help, the manual page and the
/// completions.
struct ProgramOption {
  enum class Value : std::uint8_t {
    none,
    text,
    file,    ///< that is read
    output,  ///< a file that is written, so never a part
    choice,
  };

  std::string_view long_name;  ///< without the leading "--"
  char short_name;             ///< 0 for none
  Value value;
  std::string_view value_name;   ///< for people; of a choice all that can be chosen, "|" between them
  std::string_view description;  ///< one sentence for people
};

/// The options as --help shows them, one below the other.
std::string options_text(std::span<const ProgramOption> options);

}  // namespace support
