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
#include "cfi/writing/top_storage_writer.h"
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
    return bytes.substr(0, CFI__read_from_stream(stream.get(), bytes.size(), bytes.data()));
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
  ContainerBuilder builder(4);
  builder.storage("/Root/VR_PART", kClass).stream("/Root/VR_PART/VR_PART", "the part").part_header("abcd");
  builder.stream("/Root/FastLoad/JT", "jt").stream("/Root/extra", "0123456789").write(name);
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

TEST_F(CfiWriting, RefusesWhatCanNotBeOpenedOrWritten) {
  create();
  OwnedStorage root(CFI_open_storage_file(name, "W"));
  const OwnedStorage fast(CFI_open_storage(root.get(), "FastLoad", "W"));
  const OwnedStream open(CFI_open_stream(root.get(), "open", "N"));
  write(root.get(), "buffered", "N", "b");
  write(fast.get(), "JT", "N", "j");
  const OwnedStream direct(CFI_open_stream(fast.get(), "RMFastLoad", "N"));
  // What is open for reading is not written.
  const std::string gearbox = test_support::sample("gearbox.prt");
  const OwnedStorage compound(CFI_open_storage_file(gearbox, "R"));
  const OwnedStorage readable(CFI_open_storage_file(folder.write("read.prt", folder.read("part.prt")), "R"));
  const OwnedStream stream(CFI_open_stream(readable.get(), "extra", "R"));
  const std::pair<std::function<void()>, int> rows[] = {
      {[&] { CFI_open_stream(readable.get(), "extra", "W"); }, 1021254},
      {[&] { CFI_open_storage(readable.get(), "new", "N"); }, 1021254},
      {[&] { CFI_set_storage_class(readable.get(), kClass); }, 1021254},
      {[&] { CFI__write_to_stream(stream.get(), 1, "x"); }, 1021254},
      {[&] { CFI_open_stream(compound.get(), "new", "N"); }, 1021254},
      {[&] { CFI_open_stream(root.get(), "nothing", "W"); }, 1021251},
      {[&] { CFI_open_stream(root.get(), "extra", "N"); }, 1021252},
      {[&] { CFI_open_stream(root.get(), "open", "R"); }, 1021253},      // has a container
      {[&] { CFI_open_stream(root.get(), "buffered", "R"); }, 1021254},  // released, not committed
      {[&] { CFI_open_stream(fast.get(), "JT", "R"); }, 1021254},
      {[&] { CFI_open_stream(fast.get(), "PartIdentifier", "N"); }, 1021253},  // another one is direct
      {[&] { CFI_open_storage(root.get(), "FastLoad", "N"); }, 1021252},
      {[&] { CFI_open_storage_file(name, "N"); }, 1021254},  // open already
  };
  for (const auto& [call, code] : rows) EXPECT_EQ(std::atoi(escape_of(call).c_str()), code);
  std::string failure;
  const auto ask = [&] { CFI_ask_if_storage_child_exists(readable.get(), "extra"); };
  std::thread([&] { failure = escape_of(ask); }).join();
  EXPECT_TRUE(failure.ends_with("a storage file is used by another thread than the one that opened it"));
}

