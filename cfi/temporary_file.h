#pragma once

namespace VRX::System::CFI {

/// A new file in the temporary folder, open for reading and writing, that has no name and disappears with its
/// descriptor; -1 (and errno) when there can be none.
int open_temporary_file();

}  // namespace VRX::System::CFI
