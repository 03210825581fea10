#pragma once

#include "cfi/tools/feature_toggles.h"
#include "support/console.h"

namespace inspect {

/// The text of -feature_toggle_info: a line for each toggle.
class FeatureTogglesText final : public cfi_tools::FeatureToggleSink {
 public:
  explicit FeatureTogglesText(support::Console& console) : console_(console) {}

  void begin(int stream_format) override;
  void toggle(std::string_view text) override;

 private:
  support::Console& console_;
};

}  // namespace inspect
