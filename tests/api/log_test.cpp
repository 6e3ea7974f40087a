#include "tests/api/kernel_session.h"

namespace morvel_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Lines {
  std::vector<std::string> texts;
};

void keep(int level, const char* line, void* user) {
  static_cast<Lines*>(user)->texts.push_back(std::to_string(level) + " " + line);
}

void restore(int, const char*, void*) { set_log_callback(nullptr, nullptr); }

class Log : public KernelSession {
 protected:
  void TearDown() override {
    set_log_callback(nullptr, nullptr);
    set_log_level(1);
    KernelSession::TearDown();
  }
};

TEST_F(Log, LinesGoToTheCallbackInsteadOfTheStreams) {
  Lines lines;
  const Printed printed = printedBy([&] {
    set_log_callback(keep, &lines);
    create_point(1, 2, 3);
    get_surface_mesh(1, 5);  // keeps no last error
    replace_curve_handle(1, 2);
    set_log_callback(nullptr, nullptr);
    delete_point(2000);
  });
  EXPECT_THAT(lines.texts, ElementsAre("1 ✅ Created point: (1, 2, 3) with handle 2000",
                                       "3 ❌ Kernel not initialized",
                                       "1 🔄 REPLACE_CURVE_HANDLE: Replacing 1 with 2",
                                       "3 ❌ REPLACE_CURVE_HANDLE: new_handle 2 not found"));
  EXPECT_EQ(printed.out, "✅ Deleted point 2000\n");
  EXPECT_EQ(printed.err, "");
}

TEST_F(Log, LevelsDropWhatIsBelow) {
  Lines lines;
  set_log_callback(keep, &lines);
  EXPECT_EQ(set_log_level(3), 0);
  create_point(1, 2, 3);
  EXPECT_THAT(lines.texts, IsEmpty());
  get_surface_mesh(1, 5);
  EXPECT_EQ(lines.texts.size(), 1u);
  EXPECT_EQ(set_log_level(0), 0);
  EXPECT_EQ(set_log_level(4), -1);
  EXPECT_EQ(set_log_level(-1), -1);
  lines.texts.clear();
  sphere();
  EXPECT_THAT(lines.texts, testing::Contains(testing::StartsWith("0 surface operation: ")));
}

TEST_F(Log, SilenceNestsAndLeavesLevelAndCallback) {
  Lines lines;
  set_log_callback(keep, &lines);
  set_log_level(3);
  EXPECT_EQ(mute_log(), 1);
  EXPECT_EQ(mute_log(), 2);
  EXPECT_EQ(unmute_log(), 1);
  get_surface_mesh(1, 5);
  EXPECT_THAT(lines.texts, IsEmpty());
  EXPECT_EQ(unmute_log(), 0);
  get_surface_mesh(1, 5);
  create_point(1, 2, 3);
  EXPECT_THAT(lines.texts, ElementsAre("3 ❌ Kernel not initialized"));
  EXPECT_EQ(unmute_log(), -1);
}

TEST_F(Log, ACallbackMayTakeItselfOut) {
  set_log_callback(restore, nullptr);
  const Printed printed = printedBy([] {
    create_point(1, 2, 3);
    create_point(1, 2, 3);
  });
  EXPECT_EQ(printed.out, "✅ Created point: (1, 2, 3) with handle 2001\n");
}

}  // namespace
}  // namespace morvel_test
