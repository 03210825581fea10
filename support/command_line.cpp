#include "support/command_line.h"

#include <CLI/CLI.hpp>
#include <charconv>

#include "support/error_escape.h"
#include "support/printable.h"
#include "support/system_failure.h"

namespace support {

namespace {

[[noreturn]] void fail(const std::string& message) {
  throw ErrorEscape("command_line", kSystemFailure, printable(message));
}

/// Takes names as they stand: as values of an option the parser would split those in brackets.
class CommandLine final : public CLI::App {
 public:
  CommandLine() {
    set_help_flag();
    allow_extras();
  }

  /// Raises when there are options among them.
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& [kind, word] : missing_) {
      if (kind == CLI::detail::Classifier::NONE) {
        names.push_back(word);
      } else if (kind != CLI::detail::Classifier::POSITIONAL_MARK) {
        throw CLI::ParseError("unknown option " + word, CLI::ExitCodes::ExtrasError);
      }
    }
    return names;
  }
};

void add_action(CommandLine& line, const OptionAction& action) {
  std::string names = "--" + std::string(action.option.long_name);
  if (action.option.short_name != 0) names += std::string(",-") + action.option.short_name;
  if (action.option.value == ProgramOption::Value::none) {
    line.add_flag_callback(names, [&action] { action.apply(""); });
    return;
  }
  using Values = std::vector<std::string>;
  CLI::Option* option = line.add_option_function<Values>(names, [&action](const Values& values) {
    for (const std::string& value : values) action.apply(value);
  });
  option->allow_extra_args(false);
  if (!action.repeats) option->take_last();
}

}  // namespace

std::vector<std::string> parse_command_line(std::span<const OptionAction> options,
                                            std::span<const char* const> words) {
  try {
    CommandLine line;
    for (const OptionAction& action : options) add_action(line, action);
    // The parser takes the words from the last to the first.
    line.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    return line.names();
  } catch (const CLI::ParseError& error) {
    fail(error.what());
  }
}

void reject_option(std::string_view option, std::string_view value, std::string_view wanted) {
  std::string message = "--";
  message.append(option).append(": \"").append(value).append("\" is not ").append(wanted);
  fail(message);
}

std::uint64_t option_number(std::string_view option, std::string_view text, std::uint64_t most,
                            std::string_view wanted) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [next, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || next != end || number == 0 || number > most) {
    reject_option(option, text, wanted);
  }
  return number;
}

}  // namespace support
