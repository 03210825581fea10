#include "inspect/report/feature_toggles_text.h"

#include "support/printable.h"

namespace inspect {

void FeatureTogglesText::begin(int stream_format) {
  console_.print("Feature Toggles(Stream Format: %d)\n", stream_format);
}

void FeatureTogglesText::toggle(std::string_view text) {
  console_.print_text(support::printable(text) + "\n");
}

}  // namespace inspect
