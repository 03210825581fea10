#include "support/program.h"

namespace support {

namespace {
const char* stored_name = "vr_inspect";
}

const char* program_name() { return stored_name; }
void set_program_name(const char* name) { stored_name = name; }

}  // namespace support
