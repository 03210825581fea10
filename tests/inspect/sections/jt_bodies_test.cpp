#include "inspect/sections/jt_bodies.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "cfi/expanded_source.h"
#include "inspect/records/inspect_errors.h"
#include "tests/support/captured.h"
#include "tests/support/lz4_frame.h"
#include "tests/support/program_runner.h"
#include "tests/support/record_bytes.h"

namespace {

struct Body {
  std::uint64_t id;
  std::string bytes;
  std::optional<std::uint64_t> listed_offset = {};
};

std::string jt_stream(std::int32_t version, const std::vector<Body>& bodies, std::uint32_t partitions = 0) {
  const bool wide = version == 9;
  test_support::RecordBytes out(std::endian::little);
  out.u32(test_support::field(version)).u32(bodies.size());
  if (version > 7) out.u32(partitions);
  std::uint64_t offset = out.size() + bodies.size() * (wide ? 16 : 8);
  for (const Body& body : bodies) {
    const std::uint64_t listed = body.listed_offset.value_or(offset);
    if (wide) {
      out.u64(body.id).u64(listed);
    } else {
      out.u32(body.id).u32(listed);
    }
    offset += body.bytes.size();
  }
  for (const Body& body : bodies) out.raw(body.bytes);
  return out.bytes();
}

/// Lists and extracts in a fresh folder, which is the current one meanwhile.
class JtBodies : public testing::Test {
 protected:
  JtBodies() { std::filesystem::current_path(folder_.path()); }
  ~JtBodies() override { std::filesystem::current_path("/"); }

  std::string list(support::ByteSource& source, const char* name = "JT") {
    const auto output = test_support::captured([&] {
      try {
        inspect::list_jt_bodies(file_, source, name, &written_);
      } catch (const support::ErrorEscape& escape) {
        inspect::report_escape(file_, escape);
      }
    });
    errors_ = output.err;
    return output.out;
  }

  std::string list(const std::string& stream, const char* name = "JT") {
    support::MemorySource source(std::as_bytes(std::span(stream)));
    return list(source, name);
  }

  std::string written(const std::string& name) const {
    return folder_.has(name) ? folder_.read(name) : "(none)";
  }

