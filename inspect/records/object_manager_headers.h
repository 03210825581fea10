#pragma once

#include <cstdint>
#include <map>

#include "inspect/records/object_manager_partition.h"
#include "support/limits.h"

namespace inspect {

/// The headers of object-manager partitions that have been read whole, for whoever wants them next. Of very
/// many partitions the first are kept.
class ObjectManagerHeaders {
 public:
  void keep(std::uint32_t partition_number, const ObjectManagerHeader& header) {
    if (headers_.size() < limits::kKeptHeaders) headers_.try_emplace(partition_number, header);
  }

  /// Null when it has not been kept.
  const ObjectManagerHeader* find(std::uint32_t partition_number) const {
    const auto found = headers_.find(partition_number);
    return found == headers_.end() ? nullptr : &found->second;
  }

 private:
  std::map<std::uint32_t, ObjectManagerHeader> headers_;
};

}  // namespace inspect
