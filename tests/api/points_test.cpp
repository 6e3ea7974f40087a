#include "tests/api/kernel_session.h"

namespace morvel_test {
namespace {

using Points = KernelSession;

TEST_F(Points, AreStoredReadAndDeletedWithALineEach) {
  const auto printed = printedBy([] {
    EXPECT_EQ(create_point(1.5, -2, 1e-7), 2000);
    EXPECT_EQ(create_point(0, 0, 0), 2001);
    EXPECT_EQ(delete_point(2001), 0);
    EXPECT_EQ(create_point(1, 1, 1), 2002);
    EXPECT_EQ(clear_all_points(), 2);
    EXPECT_EQ(create_point(4, 5, 6), 2000);
  });
  EXPECT_EQ(printed.out,
            "✅ Created point: (1.5, -2, 1e-07) with handle 2000\n"
            "✅ Created point: (0, 0, 0) with handle 2001\n"
            "✅ Deleted point 2001\n"
            "✅ Created point: (1, 1, 1) with handle 2002\n"
            "✅ Cleared 2 points\n"
            "✅ Created point: (4, 5, 6) with handle 2000\n");
  EXPECT_EQ(printed.err, "");
  double x = 0, y = 0, z = 0;
  EXPECT_EQ(get_point_coordinates(2000, &x, &y, &z), 0);
  EXPECT_EQ(x, 4);
  EXPECT_EQ(y, 5);
  EXPECT_EQ(z, 6);
}

TEST_F(Points, RefuseBadInput) {
  double x = 7, y = 7, z = 7;
  const auto printed = printedBy([&] {
    EXPECT_EQ(create_point(kNaN, 0, 0), -1);
    EXPECT_EQ(create_point(0, kInfinity, 0), -1);
    EXPECT_EQ(create_point(0, 0, -kInfinity), -1);
    EXPECT_EQ(delete_point(2000), -3);
    EXPECT_EQ(get_point_coordinates(2000, &x, &y, &z), -3);
    EXPECT_EQ(get_point_coordinates(2000, nullptr, &y, &z), -1);
    EXPECT_EQ(get_point_coordinates(2000, &x, nullptr, &z), -1);
    EXPECT_EQ(get_point_coordinates(2000, &x, &y, nullptr), -1);
  });
  EXPECT_EQ(printed.out, "");
  EXPECT_EQ(x, 7);
  printedBy([] { EXPECT_EQ(create_point(0, 0, 0), 2000) << "a refusal takes no number"; });
}

}  // namespace
}  // namespace morvel_test
