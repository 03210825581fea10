#include "tests/support/program_runner.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace test_support {

namespace fs = std::filesystem;

namespace {

constexpr unsigned kLongestRun = 120;  // seconds; one that hangs ends with the signal

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> list;
  list.reserve(texts.size() + 1);
  for (std::string& text : texts) list.push_back(text.data());
  list.push_back(nullptr);
  return list;
}

std::vector<std::string> environment_with(const std::vector<std::string>& additional) {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) variables.emplace_back(*variable);
  std::erase_if(variables,
                [](const std::string& v) { return v.starts_with("TZ=") || v.starts_with("VRII_"); });
  variables.emplace_back("TZ=UTC");
  variables.insert(variables.end(), additional.begin(), additional.end());
  return variables;
}

/// In the child: everything from here on may only be what is safe after fork.
[[noreturn]] void become_program(const char* program, const char* folder, const char* out, const char* err,
                                 char** arguments, char** environment) {
  ::alarm(kLongestRun);
  if (::chdir(folder) != 0) ::_exit(126);
  ::dup2(::open(out, O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
  ::dup2(::open(err, O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
  ::execve(program, arguments, environment);
  ::_exit(127);
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (fs::temp_directory_path() / "vrii_test_XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(const std::string& name, const std::string& bytes) const {
  const fs::path path = path_ / name;
  write_file(path.string(), bytes);
  return path.string();
}

std::string TemporaryFolder::read(const std::string& name) const {
  return read_file((path_ / name).string());
}

ProgramResult run_program(const std::vector<std::string>& arguments, const fs::path& folder,
                          const std::vector<std::string>& environment) {
  return run_other_program(VRII_PROGRAM, arguments, folder, environment);
}

ProgramResult run_other_program(const char* program, const std::vector<std::string>& arguments,
                                const fs::path& folder, const std::vector<std::string>& environment) {
  const TemporaryFolder streams;
  const std::string out = (streams.path() / "out").string();
  const std::string err = (streams.path() / "err").string();
  std::vector<std::string> all = {fs::path(program).filename().string()};
  all.insert(all.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = environment_with(environment);
  const std::vector<char*> argument_list = pointers(all);
  const std::vector<char*> variable_list = pointers(variables);
  const pid_t child = ::fork();
  if (child == 0) {
    become_program(program, folder.c_str(), out.c_str(), err.c_str(),
                   const_cast<char**>(argument_list.data()), const_cast<char**>(variable_list.data()));
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), read_file(out), read_file(err)};
}

}  // namespace test_support
