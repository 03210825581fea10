#pragma once

#include "inspect/records/trace.h"
#include "support/console.h"

namespace inspect {

/// The lines of -trace, among those of the report.
class TextTrace final : public Trace {
 public:
  explicit TextTrace(support::Console& console) : console_(console) {}

  void write(std::string_view text) override { console_.print_text(text); }

 private:
  support::Console& console_;
};

}  // namespace inspect
