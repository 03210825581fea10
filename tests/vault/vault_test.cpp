#include <SQLiteCpp/SQLiteCpp.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/program_runner.h"

namespace {

namespace fs = std::filesystem;
using test_support::ProgramResult;
using test_support::TemporaryFolder;

constexpr const char* kTables[] = {"run",    "file",    "observation", "finding", "partition", "solid",
                                   "stream", "jt_body", "reference",   "save",    "search"};

/// All rows but what tells when they were written.
std::string dump(const fs::path& catalogue, bool with_runs = true) {
  SQLite::Database database(catalogue.string(), SQLite::OPEN_READONLY);
  std::string text;
  for (const std::string table : kTables) {
    if (table == "run" && !with_runs) continue;
    SQLite::Statement row(database, "SELECT * FROM " + table + " ORDER BY 1, 2");
    while (row.executeStep()) {
      text += table;
      for (int i = 0; i < row.getColumnCount(); ++i) {
        const std::string column = row.getColumnName(i);
        if (column == "verdict_since" || column == "started" || column == "finished") continue;
        text += '|' + row.getColumn(i).getString();
      }
      text += '\n';
    }
  }
  return text;
}

/// Sees which files of a folder are opened.
class OpenWatch {
 public:
  explicit OpenWatch(const fs::path& folder) : descriptor_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    EXPECT_GE(::inotify_add_watch(descriptor_, folder.c_str(), IN_OPEN), 0);
  }
  ~OpenWatch() { ::close(descriptor_); }
  OpenWatch(const OpenWatch&) = delete;
  OpenWatch& operator=(const OpenWatch&) = delete;

  /// Since the last call.
  int opened() {
    alignas(inotify_event) char events[65536];
    const ssize_t length = ::read(descriptor_, events, sizeof events);
    int count = 0;
    for (ssize_t at = 0; at < length;) {
      const auto* event = reinterpret_cast<const inotify_event*>(events + at);
      if ((event->mask & IN_ISDIR) == 0) ++count;
      at += static_cast<ssize_t>(sizeof *event + event->len);
    }
    return count;
  }

 private:
  int descriptor_;
};

class Vault : public testing::Test {
 protected:
  Vault() {
    fs::create_directories(folder() / "parts/inner");
    for (const char* name : {"bracket", "damaged_zero_blocks", "flat_be"}) {
      fs::copy(test_support::sample(name + std::string(".prt")), folder() / "parts" / name);
    }
    fs::copy(test_support::sample("gearbox.prt"), folder() / "parts/inner/odd\n\xFF.prt");
    put("parts/note", "no part");
    put("parts/empty", "");
  }

  const fs::path& folder() const { return work_.path(); }
  fs::path part(const std::string& name) const { return folder() / "parts" / name; }
  void put(const std::string& name, const std::string& bytes) const {
    std::ofstream(folder() / name, std::ios::binary) << bytes;
  }

  ProgramResult vault(const std::vector<std::string>& arguments) const {
    return test_support::run_other_program(VRII_VAULT_PROGRAM, arguments, folder());
  }

  ProgramResult update(const std::string& catalogue = "v.db") const {
    return vault({"update", catalogue, "parts"});
  }

  std::string names(std::vector<std::string> filter) const {
    filter.insert(filter.begin(), {"list", "v.db", "-0"});
    std::string out = vault(filter).out;
    for (char& letter : out) letter = letter == '\0' ? ';' : letter;
    return out;
  }

  std::string ask(const std::string& select) const {
    SQLite::Database database((folder() / "v.db").string(), SQLite::OPEN_READONLY);
    SQLite::Statement row(database, select);
    std::string text;
    while (row.executeStep()) text += row.getColumn(0).getString() + ';';
    return text;
  }

 private:
  TemporaryFolder work_;
};

