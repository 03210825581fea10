#include "support/assertion.h"

#include "support/console.h"

namespace support {

void report_assertion(const char* text, const char* file, int line) {
  print_message("%s (%s, line %d)\n", text, file, line);
}

}  // namespace support
