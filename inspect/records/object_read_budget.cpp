#include "inspect/records/object_read_budget.h"

#include <algorithm>

#include "support/limits.h"

namespace inspect {

ObjectReadBudget::ObjectReadBudget(InspectFile& file) : file_(file), start_(file.reader.count()) {
  const std::uint64_t times =
      file.steps_over_damage ? limits::kReadsOfDamagedObjects : limits::kReadsOfAllBytes;
  const std::uint64_t all = times * file.bytes_there();
  const std::uint64_t left = all - std::min(all, file.budgets.object_bytes);
  const std::uint64_t fields =
      limits::kTracedFieldsPerByte * std::min(file.stored_bytes(), file.bytes_there());
  file.reader.set_limit({start_.bytes + std::min(left, limits::kReadsInOnePartition * file.bytes_there()),
                         start_.traced_fields + (fields - std::min(fields, file.budgets.object_fields))});
}

ObjectReadBudget::~ObjectReadBudget() {
  file_.budgets.object_bytes += file_.reader.count().bytes - start_.bytes;
  file_.budgets.object_fields += file_.reader.count().traced_fields - start_.traced_fields;
  file_.reader.set_limit(RecordReader::kNoLimit);
}

}  // namespace inspect
