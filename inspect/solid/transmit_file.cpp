#include "inspect/solid/transmit_file.h"

#include <cstring>
#include <optional>
#include <utility>

#include "inspect/records/inspect_errors.h"
#include "support/printable.h"

namespace inspect {

TransmitFile::TransmitFile(InspectFile& file, std::string name)
    : file_(file), name_(std::move(name)), output_(file.console) {
  if (!output_.open(name_, file_.identity)) {
    inspect_error(file_.reader, Rule::output_failed, "can not open output file %s",
                  support::printable(name_).c_str());
  }
}

void TransmitFile::write(const void* bytes, std::size_t count) {
  if (!output_.write(bytes, count)) fail();
}

bool TransmitFile::set_mark() {
  const std::optional<std::uint64_t> length = output_.length();
  mark_ = length.value_or(0);
  return length.has_value();
}

void TransmitFile::return_to_mark() {
  if (!output_.cut(mark_)) fail();
}

void TransmitFile::close() {
  if (!output_.close()) fail();
}

void TransmitFile::fail() {
  const std::string reason = std::strerror(output_.error());
  report_problem(file_, Rule::output_failed, "output file %s: %s", support::printable(name_).c_str(),
                 reason.c_str());
  inspect_error(file_.reader, Rule::output_failed, "write failed");
}

}  // namespace inspect
