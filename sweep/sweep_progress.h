#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "support/console.h"
#include "sweep/file_finder.h"

namespace sweep {

/// How far a sweep has come.
struct SweepFigures {
  std::uint64_t files = 0;  ///< done
  std::optional<std::uint64_t> all_files = {};
  std::uint64_t bytes = 0;          ///< of the files that are done
  std::uint64_t with_findings = 0;  ///< files
  double seconds = 0;
};

/// The figures in one line, with the time left when the number of all files is known.
std::string sweep_progress_text(const SweepFigures& figures);

/// Shows the figures on one line of standard error while a sweep runs, from the second second on. Shows
/// nothing when standard error is no terminal. On the side it walks ahead to count the files.
class SweepProgress {
 public:
  /// Query and console outlive the object. `is_in_the_way`: documents go to a terminal too, likely the same.
  SweepProgress(const FileQuery& query, support::Console& console, bool is_in_the_way);
  ~SweepProgress() { console_.erase_passing_line(); }
  SweepProgress(const SweepProgress&) = delete;
  SweepProgress& operator=(const SweepProgress&) = delete;

  /// A file is done.
  void add(const std::string& name, bool has_findings);

  /// Shows the line anew when it is time.
  void tick();

  /// A document is about to be written.
  void make_way() const;

 private:
  using Clock = std::chrono::steady_clock;

  void count();

  support::Console& console_;
  bool is_shown_;
  bool is_in_the_way_;
  SweepFigures figures_;
  std::optional<FileFinder> counted_;  ///< finds once more what the sweep finds
  std::uint64_t found_ = 0;
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_show_ = start_ + std::chrono::seconds(1);
};

}  // namespace sweep
