#pragma once

#include "support/output_file.h"

namespace support {

/// A new file in the temporary folder, open for reading and writing, that has no name and disappears with its
/// descriptor; one that is not open, and tells why, when there can be none.
OutputFile open_temporary_file();

}  // namespace support
