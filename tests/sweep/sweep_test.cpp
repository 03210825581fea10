#include "sweep/sweep.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <set>
#include <thread>

#include "support/error_escape.h"
#include "sweep/file_finder.h"
#include "sweep/sweep_progress.h"
#include "tests/support/program_runner.h"

namespace {

namespace fs = std::filesystem;
using sweep::FileQuery;
using sweep::FoundFile;
using test_support::TemporaryFolder;
using Names = std::vector<std::string>;

constexpr int kLost = 2;

class StringSink final : public support::ByteSink {
 public:
  void write(std::string_view bytes) override { text += bytes; }
  std::string text;
};

/// Its document is the name, repeated; what it does beside depends on how the name ends.
class PlainExaminer final : public sweep::Examiner {
 public:
  int examine(const std::string& name, support::ByteSink& document) override {
    if (name.ends_with("slow")) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const std::size_t times = name.ends_with("long") ? 200'000 : 1;
    for (std::size_t i = 0; i < times; ++i) document.write(name);
    if (name.ends_with("killed")) std::raise(SIGKILL);
    if (name.ends_with("endless")) std::this_thread::sleep_for(std::chrono::minutes(10));
    if (name.ends_with("greedy")) static_cast<void>(std::make_unique<char[]>(std::size_t{1} << 32U));
    if (name.ends_with("escape")) throw support::ErrorEscape("test", 1, "no such luck");
    return name.ends_with("bad") ? 1 : 0;
  }