TEST_F(CfiWriting, StaysSoundAfterACallThatIsRefused) {
  create();
  const std::string cut = ContainerBuilder().no_footer().stream("/Root/cut", "a stream").bytes();
  folder.write("cut.prt", cut.substr(0, cut.size() - 1));
  const OwnedStorage damaged(CFI_open_storage_file(folder.path() / "cut.prt", "R"));
  OwnedStorage root(CFI_open_storage_file(name, "W"));
  CFI_storage_t fast = CFI_open_storage(root.get(), "FastLoad", "W");
  CFI_storage_t part = CFI_open_storage(root.get(), "VR_PART", "N");
  CFI_stream_t direct = CFI_open_stream(fast, "JT", "N");
  CFI__write_to_stream(direct, 5, "first");
  EXPECT_EQ(CFI_ask_stream_stats(direct).size, 5U);
  write(root.get(), "released", "N", "r");
  const std::pair<std::function<void()>, int> rows[] = {
      {[&] { CFI_open_stream(fast, "PartIdentifier", "N"); }, 1021253},
      {[&] { CFI_open_stream(fast, "PartIdentifier", "R"); }, 1021251},
      {[&] { CFI_open_stream(fast, "PartIdentifier", "N"); }, 1021253},
      {[&] { CFI_copy_storage_element(root.get(), "released", root.get(), "copy"); }, 1021254},
      {[&] { CFI_copy_storage_element(root.get(), "FastLoad", root.get(), "copy"); }, 1021253},
      {[&] { CFI_copy_storage_element(damaged.get(), "cut", root.get(), "copy"); }, 1020023},
      {[&] { CFI_open_stream(root.get(), "copy", "R"); }, 1021251},
      {[&] { CFI_open_storage(root.get(), "copy", "R"); }, 1021251},
  };
  for (const auto& [call, code] : rows) EXPECT_EQ(std::atoi(escape_of(call).c_str()), code);
  EXPECT_EQ(CFI_close_stream(direct), 0);
  write(fast, "PartIdentifier", "N", "second");
  EXPECT_EQ(CFI_close_storage(part) + CFI_close_storage(fast) + CFI_close_storage(root.release()), 0);
  const OwnedStorage again(CFI_open_storage_file(name, "R"));
  const OwnedStorage read_fast(CFI_open_storage(again.get(), "FastLoad", "R"));
  EXPECT_EQ(read(read_fast.get(), "Structure") + read(read_fast.get(), "JT"), "directfirst");
  EXPECT_EQ(read(read_fast.get(), "PartIdentifier") + read(again.get(), "released"), "secondr");
}

TEST_F(CfiWriting, WritesWhatALinkLeadsToAndOnlyWhatMayBeWritten) {
  create();
  const std::string link = folder.path() / "link.prt";
  std::filesystem::create_symlink("part.prt", link);
  CFI_storage_t root = CFI_open_storage_file(link, "W");
  write(root, "linked", "N", "l");
  const auto open = [](const std::string& file, const char* options) {
    return std::atoi(escape_of([&] { CFI_open_storage_file(file, options); }).c_str());
  };
  EXPECT_EQ(open(name, "W"), 1021254) << "another writer has it open";
  EXPECT_EQ(open(name, "N"), 1021254);
  EXPECT_EQ(CFI_close_storage(root), 0);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  {
    const OwnedStorage again(CFI_open_storage_file(name, "R"));
    EXPECT_EQ(read(again.get(), "linked") + read(again.get(), "extra"), "lbuffered");
  }
  std::filesystem::permissions(name, std::filesystem::perms(0444));
  EXPECT_EQ(open(name, "W"), 1020059);
  EXPECT_EQ(open(name, "N"), 1020059);
  EXPECT_EQ(files_in_folder(), 2U);
}

TEST_F(CfiWriting, CopiesThePartHeaderIntoTheHeaderIndex) {
  std::string header("\x0A\x00", 2);
  header += "0123456789abcdefghij";
  ContainerBuilder builder;
  builder.stream("/Root/VR_PART/VR_PART", "old").part_header("abcd").write(name);
  const std::pair<std::string, std::size_t> rows[] = {
      {header + "and more", 22}, {header.substr(0, 21), 0}, {"no header", 0}};
  for (const auto& [bytes, length] : rows) {
    CFI_storage_t root = CFI_open_storage_file(name, "W");
    CFI_storage_t part = CFI_open_storage(root, "VR_PART", "W");
    {
      const OwnedStream stream(CFI_open_stream(part, "VR_PART", "W"));
      const int channel = CFI_convert_stream_to_fileid(stream.get());
      EXPECT_EQ(::ftruncate(channel, 0), 0);
      EXPECT_EQ(::pwrite(channel, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
      CFI_release_stream_fileid(stream.get(), channel);
    }
    EXPECT_EQ(CFI_close_storage(part) + CFI_close_storage(root), 0);
    const OwnedStorage again(CFI_open_storage_file(name, "R"));
    const auto copy = CFI_storage_file(again.get()).part_header();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(copy.data()), copy.size()), bytes.substr(0, length));
  }
}

TEST_F(CfiWriting, KnowsBeforeTheCommitThatTheHeaderIndexDoesNotFit) {
  WriterOptions options;
  options.maximum_header_size = 700;
  TopStorageWriter writer(folder.path() / "small.prt", options);
  writer.create_storage("/Root/FastLoad", {});
  writer.create_stream("/Root/FastLoad/JT");
  const auto add = [&] { writer.create_storage("/Root/images", {}); };
  EXPECT_EQ(escape_of(add),
            "1021253 Structured storage internal failure: the header index is longer than the header area");
  EXPECT_FALSE(writer.find("/Root/images"));
  writer.commit();
}

