#include "vault/part_inspector.h"

#include <array>
#include <charconv>
#include <chrono>
#include <thread>

#include "vault/text_sink.h"

namespace vault {

namespace {

constexpr int kMostAttempts = 4;

/// Two changes within a tick of the system's clock leave the same time behind.
constexpr std::chrono::nanoseconds kClockTick = std::chrono::milliseconds(20);

/// Waits until a change from now on would show in the time of the file.
void wait_for_clock(const FileIdentity& identity) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto age = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() - identity.modified_ns;
  if (age >= 0 && age < kClockTick.count()) std::this_thread::sleep_for(kClockTick);
}

std::string head_line(const std::optional<FileIdentity>& identity) {
  if (!identity) return "\n";
  return std::to_string(identity->device) + ' ' + std::to_string(identity->inode) + ' ' +
         std::to_string(identity->size) + ' ' + std::to_string(identity->modified_ns) + '\n';
}

}  // namespace

PartInspector::PartInspector(bool with_sha256) {
  options_.map = false;
  options_.sha256 = with_sha256;
}

int PartInspector::examine(const std::string& name, support::ByteSink& document) {
  TextSink report;
  std::optional<FileIdentity> identity;
  inspect::PartOutcome outcome = {};
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    const auto before = identity_of(name);
    if (before) wait_for_clock(*before);
    report.text.clear();
    outcome = inspect::write_part_report(name, options_, report);
    identity = before && before == identity_of(name) ? before : std::nullopt;
    if (identity || !before) break;
  }
  // Permission to read may come without a trace in what a file is known by.
  if (outcome == inspect::PartOutcome::unreadable && identity && identity->size > 0) identity.reset();
  document.write(head_line(identity));
  document.write(report.text);
  return 0;
}

int PartInspector::report_lost(const std::string& name, std::string_view reason,
                               support::ByteSink& document) {
  document.write(head_line(std::nullopt));
  inspect::write_lost_part_report(name, reason, options_, document);
  return 0;
}

std::optional<FileIdentity> PartInspector::take_identity(std::string& document) {
  const std::string line = document.substr(0, document.find('\n'));
  document.erase(0, line.size() + 1);
  if (line.empty()) return std::nullopt;
  std::array<std::int64_t, 4> numbers = {};
  const char* next = line.data();
  for (std::int64_t& number : numbers) {
    next = std::from_chars(next, line.data() + line.size(), number).ptr + 1;
  }
  return FileIdentity{numbers[0], numbers[1], numbers[2], numbers[3]};
}

}  // namespace vault
