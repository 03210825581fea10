#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "support/program_option.h"

namespace vault {

enum class Command : std::uint8_t { help, version, update, import, list, show, diff, check, page };

/// Which files list shows: those that fit all that is set.
struct FileFilter {
  std::optional<std::string> verdict;
  std::optional<std::string> rule;
  std::optional<std::string> release;
  std::optional<std::string> references;
  std::optional<std::string> words;
  std::optional<std::int64_t> since;  ///< seconds since 1970
};

/// How list shows them.
enum class ListForm : std::uint8_t { lines, names, json };

/// What a run is asked for.
struct VaultOptions {
  Command command = Command::help;
  std::string catalogue;
  std::vector<std::string> operands;  ///< behind the catalogue
  std::size_t jobs = 1;
  bool verify = false;
  bool sha256 = false;
  std::vector<std::string> patterns;
  FileFilter filter;
  ListForm form = ListForm::lines;
  std::optional<std::string> output;  ///< a file; none: standard output
};

/// Of all commands.
std::span<const support::ProgramOption> vault_options();

/// Of all commands, blanks between them.
std::string command_names();

/// Usage, commands and options, as --help shows them.
std::string help_text();

/// Reads the command line. A wrong one raises 641002, with what is wrong.
VaultOptions parse_vault_options(int argument_count, const char* const* arguments);

}  // namespace vault
