#include "tests/support/object_builder.h"

#include <functional>

namespace test_support {

namespace {

constexpr std::uint32_t kCompactMode = 4;
constexpr std::uint32_t kWideMode = 131072;
constexpr std::int32_t kFirstLabel = 2;

bool fits(std::int32_t value, int bits) { return value >= -(1 << (bits - 1)) && value < 1 << (bits - 1); }

void put_position(ObjectBytes& out, bool wide, std::uint64_t value) {
  if (wide) {
    out.u64(value);
  } else {
    out.u32(value);
  }
}

/// Composes root object and audit trail, and below version 5 the objects that its labels name.
class TrailComposer {
 public:
  explicit TrailComposer(const ObjectPlan& plan) : plan_(plan) {}

  std::string root() {
    ObjectBytes out = bytes();
    out.label(1).typed_string(plan_.root_name);
    put_objects(out, 0);
    return out.bytes();
  }

  /// Bodies of labels 2 and above.
  const std::vector<std::string>& bodies() const { return bodies_; }

 private:
  ObjectBytes bytes() const { return {plan_.order, plan_.compact}; }
  bool by_label() const { return plan_.version < 5; }

  /// Puts a link and what it leads to: inline, or as an object of its own.
  void put_linked(ObjectBytes& out, std::int32_t class_index, const std::function<void(ObjectBytes&)>& put) {
    if (!by_label()) {
      out.compact_short(class_index);
      put(out);
      return;
    }
    const std::size_t number = bodies_.size();
    out.u32(field(static_cast<std::int32_t>(number) + kFirstLabel));
    bodies_.emplace_back();
    ObjectBytes body = bytes();
    put(body);
    bodies_[number] = body.bytes();
  }

  void put_end(ObjectBytes& out, std::optional<std::int32_t> label) const {
    if (by_label()) {
      out.u32(field(label.value_or(-1)));
    } else {
      out.compact_short(-1);
    }
  }

  void put_objects(ObjectBytes& out, std::size_t number) {
    if (number == plan_.programs.size()) return put_end(out, plan_.last_object_label);
    put_linked(out, plan_.stored_audit_class.value_or(plan_.audit_class), [&](ObjectBytes& object) {
      object.typed_string(plan_.programs[number].version);
      put_objects(object, number + 1);
      put_saves(object, plan_.programs[number].saves, 0);
    });
  }

  void put_saves(ObjectBytes& out, const std::vector<SavePlan>& saves, std::size_t number) {
    if (number == saves.size()) return put_end(out, plan_.last_entry_label);
    put_linked(out, plan_.stored_audit_entry_class.value_or(plan_.audit_entry_class),
               [&](ObjectBytes& entry) {
                 const SavePlan& save = saves[number];
                 if (save.shared_user >= 0) {
                   entry.u8(5);
                   entry.compact_int(save.shared_user);
                 } else {
                   entry.typed_string(save.user_name);
                 }
                 put_saves(entry, saves, number + 1);
                 entry.compact_int(save.time);
                 if (!by_label()) entry.compact_int(save.cookie).compact_int(save.maximum_object_id);
                 entry.compact_short(save.version).compact_short(save.machine);
               });
  }

