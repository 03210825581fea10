#pragma once

#include <memory>
#include <span>
#include <string>

#include "inspect/records/inspect_file.h"

namespace test_support {

/// A part stream in memory with the context that readers take. Escapes are thrown, never the process ended.
class PartReading {
 public:
  explicit PartReading(std::string bytes) : bytes_(std::move(bytes)) {
    file.escape_on_failure = true;
    file.stream = std::make_unique<support::MemorySource>(std::as_bytes(std::span(bytes_)));
    file.file_length = bytes_.size();
  }

 private:
  std::string bytes_;

 public:
  inspect::InspectOptions options;
  inspect::InspectFile file{options, "part.prt"};
};

}  // namespace test_support
