#include "support/program.h"

#include <string>

#include "support/printable.h"

namespace support {

namespace {

std::string& stored_name() {
  static std::string name = "vr_inspect";
  return name;
}

}  // namespace

const char* program_name() { return stored_name().c_str(); }
void set_program_name(const char* name) { stored_name() = printable(name); }

}  // namespace support
