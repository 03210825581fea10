#include "vault/catalogue_check.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <string>

#include "support/console.h"
#include "support/printable.h"
#include "vault/catalogue.h"
#include "vault/part_verdict.h"

namespace vault {

namespace {

struct Check {
  const char* select;  ///< its rows are what is wrong, each a text
};

constexpr Check kChecks[] = {
    {"SELECT integrity_check FROM pragma_integrity_check WHERE integrity_check <> 'ok'"},
    {"SELECT 'a row of the table ' || \"table\" || ' belongs to nothing in the table ' || parent "
     "FROM pragma_foreign_key_check LIMIT 100"},
    {"SELECT 'file ' || id || ' was never observed' FROM file "
     "WHERE NOT EXISTS (SELECT 1 FROM observation WHERE observation.file = file.id) LIMIT 100"},
    {"SELECT 'file ' || id || ' is not in the index of words' FROM file "
     "WHERE NOT EXISTS (SELECT 1 FROM search_docsize AS words WHERE words.id = file.id) LIMIT 100"},
};

}  // namespace

int check_catalogue(const VaultOptions& options, support::Console& console) {
  Catalogue catalogue(options.catalogue, Catalogue::Access::read);
  SQLite::Database& database = catalogue.database();
  SQLite::Transaction one_view(database);
  bool is_sound = true;
  for (const Check& check : kChecks) {
    SQLite::Statement row(database, check.select);
    while (row.executeStep()) {
      is_sound = false;
      console.print_text(support::printable(row.getColumn(0).getString(), support::KeepLayout::yes) + "\n");
    }
  }
  if (is_sound) {
    console.print(
        "sound: %lld files, %lld runs\n",
        static_cast<long long>(database.execAndGet("SELECT count(*) FROM file WHERE present = 1").getInt64()),
        static_cast<long long>(database.execAndGet("SELECT count(*) FROM run").getInt64()));
    return kAllSound;
  }
  console.print_message("%s is damaged; restore it from a backup, or make a new one with update\n",
                        support::printable(options.catalogue).c_str());
  return kFailed;
}

}  // namespace vault
