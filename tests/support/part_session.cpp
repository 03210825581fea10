#include "tests/support/part_session.h"

#include <cstdlib>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <utility>

#include "inspect/reading_pass.h"
#include "inspect/records/inspect_errors.h"
#include "support/byte_source.h"
#include "support/error_escape.h"

namespace test_support {

PartSession::PartSession(std::string bytes, inspect::InspectOptions options, std::string name)
    : bytes_(std::move(bytes)),
      options_(std::move(options)),
      file_(std::make_unique<inspect::InspectFile>(options_, std::move(name))) {
  file_->file_length = bytes_.size();
  file_->stream = std::make_unique<support::MemorySource>(std::as_bytes(std::span(bytes_)));
}

PartSession& PartSession::read() {
  run([](inspect::InspectFile& file) { inspect::read_part(file, {}); });
  return *this;
}

bool PartSession::run(const std::function<void(inspect::InspectFile&)>& action) {
  bool finished = false;
  output_ = captured([&] {
    try {
      action(*file_);
      finished = true;
    } catch (const support::ErrorEscape& escape) {
      inspect::report_escape(*file_, escape);
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
