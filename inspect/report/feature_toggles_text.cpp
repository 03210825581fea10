#include "inspect/report/feature_toggles_text.h"

#include "support/console.h"
#include "support/printable.h"

namespace inspect {

void FeatureTogglesText::begin(int stream_format) {
  support::print("Feature Toggles(Stream Format: %d)\n", stream_format);
}

void FeatureTogglesText::toggle(std::string_view text) {
  support::print_text(support::printable(text) + "\n");
}

}  // namespace inspect
