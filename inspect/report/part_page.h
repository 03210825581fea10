#pragma once

#include "inspect/report/markup_safe_json.h"
#include "support/byte_sink.h"

namespace inspect {

/// One self-contained HTML page that shows the documents of parts, for the eye: nothing is fetched, and no
/// script or style runs but the page's own. Several documents get a table of files in front. The page is
/// written as the documents come; it is whole after end(). Raises what the sink raises.
class PartPage {
 public:
  explicit PartPage(support::ByteSink& out);

  /// Takes one document, a JSON object in UTF-8, until the next is asked for or the page ends. What a
  /// document says cannot become markup.
  support::ByteSink& next_document();

  /// Ends the page; without documents it says so.
  void end();

 private:
  void end_document();

  support::ByteSink& out_;
  MarkupSafeJson json_;
  bool in_document_ = false;
};

}  // namespace inspect
