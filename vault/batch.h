#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <chrono>
#include <cstddef>
#include <optional>

#include "vault/catalogue.h"

namespace vault {

/// Gathers changes into transactions of some hundred files or one second each. What is not committed when the
/// object ends is undone.
class Batch {
 public:
  /// The catalogue outlives the object.
  explicit Batch(Catalogue& catalogue) : catalogue_(catalogue) {}

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
  std::optional<SQLite::Transaction> transaction_;
  std::size_t files_ = 0;
  Clock::time_point began_;
};

}  // namespace vault
