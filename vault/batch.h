#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <chrono>
#include <cstddef>
#include <optional>

#include "vault/catalogue.h"

namespace vault {

/// Gathers changes into transactions of so many files or one second each. What is not committed when the
/// object ends is undone.
class Batch {
 public:
  /// The catalogue outlives the object.
  Batch(Catalogue& catalogue, std::size_t most_files) : catalogue_(catalogue), most_files_(most_files) {}

  /// Before each change: begins a transaction when there is none.
  void begin();

  /// A file is done: commits when it is time.
  void end_file();

  /// Commits when there is something that has waited long enough.
  void tick();

  void commit();

 private:
  using Clock = std::chrono::steady_clock;

  Catalogue& catalogue_;
  std::size_t most_files_;
  std::optional<SQLite::Transaction> transaction_;
  std::size_t files_ = 0;
  Clock::time_point began_;
};

}  // namespace vault
