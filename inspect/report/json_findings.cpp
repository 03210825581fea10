#include "inspect/report/json_findings.h"

#include <string>

namespace inspect {

using support::Detail;
using support::Finding;
using support::Place;
using support::Severity;

namespace {

/// The texts of the inspector carry the marks of their printed form.
std::string plain_message(std::string_view message) {
  std::string plain;
  for (const char c : message.substr(std::min(message.find_first_not_of("* \n"), message.size()))) {
    const bool blank = c == '\n' || c == ' ';
    if (!blank) {
      plain += c;
    } else if (!plain.empty() && plain.back() != ' ') {
      plain += ' ';
    }
  }
  while (plain.ends_with(' ')) plain.pop_back();
  return plain;
}

void write_place(JsonWriter& json, const Place& place) {
  json.begin_object("where");
  if (place.file_offset) json.member("file_offset", place.file_offset);
  if (place.length) json.member("length", place.length);
  if (!place.stream.empty()) json.text_member("stream", place.stream);
  if (place.stream_offset) json.member("stream_offset", place.stream_offset);
  if (place.partition) json.member("partition", place.partition);
  if (!place.field.empty()) json.text_member("field", place.field);
  json.end_object();
}

bool is_checksum(const Detail& detail) { return detail.name == "adler32" || detail.name == "xxh32"; }

void write_detail(JsonWriter& json, std::string_view name, const Detail& detail) {
  if (is_checksum(detail)) {
    return json.checksum_member(name, std::get<std::uint64_t>(detail.value));
  }
  json.key(name);
  std::visit([&](const auto& value) { json.value(value); }, detail.value);
}

/// A checksum alone stands for itself, other facts under their names.
void write_details(JsonWriter& json, std::string_view name, const std::vector<Detail>& details) {
  if (details.empty()) return json.null_member(name);
  if (details.size() == 1 && is_checksum(details.front())) return write_detail(json, name, details.front());
  json.begin_object(name);
  for (const Detail& detail : details) write_detail(json, detail.name, detail);
  json.end_object();
}

void write_finding(JsonWriter& json, const ListedFinding& row) {
  const Finding& finding = row.finding;
  const support::RuleRow& rule = support::row_of(finding.rule);
  json.begin_object();
  json.member("rule", rule.name);
  json.member("severity", severity_name(rule.severity));
  if (row.caused_by) json.member("caused_by", support::row_of(*row.caused_by).name);
  write_place(json, finding.place);
  const std::string message = plain_message(finding.message.empty() ? rule.meaning : finding.message);
  json.member("message", std::string_view(message));
  write_details(json, "found", finding.found);
  write_details(json, "expected", finding.expected);
  json.text_or_null("effect", finding.effect);
  json.text_or_null("advice", row.caused_by ? std::string_view() : rule.advice);
  json.end_object();
}

void write_owner(JsonWriter& json, const ByteOwner& owner, const StreamNames& streams) {
  switch (owner.kind) {
    case ByteOwner::Kind::none:
      return json.null_member("owner");
    case ByteOwner::Kind::container:
      return json.member("owner", std::string_view(owner.field));
    case ByteOwner::Kind::stream:
      return json.text_member("owner", "stream " + streams.path(owner.stream));
    case ByteOwner::Kind::part:
      return json.member("owner", std::string_view("part." + std::string(owner.field)));
    case ByteOwner::Kind::partition:
      json.member("owner", std::string_view("partition " + std::to_string(owner.partition) + '.' +
                                            std::string(owner.field)));
  }
}

void write_range(JsonWriter& json, const ByteClaim& range, std::string_view part_stream,
                 const StreamNames& streams, const FillOf& fill_of) {
  json.begin_object();
  json.member("offset", range.offset);
  json.member("length", range.length);
  write_owner(json, range.owner, streams);
  if (range.stream_offset != ByteClaim::kNoOffset) {
    if (range.owner.kind != ByteOwner::Kind::stream && !part_stream.empty()) {
      json.text_member("stream", part_stream);
    }
    json.member("stream_offset", range.stream_offset);
  }
  if (range.owner.kind == ByteOwner::Kind::none) {
    const auto fill = fill_of(range);
    constexpr char kDigits[] = "0123456789abcdef";
    const char text[] = {kDigits[fill.value_or(0) >> 4U], kDigits[fill.value_or(0) & 15U]};
    json.member("fill", fill ? std::optional(std::string_view(text, sizeof text)) : std::nullopt);
  }
  json.member("protection", protection_name(range.owner.protection));
  json.end_object();
}

}  // namespace

void write_findings(JsonWriter& json, const FindingList& findings) {
  json.begin_object("counts");
  for (const Severity severity : {Severity::error, Severity::warning, Severity::note}) {
    json.member(severity_name(severity), findings.count(severity));
  }
  json.end_object();
  json.begin_array("findings");
  for (const ListedFinding& row : findings.rows()) write_finding(json, row);
  json.end_array();
  if (findings.left_out() != 0) json.member("findings_left_out", findings.left_out());
}

void write_bytes(JsonWriter& json, const ByteMap& map, bool with_ranges, std::string_view part_stream,
                 const StreamNames& streams, const FillOf& fill_of) {
  json.begin_object("bytes");
  std::uint64_t total = 0;
  for (const std::uint64_t sum : map.sums()) total += sum;
  json.member("total", total);
  json.begin_object("by_protection");
  for (std::size_t i = 0; i < kProtectionCount; ++i) {
    json.member(protection_name(static_cast<Protection>(i)), map.sums()[i]);
  }
  json.end_object();
  if (with_ranges) {
    json.begin_array("map");
    map.visit_ranges(
        [&](const ByteClaim& range) { write_range(json, range, part_stream, streams, fill_of); });
    json.end_array();
  }
  json.end_object();
}

}  // namespace inspect