  int report_lost(const std::string& name, std::string_view reason, support::ByteSink& document) override {
    document.write("lost " + name + ": " + std::string(reason));
    return kLost;
  }
};

struct Collected final : sweep::Receiver {
  void take(const FoundFile& file, int status, const support::Spool& document) override {
    StringSink sink;
    document.copy_to(sink);
    names.push_back(file.name);
    statuses[file.name] = status;
    documents[file.name] = sink.text;
  }
  Names names;
  std::map<std::string, int> statuses;
  std::map<std::string, std::string> documents;
};

Collected swept(const Names& names, const sweep::SweepOptions& options) {
  FileQuery query;
  query.names = names;
  sweep::FileFinder finder(query);
  PlainExaminer examiner;
  Collected collected;
  sweep_files(finder, examiner, options, collected);
  return collected;
}

Names found(const FileQuery& query) {
  sweep::FileFinder finder(query);
  Names names;
  while (const auto file = finder.next()) names.push_back(file->name + file->trouble);
  return names;
}

TEST(Sweep, DocumentsComeWholeAndInOrderWhoeverIsDoneFirst) {
  Names names;
  for (int i = 0; i < 1000; ++i) {
    names.push_back(std::to_string(i) + (i % 100 == 0  ? "slow"
                                         : i % 97 == 1 ? "long"
                                         : i % 7 == 0  ? "bad"
                                                       : ""));
  }
  names.push_back(std::string(300'000, 'n'));
  for (const std::size_t jobs : {0U, 1U, 2U, 5U}) {
    const Collected collected = swept(names, {.jobs = jobs});
    EXPECT_EQ(collected.names, names) << jobs;
    for (const std::string& name : names) {
      const std::string& document = collected.documents.at(name);
      ASSERT_EQ(document.size(), name.size() * (name.ends_with("long") ? 200'000 : 1)) << name;
      ASSERT_TRUE(document.starts_with(name) && document.ends_with(name)) << name;
      ASSERT_EQ(collected.statuses.at(name), name.ends_with("bad") ? 1 : 0) << name;
    }
  }
}

TEST(Sweep, AWorkerThatDiesCostsTheFileThatItHeld) {
  struct Case {
    const char* end;
    const char* reason;
    std::size_t jobs;
    sweep::SweepOptions options = {};
  };
  const Case cases[] = {
    {"killed", "the process that examined it was killed by signal 9 (Killed)", 2},
    {"killed", "the process that examined it was killed by signal 9 (Killed)", 1},
    {"endless", "it took longer than the limit of 1 seconds", 2, {.time = std::chrono::seconds(1)}},
#if !defined(__SANITIZE_ADDRESS__)
    {"greedy", "out of memory", 2, {.memory_bytes = std::uint64_t{1} << 30U}},
#endif
    {"escape", "no such luck", 2},
    {"escape", "no such luck", 0},
  };
  for (const Case& c : cases) {
    Names names;
    for (int i = 0; i < 40; ++i) names.push_back(std::to_string(i));
    const Names lost = {std::string("a") + c.end, std::string("long") + c.end, std::string("z") + c.end};
    names.insert(names.begin() + 10, lost.begin(), lost.begin() + 2);
    names.push_back(lost[2]);
    sweep::SweepOptions options = c.options;
    options.jobs = c.jobs;
    const Collected collected = swept(names, options);
    EXPECT_EQ(collected.names, names) << c.end;
    for (const std::string& name : names) {
      const bool is_lost = std::ranges::count(lost, name) > 0;
      EXPECT_EQ(collected.documents.at(name), is_lost ? "lost " + name + ": " + c.reason : name);
      EXPECT_EQ(collected.statuses.at(name), is_lost ? kLost : 0) << name;
    }
  }
}

TEST(Sweep, ProgressTellsTheTimeLeftWhenItKnowsTheNumberOfFiles) {
  EXPECT_EQ(sweep::sweep_progress_text({.files = 3, .bytes = 5'000'000, .with_findings = 1, .seconds = 2}),
            "3 files, 5.0 MB, 2.5 MB/s, 1 with findings");
  EXPECT_EQ(sweep::sweep_progress_text({.files = 10, .all_files = 37010, .seconds = 1}),
            "10 of 37010 files, 0.0 MB, 0.0 MB/s, 0 with findings, 1:01:40 left");
}

/// A folder with files, links and folders, and a list of names.
class FindingFiles : public testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(path("b/deep"));
    fs::create_directories(path("empty"));
    for (const char* name : {"b/deep/one.prt", "b/TWO.PRT", "b.prt", "a\nb.prt", "notes.txt", "outside"}) {
      folder_.write(name, "x");
    }
    fs::create_symlink("../../outside", path("b/deep/link.prt"));
    fs::create_symlink("..", path("b/deep/up"));
    fs::create_symlink("nowhere", path("b/dangling.prt"));
    ASSERT_EQ(::mkfifo(path("pipe.prt").c_str(), 0600), 0);
  }

  std::string path(const std::string& name) const { return folder_.path() / name; }
  Names paths(Names names) const {
    for (std::string& name : names) name = path(name);
    return names;
  }

  TemporaryFolder folder_;
};

TEST_F(FindingFiles, FoldersStandForTheFilesBelowThem) {
  const Names all = {"a\nb.prt", "b/TWO.PRT", "b/deep/link.prt", "b/deep/one.prt",
                     "b.prt",    "notes.txt", "outside"};
  EXPECT_EQ(found({.names = {path("")}}), paths(all));
  EXPECT_EQ(found({.names = {path("b//"), path("none"), path("empty"), path("notes.txt")},
                   .patterns = {"*.PrT", "x*"}}),
            paths({"b/TWO.PRT", "b/deep/link.prt", "b/deep/one.prt", "none", "notes.txt"}));
}

TEST_F(FindingFiles, ListedNamesHoldAnythingButAZeroByte) {
  const std::string huge(200'000, 'h');
  const Names listed = {path("a\nb.prt"), path("b/deep"), "", huge, "-x", "last without an end"};
  std::string list;
  for (const std::string& name : listed) list += name + '\0';
  list.pop_back();
  Names wanted = {"first", listed[0], path("b/deep/link.prt"), path("b/deep/one.prt"), ""};
  wanted.insert(wanted.end(), {huge.substr(0, 65536), "-x", "last without an end"});
  EXPECT_EQ(found({.names = {"first"}, .name_list = folder_.write("list", list)}), wanted);
  EXPECT_EQ(found({.name_list = folder_.write("list", "")}), Names());
  EXPECT_THROW(found({.name_list = path("none")}), support::ErrorEscape);
  EXPECT_THROW(found({.name_list = path("b")}), support::ErrorEscape);
}

TEST_F(FindingFiles, EveryFileIsInOneShard) {
  Names names = {path("")};
  for (int i = 0; i < 3000; ++i) names.push_back("part" + std::to_string(i));
  Names all = found({.names = names});
  Names shared;
  for (std::uint64_t i = 0; i < 7; ++i) {
    const Names share = found({.names = names, .shard = {i, 7}});
    EXPECT_GT(share.size(), 300U);
    EXPECT_LT(share.size(), 600U);
    shared.insert(shared.end(), share.begin(), share.end());
  }
  std::ranges::sort(all);
  std::ranges::sort(shared);
  EXPECT_EQ(shared, all);
  // Hosts of all kinds and releases agree: the hash of "abc" is 0x44BC2CF5AD770999.
  EXPECT_TRUE((sweep::Shard{0x44BC2CF5AD770999U % 1000, 1000}.has("abc")));
  for (const char* text :
       {"2/2", "0/0", "-1/2", "1", "1/", "/2", "1/2/3", "0x1/2", " 0/1", "0/99999999999999999999"}) {
    EXPECT_FALSE(sweep::parse_shard(text)) << text;
  }
  EXPECT_EQ(sweep::parse_shard("4/18446744073709551615")->index, 4U);
}

/// Nothing is closed to root, which the tests may run as.
class AsSomebody {
 public:
  AsSomebody() {
    if (was_root_) be(65534);
  }
  ~AsSomebody() {
    if (was_root_) be(0);
  }
  AsSomebody(const AsSomebody&) = delete;
  AsSomebody& operator=(const AsSomebody&) = delete;

 private:
  static void be(uid_t user) { EXPECT_EQ(::seteuid(user), 0); }

  bool was_root_ = ::geteuid() == 0;
};

TEST_F(FindingFiles, AFolderThatCannotBeReadIsTold) {
  fs::permissions(folder_.path(), static_cast<fs::perms>(0755));
  fs::permissions(path("b/deep"), fs::perms::none);
  const Names wanted = {path("b/TWO.PRT"),
                        path("b/deep") + "the folder could not be read: Permission denied"};
  {
    const AsSomebody somebody;
    EXPECT_EQ(found({.names = {path("b")}, .patterns = {"t*"}}), wanted);
  }
  fs::permissions(path("b/deep"), fs::perms::owner_all);
}

}  // namespace
