#pragma once

#include <string_view>

/// The fixed texts of the page, made from the files in page/ when the program is built.
namespace inspect {

extern const std::string_view kPageHead;       ///< up to the first document, style included
extern const std::string_view kDocumentStart;  ///< stands before each document
extern const std::string_view kDocumentEnd;    ///< stands behind each document
extern const std::string_view kPageTail;       ///< behind the last document, script included

}  // namespace inspect
