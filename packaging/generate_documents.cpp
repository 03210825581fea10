// Writes the manual pages and the completions of bash, zsh and fish from the tables that the command lines
// are parsed with, and the list of findings from the table of rules, so that none of them can lag behind its
// program.

#include <cstdio>

#include "packaging/findings_document.h"
#include "packaging/inspect_documents.h"
#include "packaging/program_documents.h"
#include "packaging/templates.h"
#include "reporting/report_options.h"
#include "vault/vault_options.h"

int main(int argument_count, char** arguments) {
  if (argument_count != 4) {
    std::fprintf(stderr, "usage: generate_documents <folder of templates> <date> <folder>\n");
    return 1;
  }
  const packaging::Templates templates = {arguments[1], arguments[2], arguments[3]};
  const bool written =
      packaging::generate_findings_document(templates) && packaging::generate_inspect_documents(templates) &&
      packaging::generate_program_documents(templates, "vr_report", reporting::report_options()) &&
      packaging::generate_program_documents(templates, "vr_vault", vault::vault_options(),
                                            vault::command_names());
  return written ? 0 : 1;
}
