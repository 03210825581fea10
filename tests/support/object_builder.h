#pragma once

#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/part_builder.h"
#include "tests/support/record_bytes.h"

namespace test_support {

/// Composes object-manager fields in the compact or the plain encoding.
class ObjectBytes : public RecordBytes {
 public:
  ObjectBytes(std::endian order, bool compact) : RecordBytes(order), compact_(compact) {}

  ObjectBytes& u8(std::uint64_t value) { return RecordBytes::u8(value), *this; }
  ObjectBytes& u16(std::uint64_t value) { return RecordBytes::u16(value), *this; }
  ObjectBytes& u32(std::uint64_t value) { return RecordBytes::u32(value), *this; }
  ObjectBytes& raw(std::string_view bytes) { return RecordBytes::raw(bytes), *this; }

  ObjectBytes& compact_int(std::int32_t value);
  ObjectBytes& compact_short(std::int32_t value);
  ObjectBytes& label(std::int32_t value);

  /// A string with its kind byte: 3 with the text, 0 for none.
  ObjectBytes& typed_string(const std::optional<std::string>& text);
  ObjectBytes& own_string(const std::string& text);

 private:
  bool compact_;
};

struct SavePlan {
  std::optional<std::string> user_name = "mkeller";
  std::int32_t time = 1'700'000'000;
  std::int32_t cookie = 77;
  std::int32_t maximum_object_id = 4711;
  std::int32_t version = 12;
  std::int32_t machine = 9;
  std::int32_t shared_user = -1;  ///< index of a shared string in place of user_name
};

struct ProgramPlan {
  std::optional<std::string> version = "KX 2606.1";
  std::vector<SavePlan> saves = {SavePlan{}};
};

struct ClassPlan {
  std::string name = "VR_Lug";
  std::int32_t schema = 0;  ///< index; below version 10 the name is VRPART
  std::int32_t sub_file = 3;
  std::int32_t superclass = -1;
  std::uint8_t handle_type = 6;
  std::optional<std::int32_t> name_length = {};
};

/// An object-manager partition. What is not set is what a sound partition has there.
struct ObjectPlan {
  std::endian order = std::endian::little;
  std::int32_t version = 10;
  bool compact = true;
  bool wide = false;
  bool long_length = false;
  std::string intro{"OM\1\2\3\4\5", 7};
  std::string machine_name = "x86_64 Linux";
  std::string file_name = "sample.prt";
  std::optional<std::int32_t> machine_name_length = {};
  std::optional<std::int32_t> file_name_length = {};
  std::vector<std::pair<std::string, std::int32_t>> schemas = {{"VR_CORE", 70}};
  std::optional<std::int32_t> schema_count = {};
  std::optional<std::int32_t> schema_name_length = {};
  std::vector<ClassPlan> classes = {ClassPlan{}};
  std::optional<std::int32_t> class_count = {};
  std::optional<std::int32_t> superclass_entry = {};  ///< of the last class, in the table
  std::vector<std::string> shared_strings = {"alpha"};
  std::optional<std::int32_t> shared_string_count = {};
  std::int32_t root = 1;
  std::string root_name = "root";
  std::vector<ProgramPlan> programs = {ProgramPlan{}};  ///< in the order of the chain
  std::int32_t audit_class = 5;
  std::int32_t audit_entry_class = 6;
  std::optional<std::int32_t> stored_audit_class = {};
  std::optional<std::int32_t> stored_audit_entry_class = {};
  std::optional<std::int32_t> last_object_label = {};  ///< below version 5: in place of the end of the chain
  std::optional<std::int32_t> last_entry_label = {};
  std::string chains = {};  ///< bytes behind the audit trail
};

/// Length field included.
std::string object_partition(const ObjectPlan& plan);

/// The same as a partition of a part.
PartitionPlan object_partition(std::int32_t id, std::int32_t type, const ObjectPlan& plan);

}  // namespace test_support
