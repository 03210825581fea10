#include "packaging/program_documents.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "support/program.h"

namespace packaging {

namespace {

using support::ProgramOption;
using Options = std::span<const ProgramOption>;
using Value = ProgramOption::Value;

std::string long_name(const ProgramOption& option) { return "--" + std::string(option.long_name); }
std::string short_name(const ProgramOption& option) { return std::string("-") + option.short_name; }

std::string choices(const ProgramOption& option) {
  std::string text(option.value_name);
  std::ranges::replace(text, '|', ' ');
  return text;
}

std::string manual_options(Options options) {
  std::string text;
  for (const ProgramOption& option : options) {
    text += ".TP\n";
    if (option.short_name != 0) text += "\\fB" + escape(short_name(option), "\\-") + "\\fR, ";
    text += "\\fB" + escape(long_name(option), "\\-") + "\\fR";
    if (option.value != Value::none) text += "=\\fI" + escape(option.value_name, "\\-") + "\\fR";
    text += "\n" + wrapped(escape(option.description, "\\-")) + "\n";
  }
  return text;
}

/// What the completions call the values of each kind.
std::string_view kind_of(Value value) {
  switch (value) {
    case Value::file:
      return "file";
    case Value::output:
      return "output";
    default:
      return "text";
  }
}

void fill_bash(std::string& text, Options options) {
  std::string names;
  std::string values;
  for (const ProgramOption& option : options) {
    names += (names.empty() ? "" : " ") + long_name(option);
    if (option.short_name != 0) names += " " + short_name(option);
    if (option.value == Value::none) continue;
    values += "    " + long_name(option) + (option.short_name == 0 ? "" : "|" + short_name(option)) + ") ";
    if (option.value == Value::choice) {
      values += "kind=choice choices='" + choices(option) + "' ;;\n";
    } else {
      values.append("kind=").append(kind_of(option.value)).append(" ;;\n");
    }
  }
  replace_all(text, "@VALUES@\n", values);
  replace_all(text, "@OPTIONS@", names);
}

std::string zsh_rule(const ProgramOption& option) {
  const bool has_value = option.value != Value::none;
  std::string rule = "'*" + long_name(option) + (has_value ? "=" : "") + "'";
  if (option.short_name != 0) {
    rule = "'*'{" + short_name(option) + (has_value ? "+" : "") + "," + long_name(option) +
           (has_value ? "=" : "") + "}";
  }
  std::string explanation = "[" + escape(option.description, "\\[]:") + "]";
  if (option.value == Value::choice) explanation += ":value:(" + choices(option) + ")";
  if (option.value == Value::file) explanation += ":file:_files";
  if (option.value == Value::output) explanation += ":file:_files -F \"*.(#i)prt\"";
  if (option.value == Value::text) explanation += ":" + escape(option.value_name, "\\[]:") + ": ";
  replace_all(explanation, "'", "'\\''");
  return "  " + rule + "'" + explanation + "' \\\n";
}

void fill_zsh(std::string& text, Options options, const std::string& commands) {
  std::string rules;
  if (!commands.empty()) rules = "  '1:command:(" + commands + ")' \\\n";
  for (const ProgramOption& option : options) rules += zsh_rule(option);
  replace_all(text, "@OPTIONS@\n", rules);
}

void fill_fish(std::string& text, Options options, const std::string& program, const std::string& commands) {
  std::string rules;
  if (!commands.empty()) {
    rules = "complete -c " + program + " -n __fish_use_subcommand -x -a '" + commands + "'\n";
  }
  for (const ProgramOption& option : options) {
    rules += "complete -c " + program + " -l " + std::string(option.long_name);
    if (option.short_name != 0) rules += std::string(" -s ") + option.short_name;
    if (option.value == Value::choice) rules += " -x -a '" + choices(option) + "'";
    if (option.value == Value::text) rules += " -x";
    if (option.value == Value::file) rules += " -r -F";
    if (option.value == Value::output) rules += " -x -a '(__" + program + "_outputs)'";
    rules += " -d '" + escape(option.description, "\\'") + "'\n";
  }
  replace_all(text, "@OPTIONS@\n", rules);
}

}  // namespace

bool generate_program_documents(const Templates& templates, const std::string& program, Options options,
                                const std::string& commands) {
  const auto completion = [&](const char* source, const std::string& target, const auto& fill) {
    return generate(templates, source, target, [&](std::string& text) {
      fill(text);
      replace_all(text, "@PROGRAM@", program);
      replace_all(text, "@COMMANDS@", commands);
    });
  };
  const auto fill_manual = [&](std::string& text) {
    replace_all(text, "@OPTIONS@\n", manual_options(options));
    replace_all(text, "@VERSION@", support::kVersionText);
    replace_all(text, "@DATE@", templates.date);
  };
  return generate(templates, program + ".1.in", program + ".1", fill_manual) &&
         completion("program.bash.in", program, [&](std::string& text) { fill_bash(text, options); }) &&
         completion("program.zsh.in", "_" + program,
                    [&](std::string& text) { fill_zsh(text, options, commands); }) &&
         completion("program.fish.in", program + ".fish",
                    [&](std::string& text) { fill_fish(text, options, program, commands); });
}

}  // namespace packaging
