#include "inspect/sections/filing_history.h"

#include <gtest/gtest.h>

#include "inspect/sections/machine_name.h"
#include "inspect/sections/section_sink.h"
#include "tests/support/object_builder.h"
#include "tests/support/part_session.h"

namespace {

using namespace test_support;

struct History : inspect::SectionSink {
  void take_filing_history(const inspect::FilingHistory& history) override {
    const inspect::TextPool& texts = history.om.texts;
    history.saves.visit([&](const auto& program, const auto& save) {
      ((saves += texts[save.user_name]) += texts[program.program_version]) += ' ';
    });
  }
  std::string saves;
};

History history_of(PartSession& session) {
  History history;
  session.read_list().run([&](inspect::InspectFile& file) { read_filing_history(file, history); });
  return history;
}

TEST(FilingHistory, IsOldestFirstInEitherDirectionOfTheChains) {
  using Times = std::vector<std::int32_t>;
  // Times of the saves of the first program, which are named a, b, ..., and of the second, named on.
  const std::tuple<Times, Times, const char*> cases[] = {{{100, 0}, {200}, "a1 b1 c2 "},
                                                         {{100, 0}, {50}, "c2 b1 a1 "},
                                                         {{100, 50, 0}, {200}, "b1 c1 a1 d2 "},
                                                         {{0, 300}, {100, 100}, "d2 c2 b1 a1 "},
                                                         {{}, {0, 0}, "b2 a2 "},
                                                         {{7, 7}, {7}, "a1 b1 c2 "}};
  for (const auto& [first, second, order] : cases) {
    ObjectPlan plan;
    plan.programs = {{"1", {}}, {"2", {}}};
    std::string name = "a";
    for (const Times* times : {&first, &second}) {
      for (const std::int32_t time : *times) {
        plan.programs[times == &second].saves.push_back({.user_name = name, .time = time});
        ++name[0];
      }
    }
    PartSession session(PartBuilder().add(object_partition(4, 1, plan)).build());
    EXPECT_EQ(history_of(session).saves, order);
  }
}

TEST(FilingHistory, NeverFailsTheFile) {
  ObjectPlan bad;
  bad.classes[0].schema = 5;
  PartSession session(PartBuilder().add(object_partition(1, 1, bad)).build());
  session.read_list().run([&](inspect::InspectFile& file) { read_filing_history(file, session.report()); });
  EXPECT_EQ(session.output().out,
            "  The history of partition 1 cannot be read: bad schema index 5 - n schemas 1\n");
  EXPECT_FALSE(session.verdict().failed());
  EXPECT_EQ(inspect::find_machine_name(session.file()), "x86_64 Linux");
}

}  // namespace
