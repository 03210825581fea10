#include "reporting/document_series.h"

namespace reporting {

DocumentSeries::DocumentSeries(Format format, bool is_single, support::DocumentOutput& output)
    : format_(format), is_single_(is_single), output_(output) {
  if (format == Format::html) page_.emplace(output);
}

void DocumentSeries::add(const support::Spool& document) {
  if (page_) {
    document.copy_to(page_->next_document());
  } else if (format_ == Format::jsonl || is_single_) {
    add_line(document);
  } else {
    add_element(document);
  }
  ++count_;
}

void DocumentSeries::add_line(const support::Spool& document) {
  document.copy_to(output_);
  output_.write("\n");
  output_.flush();
}

void DocumentSeries::add_element(const support::Spool& document) {
  output_.write(count_ == 0 ? "[\n" : ",\n");
  document.copy_to(output_);
}

void DocumentSeries::end() {
  const bool is_array = format_ == Format::json && (!is_single_ || count_ == 0);
  if (page_) page_->end();
  if (is_array) output_.write(count_ == 0 ? "[]\n" : "\n]\n");
  output_.commit();
}

}  // namespace reporting
