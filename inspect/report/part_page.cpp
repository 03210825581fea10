#include "inspect/report/part_page.h"

#include "inspect/report/page_texts.h"

namespace inspect {

PartPage::PartPage(support::ByteSink& out) : out_(out), json_(out) { out_.write(kPageHead); }

support::ByteSink& PartPage::next_document() {
  end_document();
  out_.write(kDocumentStart);
  in_document_ = true;
  return json_;
}

void PartPage::end() {
  end_document();
  out_.write(kPageTail);
}

void PartPage::end_document() {
  if (!in_document_) return;
  json_.finish();
  out_.write(kDocumentEnd);
  in_document_ = false;
}

}  // namespace inspect
