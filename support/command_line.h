#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "support/program_option.h"

namespace support {

/// An option of a command line and what it does.
struct OptionAction {
  ProgramOption option;
  std::function<void(const std::string& value)> apply;  ///< called with "" when the option takes no value
  bool repeats = false;                                 ///< every value counts; else the last one
};

/// Reads the words behind a program's name in the way of GNU programs: applies the options and returns the
/// other words, those behind "--" included, in their order. Raises 641002 for an unknown option or a missing
/// value, with a text that says which, and what the options raise.
std::vector<std::string> parse_command_line(std::span<const OptionAction> options,
                                            std::span<const char* const> words);

/// Raises 641002: the value of an option, named without "--", is not what is wanted.
[[noreturn]] void reject_option(std::string_view option, std::string_view value, std::string_view wanted);

/// The value of an option as a whole number from 1 to `most`; rejects any other.
std::uint64_t option_number(std::string_view option, std::string_view text, std::uint64_t most,
                            std::string_view wanted);

}  // namespace support