  const ObjectPlan& plan_;
  std::vector<std::string> bodies_;
};

void put_header(ObjectBytes& out, const ObjectPlan& plan) {
  const std::uint32_t mode = (plan.compact ? kCompactMode : 0) | (plan.wide ? kWideMode : 0);
  const auto size = [](const std::string& text) { return static_cast<std::int32_t>(text.size()); };
  out.raw(plan.intro).u32(field(plan.version)).u32(mode).u32(1'775'000'000);
  out.u32(field(plan.machine_name_length.value_or(size(plan.machine_name)))).raw(plan.machine_name);
  out.u32(field(plan.file_name_length.value_or(size(plan.file_name)))).raw(plan.file_name);
  out.u32(7).u32(2).u32(1);
  out.u32(field(plan.class_count.value_or(static_cast<std::int32_t>(plan.classes.size()))));
  if (plan.version < 4) return;
  out.u32(4);
  if (plan.version >= 10) out.u32(3);
  out.u32(2);
  for (int i = 0; i < 2; ++i) put_position(out, plan.wide, 0);
}

void put_classes(ObjectBytes& out, const ObjectPlan& plan) {
  if (plan.version >= 10) {
    out.compact_int(plan.schema_count.value_or(static_cast<std::int32_t>(plan.schemas.size())));
    for (const auto& [name, version] : plan.schemas) {
      out.compact_short(plan.schema_name_length.value_or(static_cast<std::int32_t>(name.size())));
      out.raw(name);
      out.compact_int(version);
    }
  }
  for (const ClassPlan& one : plan.classes) {
    const std::int32_t length = one.name_length.value_or(static_cast<std::int32_t>(one.name.size()));
    if (plan.version >= 10) {
      out.compact_short(one.schema).compact_short(length).raw(one.name);
      out.compact_int(one.sub_file).compact_short(one.superclass).u32(0xABCD).u32(8);
    } else {
      out.u8(one.handle_type).u16(6).raw("VRPART").u32(19).u16(field(length)).raw(one.name);
      if (one.handle_type == 6) out.u32(field(one.sub_file));
    }
  }
  if (plan.version >= 7 && plan.version <= 9) return;
  for (std::size_t i = 0; i < plan.classes.size(); ++i) {
    const bool last = i + 1 == plan.classes.size();
    out.u16(field(last ? plan.superclass_entry.value_or(plan.classes[i].superclass)
                       : plan.classes[i].superclass));
  }
}

std::string shared_string_table(const ObjectPlan& plan) {
  ObjectBytes out(plan.order, plan.compact);
  out.compact_int(plan.shared_string_count.value_or(static_cast<std::int32_t>(plan.shared_strings.size())));
  out.compact_int(0);
  for (const std::string& text : plan.shared_strings) out.own_string(text);
  return out.bytes();
}

}  // namespace

ObjectBytes& ObjectBytes::compact_int(std::int32_t value) {
  const std::uint64_t bits = static_cast<std::uint32_t>(value);
  if (!compact_) {
    u32(bits);
  } else if (value >= -1 && value <= 126) {
    u8(field(value + 1));
  } else if (fits(value, 13)) {
    u8(0x80 | (bits >> 8U & 0x1FU)).u8(bits & 0xFFU);
  } else {
    u8(0xE0);
    for (int shift = 24; shift >= 0; shift -= 8) u8(bits >> shift & 0xFFU);
  }
  return *this;
}

ObjectBytes& ObjectBytes::compact_short(std::int32_t value) {
  const std::uint64_t bits = static_cast<std::uint32_t>(value);
  if (!compact_) {
    u16(bits & 0xFFFFU);
  } else if (value >= -1 && value <= 126) {
    u8(field(value + 1));
  } else {
    u8(0xC0).u8(bits >> 8U & 0xFFU).u8(bits & 0xFFU);
  }
  return *this;
}

ObjectBytes& ObjectBytes::label(std::int32_t value) {
  if (!compact_) {
    u32(field(value));
  } else if (value < 0) {
    u8(value == -1 ? 0xFF : 0xFE);
  } else {
    u8(0x80 | (field(value) >> 8U & 0xFU)).u8(field(value) & 0xFFU);
  }
  return *this;
}

ObjectBytes& ObjectBytes::typed_string(const std::optional<std::string>& text) {
  u8(text ? 3 : 0);
  return text ? own_string(*text) : *this;
}

ObjectBytes& ObjectBytes::own_string(const std::string& text) {
  compact_int(static_cast<std::int32_t>(text.size())).raw(text);
  return *this;
}

std::string object_partition(const ObjectPlan& plan) {
  ObjectBytes body(plan.order, plan.compact);
  put_header(body, plan);
  put_classes(body, plan);
  ObjectBytes indices(plan.order, plan.compact);
  indices.u32(field(plan.root));
  indices.compact_short(plan.audit_class).compact_short(plan.audit_entry_class);

  TrailComposer trail(plan);
  std::vector<std::string> pieces = {"", trail.root() + plan.chains};
  pieces.insert(pieces.end(), trail.bodies().begin(), trail.bodies().end());
  const std::string strings = shared_string_table(plan);
  const std::uint64_t strings_at = body.size() + (plan.wide ? 16U : 8U) + indices.size();
  ObjectBytes table(plan.order, plan.compact);
  std::uint64_t at = strings_at + strings.size();
  std::string objects;
  for (const std::string& piece : pieces) {
    put_position(table, plan.wide, at);
    objects += piece;
    at += piece.size();
  }
  put_position(body, plan.wide, at);
  put_position(body, plan.wide, plan.shared_strings.empty() ? 0 : strings_at);
  body.raw(indices.bytes()).raw(strings).raw(objects).raw(table.bytes());

  RecordBytes out(plan.order);
  if (plan.long_length) {
    out.u32(field(-1)).u64(body.size());
  } else {
    out.u32(body.size());
  }
  return out.raw(body.bytes()).bytes();
}

PartitionPlan object_partition(std::int32_t id, std::int32_t type, const ObjectPlan& plan) {
  PartitionPlan partition;
  partition.id = id;
  partition.type = type;
  partition.bytes = object_partition(plan);
  return partition;
}

}  // namespace test_support
