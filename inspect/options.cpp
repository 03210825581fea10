#include "inspect/options.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "inspect/help_texts.h"
#include "inspect/records/partition_kinds.h"
#include "support/printable.h"
#include "support/program.h"
#include "support/text_format.h"

namespace inspect {

namespace {

/// The walk over the arguments. `count` is the working argument count: the output name of an extraction is
/// not a part file for the purpose of "No filenames specified".
struct CommandLine {
  support::Console& console;
  const char* const* arguments = nullptr;
  int count = 0;
  int next = 1;  ///< of the argument to look at; behind a switch once it has been matched

  bool is_switch(int at) const { return arguments[at][0] == '-'; }
};

using Handler = void (*)(CommandLine&, InspectOptions&);

struct SwitchRule {
  CommandSwitch text;
  Handler apply;
};

/// Lists the partitions whose types name this switch.
void print_listing(CommandLine& line, InspectOptions& options) {
  const std::string_view name = line.arguments[line.next - 1];
  for (std::size_t type = 0; type < kPartitionKinds.size(); ++type) {
    if (kPartitionKinds[type].listing_switch == name) options.print_partition[type] = true;
  }
}

template <bool InspectOptions::*Flag>
void set_flag(CommandLine&, InspectOptions& options) {
  options.*Flag = true;
}

/// For the switches that ask for one job only.
template <bool InspectOptions::*Flag>
void set_only(CommandLine&, InspectOptions& options) {
  options.*Flag = true;
  options.print_summary = false;
}

template <int Level>
void set_refs_level(CommandLine&, InspectOptions& options) {
  options.refs_level = Level;
}

void print_full(CommandLine&, InspectOptions& options) {
  options.print_partition.fill(true);
  options.print_full_extra = true;
  options.print_storages = true;
  options.compatibility = true;
}

[[noreturn]] void print_usage(CommandLine& line, InspectOptions&) {
  line.console.print("%s", kLongUsage);
  std::exit(line.console.flush() ? 0 : 1);
}

[[noreturn]] void reject_extract(support::Console& console) {
  fatal_usage_exit(console, "Extract must be followed by a partition number and 1 or 2 filenames\n%s",
                   kShortHelp);
}

/// -extract <id> <part file> [<filename>]: the id is consumed, the part file ends the switches.
void parse_extract(CommandLine& line, InspectOptions& options) {
  const int id = line.next;
  if (id >= line.count) reject_extract(line.console);
  const char* number = line.arguments[id];
  if (std::isdigit(static_cast<unsigned char>(number[0])) == 0) reject_extract(line.console);
  // Base 0 reads what "%i" reads; an id that does not fit would name another partition.
  const long long value = std::strtoll(number, nullptr, 0);
  if (value > INT32_MAX) {
    fatal_usage_exit(line.console, "Extract must be followed by a body id and 1 or 2 filenames\n%s",
                     kShortHelp);
  }
  options.extract_partition = static_cast<std::int32_t>(value);
  const int part = id + 1;
  if (part + 1 == line.count && !line.is_switch(part)) {
    options.extract_output_name.assign("");
  } else {
    const bool two_names = part + 2 == line.count && !line.is_switch(part) && !line.is_switch(part + 1);
    if (!two_names) reject_extract(line.console);
    options.extract_output_name.assign(line.arguments[part + 1]);
    --line.count;
  }
  options.print_summary = false;
  line.next = part;
}

/// -extract_all <part file> [<filename>]: nothing is consumed.
void parse_extract_all(CommandLine& line, InspectOptions& options) {
  const int part = line.next;
  if (part + 1 == line.count && !line.is_switch(part)) {
    options.extract_output_name.assign("");
  } else {
    if (part + 2 != line.count || line.is_switch(part)) {
      fatal_usage_exit(line.console, "extract_all must be followed by 1 or 2 filenames\n%s", kShortHelp);
    }
    options.extract_output_name.assign(line.arguments[part + 1]);
    --line.count;
  }
  options.extract_all = true;
  options.print_summary = false;
}

/// -extract_stream <stream-path> <filename>: both are consumed, further switches may follow.
void parse_extract_stream(CommandLine& line, InspectOptions& options) {
  if (line.next + 1 >= line.count) {
    fatal_usage_exit(line.console, "-extract_stream expects a stream-path and filename after it");
  }
  options.stream_path = line.arguments[line.next];
  options.stream_output_name = line.arguments[line.next + 1];
  options.extract_stream = true;
  options.print_summary = false;
  line.next += 2;
}

constexpr std::array kRules = {
    SwitchRule{{"-rm", "", "Print the Record Manager partition."}, print_listing},
    SwitchRule{{"-cmod", "", "Print the CMOD partition."}, print_listing},
    SwitchRule{{"-ess", "", "Print the Expression partition."}, print_listing},
    SwitchRule{{"-occ", "", "Print the Occurrences partition."}, print_listing},
    SwitchRule{{"-path", "", "Print the Path partitions."}, print_listing},
    SwitchRule{{"-full", "", "Print all partitions, the storages and the compatibility information."},
               print_full},
    SwitchRule{{"-trace", "", "Print one line for every field as it is read."},
               set_flag<&InspectOptions::trace>},
    SwitchRule{{"-cookies", "", "Print cookie and object id information."},
               set_flag<&InspectOptions::print_cookies>},
    SwitchRule{{"-refs", "", "Print the most recent referenced part information."}, set_refs_level<1>},
    SwitchRule{{"-all_refs", "", "Print all referenced part information."}, set_refs_level<2>},
    SwitchRule{{"-extref", "", "Print the External Reference Table."},
               set_flag<&InspectOptions::print_extref>},
    SwitchRule{{"-scan", "", "Scan for known corruptions and check the checksums of the part."},
               set_only<&InspectOptions::scan>},
    SwitchRule{
        {"-extract", "<id>",
         "Extract the Brepsolid partition with this id into a transmit file; the last switch, followed "
         "by one part file and an optional output name without extension."},
        parse_extract},
    SwitchRule{{"-check_checksums", "", "Check the checksums of compressed Brepsolid data."},
               set_only<&InspectOptions::check_checksums>},
    SwitchRule{{"-compatibility", "", "Print the compatibility of the part with maintenance releases."},
               set_only<&InspectOptions::compatibility>},
    SwitchRule{
        {"-extract_all", "",
         "Extract all Brepsolid partitions; the last switch, followed by one part file and an optional "
         "output name without extension."},
        parse_extract_all},
    SwitchRule{{"-extract_stream", "<stream-path> <filename>",
                "Copy one stream of the container, named by its path without /Root, into a file."},
               parse_extract_stream},
    SwitchRule{{"-extract_jt", "", "Extract the JT bodies into one file each in the current directory."},
               set_only<&InspectOptions::extract_jt>},
    SwitchRule{{"-bs", "", "Print the Brepsolid partitions."}, print_listing},
    SwitchRule{{"-release", "", "Print only which release wrote the part."},
               set_only<&InspectOptions::release_only>},
    SwitchRule{{"-help", "", "Print the usage text and exit."}, print_usage},
    SwitchRule{{"-storages", "", "Print only the storages and streams of the container."},
               set_only<&InspectOptions::print_storages>},
    SwitchRule{{"-feature_toggle_info", "", "Print the feature toggles stored in the part."},
               set_flag<&InspectOptions::feature_toggle_info>},
};

constexpr auto kSwitches = [] {
  std::array<CommandSwitch, kRules.size()> switches = {};
  std::ranges::transform(kRules, switches.begin(), &SwitchRule::text);
  return switches;
}();

static_assert(std::ranges::all_of(kPartitionKinds,
                                  [](const PartitionKind& kind) {
                                    return kind.listing_switch.empty() ||
                                           std::ranges::any_of(kRules, [&](const SwitchRule& rule) {
                                             return rule.text.name == kind.listing_switch;
                                           });
                                  }),
              "each switch that a partition type names has a rule");

void parse_switch(CommandLine& line, InspectOptions& options) {
  const std::string_view text = line.arguments[line.next++];
  const auto* rule = std::ranges::find(kRules, text, [](const SwitchRule& r) { return r.text.name; });
  if (rule == kRules.end()) {
    fatal_usage_exit(line.console, "Unknown command switch %s\n%s", support::printable(text).c_str(),
                     kShortHelp);
  }
  rule->apply(line, options);
}

}  // namespace

std::span<const CommandSwitch> command_switches() { return kSwitches; }

void fatal_usage_exit(support::Console& console, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string message = support::format_text_list(format, arguments);
  va_end(arguments);
  console.report_message(support::format_text("%s: %s\n", support::program_name(), message.c_str()),
                         support::Echo::on);
  console.flush();
  std::fflush(stderr);
  std::exit(1);
}

int parse_options(int argument_count, const char* const* arguments, InspectOptions& options,
                  support::Console& console) {
  if (argument_count < 2) {
    console.print("This is the %s version of %s.\n", support::kVersionText, support::program_name());
    console.print("%s", kShortHelp);
    std::exit(console.flush() ? 0 : 1);
  }
  CommandLine line{console, arguments, argument_count};
  while (line.next < line.count && line.is_switch(line.next)) parse_switch(line, options);
  if (line.next == line.count) fatal_usage_exit(console, "No filenames specified\n%s", kShortHelp);
  return line.next;
}

}  // namespace inspect
