#pragma once

#include <string>

namespace sweep {

/// A file that was named or found.
struct FoundFile {
  std::string name;     ///< as given; below a folder joined to the folder's with one "/"
  std::string trouble;  ///< why there is nothing to examine, as for a folder that cannot be read; else empty
};

}  // namespace sweep
