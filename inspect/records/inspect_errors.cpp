#include "inspect/records/inspect_errors.h"

#include <cstdarg>

#include "cfi/cfi_error_codes.h"
#include "support/diagnostics.h"
#include "support/text_format.h"

namespace inspect {

namespace {

using support::Finding;
using support::Manner;

Finding finding_at_field(const RecordReader& reader, Rule rule, Manner manner, std::string message) {
  Finding finding;
  finding.rule = rule;
  finding.manner = manner;
  finding.place = reader.last_field();
  finding.message = std::move(message);
  return finding;
}

}  // namespace

// The message that the arguments behind `format` make.
#define VRII_FORMATTED(message)                                       \
  std::va_list arguments;                                             \
  va_start(arguments, format);                                        \
  std::string message = support::format_text_list(format, arguments); \
  va_end(arguments)

void inspect_error(const RecordReader& reader, Rule rule, const char* format, ...) {
  VRII_FORMATTED(message);
  reader.findings().report(finding_at_field(reader, rule, Manner::error, message));
  throw support::ErrorEscape("vr_inspect_internal", kContentError, std::move(message));
}

void inspect_read_error(const RecordReader& reader, int status) {
  inspect_error(reader, Rule::file_read_error, "unexpected read error %d", status);
}

void inspect_fatal(const RecordReader& reader, Rule rule, const char* format, ...) {
  VRII_FORMATTED(message);
  reader.findings().report(finding_at_field(reader, rule, Manner::fatal, message));
  throw FatalEscape(std::move(message));
}

void inspect_warning(const RecordReader& reader, Rule rule, const char* format, ...) {
  VRII_FORMATTED(message);
  reader.findings().report(finding_at_field(reader, rule, Manner::warning, std::move(message)));
}

void report_problem(const InspectFile& file, Rule rule, const char* format, ...) {
  VRII_FORMATTED(message);
  Finding finding;
  finding.rule = rule;
  finding.message = std::move(message);
  file.reader.findings().report(finding);
}

void report_finding(const InspectFile& file, Finding finding, const char* format, ...) {
  VRII_FORMATTED(message);
  finding.message = std::move(message);
  file.reader.findings().report(finding);
}

#undef VRII_FORMATTED

void report_escape(const InspectFile& file, const support::ErrorEscape& escape) {
  static const support::DiagnosticsChannel channel("error_escapes");
  channel.print("error escape %d from %s, line %d: %s\n", escape.code(), escape.module(), escape.line(),
                escape.what());
  if (escape.code() == kContentError) return;
  Finding finding;
  finding.rule = rule_of(escape.code());
  finding.message = escape.message();
  file.reader.findings().report(finding);
}

Rule rule_of(int code) {
  namespace CFI = VRX::System::CFI;
  switch (code) {
    case kInspectorError:
      return Rule::output_failed;
    case CFI::kSystemCallFailed:
      return Rule::file_not_opened;
    case CFI::kEncryptedFile:
      return Rule::file_encrypted;
    case CFI::kEndOfStream:
      return Rule::container_end_of_stream;
    case CFI::kBadCompressedStream:
    case CFI::kCompressedBlockTooLong:
      return Rule::container_framing;
    case CFI::kElementNotFound:
      return Rule::container_element_missing;
    case CFI::kVersionTooNew:
      return Rule::container_version;
    case CFI::kDamagedIndex:
    case CFI::kNameTooLong:
      return Rule::container_index;
    case CFI::kIndexChecksumMismatch:
      return Rule::container_index_checksum;
    case CFI::kDamagedCompoundFile:
      return Rule::container_compound;
    default:
      return Rule::container_other;
  }
}

}  // namespace inspect
