#include "support/program_option.h"

#include <algorithm>
#include <cstddef>

namespace support {

namespace {

constexpr std::size_t kIndentation = 28;
constexpr std::size_t kColumns = 80;

std::string usage(const ProgramOption& option) {
  std::string text = option.short_name == 0 ? "      " : std::string("  -") + option.short_name + ", ";
  text.append("--").append(option.long_name);
  if (option.value != ProgramOption::Value::none) text.append("=").append(option.value_name);
  return text;
}

/// Appends the words to the line that ends in `column`, and to as many more as they need.
void append_words(std::string& text, std::size_t column, std::string_view words) {
  text.append(kIndentation - column, ' ');
  column = kIndentation;
  while (!words.empty()) {
    const std::string_view word = words.substr(0, words.find(' '));
    words.remove_prefix(std::min(words.size(), word.size() + 1));
    if (column > kIndentation && column + 1 + word.size() > kColumns) {
      text.append("\n").append(kIndentation, ' ');
      column = kIndentation;
    } else if (column > kIndentation) {
      text += ' ';
      ++column;
    }
    text += word;
    column += word.size();
  }
  text += '\n';
}

}  // namespace

std::string options_text(std::span<const ProgramOption> options) {
  std::string text;
  for (const ProgramOption& option : options) {
    std::string line = usage(option);
    std::size_t column = line.size();
    if (column + 2 > kIndentation) {
      line += '\n';
      column = 0;
    }
    text += line;
    append_words(text, column, option.description);
  }
  return text;
}

}  // namespace support
