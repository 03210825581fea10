#include "cfi/cfi_storage.h"
std::uint64_t CFI_get_position(const support::ByteSource& source) { return source.position(); }
void CFI_set_position(support::ByteSource& source, std::uint64_t position) { source.set_position(position); }