TEST_F(Vault, ListsWhatFits) {
  EXPECT_EQ(update().out, "run 1: 6 new, 0 examined again, 0 unchanged, 0 moved, 0 vanished\n");
  const struct {
    std::vector<std::string> filter;
    std::string names;
  } cases[] = {
      {{"--verdict", "damaged"}, "parts/damaged_zero_blocks;"},
      {{"--verdict", "not_a_part"}, "parts/note;"},
      {{"--rule", "copy.zero-blocks"}, "parts/damaged_zero_blocks;"},
      {{"--release", "KX 2512"}, "parts/inner/odd\n\xFF.prt;"},
      {{"--references", "housing.prt", "--verdict", "sound"}, "parts/bracket;parts/inner/odd\n\xFF.prt;"},
      {{"--references", "elsewhere/housing.prt"}, ""},
      {{"--words", "left BRACKET"}, "parts/bracket;"},
      {{"--words", "\"no * such"}, ""},
      {{"--since", "2999-01-01"}, ""},
      {{"--since", "2000-01-01T00:00:00Z", "--verdict", "unreadable"}, "parts/empty;"},
  };
  for (const auto& row : cases) EXPECT_EQ(names(row.filter), row.names) << row.filter.back();
  EXPECT_NE(vault({"list", "v.db", "--json", "--release", "KX 2512"}).out.find("name_base64"),
            std::string::npos);
  EXPECT_NE(vault({"list", "v.db"}).out.find("odd\\x0A\\xFF.prt\n"), std::string::npos);
  EXPECT_EQ(vault({"show", "v.db", "parts/bracket"}).status, 0);
  EXPECT_EQ(vault({"list", "v.db"}).status, 2);
  EXPECT_EQ(vault({"check", "v.db"}).status, 0);
}

TEST_F(Vault, FollowsChanges) {
  OpenWatch watch(part(""));
  update();
  EXPECT_GE(watch.opened(), 5);
  EXPECT_EQ(update().out, "run 2: 0 new, 0 examined again, 6 unchanged, 0 moved, 0 vanished\n");
  EXPECT_EQ(watch.opened(), 0);
  EXPECT_EQ(ask("SELECT count(*) FROM newly_bad"), "0;");
  std::string bytes = test_support::read_file(part("flat_be").string());
  bytes.resize(bytes.size() / 2);
  put("parts/flat_be", bytes);
  fs::rename(part("bracket"), part("inner/moved"));
  fs::remove(part("note"));
  put("v.db-notes", "not the catalogue's own");
  EXPECT_EQ(update().out, "run 3: 0 new, 1 examined again, 3 unchanged, 1 moved, 1 vanished\n");
  EXPECT_EQ(ask("SELECT name FROM newly_bad"), "parts/flat_be;");
  EXPECT_EQ(ask("SELECT name FROM vanished"), "parts/note;");
  const ProgramResult difference = vault({"diff", "v.db", "1", "3"});
  EXPECT_TRUE(std::regex_search(
      difference.out, std::regex("moved +sound -> sound +parts/inner/moved \\(was parts/bracket\\)")))
      << difference.out;
  EXPECT_TRUE(std::regex_search(difference.out, std::regex("vanished +not_a_part -> - +parts/note")))
      << difference.out;
  EXPECT_TRUE(std::regex_search(difference.out, std::regex("verdict +sound -> \\w+ +parts/flat_be")))
      << difference.out;
  EXPECT_EQ(vault({"diff", "v.db", "2", "2"}).out, "");
}

TEST_F(Vault, KeepsHistoryBehindAFolderThatCannotBeRead) {
  if (::geteuid() == 0) GTEST_SKIP() << "nothing is closed to root";
  update();
  fs::permissions(part("inner"), fs::perms::none);
  update();
  EXPECT_EQ(names({"--verdict", "unreadable"}), "parts/empty;parts/inner;");
  EXPECT_EQ(ask("SELECT count(*) FROM vanished"), "0;");
  fs::permissions(part("inner"), fs::perms::owner_all);
  update();
  EXPECT_EQ(names({"--verdict", "unreadable"}), "parts/empty;");
}