  test_support::TemporaryFolder folder_;
  inspect::InspectOptions options_ = [] {
    inspect::InspectOptions options;
    options.extract_jt = true;
    options.print_banner = false;  // messages on standard error only
    return options;
  }();
  inspect::InspectFile file_{options_, "a.prt"};
  inspect::WrittenBodies written_;
  std::string errors_;
};

TEST_F(JtBodies, ListsAndWritesEachBody) {
  const std::string big(3'000'001, 'B');
  EXPECT_EQ(
      list(jt_stream(7, {{1, "one"}, {4294967295, big}})),
      "Part contains 2 JT bodies in the JT stream:\n   Id  Offset\n   --  ------\n 1 24\n 4294967295 27\n\n");
  EXPECT_EQ(written("jt_1.jt"), "one");
  EXPECT_TRUE(written("jt_-1.jt") == big);
  EXPECT_EQ(list(jt_stream(8, {{7, ""}, {8, "eight"}}, 3), "DisplayJT"),
            "Part contains 3 JT BodyPartition objects\nPart contains 2 JT bodies in the DisplayJT stream:\n"
            "   Id  Offset\n   --  ------\n 7 28\n 8 28\n\n");
  EXPECT_EQ(written("d_jt_7.jt"), "");
  EXPECT_EQ(written("d_jt_8.jt"), "eight");
  EXPECT_EQ(list(jt_stream(9, {{0x500000002, "first, longer"}, {2, "later"}})),
            "Part contains 2 JT bodies in the JT stream:\n   Id  Offset\n   --  ------\n 21474836482 44\n 2 "
            "57\n\n");
  EXPECT_EQ(written("jt_2.jt"), "later");
  EXPECT_EQ(list(jt_stream(9, {})),
            "Part contains 0 JT bodies in the JT stream:\n   Id  Offset\n   --  ------\n\n");
  EXPECT_FALSE(file_.failed) << errors_;
}

TEST_F(JtBodies, WritesTheSoundOnesAmongDamagedOffsets) {
  const struct {
    const char* what;
    std::size_t number;
    std::uint64_t offset;
    std::vector<std::string> written;
  } cases[] = {
      {"far outside", 1, 1ULL << 63U, {"firstsecondthirdlast", "(none)", "third", "last"}},
      {"before the table", 1, 0, {"(none)", "(none)", "third", "last"}},
      {"last one outside", 3, 5000, {"first", "second", "thirdlast", "(none)"}},
      {"first one outside", 0, UINT64_MAX, {"(none)", "second", "third", "last"}},
  };
  for (const auto& c : cases) {
    std::vector<Body> bodies = {{1, "first"}, {2, "second"}, {3, "third"}, {4, "last"}};
    bodies[c.number].listed_offset = c.offset;
    list(jt_stream(9, bodies));
    EXPECT_NE(errors_.find("impossible extent"), std::string::npos) << c.what;
    for (std::size_t i = 0; i < bodies.size(); ++i) {
      const std::string name = "jt_" + std::to_string(i + 1) + ".jt";
      EXPECT_EQ(written(name), c.written[i]) << c.what << ", body " << i + 1;
      std::filesystem::remove(name);
    }
  }
}

TEST_F(JtBodies, BodiesThatGoBackAndForthAreNotCopiedWithoutEnd) {
  constexpr std::size_t kBodies = 200;
  constexpr std::size_t kTableEnd = 12 + 16 * kBodies;
  constexpr std::size_t kSize = kTableEnd + kBodies - 1 + 10000;
  const std::pair<std::uint64_t, std::uint64_t> offsets[] = {{kTableEnd, 10000}, {kSize, UINT64_MAX}};
  for (const auto& [even, odd] : offsets) {
    std::vector<Body> bodies(kBodies, Body{7, "x"});
    bodies.back().bytes.assign(10000, 'y');
    for (std::size_t i = 0; i < kBodies; ++i) bodies[i].listed_offset = i % 2 == 0 ? even : odd;
    errors_.clear();
    list(jt_stream(9, bodies));
    EXPECT_NE(errors_.find("JT bodies in the JT stream overlap"), std::string::npos) << errors_;
    EXPECT_TRUE(file_.failed);
  }
}

TEST_F(JtBodies, NamesWhatIsReplacedAndCountsWhatIsTooMuch) {
  list(jt_stream(9, {{1, "one"}, {0x100000001, "other"}}));
  EXPECT_EQ(errors_, "vr_inspect: file jt_1.jt of JT body 1 of a.prt is replaced by JT body 4294967297\n");
  EXPECT_EQ(written("jt_1.jt"), "other");
  file_.name = "b.prt";
  list(jt_stream(9, {{1, "third"}}));
  EXPECT_NE(errors_.find("of JT body 4294967297 of a.prt is replaced"), std::string::npos) << errors_;
  EXPECT_FALSE(file_.failed);

  list(jt_stream(9, std::vector<Body>(30, {2, "", UINT64_MAX})));
  EXPECT_NE(errors_.find("20 more JT bodies in the JT stream have an impossible extent"), std::string::npos);
  EXPECT_EQ(std::ranges::count(errors_, '\n'), 22);
  list(jt_stream(7, std::vector<Body>(1200, {3, ""})));
  EXPECT_NE(errors_.find("JT bodies in the JT stream are too many"), std::string::npos);
}

TEST_F(JtBodies, ReportsWhatCannotBeReadOrWritten) {
  std::filesystem::create_directory("jt_1.jt");
  std::filesystem::create_symlink("/dev/full", "jt_2.jt");
  std::filesystem::create_symlink("a.prt", "jt_3.jt");
  file_.identity = [&] {
    struct stat found = {};
    EXPECT_EQ(::stat(folder_.write("a.prt", "the part").c_str(), &found), 0);
    return support::FileIdentity{found.st_dev, found.st_ino};
  }();
  list(jt_stream(8, {{1, "one"}, {2, "two"}, {3, "three"}, {4, "four"}}));
  for (const char* text :
       {"could not open jt_1.jt\n", "write failed\n", "can not open output file jt_3.jt\n"}) {
    EXPECT_NE(errors_.find(text), std::string::npos) << text;
  }
  EXPECT_EQ(written("a.prt"), "the part");
  EXPECT_EQ(written("jt_4.jt"), "four");
  EXPECT_TRUE(file_.failed);

  const std::string whole = jt_stream(9, {{5, "five"}});
  for (std::size_t length = 0; length < whole.size() - 4; ++length) {
    file_.failed = false;
    list(whole.substr(0, length));
    EXPECT_TRUE(file_.failed) << "cut to " << length;
  }
  list(jt_stream(9, {}).replace(4, 4, "\xFF\xFF\xFF\xFF"));
  EXPECT_NE(errors_.find("table of 4294967295 JT bodies"), std::string::npos) << errors_;
}

TEST_F(JtBodies, CountsExpandedBytesOfAFramedStream) {
  const std::string body(200'000, 'x');
  const std::string frame = test_support::lz4_frame(jt_stream(9, {{1, "one"}, {2, body}}));
  support::MemorySource inner(std::as_bytes(std::span(frame)));
  VRX::System::CFI::ExpandedSource expanded(inner, "JT");
  list(expanded);
  EXPECT_TRUE(written("jt_2.jt") == body);
  EXPECT_FALSE(file_.failed);

  const std::string cut = frame.substr(0, frame.size() - 1);
  support::MemorySource cut_inner(std::as_bytes(std::span(cut)));
  VRX::System::CFI::ExpandedSource damaged(cut_inner, "JT");
  file_.disk_length = cut.size();
  EXPECT_NE(list(damaged).find(" 2 "), std::string::npos);
  EXPECT_NE(errors_.find("compressed stream JT ends with status 1020023"), std::string::npos) << errors_;
  EXPECT_TRUE(file_.failed);
  const std::string part = written("jt_2.jt");
  EXPECT_GT(part.size(), 100'000U);
  EXPECT_TRUE(body.starts_with(part));
}

}  // namespace
