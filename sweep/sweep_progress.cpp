#include "sweep/sweep_progress.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>

#include "support/error_escape.h"
#include "support/progress.h"
#include "support/text_format.h"

namespace sweep {

namespace {

constexpr std::chrono::milliseconds kShowInterval{200};

/// What counting may take of each interval.
constexpr std::chrono::milliseconds kCountTime{40};

constexpr double kBytesPerMegabyte = 1e6;

/// A list that comes through a pipe is read once.
bool can_be_read_again(const FileQuery& query) {
  struct stat found = {};
  return !query.name_list ||
         (*query.name_list != "-" && ::stat(query.name_list->c_str(), &found) == 0 && S_ISREG(found.st_mode));
}

std::string time_text(double seconds) {
  const auto whole = static_cast<std::uint64_t>(seconds);
  const auto hours = whole / 3600;
  const auto minutes = static_cast<unsigned>(whole / 60 % 60);
  const auto rest = static_cast<unsigned>(whole % 60);
  if (hours == 0) return support::format_text("%u:%02u", minutes, rest);
  return support::format_text("%" PRIu64 ":%02u:%02u", hours, minutes, rest);
}

}  // namespace

std::string sweep_progress_text(const SweepFigures& figures) {
  const double megabytes = static_cast<double>(figures.bytes) / kBytesPerMegabyte;
  const double rate = figures.seconds > 0 ? megabytes / figures.seconds : 0;
  std::string text = std::to_string(figures.files);
  if (figures.all_files) text += " of " + std::to_string(*figures.all_files);
  text += support::format_text(" files, %.1f MB, %.1f MB/s, %" PRIu64 " with findings", megabytes, rate,
                               figures.with_findings);
  if (figures.all_files && figures.files > 0 && *figures.all_files >= figures.files) {
    const auto left = static_cast<double>(*figures.all_files - figures.files);
    text += ", " + time_text(figures.seconds / static_cast<double>(figures.files) * left) + " left";
  }
  return text;
}

SweepProgress::SweepProgress(const FileQuery& query, support::Console& console, bool is_in_the_way)
    : console_(console), is_shown_(::isatty(STDERR_FILENO) != 0), is_in_the_way_(is_in_the_way) {
  if (is_shown_ && can_be_read_again(query)) counted_.emplace(query);
}

void SweepProgress::add(const std::string& name, bool has_findings) {
  ++figures_.files;
  if (has_findings) ++figures_.with_findings;
  struct stat found = {};
  if (is_shown_ && ::stat(name.c_str(), &found) == 0 && S_ISREG(found.st_mode)) {
    figures_.bytes += static_cast<std::uint64_t>(found.st_size);
  }
}

void SweepProgress::count() {
  const Clock::time_point end = Clock::now() + kCountTime;
  try {
    while (counted_ && Clock::now() < end) {
      if (counted_->next()) {
        ++found_;
      } else {
        figures_.all_files = found_;
        counted_.reset();
      }
    }
  } catch (const support::ErrorEscape&) {
    counted_.reset();  // the sweep itself will say why
  }
}

void SweepProgress::tick() {
  if (!is_shown_) return;
  const Clock::time_point now = Clock::now();
  if (now < next_show_) return;
  next_show_ = now + kShowInterval;
  count();
  figures_.seconds = std::chrono::duration<double>(now - start_).count();
  const std::size_t columns = support::terminal_columns();
  console_.show_passing_line(
      sweep_progress_text(figures_).substr(0, columns - std::min<std::size_t>(columns, 1)));
}

void SweepProgress::make_way() const {
  if (is_in_the_way_) console_.erase_passing_line();
}

}  // namespace sweep