TEST_F(Vault, ImportsTheRowsOfAnUpdate) {
  update();
  const ProgramResult documents = test_support::run_other_program(
      VRII_REPORT_PROGRAM, {"--format", "jsonl", "--no-map", "parts"}, folder());
  put("parts.jsonl", documents.out);
  EXPECT_EQ(vault({"import", "i.db", "parts.jsonl"}).status, 2);
  EXPECT_EQ(dump(folder() / "i.db", false), dump(folder() / "v.db", false));

  put("spoilt.jsonl",
      documents.out.substr(0, documents.out.size() / 2) + "\n" + std::string(100'000, '[') + "\n{}\n");
  const ProgramResult spoilt = vault({"import", "s.db", "spoilt.jsonl"});
  EXPECT_EQ(spoilt.status, 3);
  EXPECT_TRUE(std::regex_search(spoilt.err, std::regex("spoilt.jsonl, line \\d+: it is no"))) << spoilt.err;
  EXPECT_EQ(vault({"check", "s.db"}).status, 0);
}

TEST_F(Vault, EndsInTheSameCatalogueWhereverItIsKilled) {
  for (int i = 0; i < 700; ++i) put("parts/inner/" + std::to_string(i), "some text");
  update();
  const std::string undisturbed = dump(folder() / "v.db");
  for (const int milliseconds : {1, 4, 8, 16, 30, 50, 80, 120, 180, 260}) {
    const std::string catalogue = std::to_string(milliseconds) + ".db";
    const pid_t child = ::fork();
    if (child == 0) {
      const bool moved = ::chdir(folder().c_str()) == 0;
      ::dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);
      if (moved) ::execl(VRII_VAULT_PROGRAM, "vr_vault", "update", catalogue.c_str(), "parts", nullptr);
      ::_exit(127);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    // A run that had come to its end is followed by another.
    const bool had_ended = update(catalogue).out.starts_with("run 2");
    EXPECT_EQ(dump(folder() / catalogue, !had_ended),
              had_ended ? dump(folder() / "v.db", false) : undisturbed);
    EXPECT_EQ(vault({"check", catalogue}).status, 0);
  }
}

TEST_F(Vault, TwoUpdatesTakeTurns) {
  ProgramResult other;
  std::thread beside([&] { other = update(); });
  const ProgramResult own = update();
  beside.join();
  EXPECT_EQ(own.status, 2) << own.err;
  EXPECT_EQ(other.status, 2) << other.err;
  EXPECT_EQ(ask("SELECT group_concat(id) FROM run"), "1,2;");
}

TEST_F(Vault, RefusesWhatIsNoCatalogue) {
  update();
  put("text.db", std::string(5000, 'x'));
  put("v.json", "{}");
  std::string damaged = test_support::read_file((folder() / "v.db").string());
  for (std::size_t at = 4096; at < damaged.size(); at += 4096) damaged.replace(at, 64, 64, '\xA5');
  put("damaged.db", damaged);
  put("cut.db", damaged.substr(0, damaged.size() / 3));
  SQLite::Database((folder() / "other.db").string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
      .exec("CREATE TABLE some (thing)");
  fs::copy(folder() / "v.db", folder() / "newer.db");
  SQLite::Database((folder() / "newer.db").string(), SQLite::OPEN_READWRITE).exec("PRAGMA user_version = 99");
  const struct {
    std::vector<std::string> arguments;
    std::string message;
  } cases[] = {
      {{}, "no command"},
      {{"judge", "v.db"}, "no command judge"},
      {{"list"}, "list takes"},
      {{"list", "v.db", "--jobs", "2"}, "unknown option"},
      {{"list", "v.db", "--verdict", "good"}, "good"},
      {{"list", "v.db", "--rule", "no.rule"}, "no.rule"},
      {{"list", "v.db", "--since", "yesterday"}, "yesterday"},
      {{"show", "v.db", "parts/none"}, "no file parts/none"},
      {{"diff", "v.db", "1", "2"}, "no run 2"},
      {{"list", "none.db"}, "No such file"},
      {{"list", "text.db"}, "no database"},
      {{"update", "text.db", "parts"}, "no database"},
      {{"update", "other.db", "parts"}, "no catalogue"},
      {{"list", "newer.db"}, "newer release"},
      {{"update", "newer.db", "parts"}, "newer release"},
      {{"list", "damaged.db"}, "damaged"},
      {{"check", "damaged.db"}, "damaged"},
      {{"check", "cut.db"}, "damaged"},
      {{"update", "damaged.db", "parts"}, "damaged"},
      {{"update", "none/v.db", "parts"}, "No such file"},
      {{"page", "v.db", "--output", "v.db"}, "is the catalogue"},
  };
  for (const auto& row : cases) {
    const ProgramResult result = vault(row.arguments);
    EXPECT_EQ(result.status, 3) << row.message;
    EXPECT_NE(result.err.find(row.message), std::string::npos) << row.message << ": " << result.err;
  }
  EXPECT_EQ(test_support::read_file((folder() / "text.db").string()), std::string(5000, 'x'));
}

TEST_F(Vault, AnswersTheQuestionsOfItsDocument) {
  update();
  SQLite::Database database((folder() / "v.db").string(), SQLite::OPEN_READONLY);
  const std::string document = test_support::read_file(VRII_SOURCES "/docs/vault.md");
  const std::regex question("```sql\n([^`]*)```");
  int count = 0;
  for (std::sregex_iterator found(document.begin(), document.end(), question);
       found != std::sregex_iterator(); ++found) {
    SQLite::Statement row(database, (*found)[1].str());
    EXPECT_NO_THROW(while (row.executeStep()){}) << (*found)[1];
    ++count;
  }
  EXPECT_GT(count, 8);
}

}  // namespace
