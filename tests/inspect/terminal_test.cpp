// Texts from files and command lines that would drive a terminal, in every place where one may stand.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>

#include "inspect/vr_inspect_internal.h"
#include "support/console.h"
#include "support/program.h"
#include "support/text_format.h"
#include "tests/support/captured.h"
#include "tests/support/compound_builder.h"
#include "tests/support/container_builder.h"
#include "tests/support/object_builder.h"
#include "tests/support/program_runner.h"
#include "tests/support/solid_builder.h"

namespace {

using namespace test_support;

/// ESC, BEL, a raw C1 control, an override of direction, a line separator, no UTF-8; with `tag` in front.
std::string poison_in_line(const std::string& tag) {
  return tag + "\x1B[2J\x07\x9B\xE2\x80\xAE\xE2\x80\xA8\xFF\x7F|";
}

/// The same with a line of its own, which nobody may take for one of ours.
std::string poison(const std::string& tag) { return poison_in_line(tag) + "\rx\r\nFORGED"; }

/// What the poison becomes.
std::string harmless(const std::string& tag) {
  return tag + "\\x1B[2J\\x07\\x9B\\xE2\\x80\\xAE\\xE2\\x80\\xA8\\xFF\\x7F|";
}

/// Nothing but ASCII is planted, so that every other byte is one that slipped through.
void expect_harmless(std::string_view text, const std::string& where) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool fits = (c >= 0x20 && c < 0x7F) || c == '\n' || c == '\t';
    ASSERT_TRUE(fits) << where << ": byte " << i << " behind \""
                      << text.substr(i < 60 ? 0 : i - 60, i < 60 ? i : 60) << '"';
  }
  EXPECT_EQ(text.find("\nFORGED"), std::string_view::npos) << where;
}

ObjectPlan object_plan(std::int32_t version) {
  ObjectPlan plan;
  plan.version = version;
  plan.machine_name = poison("machine");
  plan.file_name = poison("omfile");
  plan.schemas = {{poison("schema"), 70}};
  plan.classes[0].name = poison("class");
  plan.shared_strings = {poison("shared")};
  plan.root_name = poison("root");
  plan.programs = {{poison("program"), {{.user_name = poison("user")}, {.shared_user = 0}}}};
  return plan;
}

std::string solid(const std::string& header_text) {
  return solid_partition(
      {.kind = 16, .header_text = header_text, .block = {.data = "some data"}, .compressed = true});
}

std::string part_stream() {
  PartBuilder part;
  const std::string description = poison("description");
  const std::string customer = poison("customer");
  part.word(30, static_cast<std::uint16_t>(description.size())).text(32, description);
  part.word(164, static_cast<std::uint16_t>(customer.size())).text(166, customer);
  part.text(302, poison("identifier"));
  part.add({.id = 3, .type = 16, .bytes = solid(poison_in_line("header") + "\rx;SCH=SCH_1;")});
  const std::string format = "PART;FORMAT=" + poison_in_line("format") + ";SCH=SCH_1\x1B[31m2200000_1;";
  part.add({.id = 4, .type = 16, .bytes = solid(format)});
  part.add(object_partition(2, 7, object_plan(6)));
  part.add(object_partition(1, 1, object_plan(10)));  // without chains, so that the listings end here
  return part.build();
}

std::string toggle_stream() {
  const std::string text = poison("toggle");
  return RecordBytes(std::endian::little).u8(1).u32(1).u32(text.size()).raw(text).u32(0).bytes();
}

std::string references() {
  const auto named = [](const std::string& text) { return std::string("\0\0\0", 3) + text; };
  return named("VRX::ModlFeature::MainPartModuleExtFileRefType") + named(poison("main.prt")) +
         named("VRX::ModlFeature::LinkedPartModuleExtFileRefType") + named(poison("linked.prt"));
}

std::string kvpm_file() {
  return ContainerBuilder()
      .stream("/Root/VR_PART/VR_PART", part_stream())
      .stream("/Root/VR_PART/ExternalReferences", references())
      .stream("/Root/VR_PART/LastSavedToggleInfoStream", toggle_stream())
      .stream("/Root/COMPATIBILITY",
              poison_in_line("release") + "\rx\r\n" + poison_in_line("fact") + "\rx\r\n")
      .stream("/Root/" + poison("stream"), "1")
      .stream("/Root/" + poison("storage") + "/inside", "2")
      .bytes();
}

std::string compound_file() {
  CompoundBuilder builder;
  builder.add_stream(builder.add_storage(0, u"VR_PART"), u"VR_PART", part_stream());
  std::u16string name = u"\x1B[2J\x07\r\nFORGED\x9B\x202E\x2028";
  builder.add_stream(builder.add_storage(0, u"cstorage" + name), u"cstream" + name + u'\xD800', "3");
  builder.compose();
  return builder.bytes();
}

/// A container whose index holds a path that is none.
std::string broken_path_in(ContainerDamage::Area area) {
  const std::string path = "/Root/" + poison("path") + "/x";
  ContainerBuilder builder;
  builder.stream("/Root/VR_PART/VR_PART", part_stream()).stream(path, "4").area(path, area);
  const std::string bytes = builder.bytes();
  ContainerDamage damage(bytes);
  return damage.put(bytes.find(path), "/Root//" + poison("ath") + "/x").fix_checksums().bytes();
}

