#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "inspect/part_report.h"
#include "sweep/sweep.h"
#include "vault/file_identity.h"

namespace vault {

/// Examines files for an update. In front of each document stands a line that says which state of the file
/// was examined.
class PartInspector final : public sweep::Examiner {
 public:
  explicit PartInspector(bool with_sha256);

  int examine(const std::string& name, support::ByteSink& document) override;
  int report_lost(const std::string& name, std::string_view reason, support::ByteSink& document) override;

  /// Takes the line away. None when the file changed all the time, or could not be looked at.
  static std::optional<FileIdentity> take_identity(std::string& document);

 private:
  inspect::PartReportOptions options_;
};

}  // namespace vault
