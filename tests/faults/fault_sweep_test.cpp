#include <gtest/gtest.h>

#include <cerrno>
#include <iostream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/container_builder.h"
#include "tests/support/lz4_frame.h"
#include "tests/support/object_builder.h"
#include "tests/support/part_builder.h"
#include "tests/support/program_runner.h"
#include "tests/support/record_bytes.h"
#include "tests/support/solid_builder.h"

namespace {

namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;

enum class Effect { failure, none, signal };

/// Strikes every call of one kind in turn; see fault_injection.cpp.
struct Fault {
  std::string call;
  std::string kind;
  int error = 0;
  Effect effect = Effect::failure;
  int piece = 0;
};

const Fault kFaults[] = {{"alloc", "fail", ENOMEM},
                         {"alloc", "lasting", ENOMEM},
                         {"open", "fail", EMFILE},
                         {"fstat", "fail", EIO},
                         {"read", "fail", EIO},
                         {"read", "lasting", EIO},
                         {"read", "end"},
                         {"read", "shrink"},
                         {"read", "fail", EINTR, Effect::none},
                         {"write", "fail", ENOSPC},
                         {"write", "lasting", EIO, Effect::failure, 1000},
                         {"write", "fail", EINTR, Effect::none, 10000},
                         {"close", "fail", EIO},
                         {"open", "signal", 0, Effect::signal},
                         {"fstat", "signal", 0, Effect::signal},
                         {"stat", "signal", 0, Effect::signal},
                         {"read", "signal", 0, Effect::signal},
                         {"write", "signal", 0, Effect::signal, 10000},
                         {"close", "signal", 0, Effect::signal}};

bool has(const std::string& text, const std::string& piece) { return text.find(piece) != std::string::npos; }

std::string noise(std::size_t size, int seed) {
  std::minstd_rand random(static_cast<unsigned>(seed));
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

/// Longer than what the reader keeps in memory, so that the reports at the end read the start again.
std::string long_part_stream() {
  test_support::PartBuilder part;
  part.add(test_support::object_partition(1, 1, {}));
  for (int id = 10; id < 16; ++id) {
    const test_support::SolidPlan solid = {.block = {.data = noise(120000, id)}, .compressed = id > 12};
    part.add({.id = id, .type = 10, .bytes = solid_partition(solid)});
  }
  return part.build();
}

std::string container_of(const std::string& part_stream) {
  test_support::RecordBytes bodies(std::endian::little);
  bodies.u32(7).u32(2).u32(1).u32(24).u32(2).u32(6000).raw(noise(12000, 3));
  test_support::ContainerBuilder builder;
  builder.stream("/Root/VR_PART/VR_PART", part_stream).stream("/Root/JT", bodies.bytes());
  return builder.stream("/Root/VR_PART/COMPATIBILITY", "KX 2506\n").bytes();
}

std::string part_named(const std::string& name) {
  if (name == "long.prt") return container_of(long_part_stream());
  if (name == "packed.prt") return container_of(test_support::lz4_frame(long_part_stream()));
  return test_support::read_file(test_support::sample(name));
}

/// One command line, which is run in a folder of its own, sound and with faults.
class Program {
 public:
  explicit Program(const std::string& command_line) {
    std::istringstream words(command_line);
    for (std::string word; words >> word;) arguments_.push_back(word);
    part_bytes_ = part_named(arguments_.back());
    folder_.write(arguments_.back(), part_bytes_);
    run({}, 0);
    sound_ = std::move(result_);
    sound_files_ = std::move(files_);
    EXPECT_EQ(sound_.status, 0) << sound_.err;
  }

  /// The number of calls that can be struck.
  int calls(const Fault& fault) {
    run(fault, 0);
    EXPECT_TRUE(is_as_sound());
    return calls_;
  }

  void strike(const Fault& fault, int at) {
    run(fault, at);
    EXPECT_EQ(descriptors_left_, 0);
    for (const auto& [name, bytes] : files_) {
      const bool is_whole = sound_files_.contains(name) && bytes == sound_files_.at(name);
      EXPECT_TRUE(is_whole || (fault.effect == Effect::failure && has(result_.err, name))) << name;
    }
    if (fault.effect == Effect::signal) {
      EXPECT_EQ(result_.status, 1);
      EXPECT_EQ(result_.err, "**** Caught signal: 15, exiting\n");
      EXPECT_TRUE(sound_.out.starts_with(result_.out));
    } else if (fault.effect == Effect::none || result_.status == 0) {
      EXPECT_TRUE(is_as_sound());
    } else {
      EXPECT_EQ(result_.status, 1);
      EXPECT_TRUE(!result_.err.empty() || has(result_.out, "The file appears to have been truncated.\n"));
      EXPECT_FALSE(has(result_.err, "Caught signal"));
      EXPECT_FALSE(has(result_.out, "No corruptions identified"));
    }
    if (testing::Test::HasFailure()) std::cout << "output:\n" << result_.out << "errors:\n" << result_.err;
  }

 private:
  bool is_as_sound() const {
    return result_.status == 0 && result_.out == sound_.out && result_.err == sound_.err &&
           files_ == sound_files_;
  }

  void run(const Fault& fault, int at) {
    const std::string report = (reports_.path() / "report").string();
    result_ = test_support::run_program(
        arguments_, folder_.path(),
        {std::string("LD_PRELOAD=") + VRII_FAULT_LIBRARY, "FAULT_CALL=" + fault.call,
         "FAULT_KIND=" + fault.kind, "FAULT_AT=" + std::to_string(at),
         "FAULT_ERRNO=" + std::to_string(fault.error), "FAULT_PIECE=" + std::to_string(fault.piece),
         "FAULT_REPORT=" + report});
    calls_ = descriptors_left_ = 0;
    if (fs::exists(report))
      std::istringstream(test_support::read_file(report)) >> calls_ >> descriptors_left_;
    fs::remove(report);
    folder_.write(arguments_.back(), part_bytes_);  // it may have shrunk
    files_.clear();
    for (const auto& entry : fs::directory_iterator(folder_.path())) {
      const std::string name = entry.path().filename().string();
      if (name == arguments_.back()) continue;
      files_[name] = folder_.read(name);
      fs::remove(entry.path());
    }
  }

  std::vector<std::string> arguments_;
  std::string part_bytes_;
  test_support::ProgramResult sound_;
  Files sound_files_;
  const test_support::TemporaryFolder folder_;
  const test_support::TemporaryFolder reports_;
  test_support::ProgramResult result_;
  Files files_;
  int calls_ = 0;
  int descriptors_left_ = 0;
};

class FaultSweep : public testing::TestWithParam<std::string> {};

TEST_P(FaultSweep, EveryFaultEndsInAReport) {
  if (std::string(VRII_FAULT_LIBRARY).empty()) GTEST_SKIP() << "this build injects no faults";
  Program program(GetParam());
  for (const Fault& fault : kFaults) {
    const int calls = program.calls(fault);
    const int step = calls <= 100 ? 1 : calls <= 1000 ? 7 : 31;
    // The very first is the C++ run-time's own reserve: without it a later lack of memory cannot be thrown.
    const int first = fault.call == "alloc" && fault.kind == "lasting" ? 2 : 1;
    for (int at = first; at <= calls && !HasFailure(); at += step) {
      SCOPED_TRACE(fault.kind + " of " + fault.call + " " + std::to_string(at));
      program.strike(fault, at);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Runs, FaultSweep,
                         testing::Values("-full bracket.prt", "-full -trace gearbox.prt",
                                         "-feature_toggle_info -refs framed.prt", "long.prt",
                                         "-bs packed.prt", "-scan long.prt", "-scan history.prt",
                                         "-check_checksums long.prt", "-storages gearbox.prt",
                                         "-storages -compatibility long.prt", "-extract_all long.prt",
                                         "-extract_all solids_le.prt", "-extract_jt long.prt",
                                         "-extract_stream JT jt.out long.prt"));

}  // namespace
