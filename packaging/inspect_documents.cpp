#include "packaging/inspect_documents.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/options.h"
#include "support/program.h"
#include "support/text_format.h"

namespace packaging {

namespace {

using inspect::CommandSwitch;

/// The names between "<" and ">".
std::vector<std::string> argument_names(const CommandSwitch& one) {
  std::vector<std::string> names;
  const std::string_view text = one.arguments;
  for (std::size_t open = text.find('<'); open != std::string_view::npos; open = text.find('<', open)) {
    const std::size_t close = text.find('>', open);
    names.emplace_back(text.substr(open + 1, close - open - 1));
    open = close;
  }
  return names;
}

/// What each word behind a switch is, to its last: the part that it is asked of, the output, or what no file
/// is. Behind most switches further switches may follow; behind the two extractions nothing but file names.
std::vector<std::string> words_behind(const CommandSwitch& one) {
  std::vector<std::string> kinds = argument_names(one);
  for (std::string& kind : kinds) kind = kind == "filename" ? "output" : "other";
  const std::string_view name = one.name;
  if (name == "-extract" || name == "-extract_all") {
    kinds.insert(kinds.end(), {"part", "output", "other"});
  } else if (!kinds.empty()) {
    kinds.emplace_back("switch");
  }
  return kinds;
}

std::string manual_switches(const std::vector<CommandSwitch>& switches) {
  std::string text;
  for (const CommandSwitch& one : switches) {
    text += ".TP\n.B " + escape(one.name, "\\-");
    for (const std::string& name : argument_names(one)) text += " \\fI" + escape(name, "\\-") + "\\fR";
    text += "\n" + wrapped(escape(one.description, "\\-")) + "\n";
  }
  return text;
}

std::string join(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    if (!text.empty()) text += ' ';
    text += word;
  }
  return text;
}

/// One case of a shell's `switch` for each switch that words belong to.
std::string cases(const std::vector<CommandSwitch>& switches, const char* format) {
  std::string text;
  for (const CommandSwitch& one : switches) {
    const std::vector<std::string> kinds = words_behind(one);
    if (kinds.empty()) continue;
    std::string row = format;
    replace_all(row, "@NAME@", one.name);
    replace_all(row, "@KINDS@", join(kinds));
    text += row;
  }
  return text;
}

void fill_bash(std::string& text, const std::vector<CommandSwitch>& switches) {
  std::vector<std::string> names(switches.size());
  std::ranges::transform(switches, names.begin(), &CommandSwitch::name);
  replace_all(text, "@EXPECTED@\n", cases(switches, "        @NAME@) expected=(@KINDS@) ;;\n"));
  replace_all(text, "@SWITCHES@", join(names));
}

void fill_zsh(std::string& text, const std::vector<CommandSwitch>& switches) {
  std::string rules;
  for (const CommandSwitch& one : switches) {
    std::string rule = std::string(one.name) + "[" + escape(one.description, "\\[]:") + "]";
    const std::vector<std::string> kinds = words_behind(one);
    // An extraction is the last switch, and says itself what may follow.
    if (!kinds.empty() && kinds.back() == "other") rule.insert(0, "(- *)");
    const std::vector<std::string> names = argument_names(one);
    for (std::size_t i = 0; i + 1 < kinds.size(); ++i) {
      const std::string name = i < names.size() ? names[i] : kinds[i];
      const char* separator = i < names.size() || kinds[i] == "part" ? ":" : "::";
      const char* action = kinds[i] == "part"     ? ":_files"
                           : kinds[i] == "output" ? ":_files -F \"*.(#i)prt\""
                                                  : ": ";
      rule += separator + name + action;
    }
    replace_all(rule, "'", "'\\''");
    rules += "  '" + rule + "' \\\n";
  }
  replace_all(text, "@SWITCHES@\n", rules);
}

void fill_fish(std::string& text, const std::vector<CommandSwitch>& switches) {
  std::string rules;
  for (const CommandSwitch& one : switches) {
    rules += support::format_text("complete -c vr_inspect -n '__vr_inspect_expects switch' -o %s -d '%s'\n",
                                  one.name + 1, escape(one.description, "\\'").c_str());
  }
  replace_all(text, "@EXPECTED@\n",
              cases(switches, "                case @NAME@\n                    set expected @KINDS@\n"));
  replace_all(text, "@SWITCHES@\n", rules);
}

}  // namespace

bool generate_inspect_documents(const Templates& templates) {
  const auto table = inspect::command_switches();
  std::vector<CommandSwitch> switches(table.begin(), table.end());
  std::ranges::sort(switches, {}, [](const CommandSwitch& one) { return std::string_view(one.name); });
  const auto fill_manual = [&](std::string& text) {
    replace_all(text, "@SWITCHES@\n", manual_switches(switches));
    replace_all(text, "@VERSION@", support::kVersionText);
    replace_all(text, "@DATE@", templates.date);
  };
  return generate(templates, "vr_inspect.1.in", "vr_inspect.1", fill_manual) &&
         generate(templates, "vr_inspect.bash.in", "vr_inspect",
                  [&](std::string& text) { fill_bash(text, switches); }) &&
         generate(templates, "vr_inspect.zsh.in", "_vr_inspect",
                  [&](std::string& text) { fill_zsh(text, switches); }) &&
         generate(templates, "vr_inspect.fish.in", "vr_inspect.fish",
                  [&](std::string& text) { fill_fish(text, switches); });
}

}  // namespace packaging
