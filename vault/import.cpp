#include "vault/import.h"

#include <string>

#include "support/console.h"
#include "support/printable.h"
#include "support/program.h"
#include "vault/catalogue_writer.h"
#include "vault/line_reader.h"
#include "vault/part_verdict.h"

namespace vault {

namespace {

/// Lines are taken in a moment, and the index of words is written faster in large pieces.
constexpr std::size_t kBatchFiles = 8192;

/// False when some line held no document.
bool import_file(const std::string& file_name, CatalogueWriter& writer, support::Console& console) {
  bool all_sound = true;
  LineReader lines(file_name);
  PartJson document;
  while (auto line = lines.next()) {
    if (line->empty()) continue;
    if (document.parse(std::move(*line), PartJson::Origin::foreign)) {
      writer.record(document.file_name(), document, std::nullopt);
      continue;
    }
    all_sound = false;
    console.print_message("%s: %s, line %llu: %s\n", support::program_name(),
                          support::printable(file_name).c_str(),
                          static_cast<unsigned long long>(lines.number()), document.why().c_str());
  }
  return all_sound;
}

}  // namespace

int import_documents(const VaultOptions& options, support::Console& console) {
  CatalogueWriter writer(options.catalogue, "import", options.operands, FileTable::Files::elsewhere,
                         kBatchFiles);
  bool all_sound = true;
  for (const std::string& file_name : options.operands)
    all_sound = import_file(file_name, writer, console) && all_sound;
  const RunCounts counts = writer.finish();
  console.print("run %lld: %llu new, %llu known\n", static_cast<long long>(writer.run()),
                static_cast<unsigned long long>(counts.added),
                static_cast<unsigned long long>(counts.examined));
  return all_sound ? counts.status : kFailed;
}

}  // namespace vault
