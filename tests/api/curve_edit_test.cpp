#include <functional>

#include "tests/api/curve_interface.h"

namespace morvel_test {
namespace {

using trova_internal::getCurveAs;
using CurveEdit = CurveInterface;

const Curve& curveOf(int handle) {
  const Curve* curve = getCurveAs<Curve>(handle);
  if (!curve) throw std::runtime_error("no curve " + std::to_string(handle) + ": " + lastError());
  return *curve;
}

Point3D pointAtShare(const Curve& curve, double share) {
  const auto [start, end] = curve.getParameterInterval();
  return curve.evaluate(start + share * (end - start));
}

/// The piece is the stretch from u0 to u1 of the curve, on a linear image of the parameters.
void expectStretch(const Curve& piece, const Curve& curve, double u0, double u1) {
  for (const double share : {0.0, 0.17, 0.5, 0.8, 1.0})
    EXPECT_THAT(pointAtShare(piece, share), IsNear(curve.evaluate(u0 + share * (u1 - u0)), 1e-9));
}

TEST_F(CurveEdit, ReversingMakesANewCurveTheOtherWayRound) {
  for (const int handle : everyType()) {
    const int reversed = reverse_curve(handle);
    ASSERT_GT(reversed, handle) << lastError();
    for (const double share : {0.0, 0.3, 1.0})
      EXPECT_THAT(pointAtShare(curveOf(reversed), share),
                  IsNear(pointAtShare(curveOf(handle), 1 - share), 1e-9));
  }
}

// What a caller gets by handle is the curve he had.
TEST_F(CurveEdit, PartsAreExactOnTheirOwnStretch) {
  for (const int handle : everyType()) {
    SCOPED_TRACE(handle);
    const Curve& curve = curveOf(handle);
    const auto [start, end] = curve.getParameterInterval();
    const double u = start + 0.37 * (end - start), w = start + 0.81 * (end - start);
    int left = 0, right = 0;
    ASSERT_EQ(split_curve(handle, u, &left, &right), 0) << lastError();
    EXPECT_EQ(right, left + 1);
    expectStretch(curveOf(left), curve, start, u);
    expectStretch(curveOf(right), curve, u, end);
    const int part = trim_curve(handle, u, w);
    ASSERT_GT(part, 0) << lastError();
    expectStretch(curveOf(part), curve, u, w);
    EXPECT_GT(trim_curve(handle, start, end), 0);
    EXPECT_EQ(get_curve_type(part), get_curve_type(handle));
  }
  const int left = trim_curve(store(unevenCubic()), -1, 2.5);
  EXPECT_EQ(curveOf(left).getParameterInterval().start, -1);
  EXPECT_EQ(curveOf(left).getParameterInterval().end, 2.5);
}

TEST_F(CurveEdit, ASplitStoresBothPartsOrNone) {
  const int handle = line();
  g_next_curve_id = kLargestInt - 1;
  int left = -7, right = -7;
  EXPECT_EQ(split_curve(handle, 0.5, &left, &right), -4);
  EXPECT_EQ(lastError(), "Handle numbers are used up");
  EXPECT_EQ(get_curve_count(), 1);
  EXPECT_EQ(left, -7);
  EXPECT_EQ(right, -7);
}

TEST_F(CurveEdit, OffsetsLieToTheLeftOfTheTravel) {
  const int moved = create_curve_normal_offset(line(), 5, 0, 0, 2);
  EXPECT_THAT(curvePoint(moved, 0), IsNear(Point3D(-4, 3, 0), 1e-12));
  const int shrunk = create_curve_normal_offset(unitCircle(), 0.25, 0, 0, 1);
  EXPECT_NEAR(curveOf(shrunk).getTotalLength(), 2 * kPi * 0.75, 1e-8);
  for (const double u : {0.1, 0.6}) {
    const Curve& base = curveOf(store(planarWave()));
    EXPECT_THAT(
        curvePoint(offset(), u),
        IsNear(base.evaluate(u) + 0.25 * Vector3D::unitZ().cross(base.getTangent(u)), 1e-9));
  }
  const int along = create_curve_directional_offset(line(), 0, 0, -9, 2);
  EXPECT_THAT(curvePoint(along, 1), IsNear(Point3D(3, 4, -2), 1e-12));
}

TEST_F(CurveEdit, ExtensionsAreLongerByTheirLength) {
  for (const int handle : {line(), store(tiltedArc()), store(halfEllipse()), bezier(),
                           store(quarterCircle()), store(unevenCubic())}) {
    SCOPED_TRACE(handle);
    const Curve& curve = curveOf(handle);
    const double length = curve.getTotalLength();
    for (const int end : {0, 1}) {
      const int longer = extend_curve(handle, 0.5, end, 0);
      ASSERT_GT(longer, 0) << lastError();
      EXPECT_NEAR(curveOf(longer).getTotalLength(), length + 0.5, 1e-6);
      EXPECT_THAT(pointAtShare(curveOf(longer), 1 - end),
                  IsNear(pointAtShare(curve, 1 - end), 1e-9));
    }
  }
  const int arc = extend_curve(create_arc(0, 0, 0, 2, 0, 0, 1, 0, 1), 1, 1, 1);
  double properties[8];
  EXPECT_EQ(get_arc_properties(arc, properties, properties, properties, properties, properties + 3,
                               properties + 4),
            0);
  EXPECT_NEAR(properties[3], 1.5, 1e-12);
}

TEST_F(CurveEdit, ElevationKeepsTheShape) {
  for (const int handle : {bezier(), store(quarterCircle()), store(unevenCubic())}) {
    const int raised = elevate_curve_degree(handle, 2);
    ASSERT_GT(raised, 0) << lastError();
    EXPECT_EQ(get_curve_degree(raised), get_curve_degree(handle) + 2);
    expectStretch(curveOf(raised), curveOf(handle), curveOf(handle).getParameterInterval().start,
                  curveOf(handle).getParameterInterval().end);
  }
  const int circle = elevate_curve_degree(unitCircle(), 1);
  EXPECT_EQ(get_curve_type(circle), 5);
  EXPECT_EQ(get_curve_degree(circle), 3);
  for (const double u : {0.0, 0.1, 0.33, 0.9})
    EXPECT_NEAR(curvePoint(circle, u).distanceTo(Point3D::origin()), 1, 1e-12);
}

TEST_F(CurveEdit, ElevationHasACap) {
  for (const int handle : {bezier(), store(quarterCircle()), store(unevenCubic()), line()})
    printedBy([&] { EXPECT_EQ(elevate_curve_degree(handle, kLargestInt), -4); });
  EXPECT_EQ(get_curve_count(), 4);
}

TEST_F(CurveEdit, TransformsTakeTheMatrixRowByRow) {
  constexpr double m[] = {2, 0.5, 0, 1, 0, 1, 0, 2, 0, 0, -1, 3, 0, 0, 0, 1};
  for (const int handle : everyType()) {
    SCOPED_TRACE(handle);
    const int image = transform_curve(handle, m);
    ASSERT_GT(image, 0) << lastError();
    // The image of a reversed ellipse may run the other way, as its spline form does.
    const Curve& curve = curveOf(image);
    for (const double share : {0.0, 1.0}) {
      const Point3D p = pointAtShare(curveOf(handle), share);
      const Point3D q(2 * p.x() + 0.5 * p.y() + 1, p.y() + 2, 3 - p.z());
      EXPECT_LT(
          std::min(pointAtShare(curve, 0).distanceTo(q), pointAtShare(curve, 1).distanceTo(q)),
          1e-5);
    }
  }
}

TEST_F(CurveEdit, FitsKeepWhatTheyPromise) {
  const int handle = store(unevenCubic());
  double deviation = -1;
  const int rebuilt = rebuild_curve(handle, 9, 3, &deviation);
  ASSERT_GT(rebuilt, 0) << lastError();
  double out[30];
  EXPECT_EQ(get_control_points(rebuilt, out, 10), 9);
  const int simple = simplify_curve(handle, 0.05);
  ASSERT_GT(simple, 0) << lastError();
  double worstRebuilt = 0, worstSimple = 0;
  for (int i = 0; i <= 500; ++i) {
    const Point3D p = pointAtShare(curveOf(handle), i / 500.0);
    worstRebuilt = std::max(worstRebuilt, p.distanceTo(pointAtShare(curveOf(rebuilt), i / 500.0)));
    worstSimple = std::max(worstSimple, p.distanceTo(pointAtShare(curveOf(simple), i / 500.0)));
  }
  EXPECT_LE(worstRebuilt, 1.02 * deviation);
  EXPECT_GE(worstRebuilt, 0.9 * deviation);
  EXPECT_LE(worstSimple, 1.02 * 0.05);
  EXPECT_GT(rebuild_curve(unitCircle(), 12, 5, nullptr), 0);
}

TEST_F(CurveEdit, BadArgumentsAreRefusedAndNothingIsStored) {
  const int h = store(unevenCubic()), far = endless();
  int left = -7, right = -7;
  double deviation = -7, huge[16] = {};
  for (int i = 0; i < 16; i += 5)
    huge[i] = 1.7e308;
  std::vector<Refusal> refusals = {
      {-3, "reverse_curve: no curve has the handle 9", [] { return reverse_curve(9); }},
      {-1, "finite", [=] { return create_curve_normal_offset(h, kNaN, 0, 0, 1); }},
      {-4, "direction", [=] { return create_curve_normal_offset(h, 1, 0, 0, 0); }},
      {-1, "direction", [=] { return create_curve_directional_offset(h, 0, 0, 1e-5, 1); }},
      {-4, "finite", [=] { return create_curve_directional_offset(far, 1, 0, 0, 1e308); }},
      {-1, "null", [&] { return split_curve(h, 1, nullptr, &right); }},
      {-1, "u0 first", [=] { return trim_curve(h, 2, 1); }},
      {-1, "u0 first", [=] { return trim_curve(h, 1, 1); }},
      {-1, "u0 first", [=] { return trim_curve(h, -1.1, 1); }},
      {-1, "u0 first", [=] { return trim_curve(h, 1, 4.1); }},
      {-1, "length", [=] { return extend_curve(h, 0, 1, 0); }},
      {-1, "end", [=] { return extend_curve(h, 1, 2, 0); }},
      {-1, "mode", [=] { return extend_curve(h, 1, 1, -1); }},
      {-1, "times", [=] { return elevate_curve_degree(h, 0); }},
      {-6, "spline", [f = offset()] { return elevate_curve_degree(f, 1); }},
      {-6, "spline", [f = onSurface()] { return elevate_curve_degree(f, 1); }},
      {-4, "finite", [=, &huge] { return transform_curve(h, huge); }},
      {-1, "tolerance", [=] { return simplify_curve(h, 0); }},
      {-1, "count", [&] { return rebuild_curve(h, 3, 3, &deviation); }},
      {-1, "count", [&] { return rebuild_curve(h, kLargestInt, 3, &deviation); }},
      {-1, "degree", [&] { return rebuild_curve(h, 2000, 1000, &deviation); }},
  };
  for (const double u : {-1.0, 4.0, 5.0})
    refusals.push_back(
        {-1, "inside", [=, &left, &right] { return split_curve(h, u, &left, &right); }});
  expectRefusals(refusals);
  EXPECT_EQ(left, -7);
  EXPECT_EQ(right, -7);
  EXPECT_EQ(deviation, -7);
}

}  // namespace
}  // namespace morvel_test
