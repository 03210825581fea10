#pragma once

#include <string>

namespace vault {

/// What stands before the content of a page and behind it. The page allows no script, and no style but its
/// own.
std::string page_start(const std::string& title);
std::string page_end();

}  // namespace vault
