#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "inspect/records/partition_kinds.h"
#include "support/bounded_text.h"
#include "support/limits.h"

namespace inspect {

/// What one run is asked to do: filled once from the command line, read by everything after it.
struct InspectOptions {
  static constexpr std::size_t kPartitionSlots = kPartitionKinds.size();

  bool trace = false;
  bool print_cookies = false;
  std::int32_t refs_level = 0;                             ///< 0 none, 1 most recent, 2 all
  std::array<bool, kPartitionSlots> print_partition = {};  ///< by partition type
  bool print_summary = true;
  bool print_full_extra = false;
  bool print_storages = false;
  bool print_extref = false;
  bool scan = false;
  bool extract_all = false;
  bool check_checksums = false;
  bool release_only = false;
  bool compatibility = false;
  bool extract_jt = false;
  bool reader_check = false;
  std::int32_t extract_partition = 0;  ///< 0: no -extract
  support::BoundedText<limits::kOutputNameBytes> extract_output_name;
  support::BoundedText<128> storage_open_text;  ///< told to the container before it opens a file
  bool print_banner = true;
  bool extract_stream = false;
  bool feature_toggle_info = false;
  std::vector<std::string> text_list;  ///< the files to inspect, in their order
  std::string stream_path;
  std::string stream_output_name;
};

}  // namespace inspect
