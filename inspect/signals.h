#pragma once

namespace inspect {

/// A signal other than 2 writes "**** Caught signal: %d, exiting" to standard error; every signal removes
/// the outputs that are not finished and ends the process with status 1. A closed pipe and a file-size limit
/// are left to the writes that meet them.
void register_signal_handlers();

}  // namespace inspect