TEST(Terminal, NoTextReachesItAsItStands) {
  using Area = ContainerDamage::Area;
  const TemporaryFolder folder;
  const std::string file = poison("file") + ".prt";
  const std::string path = poison("wanted");
  const std::string output = poison("output");
  const std::vector<std::vector<std::string>> runs = {
      {file},
      {"-full", "-trace", "-extref", "-all_refs", "-feature_toggle_info", "-cookies", file},
      {"-scan", "-check_checksums", "-refs", file},
      {"-compatibility", "-release", "-storages", "-extract_jt", file},
      {"-extract_stream", path, output, file},
      {"-extract_stream", "VR_PART/" + path, output, file},
      {"-extract_stream", "VR_PART/VR_PART", output + "/x", file},
      {"-extract_stream", "VR_PART/VR_PART", file, file},
      {"-extract_all", file, output},
      {"-extract_all", file, output + ".xmt_bin"},
      {"-extract", "16", file, "none/" + output},
      {"-" + poison("switch"), file}};
  std::string all;
  for (const std::string& bytes : {kvpm_file(), compound_file(), part_stream(), broken_path_in(Area::header),
                                   broken_path_in(Area::footer), std::string()}) {
    folder.write(file, bytes);
    for (const auto& arguments : runs) {
      const auto result = run_program(
          arguments, folder.path(),
          {"VRII_DISPLAY_DEBUG=cfi_storage,structured_storage,structured_storage_io,error_escapes"});
      expect_harmless(result.out, arguments[0] + " on standard output");
      expect_harmless(result.err, arguments[0] + " on standard error");
      all += result.out + result.err;
    }
  }
  for (const char* tag :
       {"machine", "omfile", "schema", "class",   "shared",      "root",     "program",   "user",
        "header",  "format", "toggle", "release", "fact",        "stream",   "storage",   "ath",
        "file",    "wanted", "output", "switch",  "description", "customer", "identifier"}) {
    EXPECT_NE(all.find(harmless(tag)), std::string::npos) << tag;
  }
  for (const char* piece : {"cstorage\\x1B", "cstream\\x1B", "1\\x1B[31m22.00.000", "main.prt"}) {
    EXPECT_NE(all.find(piece), std::string::npos) << piece;
  }
}

TEST(Terminal, WhatACallerForgetsIsCaughtWhereItIsWritten) {
  support::set_program_name(poison("program").c_str());
  const std::string name = support::program_name();
  support::set_program_name("vr_inspect");
  expect_harmless(name, "the program's name");
  const std::string text = "ours\n\t" + poison_in_line("theirs") + "\r";
  const std::string wanted = "ours\n\t" + harmless("theirs") + "\\x0D";
  support::Console console;
  const auto written = captured(console, [&] {
    console.print("%s", text.c_str());
    console.print("%-4s", text.c_str());
    console.print_text(text);
    console.print_text("kept: \r\n");
    console.print_message("%s", text.c_str());
    console.report_message(text, support::Echo::on);
  });
  EXPECT_EQ(written.out, wanted + wanted + wanted + "kept: \r\n" + wanted);
  EXPECT_EQ(written.err, wanted + wanted);
}

/// A console over two files that nobody else sees.
struct FileConsole {
  using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

  static std::string content(std::FILE* file) {
    std::string text(4096, '\0');
    std::rewind(file);
    text.resize(std::fread(text.data(), 1, text.size(), file));
    return text;
  }

  File output{std::tmpfile(), std::fclose};
  File messages{std::tmpfile(), std::fclose};
  support::Console console{::fileno(output.get()), messages.get()};
};

TEST(Terminal, TwoInspectionsInOneProcessSpeakToTwoConsoles) {
  const TemporaryFolder folder;
  std::array<FileConsole, 2> consoles;
  for (const std::size_t i : {0U, 1U, 0U}) {  // what one has said still waits while the other speaks
    const std::string name = (folder.path() / (i == 0 ? "empty.prt" : "missing.prt")).string();
    if (i == 0) static_cast<void>(folder.write("empty.prt", ""));
    inspect::InspectOptions options;
    inspect::RunState run{.console = consoles.at(i).console};
    inspect::inspect_part_file(name, options, run);
  }
  const std::string empty = (folder.path() / "empty.prt").string();
  const std::string banner = support::format_text(
      "...Running %s version of %s on %s\n", support::kVersionText, support::program_name(), empty.c_str());
  for (FileConsole& files : consoles) EXPECT_TRUE(files.console.flush());
  const std::string told_twice = banner + "**** File is empty, not a valid part file\n";
  EXPECT_EQ(FileConsole::content(consoles[0].output.get()), told_twice + told_twice);
  EXPECT_EQ(FileConsole::content(consoles[0].messages.get()), "");
  EXPECT_EQ(FileConsole::content(consoles[1].output.get()).find(empty), std::string::npos);
  EXPECT_NE(FileConsole::content(consoles[1].messages.get()).find("could not open"), std::string::npos);
}

}  // namespace
