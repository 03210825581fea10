#include "inspect/sections/compatibility.h"

#include <string>
#include <string_view>

#include "inspect/sections/section_sink.h"
#include "support/error_escape.h"
#include "support/limits.h"

namespace inspect {

namespace {

constexpr std::size_t kPieceSize = 65536;

/// Hands over lines as they complete.
class FactReader {
 public:
  explicit FactReader(SectionSink& sink) : sink_(sink) {}

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

  /// Hands over the line that no line end has completed.
  void finish() {
    if (!pending_.empty()) finish_line();
  }

 private:
  void finish_line() {
    if (pending_.ends_with('\r')) pending_.pop_back();
    sink_.take_compatibility_line({first_, pending_});
    first_ = false;
    pending_.clear();
  }

  SectionSink& sink_;
  std::string pending_;
  bool first_ = true;
};

}  // namespace

void read_compatibility(support::ByteSource& source, SectionSink& sink) {
  FactReader lines(sink);
  std::string piece(kPieceSize, '\0');
  try {
    while (const std::size_t got = source.read(piece.data(), piece.size())) {
      lines.add(std::string_view(piece).substr(0, got));
    }
  } catch (const support::ErrorEscape&) {
    lines.finish();  // what stands before the damage is shown
    throw;
  }
  lines.finish();
}

}  // namespace inspect