TEST_F(CfiWriting, LosesWhatIsNotCommittedAndUpdatesNoTruncatedFile) {
  create();
  const std::string whole = folder.read("part.prt");
  CFI_storage_t root = CFI_open_storage_file(name, "N");
  CFI_stream_t stream = CFI_open_stream(root, "extra", "N");
  EXPECT_NE(CFI_close_storage(root), 0) << "a stream is open";
  EXPECT_EQ(CFI_close_stream(stream), 0);
  EXPECT_EQ(folder.read("part.prt"), whole);
  EXPECT_EQ(files_in_folder(), 1U);
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
  const auto copy_to = [&](const char* from, const char* to) {
    return std::stoi(escape_of([&] { CFI_copy_storage_element(compound.get(), from, root, to); }));
  };
  EXPECT_EQ(copy_to("VR_PART", "copy"), 1021252) << "it exists already";
  EXPECT_EQ(copy_to("nothing", "x"), 1021251);
  EXPECT_EQ(CFI_close_storage(root), 0);
  const OwnedStorage again(CFI_open_storage_file(name, "R"));
  const OwnedStorage copy(CFI_open_storage(again.get(), "copy", "R"));
  const OwnedStorage original(CFI_open_storage(compound.get(), "VR_PART", "R"));
  for (const auto& element : CFI_ask_storage_contents(original.get()))
    EXPECT_EQ(read(copy.get(), element.name.c_str()), read(original.get(), element.name.c_str()));
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
  EXPECT_EQ(std::stoi(escape_of([&] { CFI_release_stream_fileid(stream, channel); })), 1020059);
  EXPECT_EQ(CFI_close_stream(stream) + CFI_close_storage(root), 0);
  const OwnedStorage again(CFI_open_storage_file(name, "R"));
  EXPECT_EQ(read(again.get(), "extra"), "abXYe");
}

TEST_F(CfiWriting, LeavesNoOldBytesOfAStreamThatShrinks) {
  CFI_storage_t root = CFI_open_storage_file(name, "N");
  CFI_storage_t fast = CFI_open_storage(root, "FastLoad", "N");
  for (const auto& [storage, element] : {std::pair(fast, "JT"), std::pair(root, "extra")}) {
    CFI_stream_t stream = CFI_open_stream(storage, element, "N");
    CFI__write_to_stream(stream, 2000, std::string(2000, 'o').data());
    const int channel = CFI_convert_stream_to_fileid(stream);
    EXPECT_EQ(::ftruncate(channel, 2), 0);
    EXPECT_EQ(::lseek(channel, 5, SEEK_SET), 5);
    CFI_release_stream_fileid(stream, channel);
    EXPECT_EQ(CFI_ask_stream_stats(stream).size, 2U);
    CFI__write_to_stream(stream, 1, "n");
    EXPECT_EQ(CFI_close_stream(stream), 0);
  }
  EXPECT_EQ(CFI_close_storage(fast) + CFI_close_storage(root), 0);
  const std::string bytes = folder.read("part.prt");
  const std::string wanted("oo\0\0\0n", 6);
  EXPECT_NE(bytes.find(wanted + wanted), std::string::npos);
  EXPECT_EQ(bytes.find("ooo"), std::string::npos);
}

TEST_F(CfiWriting, OpensFilesThroughLockBytesFactories) {
  create();
  const ReadOnlyLockBytesFactory for_reading;
  const ReadWriteLockBytesFactory for_update;
  char byte = 0;
  const auto read_only = make_lock_bytes(&for_reading, nullptr, name);
  EXPECT_EQ(read_only->read_at(0, &byte, 1), 1U);
  EXPECT_EQ(std::stoi(escape_of([&] { read_only->write_at(0, "x", 1); })), 1021254);
  const auto writable = make_lock_bytes(&for_reading, &for_update, name);
  EXPECT_EQ(writable->read_at(0, &byte, 1), 1U);
  const std::string longer(3 * FileChannel::kWindowSize, 'y');
  EXPECT_EQ(writable->write_at(0, longer.data(), longer.size()), longer.size());
  EXPECT_EQ(writable->read_at(longer.size() - 1, &byte, 1), 1U) << "the window is that of the grown file";
  EXPECT_EQ(byte, 'y');
  EXPECT_NE(escape_of([&] { make_lock_bytes(nullptr, nullptr, name); }), "");
}
