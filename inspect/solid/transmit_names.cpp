#include "inspect/solid/transmit_names.h"

#include "inspect/records/inspect_errors.h"
#include "support/bounded_text.h"
#include "support/limits.h"
#include "support/printable.h"
#include "support/text_format.h"

namespace inspect {

namespace {

using NameText = support::BoundedText<limits::kOutputNameBytes>;

bool contains(const NameText& text, std::string_view part) {
  return text.view().find(part) != std::string_view::npos;
}

void append_source(const InspectFile& file, std::int32_t id, NameText& name) {
  const auto source = file.sources.find(id);
  if (source != file.sources.end()) name.append(support::format_text("_source_%i", source->second));
}

/// The part file's name without folders and what follows the first ".prt".
std::string_view part_base_name(std::string_view name) {
  name = name.substr(name.find_last_of("/#\\") + 1);
  return name.substr(0, name.find(".prt"));
}

TransmitNames names_from_part(const InspectFile& file, std::int32_t id, const TransmitFormat& format,
                              AppendId append) {
  NameText main;
  main.assign(part_base_name(file.name));
  if (append == AppendId::yes) {
    main.append(support::format_text("_%i", id));
    append_source(file, id, main);
  }
  NameText second = main;
  main.append(format.main_extension);
  second.append(format.second_extension);
  return {std::string(main.view()), std::string(second.view())};
}

/// The main name carries the source id in front of the partition id, the second name the partition id alone:
/// tools that pair the two files know them so.
TransmitNames names_with_id(InspectFile& file, const NameText& given, std::int32_t id,
                            const TransmitFormat& format) {
  NameText main = given;
  if (contains(main, format.main_extension)) {
    report_problem(
        file, Rule::output_name,
        "output filename must be without extension, so that id number and extension can be appended");
    inspect_error(file.reader, Rule::output_failed, "can not open output file %s",
                  support::printable(main.view()).c_str());
  }
  NameText second = main;
  append_source(file, id, main);
  main.append(support::format_text("_%i%s", id, format.main_extension.c_str()));
  second.append(support::format_text("_%i%s", id, format.second_extension.c_str()));
  return {std::string(main.view()), std::string(second.view())};
}

std::string with_extension(const NameText& name, const std::string& extension) {
  NameText extended = name;
  if (!contains(extended, extension)) extended.append(extension);
  return std::string(extended.view());
}

}  // namespace

std::optional<TransmitFormat> known_transmit_format(std::int32_t type,
                                                    std::optional<std::string_view> value) {
  if (!value || *value == "binary")
    return TransmitFormat{true, partition_kind(type).binary_extension, ".m_b"};
  if (*value == "text") return TransmitFormat{false, ".x_t", ".m_t"};
  return std::nullopt;
}

TransmitFormat transmit_format(InspectFile& file, std::int32_t type, std::optional<std::string_view> value) {
  if (auto format = known_transmit_format(type, value)) return *std::move(format);
  inspect_error(file.reader, Rule::solid_format, "Unknown file format");
}

TransmitNames transmit_names(InspectFile& file, std::string_view output_name, std::int32_t id,
                             const TransmitFormat& format, AppendId append) {
  NameText given;
  given.assign(output_name);
  if (given.empty()) return names_from_part(file, id, format, append);
  if (append == AppendId::yes) return names_with_id(file, given, id, format);
  return {with_extension(given, format.main_extension), with_extension(given, format.second_extension)};
}

}  // namespace inspect
