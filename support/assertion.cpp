#include "support/assertion.h"

#include "support/console.h"
#include "support/text_format.h"

namespace support {

void report_assertion(const char* text, const char* file, int line) {
  print_diagnostics(format_text("%s (%s, line %d)\n", text, file, line));
}

}  // namespace support
