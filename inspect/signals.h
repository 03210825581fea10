#pragma once

namespace inspect {

/// Every signal that would end the process, but one that it was started to ignore, removes the outputs that
/// are not finished, writes the finished lines of the reports and ends the process with status 1. A signal
/// other than 2 writes "**** Caught signal: %d, exiting" to standard error. A closed pipe and a file-size
/// limit are left to the writes that meet them.
void register_signal_handlers();

}  // namespace inspect
