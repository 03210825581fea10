#include "inspect/solid/transmit_file.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "inspect/records/inspect_errors.h"
#include "support/printable.h"

namespace inspect {

TransmitFile::TransmitFile(InspectFile& file, std::string name) : file_(file), name_(std::move(name)) {
  if (!output_.open(name_, file_.identity)) {
    inspect_error(file_, "can not open output file %s", support::printable(name_).c_str());
  }
}

void TransmitFile::write(const void* bytes, std::size_t count) {
  if (!output_.write(bytes, count)) fail();
}

void TransmitFile::close() {
  if (!output_.close()) fail();
}

void TransmitFile::fail() {
  const std::string reason = std::strerror(errno);
  report_problem(file_, "output file %s: %s", support::printable(name_).c_str(), reason.c_str());
  inspect_error(file_, "write failed");
}

}  // namespace inspect
