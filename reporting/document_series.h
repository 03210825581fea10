#pragma once

#include <cstdint>
#include <optional>

#include "inspect/report/part_page.h"
#include "reporting/report_options.h"
#include "support/document_output.h"
#include "support/spool.h"

namespace reporting {

/// Writes documents one after the other in the format that is asked for. Raises what the output raises.
class DocumentSeries {
 public:
  /// `is_single`: of JSON one document comes, and stands by itself; else all are the elements of an array.
  DocumentSeries(Format format, bool is_single, support::DocumentOutput& output);

  /// One of a line each is there for its reader when this returns.
  void add(const support::Spool& document);

  /// Nothing follows.
  void end();

 private:
  void add_line(const support::Spool& document);
  void add_element(const support::Spool& document);

  Format format_;
  bool is_single_;
  support::DocumentOutput& output_;
  std::optional<inspect::PartPage> page_;
  std::uint64_t count_ = 0;
};

}  // namespace reporting
