#include "inspect/report/compatibility.h"

#include <string>
#include <string_view>

#include "support/console.h"
#include "support/error_escape.h"
#include "support/limits.h"
#include "support/printable.h"

namespace inspect {

namespace {

constexpr std::size_t kPieceSize = 65536;

/// Prints lines as they complete.
class FactPrinter {
 public:
  void add(std::string_view piece) {
    while (!piece.empty()) {
      const std::size_t end = piece.find('\n');
      pending_.append(piece.substr(0, end));
      if (end == std::string_view::npos) break;
      finish_line();
      piece.remove_prefix(end + 1);
    }
    if (pending_.size() > limits::kCompatibilityLineBytes) finish_line();
  }

  /// Prints the line that no line end has completed.
  void finish() {
    if (!pending_.empty()) finish_line();
  }

 private:
  void finish_line() {
    if (pending_.ends_with('\r')) pending_.pop_back();
    support::print(first_ ? "Earliest compatible release: %s\n" : "%s\n",
                   support::printable(pending_).c_str());
    first_ = false;
    pending_.clear();
  }

  std::string pending_;
  bool first_ = true;
};

}  // namespace

void print_compatibility(support::ByteSource& source) {
  FactPrinter printer;
  std::string piece(kPieceSize, '\0');
  try {
    while (const std::size_t got = source.read(piece.data(), piece.size())) {
      printer.add(std::string_view(piece).substr(0, got));
    }
  } catch (const support::ErrorEscape&) {
    printer.finish();  // what stands before the damage is shown
    throw;
  }
  printer.finish();
}

}  // namespace inspect
