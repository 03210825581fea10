#include "inspect/part_report.h"

#include "inspect/part_examination.h"
#include "inspect/report/json_findings.h"
#include "inspect/report/json_parts.h"
#include "inspect/report/json_writer.h"
#include "inspect/sections/release_names.h"
#include "support/printable.h"
#include "support/spool.h"

namespace inspect {

namespace {

/// Writes an object behind the members of another that is still open: the brace that opens it becomes a
/// comma.
class Continuation final : public support::ByteSink {
 public:
  explicit Continuation(support::ByteSink& out) : out_(out) {}

  void write(std::string_view bytes) override {
    if (begun_ || bytes.empty()) return out_.write(bytes);
    begun_ = true;
    out_.write(",");
    out_.write(bytes.substr(1));
  }

 private:
  support::ByteSink& out_;
  bool begun_ = false;
};

void write_file(JsonWriter& json, const FileFacts& file) {
  json.begin_object("file");
  json.text_member("name", file.name);
  json.member("size", file.size);
  if (file.modified) {
    json.time_member("modified", *file.modified);
  } else {
    json.null_member("modified");
  }
  if (!file.sha256.empty()) json.member("sha256", std::string_view(file.sha256));
  json.end_object();
}

void write_head(JsonWriter& json, const FileFacts& file, FileVerdict verdict, std::string_view looks_like) {
  json.begin_object();
  json.member("schema", "vr-part-report/1");
  json.begin_object("program");
  json.member("name", "vr_report");
  json.member("version", release_name(kLastRelease));
  json.end_object();
  write_file(json, file);
  json.member("verdict", verdict_name(verdict));
  if (!looks_like.empty()) json.member("looks_like", looks_like);
}

JsonWriter::Layout layout_of(const PartReportOptions& options) {
  return options.pretty ? JsonWriter::Layout::indented : JsonWriter::Layout::one_line;
}

PartOutcome outcome_of(FileVerdict verdict) {
  if (verdict == FileVerdict::sound) return PartOutcome::sound;
  return verdict == FileVerdict::unreadable ? PartOutcome::unreadable : PartOutcome::findings;
}

class ExaminedStreams final : public StreamNames {
 public:
  explicit ExaminedStreams(const PartExamination& examination) : examination_(examination) {}
  std::string path(std::uint64_t stream) const override { return examination_.stream_path(stream); }

 private:
  const PartExamination& examination_;
};

void write_account(JsonWriter& json, PartExamination& examination, bool with_ranges) {
  if (!examination.bytes()) return;
  const ExaminedStreams streams(examination);
  write_bytes(json, *examination.bytes(), with_ranges, examination.part_stream(), streams,
              [&](const ByteClaim& range) { return examination.fill_of(range); });
}

}  // namespace

PartOutcome write_part_report(const std::string& name, const PartReportOptions& options,
                              support::ByteSink& sink) {
  PartExamination examination(name);
  support::SpoolFile spool_file;
  support::Spool body(spool_file);
  {
    JsonWriter json(body, layout_of(options));
    JsonWriter mute;
    PartDocument document(options.summary ? mute : json);
    examination.run(document, options.sha256);
    if (options.summary) json.begin_object();
    write_account(json, examination, options.map && !options.summary);
    json.end_object();
    json.flush();
  }
  JsonWriter head(sink, layout_of(options));
  write_head(head, examination.file(), examination.verdict(), examination.looks_like());
  write_findings(head, examination.findings());
  head.key("release");
  if (examination.release()) {
    write_release(head, *examination.release());
  } else {
    head.null();
  }
  head.flush();
  if (examination.bytes()) {
    Continuation rest(sink);
    body.copy_to(rest);
  } else {
    head.end_object();
    head.flush();
  }
  return outcome_of(examination.verdict());
}

PartOutcome write_lost_part_report(const std::string& name, std::string_view reason,
                                   const PartReportOptions& options, support::ByteSink& sink) {
  FindingList findings;
  support::Finding finding;
  finding.rule = support::Rule::file_not_examined;
  finding.message = "the examination ended before it had a result: " + support::printable(reason);
  findings.report(finding);
  JsonWriter json(sink, layout_of(options));
  FileFacts file;
  file.name = name;
  write_head(json, file, FileVerdict::unreadable, "");
  write_findings(json, findings);
  json.null_member("release");
  json.end_object();
  json.flush();
  return PartOutcome::unreadable;
}

}  // namespace inspect
