#pragma once

namespace support {

/// A signal that ends the process removes its unfinished outputs first; it ends the process all the same, so
/// that the caller sees it. One that the process was started to ignore stays ignored. A closed pipe and a
/// file-size limit are left to the writes that meet them. Processes made from this one remove nothing.
void clean_up_on_signals();

}  // namespace support
