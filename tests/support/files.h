#pragma once

#include <string>
#include <string_view>

namespace test_support {

/// Writes a whole file; the test fails when that is not possible.
void write_file(const std::string& path, std::string_view bytes);
std::string read_file(const std::string& path);

/// The path of a file of samples/.
std::string sample(const std::string& name);

}  // namespace test_support
