#include "sweep/sweep.h"

#include <exception>
#include <new>

#include "support/error_escape.h"
#include "support/printable.h"
#include "support/system_failure.h"
#include "sweep/worker_pool.h"

namespace sweep {

namespace {

class SweepHere {
 public:
  SweepHere(Examiner& examiner, support::ByteSink* passage) : examiner_(examiner), passage_(passage) {}

  void examine(const FoundFile& file, Receiver& receiver) {
    support::Spool document(spool_file_, passage_);
    int status = 0;
    if (file.trouble.empty()) {
      status = write(file.name, document);
    } else {
      status = examiner_.report_lost(file.name, file.trouble, document);
    }
    receiver.take(file, status, document);
    receiver.tick();
  }

 private:
  int write(const std::string& name, support::Spool& document) {
    try {
      return examiner_.examine(name, document);
    } catch (const std::bad_alloc&) {
      return lose(name, kOutOfMemory, document);
    } catch (const support::ErrorEscape& escape) {
      return lose(name, escape.message(), document);
    }
  }

  int lose(const std::string& name, const std::string& reason, support::Spool& document) {
    if (document.has_passed()) {
      throw support::ErrorEscape("sweep", support::kSystemFailure,
                                 "the document of " + support::printable(name) + " is not whole: " + reason);
    }
    document.clear();
    return examiner_.report_lost(name, reason, document);
  }

  Examiner& examiner_;
  support::ByteSink* passage_;
  support::SpoolFile spool_file_;
};

}  // namespace

void sweep_files(FileSource& source, Examiner& examiner, const SweepOptions& options, Receiver& receiver) {
  if (options.jobs > 0) {
    WorkerPool(source, examiner, options, receiver).run();
  } else {
    SweepHere here(examiner, options.passage);
    while (const auto file = source.next()) here.examine(*file, receiver);
  }
}

}  // namespace sweep
