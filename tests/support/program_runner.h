#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/files.h"

namespace test_support {

/// What one run of the built program left behind. A run that a signal ended has status 128 + its number.
struct ProgramResult {
  int status = -1;
  std::string out;
  std::string err;
};

/// A fresh folder that is gone at the end of the test.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

  /// Writes a file and returns its path.
  std::string write(const std::string& name, const std::string& bytes) const;
  std::string read(const std::string& name) const;
  bool has(const std::string& name) const { return std::filesystem::exists(path_ / name); }

 private:
  std::filesystem::path path_;
};

/// Runs the program under the name "vr_inspect" in `folder` (its current directory) with the arguments and
/// the additional environment ("NAME=value"); the time zone is UTC.
ProgramResult run_program(const std::vector<std::string>& arguments,
                          const std::filesystem::path& folder = ".",
                          const std::vector<std::string>& environment = {});

/// The same for another of the programs, by its path.
ProgramResult run_other_program(const char* program, const std::vector<std::string>& arguments,
                                const std::filesystem::path& folder = ".",
                                const std::vector<std::string>& environment = {});

}  // namespace test_support
