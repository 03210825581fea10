#include "vault/catalogue.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <cerrno>

#include "support/printable.h"
#include "support/system_failure.h"
#include "vault/schema.h"

namespace vault {

namespace {

/// Readers are never in the way; what may be is another writer that knows nothing of our lock.
constexpr int kPatienceMilliseconds = 10'000;

std::string uri_of(const std::string& file_name) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string uri = file_name.starts_with('/') ? "file:" : "file:./";
  for (const char letter : file_name) {
    if (letter == '%' || letter == '?' || letter == '#') {
      const auto code = static_cast<unsigned char>(letter);
      uri += {'%', kDigits[code >> 4U], kDigits[code & 15U]};
    } else {
      uri += letter;
    }
  }
  return uri;
}

bool exists(const std::string& file_name) {
  struct stat found = {};
  return ::stat(file_name.c_str(), &found) == 0;
}

}  // namespace

Catalogue::Catalogue(const std::string& file_name, Access access) : file_name_(file_name) {
  if (access == Access::write) {
    lock_.emplace(file_name);
    open_for_writing();
  } else {
    open_for_reading();
  }
}

void Catalogue::open_for_reading() {
  struct stat found = {};
  if (::stat(file_name_.c_str(), &found) != 0) {
    throw support::system_failure("open the catalogue " + support::printable(file_name_), errno);
  }
  const int flags = SQLite::OPEN_READONLY | SQLite::OPEN_URI | SQLite::OPEN_NOMUTEX;
  try {
    database_.emplace(uri_of(file_name_), flags, kPatienceMilliseconds);
    check_kind();
  } catch (const SQLite::Exception& failure) {
    // Where no file can be made beside it, a catalogue that nobody writes can still be read.
    const bool lacks_index =
        failure.getErrorCode() == SQLITE_CANTOPEN || failure.getErrorCode() == SQLITE_READONLY;
    if (!lacks_index || exists(file_name_ + "-wal")) throw;
    database_.emplace(uri_of(file_name_) + "?immutable=1", flags, kPatienceMilliseconds);
    check_kind();
  }
  database_->exec("PRAGMA cell_size_check = 1; PRAGMA trusted_schema = 0");
}

void Catalogue::open_for_writing() {
  database_.emplace(uri_of(file_name_), SQLite::OPEN_READWRITE | SQLite::OPEN_URI | SQLite::OPEN_NOMUTEX,
                    kPatienceMilliseconds);
  if (is_empty()) create();
  check_kind();
  database_->exec(
      "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; PRAGMA wal_autocheckpoint = 8192; PRAGMA "
      "foreign_keys = ON;"
      "PRAGMA cache_size = -16384; PRAGMA cell_size_check = 1; PRAGMA trusted_schema = 0");
}

bool Catalogue::is_empty() {
  return pragma("application_id") == 0 && pragma("user_version") == 0 &&
         database_->execAndGet("SELECT count(*) FROM sqlite_schema").getInt() == 0;
}

/// All of it or nothing.
void Catalogue::create() {
  SQLite::Transaction transaction(*database_, SQLite::TransactionBehavior::IMMEDIATE);
  database_->exec(kSchema);
  database_->exec("PRAGMA application_id = " + std::to_string(kApplicationId));
  database_->exec("PRAGMA user_version = " + std::to_string(kSchemaNumber));
  transaction.commit();
}

void Catalogue::check_kind() {
  if (pragma("application_id") != kApplicationId) refuse("is no catalogue");
  const int number = pragma("user_version");
  if (number == kSchemaNumber) return;
  const char* const age = number > kSchemaNumber ? "a newer" : "an unknown";
  refuse("has the schema " + std::to_string(number) + " of " + age + " release; this one knows schema " +
         std::to_string(kSchemaNumber));
}

int Catalogue::pragma(const char* name) {
  return database_->execAndGet(std::string("PRAGMA ") + name).getInt();
}

void Catalogue::refuse(const std::string& why) const {
  throw support::ErrorEscape("vault", support::kSystemFailure, support::printable(file_name_) + " " + why);
}

std::string Catalogue::explain(const std::string& file_name, const SQLite::Exception& failure) {
  const std::string shown_name = support::printable(file_name);
  switch (failure.getErrorCode()) {
    case SQLITE_NOTADB:
      return shown_name + " is no catalogue: it is no database";
    case SQLITE_CORRUPT:
      return "the catalogue " + shown_name + " is damaged: " + support::printable(failure.what());
    case SQLITE_BUSY:
      return "the catalogue " + shown_name + " is being written by another program";
    case SQLITE_ERROR:
      // Tables that the schema number promises are not there.
      return shown_name +
             " is no catalogue of this release, or damaged: " + support::printable(failure.what());
    default:
      return "the catalogue " + shown_name + " could not be used: " + support::printable(failure.what());
  }
}

}  // namespace vault
