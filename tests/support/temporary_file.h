#pragma once

#include <string>
#include <string_view>

namespace test_support {

/// A file of the given content with a name of its own, removed at the end of the scope.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string_view content = {});
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& name() const { return name_; }
  std::string content() const;

 private:
  std::string name_;
};

std::string read_file(const std::string& name);

}  // namespace test_support
