#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace packaging {

/// Where documents are made of, and what they all bear.
struct Templates {
  std::string folder;
  std::string date;    ///< YYYY-MM-DD
  std::string target;  ///< folder of the documents
};

/// Writes the document `target` of what `fill` makes of the template `source`; says so when that fails.
bool generate(const Templates& templates, const std::string& source, const std::string& target,
              const std::function<void(std::string&)>& fill);

void replace_all(std::string& text, std::string_view what, std::string_view with);

/// Puts a backslash before every character of `special`.
std::string escape(std::string_view text, std::string_view special);

/// Ends lines at blanks, so that none is longer than a manual page's source should have it.
std::string wrapped(const std::string& text);

}  // namespace packaging
