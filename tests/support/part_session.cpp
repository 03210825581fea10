#include "tests/support/part_session.h"

#include <cstdlib>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <utility>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/part_header_reader.h"
#include "inspect/records/partition_index.h"
#include "support/byte_source.h"
#include "support/error_escape.h"

namespace test_support {

PartSession::PartSession(std::string bytes, Options options)
    : bytes_(std::move(bytes)),
      report_(options.name, {}, console_),
      file_(options.name, findings_, options.trace ? &trace_ : nullptr) {
  file_.console = &console_;
  file_.attach(std::make_unique<support::MemorySource>(std::as_bytes(std::span(bytes_))), "");
}

PartSession& PartSession::read_list() {
  run([](inspect::InspectFile& file) {
    inspect::read_part_header(file);
    if (file.records.has_markers) {
      inspect::read_partition_index(file);
    } else {
      inspect::start_directory_chain(file);
    }
    // Reading a directory of an older file finds the next one.
    // NOLINTNEXTLINE(modernize-loop-convert)
    for (std::size_t i = 0; i < file.records.partitions.size(); ++i) {
      inspect::check_partition_start(file, file.records.partitions[i]);
    }
  });
  return *this;
}

PartSession& PartSession::read(inspect::PassChecks checks) {
  run([&](inspect::InspectFile& file) { inspect::read_part(file, {}, {.checks = checks}, report_); });
  return *this;
}

bool PartSession::run(const std::function<void(inspect::InspectFile&)>& action) {
  bool finished = false;
  output_ = captured(console_, [&] {
    try {
      action(file_);
      finished = true;
    } catch (const support::ErrorEscape& escape) {
      inspect::report_escape(file_, escape);
    }
  });
  return finished;
}

ScratchFolder::ScratchFolder() : before_(std::filesystem::current_path()) {
  std::string path = std::filesystem::temp_directory_path() / "vrii_test_XXXXXX";
  if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no scratch folder");
  path_ = path;
  std::filesystem::current_path(path_);
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::current_path(before_, ignored);
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace test_support
