// Writes the manual page and the completions of bash, zsh and fish from the table of switches that the
// command line is parsed with, so that none of them can lag behind the program.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/options.h"
#include "support/output_file.h"
#include "support/program.h"
#include "support/text_format.h"

namespace {

using inspect::CommandSwitch;

std::optional<std::string> read_text(const char* name) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name, "rb"), std::fclose);
  if (!file) return std::nullopt;
  std::string text;
  char piece[4096];
  while (const std::size_t count = std::fread(piece, 1, sizeof piece, file.get())) text.append(piece, count);
  if (std::ferror(file.get()) != 0) return std::nullopt;
  return text;
}

bool write_text(const std::string& name, std::string_view text) {
  support::OutputFile file;
  return file.open(name) && file.write(text.data(), text.size()) && file.close();
}

void replace_all(std::string& text, std::string_view what, std::string_view with) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
}

/// Puts a backslash before every character of `special`.
std::string escape(std::string_view text, std::string_view special) {
  std::string escaped;
  for (const char c : text) {
    if (special.find(c) != std::string_view::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

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

bool is_file_argument(const std::string& name) { return name == "filename"; }

std::string manual_switches(const std::vector<CommandSwitch>& switches) {
  std::string text;
  for (const CommandSwitch& one : switches) {
    text += ".TP\n.B " + escape(one.name, "\\-");
    for (const std::string& name : argument_names(one)) text += " \\fI" + escape(name, "\\-") + "\\fR";
    text += "\n" + escape(one.description, "\\-") + "\n";
  }
  return text;
}

std::string manual_page(std::string text, const std::vector<CommandSwitch>& switches) {
  replace_all(text, "@SWITCHES@\n", manual_switches(switches));
  replace_all(text, "@VERSION@", support::kVersionText);
  return text;
}

std::string bash_completion(const std::vector<CommandSwitch>& switches) {
  std::string names;
  std::string with_arguments;  // one case of the shell for each argument of a switch
  for (const CommandSwitch& one : switches) {
    names += std::string("\n") + one.name;
    int distance = 0;
    for (const std::string& name : argument_names(one)) {
      ++distance;
      with_arguments += support::format_text(
          "  if (( COMP_CWORD > %d )) && [[ ${COMP_WORDS[COMP_CWORD - %d]} == %s ]]; then\n"
          "    %sreturn\n"
          "  fi\n",
          distance, distance, one.name,
          is_file_argument(name) ? "COMPREPLY=($(compgen -f -- \"$word\"))\n    " : "");
    }
  }
  return "# bash completion of vr_inspect\n"
         "_vr_inspect() {\n"
         "  local IFS=$'\\n' word=${COMP_WORDS[COMP_CWORD]}\n"
         "  COMPREPLY=()\n" +
         with_arguments +
         "  if [[ $word == -* ]]; then\n"
         "    COMPREPLY=($(compgen -W '" +
         names +
         "' -- \"$word\"))\n"
         "  else\n"
         "    COMPREPLY=($(compgen -f -- \"$word\"))\n"
         "  fi\n"
         "}\n"
         "complete -o filenames -F _vr_inspect vr_inspect\n";
}

std::string zsh_completion(const std::vector<CommandSwitch>& switches) {
  std::string text =
      "#compdef vr_inspect\n"
      "_arguments \\\n";
  for (const CommandSwitch& one : switches) {
    std::string rule = std::string(one.name) + "[" + escape(one.description, "\\[]:") + "]";
    for (const std::string& name : argument_names(one)) {
      rule += ":" + name + (is_file_argument(name) ? ":_files" : ": ");
    }
    replace_all(rule, "'", "'\\''");
    text += "  '" + rule + "' \\\n";
  }
  return text + "  '*:part file:_files'\n";
}

std::string fish_completion(const std::vector<CommandSwitch>& switches) {
  std::string text = "# fish completion of vr_inspect\n";
  for (const CommandSwitch& one : switches) {
    const std::vector<std::string> names = argument_names(one);
    text += support::format_text("complete -c vr_inspect -o %s%s -d '%s'\n", one.name + 1,
                                 names.empty() ? "" : " -x", escape(one.description, "\\'").c_str());
  }
  return text;
}

}  // namespace

int main(int argument_count, char** arguments) {
  if (argument_count != 3) {
    std::fprintf(stderr, "usage: generate_documents <manual page template> <folder>\n");
    return 1;
  }
  const std::optional<std::string> manual = read_text(arguments[1]);
  if (!manual) {
    std::fprintf(stderr, "generate_documents: cannot read %s\n", arguments[1]);
    return 1;
  }
  const auto table = inspect::command_switches();
  std::vector<CommandSwitch> switches(table.begin(), table.end());
  std::ranges::sort(switches, {}, [](const CommandSwitch& one) { return std::string_view(one.name); });

  const std::string folder = arguments[2];
  const bool written = write_text(folder + "/vr_inspect.1", manual_page(*manual, switches)) &&
                       write_text(folder + "/vr_inspect", bash_completion(switches)) &&
                       write_text(folder + "/_vr_inspect", zsh_completion(switches)) &&
                       write_text(folder + "/vr_inspect.fish", fish_completion(switches));
  if (!written) std::fprintf(stderr, "generate_documents: cannot write into %s\n", folder.c_str());
  return written ? 0 : 1;
}
