#pragma once

#include "inspect/records/trace.h"
#include "support/console.h"

namespace inspect {

/// The lines of -trace, among those of the report.
class TextTrace final : public Trace {
 public:
  void write(std::string_view text) override { support::print_text(text); }
};

}  // namespace inspect
