#pragma once

#include <memory>
#include <span>
#include <string>
#include <utility>

#include "inspect/records/inspect_file.h"
#include "inspect/records/part_header_reader.h"
#include "inspect/records/partition_index.h"

namespace test_support {

/// A part stream in memory, read as far as its partition list.
struct OpenedPart {
  explicit OpenedPart(std::string part_stream) : bytes(std::move(part_stream)) {
    file.escape_on_failure = true;
    file.stream = std::make_unique<support::MemorySource>(std::as_bytes(std::span(bytes)));
    file.file_length = bytes.size();
    inspect::read_part_header(file, false);
    if (file.has_markers) {
      inspect::read_partition_index(file, false);
    } else {
      inspect::start_directory_chain(file);
    }
    // Reading a directory of an older file finds the next one.
    // NOLINTNEXTLINE(modernize-loop-convert)
    for (std::size_t i = 0; i < file.partitions.size(); ++i) {
      inspect::check_partition_start(file, file.partitions[i], false);
    }
  }

  std::string bytes;
  inspect::InspectOptions options;
  inspect::InspectFile file{options, "test.prt"};
};

}  // namespace test_support
