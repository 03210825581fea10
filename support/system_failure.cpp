#include "support/system_failure.h"

#include <cstring>

namespace support {

ErrorEscape system_failure(const std::string& deed, int error) {
  return {"support", kSystemFailure, "could not " + deed + ": " + std::strerror(error)};
}

}  // namespace support
