#pragma once

#include <span>
#include <string>

#include "packaging/templates.h"
#include "support/program_option.h"

namespace packaging {

/// Manual page and completions of a program of the GNU kind. The page has a template of its own,
/// <program>.1.in; the completions of all such programs are made of the same ones. `commands` are those that
/// the first word of a line is one of, blanks between them; empty for a program that has none.
bool generate_program_documents(const Templates& templates, const std::string& program,
                                std::span<const support::ProgramOption> options,
                                const std::string& commands = "");

}  // namespace packaging
