#pragma once

#include <string>

namespace reporting {

/// What the rule of that name means and what to do about its findings. Raises 641002 when there is none.
std::string rule_text(const std::string& name);

/// All rules, one a line: name, severity, meaning.
std::string rule_list();

}  // namespace reporting
