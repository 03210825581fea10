#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <utility>

#include "cfi/cfi_error_codes.h"
#include "cfi/flat/cfi_storage.h"
#include "cfi/writing/lock_bytes_factories.h"
#include "tests/support/captured.h"
#include "tests/support/container_builder.h"
#include "tests/support/program_runner.h"

using namespace VRX::System::CFI;
using test_support::ContainerBuilder;
using test_support::escape_of;
using test_support::TemporaryFolder;

namespace {

constexpr ClassId kClass = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

class CfiWriting : public testing::Test {
 protected:
  static void write(CFI_storage_t storage, const char* name, const char* options, std::string_view bytes) {
    const OwnedStream stream(CFI_open_stream(storage, name, options));
    CFI__write_to_stream(stream.get(), bytes.size(), bytes.data());
  }
  static std::string read(CFI_storage_t storage, const char* name) {
    const OwnedStream stream(CFI_open_stream(storage, name, "R"));
    std::string bytes(static_cast<std::size_t>(CFI_ask_stream_stats(stream.get()).size), '\0');
    EXPECT_EQ(CFI__read_from_stream(stream.get(), bytes.size(), bytes.data()), bytes.size());
    return bytes;
  }
  // A file with a direct and a buffered stream.
  void create() const {
    CFI_storage_t root = CFI_open_storage_file(name, "N");
    {
      const OwnedStorage fast(CFI_open_storage(root, "FastLoad", "N"));
      CFI_set_storage_class(fast.get(), kClass);
      write(fast.get(), "Structure", "N", "direct");
      write(root, "extra", "N", "buffered");
    }
    EXPECT_FALSE(folder.has("part.prt")) << "it is seen when the root is closed";
    ASSERT_EQ(CFI_close_storage(root), 0);
  }
  std::size_t files_in_folder() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder.path()), {}));
  }

  TemporaryFolder folder;
  const std::string name = folder.path() / "part.prt";
};

}  // namespace

TEST_F(CfiWriting, CreatesAFileThatIsSeenWhenTheRootIsClosed) {
  create();
  EXPECT_EQ(files_in_folder(), 1U) << "no temporary file is left";
  const OwnedStorage again(CFI_open_storage_file(name, "R"));
  const OwnedStorage fast(CFI_open_storage(again.get(), "FastLoad", "R"));
  EXPECT_EQ(CFI_get_storage_class(fast.get()), kClass);
  EXPECT_EQ(read(fast.get(), "Structure"), "direct");
  EXPECT_EQ(read(again.get(), "extra"), "buffered");
  EXPECT_EQ(CFI_storage_file(again.get()).format_number(), 6);
  EXPECT_EQ(CFI_storage_file(again.get()).fast_load_end(), 4096 + 6);
}

TEST_F(CfiWriting, UpdatesAFileAndKeepsWhatIsNotTouched) {
  ContainerBuilder(4)
      .storage("/Root/VR_PART", kClass)
      .stream("/Root/VR_PART/VR_PART", "the part")
      .stream("/Root/FastLoad/JT", "jt")
      .stream("/Root/extra", "0123456789")
      .part_header("abcd")
      .write(name);
  CFI_storage_t root = CFI_open_storage_file(name, "W");
  EXPECT_EQ(read(root, "extra"), "0123456789");
  {
    const OwnedStream extra(CFI_open_stream(root, "extra", "W"));
    CFI__set_stream_absolute_pos(extra.get(), 8);
    CFI__write_to_stream(extra.get(), 4, "abcd");
    write(root, "new", "N", "added");
  }
  EXPECT_EQ(CFI_ask_storage_names(root), (std::vector<std::string>{"VR_PART", "FastLoad"}));
  EXPECT_EQ(CFI_close_storage(root), 0);
  const OwnedStorage again(CFI_open_storage_file(name, "R"));
  const OwnedStorage part(CFI_open_storage(again.get(), "VR_PART", "R"));
  EXPECT_EQ(CFI_get_storage_class(part.get()), kClass);
  EXPECT_EQ(read(part.get(), "VR_PART"), "the part");
  EXPECT_EQ(read(again.get(), "extra"), "01234567abcd");
  EXPECT_EQ(read(again.get(), "new"), "added");
  EXPECT_EQ(CFI_storage_file(again.get()).format_number(), 4);
  EXPECT_EQ(CFI_storage_file(again.get()).part_header_unit(0), 0x6261);
}

