#include "cfi/flat/cfi_storage.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

#include "cfi/cfi_error_codes.h"
#include "tests/support/captured.h"
#include "tests/support/container_builder.h"
#include "tests/support/program_runner.h"

using namespace VRX::System::CFI;
using test_support::ContainerBuilder;
using test_support::escape_of;
using test_support::TemporaryFolder;

namespace {

class CfiStorage : public testing::Test {
 protected:
  TemporaryFolder folder;
  const std::string name = folder.write(
      "part.prt",
      ContainerBuilder().stream("/Root/VR_PART/VR_PART", "0123456789").stream("/Root/extra", "x").bytes());
  const OwnedStorage root{CFI_open_storage_file(name, "R")};
};

}  // namespace

TEST_F(CfiStorage, ReadsAndPositionsAStream) {
  const OwnedStorage part(CFI_open_storage(root.get(), "VR_PART", "R"));
  const OwnedStream stream(CFI_open_stream(part.get(), "VR_PART", "R"));
  char bytes[16] = {};
  EXPECT_EQ(CFI_ask_stream_current_pos(stream.get()), 0U);
  EXPECT_EQ(CFI__read_from_stream(stream.get(), 4, bytes), 4U);
  CFI_set_stream_relative_pos(stream.get(), -1);
  EXPECT_EQ(CFI_ask_stream_current_pos(stream.get()), 3U);
  EXPECT_EQ(CFI__read_from_stream(stream.get(), sizeof bytes, bytes), 7U) << "short at the end";
  EXPECT_EQ(std::string(bytes, 7), "3456789");
  CFI__set_stream_absolute_pos(stream.get(), 0);
  EXPECT_EQ(escape_of([&] { CFI_set_stream_relative_pos(stream.get(), -1); }),
            "1021001 Attempt to seek to negative absolute location: 0xffffffffffffffff");
  const auto beyond = [&] { CFI__set_stream_absolute_pos(stream.get(), 11); };
  EXPECT_EQ(escape_of(beyond), "1020023 unexpected end of stream");
  EXPECT_EQ(CFI_ask_stream_stats(stream.get()).size, 10U);
  support::ByteSource& source = CFI_stream_source(stream.get());
  CFI_set_position(source, std::uint64_t{INT64_MAX});
  EXPECT_EQ(CFI_get_position(source), std::uint64_t{INT64_MAX});
  EXPECT_THROW(CFI_set_position(source, std::uint64_t{1} << 63U), support::ErrorEscape);
}

TEST_F(CfiStorage, RaisesNumberedErrors) {
  const std::string flat = folder.write("flat.prt", "no container at all");
  const std::string internal = "1021253 Structured storage internal failure: /Root/";
  const std::string check = "1021253 Structured Storage check failed";
  const std::string path = "VR_PART/VR_PART";
  const std::pair<std::function<void()>, std::string> rows[] = {
      {[&] { CFI_open_storage_file(name, "r"); }, "1021255 Invalid options 'r'"},
      {[&] { CFI_open_storage_file(name, nullptr); }, "1021255 Invalid options ''"},
      {[&] { CFI_open_storage_file(flat, "R"); }, "1021080 File is not a structured-storage file: " + flat},
      {[&] { CFI_open_storage_file(name + "x", "R"); }, "1020059 No such file or directory"},
      {[&] { CFI_open_storage_file(folder.path(), "R"); }, "1020059 Is a directory"},
      {[&] { CFI_open_storage(root.get(), "extra", "R"); }, internal + "extra is no storage"},
      {[&] { CFI_open_stream(root.get(), "VR_PART", "R"); }, internal + "VR_PART is no stream"},
      {[&] { CFI_open_stream(root.get(), "", "R"); }, check + ": !name.empty()"},
      {[&] { CFI_open_stream(root.get(), path, "R"); },
       check + " for " + path + ": name.find(\"/\") == npos"},
      {[&] { CFI_open_stream(root.get(), "extra", "Q"); }, "1021255 Invalid options 'Q'"},
  };
  for (const auto& [call, escape] : rows) EXPECT_EQ(escape_of(call), escape);
}

#ifndef NDEBUG
TEST_F(CfiStorage, LimitsNamesByTheirCharacters) {
  const std::string bytes = folder.read("part.prt");
  const OwnedStorage other(CFI_open_storage_file(folder.write("other.prt", bytes), "R", "limit_names"));
  const std::string longest = "\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9" + std::string(25, 'x');
  const auto told = [&](const std::string& child) {
    return test_support::captured([&] { CFI_ask_if_storage_child_exists(other.get(), child); }).err;
  };
  EXPECT_EQ(told(longest), "");
  EXPECT_NE(told(longest + "x"), "");
}
#endif

TEST_F(CfiStorage, CountsHandlesAndOutlivesThemUntilItsChildrenAreClosed) {
  CFI_storage_t second = CFI_open_storage_file(name, "R");
  EXPECT_EQ(second, root.get());
  EXPECT_EQ(CFI_close_storage(second), 0);
  EXPECT_TRUE(CFI_ask_if_storage_child_exists(root.get(), "extra")) << "one handle is left";
  EXPECT_FALSE(CFI_ask_if_storage_child_exists(root.get(), "nothing"));
  const std::string bytes = folder.read("part.prt");
  CFI_storage_t other = CFI_open_storage_file(folder.write("other.prt", bytes), "R");
  CFI_storage_t part = CFI_open_storage(other, "VR_PART", "R");
  CFI_stream_t stream = CFI_open_stream(part, "VR_PART", "R");
  EXPECT_NE(CFI_close_storage(other), 0);
  EXPECT_NE(CFI_close_storage(part), 0);
  char byte = 0;
  EXPECT_EQ(CFI__read_from_stream(stream, 1, &byte), 1U);
  EXPECT_EQ(CFI_close_stream(stream), 0);
  EXPECT_NE(CFI_close_storage(nullptr), 0);
  EXPECT_NE(CFI_close_stream(nullptr), 0);
}
