#include "inspect/sections/external_references.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "inspect/sections/printable_texts.h"
#include "inspect/sections/section_sink.h"
#include "support/keyed_hash.h"
#include "support/limits.h"

namespace inspect {

namespace {

constexpr std::string_view kPartExtension = ".prt";
constexpr std::string_view kMainPartType = "VRX::ModlFeature::MainPartModuleExtFileRefType";
constexpr std::string_view kLinkedPartType = "VRX::ModlFeature::LinkedPartModuleExtFileRefType";

void read_table(ReferenceList list, support::ByteSource* stream, SectionSink& sink) {
  sink.begin_references(list);
  bool empty = true;
  if (stream != nullptr) {
    PrintableTexts texts(*stream);
    for (; const auto text = texts.next(); empty = false) sink.take_reference(*text);
  }
  sink.end_references(list, empty);
}

char lower_case(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// Calls `visit(name)` for every text of the streams that names a part.
template <typename Visit>
void visit_part_names(support::ByteSource* part_stream, support::ByteSource* fast_load_stream, Visit visit) {
  for (support::ByteSource* stream : {part_stream, fast_load_stream}) {
    if (stream == nullptr) continue;
    PrintableTexts texts(*stream);
    while (const auto text = texts.next()) {
      if (names_part(*text)) visit(*text);
    }
  }
}

/// How often each name is still to come. Names beyond a bound on memory are not kept.
class RemainingNames {
 public:
  void add(std::string_view name) {
    const auto known = counts_.find(std::string(name));
    if (known != counts_.end()) {
      ++known->second;
    } else if (kept_bytes_ < limits::kKeptNameBytes) {
      kept_bytes_ += name.size() + kEntryOverhead;
      counts_.emplace(name, 1);
    }
  }

  /// True when `name` does not come again, as far as is known.
  bool is_last(std::string_view name) {
    const auto known = counts_.find(std::string(name));
    return known == counts_.end() || --known->second == 0;
  }

 private:
  static constexpr std::size_t kEntryOverhead = 96;
  std::unordered_map<std::string, std::uint64_t, support::KeyedHash> counts_;
  std::size_t kept_bytes_ = 0;
};

}  // namespace

bool names_part(std::string_view text) {
  const auto same = [](char a, char b) { return lower_case(a) == b; };
  return std::search(text.begin(), text.end(), kPartExtension.begin(), kPartExtension.end(), same) !=
         text.end();
}

void read_external_references(support::ByteSource* part_stream, support::ByteSource* fast_load_stream,
                              SectionSink& sink) {
  read_table(ReferenceList::part_storage, part_stream, sink);
  read_table(ReferenceList::fast_load_storage, fast_load_stream, sink);
}

void read_referenced_parts(support::ByteSource* part_stream, support::ByteSource* fast_load_stream,
                           ReferenceList list, SectionSink& sink) {
  sink.begin_references(list);
  bool empty = true;
  const auto show = [&](std::string_view name) {
    sink.take_reference(name);
    empty = false;
  };
  if (list == ReferenceList::all) {
    visit_part_names(part_stream, fast_load_stream, show);
  } else {
    RemainingNames remaining;
    visit_part_names(part_stream, fast_load_stream, [&](std::string_view name) { remaining.add(name); });
    visit_part_names(part_stream, fast_load_stream, [&](std::string_view name) {
      if (remaining.is_last(name)) show(name);
    });
  }
  sink.end_references(list, empty);
}

PartModuleReferences find_part_modules(support::ByteSource& stream) {
  PartModuleReferences modules;
  PrintableTexts texts(stream);
  std::string* unnamed = nullptr;
  std::size_t count = 0;
  while (const auto text = texts.next()) {
    const bool main_part = text->find(kMainPartType) != std::string_view::npos;
    const bool linked_part = text->find(kLinkedPartType) != std::string_view::npos;
    if (main_part || linked_part) {
      if (++count > limits::kModules) break;
      auto& names = main_part ? modules.main_parts : modules.linked_parts;
      unnamed = &names.emplace_back("Unknown");
    } else if (unnamed != nullptr) {
      unnamed->assign(text->substr(0, limits::kModuleNameBytes));
      unnamed = nullptr;
    }
  }
  return modules;
}

}  // namespace inspect
