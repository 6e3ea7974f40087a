#include "tests/api/curve_interface.h"

namespace morvel_test {
namespace {

using testing::ElementsAre;

using CurveAccess = CurveInterface;

TEST_F(CurveAccess, ReadsIntervalsKnotsAndWeights) {
  double start = 9, end = 9;
  ASSERT_EQ(get_curve_parameter_interval(store(unevenCubic()), &start, &end), 0);
  EXPECT_THAT((std::vector{start, end}), ElementsAre(-1, 4));
  ASSERT_EQ(get_curve_parameter_interval(line(), &start, &end), 0);
  EXPECT_THAT((std::vector{start, end}), ElementsAre(0, 1));

  const int rational = store(quarterCircle());
  double values[6];
  int count = 0;
  ASSERT_EQ(get_curve_knot_vector(rational, values, 6, &count), 0);
  EXPECT_THAT(values, ElementsAre(0, 0, 0, 1, 1, 1));
  ASSERT_EQ(get_curve_weights(rational, values, 6, &count), 0);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(values[1], std::sqrt(0.5));

  Guarded<double> small(5);
  EXPECT_EQ(get_curve_knot_vector(rational, small.data(), 5, &count), -5);
  EXPECT_EQ(count, 6);
  EXPECT_EQ(get_curve_weights(rational, small.data(), 2, &count), -5);
  EXPECT_EQ(count, 3);
  EXPECT_TRUE(small.isUntouched());
  EXPECT_EQ(get_curve_knot_vector(line(), values, 6, &count), -7);
  EXPECT_EQ(get_curve_weights(store(unevenCubic()), values, 6, &count), -6);
}

TEST_F(CurveAccess, MeasuresAndSearches) {
  double length = 0, lower[3], upper[3], t = -1;
  ASSERT_EQ(get_curve_length(store(quarterCircle()), &length), 0);
  EXPECT_NEAR(length, kPi / 2, 1e-7);
  ASSERT_EQ(get_curve_bounding_box(unitCircle(), lower, upper), 0);
  EXPECT_THAT(Point3D(lower[0], lower[1], lower[2]), IsNear(Point3D(-1, -1, 0), 1e-9));
  EXPECT_THAT(Point3D(upper[0], upper[1], upper[2]), IsNear(Point3D(1, 1, 0), 1e-9));
  ASSERT_EQ(get_curve_closest_parameter(line(), 3, 0, 7, &t), 0);  // (0, 0, 0) to (3, 4, 0)
  EXPECT_NEAR(t, 9.0 / 25, 1e-12);
}

TEST_F(CurveAccess, MovesPointsInPlaceAndLeavesCopiesAlone) {
  for (const int curve : {bezier(), store(unevenCubic()), store(quarterCircle())}) {
    const int copy = copy_curve(curve);
    double start = 0, end = 0;
    ASSERT_EQ(get_curve_parameter_interval(curve, &start, &end), 0);
    const Point3D before = curvePoint(curve, start);
    ASSERT_EQ(modify_curve_control_point(curve, 0, 5, 6, 7), 0);
    EXPECT_THAT(curvePoint(curve, start), IsNear(Point3D(5, 6, 7), 1e-12));
    EXPECT_THAT(curvePoint(copy, start), IsNear(before, 0.0));
  }
}

TEST_F(CurveAccess, RefusesBadInput) {
  const int curve = bezier(), straight = line();
  double value, triple[3];
  int count;
  expectRefusals({
      {-1, "index out of range", [&] { return modify_curve_control_point(curve, 4, 0, 0, 0); }},
      {-1, "index out of range", [&] { return modify_curve_control_point(curve, -1, 0, 0, 0); }},
      {-1, "must be finite", [&] { return modify_curve_control_point(curve, 0, 0, kNaN, 0); }},
      {-6, "does not support", [&] { return modify_curve_control_point(straight, 0, 0, 0, 0); }},
      {-3, "handle 7", [&] { return modify_curve_control_point(7, 0, 0, 0, 0); }},
      {-3, "handle 7", [&] { return copy_curve(7); }},
      {-3, "handle 7", [&] { return get_curve_length(7, &value); }},
      {-1, "null", [&] { return get_curve_length(curve, nullptr); }},
      {-1, "null", [&] { return get_curve_bounding_box(curve, triple, nullptr); }},
      {-1, "null", [&] { return get_curve_parameter_interval(curve, nullptr, &value); }},
      {-1, "null", [&] { return get_curve_knot_vector(curve, nullptr, 1, &count); }},
      {-1, "must be finite",
       [&] { return get_curve_closest_parameter(curve, 0, 0, kInfinity, &value); }},
  });
}

}  // namespace
}  // namespace morvel_test
