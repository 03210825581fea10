#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/byte_sink.h"
#include "support/spool.h"
#include "sweep/file_source.h"

namespace sweep {

/// Makes a document of each file. With worker processes examine() runs in one of them: what it changes is not
/// seen here.
class Examiner {
 public:
  virtual ~Examiner() = default;

  /// Writes the document of the file; returns the file's status. What it raises costs the file.
  virtual int examine(const std::string& name, support::ByteSink& document) = 0;

  /// The same for a file that could not be examined, for the reason given.
  virtual int report_lost(const std::string& name, std::string_view reason, support::ByteSink& document) = 0;
};

/// Takes the documents, in the order in which the files were named and found.
class Receiver {
 public:
  virtual ~Receiver() = default;
  virtual void take(const FoundFile& file, int status, const support::Spool& document) = 0;

  /// Called now and then while there is nothing to take.
  virtual void tick() {}
};

struct SweepOptions {
  std::size_t jobs = 0;            ///< worker processes; 0: all is done in this one
  std::uint64_t memory_bytes = 0;  ///< that a worker may take for itself; 0: as many as there are
  std::chrono::seconds time{0};    ///< that a worker may take for one file; 0: as long as it needs
  support::ByteSink* passage =
      nullptr;  ///< for a sweep of one file: where a long document goes without being kept
};

/// Has each file examined, and its document taken. A worker that dies, or exceeds what it may take, costs the
/// one file that it held; then the next one is started. Raises what the source and the receiver raise, and
/// 641002 when no worker can be started or a document that began to pass could not be finished.
void sweep_files(FileSource& source, Examiner& examiner, const SweepOptions& options, Receiver& receiver);

}  // namespace sweep
