#include "support/temporary_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "support/environment.h"

namespace support {

OutputFile open_temporary_file() {
  const std::string folder = temporary_folder();
  const int unnamed = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (unnamed >= 0) return OutputFile(unnamed);
  std::string name = folder + "/vr_inspect_XXXXXX";  // not every file system has files without a name
  const int named = ::mkostemp(name.data(), O_CLOEXEC);
  if (named < 0) return OutputFile(named, errno);
  ::unlink(name.c_str());
  return OutputFile(named);
}

}  // namespace support
