#include "packaging/templates.h"

#include <cstdio>
#include <memory>
#include <optional>

#include "support/output_file.h"

namespace packaging {

namespace {

std::optional<std::string> read_text(const char* name) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name, "rb"), std::fclose);
  if (!file) return std::nullopt;
  std::string text;
  char piece[4096];
  while (const std::size_t count = std::fread(piece, 1, sizeof piece, file.get())) text.append(piece, count);
  if (std::ferror(file.get()) != 0) return std::nullopt;
  return text;
}

bool write_text(const std::string& name, std::string_view text) {
  support::OutputFile file;
  return file.open(name) && file.write(text.data(), text.size()) && file.close();
}

}  // namespace

void replace_all(std::string& text, std::string_view what, std::string_view with) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
}

std::string escape(std::string_view text, std::string_view special) {
  std::string escaped;
  for (const char c : text) {
    if (special.find(c) != std::string_view::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string wrapped(const std::string& text) {
  constexpr std::size_t kLongest = 80;
  std::string lines;
  std::size_t start = 0;
  while (text.size() - start > kLongest) {
    const std::size_t blank = text.rfind(' ', start + kLongest);
    if (blank == std::string::npos || blank <= start) break;
    lines += text.substr(start, blank - start) + "\n";
    start = blank + 1;
  }
  return lines + text.substr(start);
}

bool generate(const Templates& templates, const std::string& source, const std::string& target,
              const std::function<void(std::string&)>& fill) {
  std::optional<std::string> text = read_text((templates.folder + "/" + source).c_str());
  if (text) {
    fill(*text);
    if (write_text(templates.target + "/" + target, *text)) return true;
  }
  std::fprintf(stderr, "generate_documents: cannot make %s of %s\n", target.c_str(), source.c_str());
  return false;
}

}  // namespace packaging
