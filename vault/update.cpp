#include "vault/update.h"

#include <sys/stat.h>

#include <string>

#include "support/console.h"
#include "support/error_escape.h"
#include "support/printable.h"
#include "support/progress.h"
#include "support/system_failure.h"
#include "sweep/file_finder.h"
#include "sweep/sweep.h"
#include "sweep/sweep_progress.h"
#include "vault/catalogue_writer.h"
#include "vault/part_inspector.h"
#include "vault/part_verdict.h"
#include "vault/text_sink.h"

namespace vault {

namespace {

constexpr std::size_t kBatchFiles = 512;

/// The files that are to be examined: the known ones that have not changed are kept on the way.
class ChangedFiles final : public sweep::FileSource {
 public:
  ChangedFiles(const VaultOptions& options, const sweep::FileQuery& query, CatalogueWriter& writer,
               sweep::SweepProgress& progress)
      : options_(options), finder_(query), writer_(writer), progress_(progress) {}

  std::optional<sweep::FoundFile> next() override {
    while (auto found = finder_.next()) {
      if (is_catalogue(found->name)) continue;
      if (!found->trouble.empty() || !keep(found->name)) return found;
      progress_.tick();
      writer_.tick();
    }
    return std::nullopt;
  }

 private:
  /// Opening one of the catalogue's own files here would end SQLite's locks on it.
  bool is_catalogue(const std::string& name) const {
    const auto is_same = [&name](const std::string& own) {
      struct stat file = {};
      struct stat other = {};
      return ::stat(name.c_str(), &file) == 0 && ::stat(own.c_str(), &other) == 0 &&
             file.st_dev == other.st_dev && file.st_ino == other.st_ino;
    };
    const std::string& catalogue = options_.catalogue;
    return base_name_of(name).starts_with(base_name_of(catalogue)) &&
           (is_same(catalogue) || is_same(catalogue + "-wal") || is_same(catalogue + "-shm") ||
            is_same(catalogue + "-journal"));
  }

  /// False when the file must be examined.
  bool keep(const std::string& name) {
    const auto identity = identity_of(name);
    if (!identity) return false;
    const auto known = writer_.find(name);
    if (known && known->identity == identity) {
      if (options_.verify) return false;
      writer_.keep(*known, name);
      progress_.add(name, known->verdict != "sound");
      return true;
    }
    if (known && known->present) return false;
    const auto moved = writer_.find_moved(*identity);
    if (!moved) return false;
    writer_.move(*moved, name);
    if (options_.verify) return false;
    progress_.add(name, moved->verdict != "sound");
    return true;
  }

  const VaultOptions& options_;
  sweep::FileFinder finder_;
  CatalogueWriter& writer_;
  sweep::SweepProgress& progress_;
};

class DocumentReceiver final : public sweep::Receiver {
 public:
  DocumentReceiver(CatalogueWriter& writer, sweep::SweepProgress& progress)
      : writer_(writer), progress_(progress) {}

  void take(const sweep::FoundFile& file, int /*status*/, const support::Spool& document) override {
    TextSink sink;
    document.copy_to(sink);
    const auto identity = PartInspector::take_identity(sink.text);
    if (!json_.parse(std::move(sink.text), PartJson::Origin::own)) {
      throw support::ErrorEscape(
          "vault", support::kSystemFailure,
          "the document of " + support::printable(file.name) + " is not sound: " + json_.why());
    }
    writer_.record(file.name, json_, identity);
    progress_.add(file.name, json_.verdict() != "sound");
  }

  void tick() override {
    writer_.tick();
    progress_.tick();
  }

 private:
  CatalogueWriter& writer_;
  sweep::SweepProgress& progress_;
  PartJson json_;
};

/// What makes this update the same as one that was cut short.
std::vector<std::string> sources_of(const VaultOptions& options) {
  std::vector<std::string> sources = options.operands;
  for (const std::string& pattern : options.patterns) sources.push_back("--name=" + pattern);
  return sources;
}

void print_counts(support::Console& console, std::int64_t run, const RunCounts& counts) {
  console.print(
      "run %lld: %llu new, %llu examined again, %llu unchanged, %llu moved, %llu vanished\n",
      static_cast<long long>(run), static_cast<unsigned long long>(counts.added),
      static_cast<unsigned long long>(counts.examined), static_cast<unsigned long long>(counts.unchanged),
      static_cast<unsigned long long>(counts.moved), static_cast<unsigned long long>(counts.vanished));
}

}  // namespace

int update_catalogue(const VaultOptions& options, support::Console& console) {
  const sweep::FileQuery query = {.names = options.operands, .patterns = options.patterns};
  CatalogueWriter writer(options.catalogue, "update", sources_of(options), FileTable::Files::here,
                         kBatchFiles);
  sweep::SweepProgress progress(query, console, false);
  ChangedFiles files(options, query, writer, progress);
  PartInspector inspector(options.sha256);
  DocumentReceiver receiver(writer, progress);
  sweep_files(files, inspector, {.jobs = options.jobs}, receiver);
  for (const std::string& folder : options.operands) writer.remove_gone(folder);
  const RunCounts counts = writer.finish();
  console.erase_passing_line();
  print_counts(console, writer.run(), counts);
  return counts.status;
}

}  // namespace vault
