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
  explicit TrailComposer(const ObjectSpec& spec) : spec_(spec) {}

  std::string root() {
    ObjectBytes out = bytes();
    out.label(1).typed_string("root");
    put_objects(out, 0);
    return out.bytes();
  }

  /// Bodies of labels 2 and above.
  const std::vector<std::string>& bodies() const { return bodies_; }

 private:
  ObjectBytes bytes() const { return {spec_.order, spec_.compact}; }
  bool by_label() const { return spec_.version < 5; }

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
    if (number == spec_.programs.size()) return put_end(out, spec_.last_object_label);
    put_linked(out, spec_.stored_audit_class.value_or(spec_.audit_class), [&](ObjectBytes& object) {
      object.typed_string(spec_.programs[number].version);
      put_objects(object, number + 1);
      put_saves(object, spec_.programs[number].saves, 0);
    });
  }

  void put_saves(ObjectBytes& out, const std::vector<SaveSpec>& saves, std::size_t number) {
    if (number == saves.size()) return put_end(out, spec_.last_entry_label);
    put_linked(out, spec_.stored_audit_entry_class.value_or(spec_.audit_entry_class),
               [&](ObjectBytes& entry) {
                 const SaveSpec& save = saves[number];
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

  const ObjectSpec& spec_;
  std::vector<std::string> bodies_;
};

void put_header(ObjectBytes& out, const ObjectSpec& spec) {
  const std::uint32_t mode = (spec.compact ? kCompactMode : 0) | (spec.wide ? kWideMode : 0);
  const auto size = [](const std::string& text) { return static_cast<std::int32_t>(text.size()); };
  out.raw(spec.intro).u32(field(spec.version)).u32(mode).u32(1'775'000'000);
  out.u32(field(spec.machine_name_length.value_or(size(spec.machine_name)))).raw(spec.machine_name);
  out.u32(field(spec.file_name_length.value_or(size(spec.file_name)))).raw(spec.file_name);
  out.u32(7).u32(2).u32(1);
  out.u32(field(spec.class_count.value_or(static_cast<std::int32_t>(spec.classes.size()))));
  if (spec.version < 4) return;
  out.u32(4);
  if (spec.version >= 10) out.u32(3);
  out.u32(2);
  for (int i = 0; i < 2; ++i) put_position(out, spec.wide, 0);
}

void put_classes(ObjectBytes& out, const ObjectSpec& spec) {
  if (spec.version >= 10) {
    out.compact_int(spec.schema_count.value_or(static_cast<std::int32_t>(spec.schemas.size())));
    for (const auto& [name, version] : spec.schemas) {
      out.compact_short(spec.schema_name_length.value_or(static_cast<std::int32_t>(name.size())));
      out.raw(name);
      out.compact_int(version);
    }
  }
  for (const ClassSpec& one : spec.classes) {
    const std::int32_t length = one.name_length.value_or(static_cast<std::int32_t>(one.name.size()));
    if (spec.version >= 10) {
      out.compact_short(one.schema).compact_short(length).raw(one.name);
      out.compact_int(one.sub_file).compact_short(one.superclass).u32(0xABCD).u32(8);
    } else {
      out.u8(one.handle_type).u16(6).raw("VRPART").u32(19).u16(field(length)).raw(one.name);
      if (one.handle_type == 6) out.u32(field(one.sub_file));
    }
  }
  if (spec.version >= 7 && spec.version <= 9) return;
  for (std::size_t i = 0; i < spec.classes.size(); ++i) {
    const bool last = i + 1 == spec.classes.size();
    out.u16(field(last ? spec.superclass_entry.value_or(spec.classes[i].superclass)
                       : spec.classes[i].superclass));
  }
}

std::string shared_string_table(const ObjectSpec& spec) {
  ObjectBytes out(spec.order, spec.compact);
  out.compact_int(spec.shared_string_count.value_or(static_cast<std::int32_t>(spec.shared_strings.size())));
  out.compact_int(0);
  for (const std::string& text : spec.shared_strings) out.own_string(text);
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

std::string object_partition(const ObjectSpec& spec) {
  ObjectBytes body(spec.order, spec.compact);
  put_header(body, spec);
  put_classes(body, spec);
  ObjectBytes indices(spec.order, spec.compact);
  indices.u32(field(spec.root));
  indices.compact_short(spec.audit_class).compact_short(spec.audit_entry_class);

  TrailComposer trail(spec);
  std::vector<std::string> pieces = {"", trail.root() + spec.chains};
  pieces.insert(pieces.end(), trail.bodies().begin(), trail.bodies().end());
  const std::string strings = shared_string_table(spec);
  const std::uint64_t strings_at = body.size() + (spec.wide ? 16U : 8U) + indices.size();
  ObjectBytes table(spec.order, spec.compact);
  std::uint64_t at = strings_at + strings.size();
  std::string objects;
  for (const std::string& piece : pieces) {
    put_position(table, spec.wide, at);
    objects += piece;
    at += piece.size();
  }
  put_position(body, spec.wide, at);
  put_position(body, spec.wide, spec.shared_strings.empty() ? 0 : strings_at);
  body.raw(indices.bytes()).raw(strings).raw(objects).raw(table.bytes());

  RecordBytes out(spec.order);
  if (spec.long_length) {
    out.u32(field(-1)).u64(body.size());
  } else {
    out.u32(body.size());
  }
  return out.raw(body.bytes()).bytes();
}

PartitionSpec object_partition(std::int32_t id, std::int32_t type, const ObjectSpec& spec) {
  PartitionSpec partition;
  partition.id = id;
  partition.type = type;
  partition.bytes = object_partition(spec);
  return partition;
}

}  // namespace test_support