TEST_F(CfiWriting, NamesWhatCanNotBeOpened) {
  create();
  OwnedStorage root(CFI_open_storage_file(name, "W"));
  const OwnedStorage fast(CFI_open_storage(root.get(), "FastLoad", "W"));
  const OwnedStream open(CFI_open_stream(root.get(), "open", "N"));
  write(root.get(), "buffered", "N", "b");
  write(fast.get(), "JT", "N", "j");
  const OwnedStream direct(CFI_open_stream(fast.get(), "RMFastLoad", "N"));
  const struct {
    const OwnedStorage& storage;
    const char* stream;
    const char* options;
    const char* escape;
  } rows[] = {
      {root, "nothing", "W",
       "1021251 Storage element /Root/nothing was not found when opening for write or read-write"},
      {root, "extra", "N", "1021252 Storage element /Root/extra already exists"},
      {root, "open", "R",
       "1021253 Attempting to re-open a stream for read which has a container: \"/Root/open\""},
      {root, "buffered", "R",
       "1021254 Attempting to re-open a buffered stream for read which is released but not committed for "
       "write: \"/Root/buffered\""},
      {fast, "JT", "R",
       "1021254 Attempting to re-open a direct stream for read which is released but not committed for "
       "write: \"/Root/FastLoad/JT\""},
      {fast, "PartIdentifier", "N",
       "1021253 Current direct stream is unexpectedly /Root/FastLoad/RMFastLoad"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(escape_of([&] { CFI_open_stream(row.storage.get(), row.stream, row.options); }), row.escape);
  }
  EXPECT_EQ(escape_of([&] { CFI_open_storage(root.get(), "FastLoad", "N"); }),
            "1021252 Storage element /Root/FastLoad already exists");
  EXPECT_EQ(escape_of([&] { CFI_open_storage_file(name, "N"); }),
            "1021254 operation is not supported: writing to a file that is open already");
}

TEST_F(CfiWriting, RefusesToWriteWhatIsOpenForReading) {
  create();
  const std::string compound =
      folder.write("compound", test_support::read_file(test_support::sample("gearbox.prt")));
  const OwnedStorage root(CFI_open_storage_file(name, "R"));
  const OwnedStorage compound_root(CFI_open_storage_file(compound, "R"));
  const OwnedStream stream(CFI_open_stream(root.get(), "extra", "R"));
  const std::string file = "a file that is open for reading";
  const std::string other = "a Microsoft storage file";
  const std::pair<std::function<void()>, std::string> rows[] = {
      {[&] { CFI_open_stream(root.get(), "extra", "W"); }, file},
      {[&] { CFI_open_storage(root.get(), "new", "N"); }, file},
      {[&] { CFI_set_storage_class(root.get(), kClass); }, file},
      {[&] { CFI__write_to_stream(stream.get(), 1, "x"); }, "a stream that is read"},
      {[&] { CFI_open_stream(compound_root.get(), "new", "N"); }, other},
      {[&] { CFI_open_storage_file(folder.write("other", test_support::read_file(compound)), "W"); }, other},
  };
  for (const auto& [call, what] : rows) {
    EXPECT_EQ(escape_of(call), "1021254 operation is not supported: writing to " + what);
  }
}

TEST_F(CfiWriting, LosesWhatIsNotCommitted) {
  create();
  const std::string before = folder.read("part.prt");
  CFI_storage_t root = CFI_open_storage_file(name, "N");
  CFI_stream_t stream = CFI_open_stream(root, "extra", "N");
  EXPECT_NE(CFI_close_storage(root), 0) << "a stream is open";
  EXPECT_EQ(CFI_close_stream(stream), 0);
  EXPECT_EQ(folder.read("part.prt"), before);
  EXPECT_EQ(files_in_folder(), 1U);
}

TEST_F(CfiWriting, UpdatesNoTruncatedFile) {
  create();
  const std::string whole = folder.read("part.prt");
  folder.write("part.prt", whole.substr(0, whole.size() - 1));
  EXPECT_EQ(escape_of([&] { CFI_open_storage_file(name, "W"); }), "1020023 unexpected end of stream");
  EXPECT_EQ(folder.read("part.prt").size(), whole.size() - 1);
  EXPECT_EQ(files_in_folder(), 1U);
}

TEST_F(CfiWriting, ReportsAShortWriteAndCommitsNothing) {
  CFI_storage_t root = CFI_open_storage_file(name, "N");
  CFI_storage_t fast = CFI_open_storage(root, "FastLoad", "N");
  CFI_stream_t stream = CFI_open_stream(fast, "JT", "N");
  struct rlimit old = {};
  ::getrlimit(RLIMIT_FSIZE, &old);
  const struct rlimit small = {.rlim_cur = 5000, .rlim_max = old.rlim_max};
  const auto old_handler = std::signal(SIGXFSZ, SIG_IGN);
  ::setrlimit(RLIMIT_FSIZE, &small);
  const std::string bytes(2000, 'x');
  const auto write_all = [&] { CFI__write_to_stream(stream, bytes.size(), bytes.data()); };
  const std::string short_write = escape_of(write_all);
  const std::string no_write = escape_of(write_all);
  ::setrlimit(RLIMIT_FSIZE, &old);
  std::signal(SIGXFSZ, old_handler);
  EXPECT_EQ(short_write, "1020059 IStream_Write returned count 904 not 2000");
  EXPECT_EQ(no_write, "1020059 File too large");
  EXPECT_EQ(CFI_close_stream(stream) + CFI_close_storage(fast), 0);
  EXPECT_NE(CFI_close_storage(root), 0);
  EXPECT_EQ(files_in_folder(), 0U);
}

TEST_F(CfiWriting, CopiesElementsBetweenFiles) {
  const OwnedStorage compound(CFI_open_storage_file(test_support::sample("gearbox.prt"), "R"));
  CFI_storage_t root = CFI_open_storage_file(name, "N");
  CFI_copy_storage_element(compound.get(), "VR_PART", root, "copy");
  EXPECT_EQ(escape_of([&] { CFI_copy_storage_element(compound.get(), "VR_PART", root, "copy"); }),
            "1021252 Storage element /Root/copy already exists");
  EXPECT_EQ(escape_of([&] { CFI_copy_storage_element(compound.get(), "nothing", root, "x"); }),
            "1021251 Storage element /Root/nothing was not found when opening for read");
  EXPECT_EQ(CFI_close_storage(root), 0);
  const OwnedStorage again(CFI_open_storage_file(name, "R"));
  const OwnedStorage copy(CFI_open_storage(again.get(), "copy", "R"));
  const OwnedStorage original(CFI_open_storage(compound.get(), "VR_PART", "R"));
  for (const auto& element : CFI_ask_storage_contents(original.get())) {
    EXPECT_EQ(read(copy.get(), element.name.c_str()), read(original.get(), element.name.c_str()));
  }
}

TEST_F(CfiWriting, LendsAStreamAsAFileChannel) {
  CFI_storage_t root = CFI_open_storage_file(name, "N");
  CFI_stream_t stream = CFI_open_stream(root, "extra", "N");
  CFI__write_to_stream(stream, 6, "abcdef");
  CFI__set_stream_absolute_pos(stream, 2);
  const int channel = CFI_convert_stream_to_fileid(stream);
  EXPECT_EQ(::write(channel, "XY", 2), 2);
  EXPECT_EQ(::ftruncate(channel, 5), 0);
  CFI_release_stream_fileid(stream, channel);
  EXPECT_EQ(CFI_ask_stream_current_pos(stream), 4U);
  EXPECT_EQ(escape_of([&] { CFI_release_stream_fileid(stream, channel); }),
            "1020059 Could not flush channel " + std::to_string(channel));
  EXPECT_EQ(CFI_close_stream(stream) + CFI_close_storage(root), 0);
  const OwnedStorage again(CFI_open_storage_file(name, "R"));
  EXPECT_EQ(read(again.get(), "extra"), "abXYe");
}

TEST_F(CfiWriting, IsOnlyForTheThreadThatOpenedIt) {
  create();
  const OwnedStorage root(CFI_open_storage_file(name, "R"));
  std::string failure;
  const auto ask = [&] { CFI_ask_if_storage_child_exists(root.get(), "extra"); };
  std::thread([&] { failure = escape_of(ask); }).join();
  EXPECT_TRUE(failure.ends_with("a storage file is used by another thread than the one that opened it"));
}

TEST_F(CfiWriting, OpensFilesThroughLockBytesFactories) {
  create();
  const ReadOnlyLockBytesFactory for_reading;
  const ReadWriteLockBytesFactory for_update;
  char byte = 0;
  const auto read_only = make_lock_bytes(&for_reading, nullptr, name);
  EXPECT_EQ(read_only->read_at(0, &byte, 1), 1U);
  EXPECT_EQ(escape_of([&] { read_only->write_at(0, "x", 1); }),
            "1021254 operation is not supported: writing to a file that is open for reading");
  const auto writable = make_lock_bytes(&for_reading, &for_update, name);
  EXPECT_EQ(writable->read_at(0, &byte, 1), 1U);
  const std::string longer(3 * FileChannel::kWindowSize, 'y');
  EXPECT_EQ(writable->write_at(0, longer.data(), longer.size()), longer.size());
  for (const std::uint64_t at : {longer.size() - 1, std::size_t{0}}) {
    EXPECT_EQ(writable->read_at(at, &byte, 1), 1U);
    EXPECT_EQ(byte, 'y') << "the window is that of the grown file";
  }
  EXPECT_EQ(escape_of([&] { make_lock_bytes(nullptr, nullptr, name); }),
            "1021253 Structured storage internal failure: no lock-bytes factory is given");
}
