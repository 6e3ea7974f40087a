#include "morvel/curves/bezier_curve.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "tests/support/curve_probes.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

namespace {

using namespace morvel_test;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/// x = t, y = t^2, z = t^3.
BezierCurve twistedCubic() {
  return BezierCurve({{0, 0, 0}, {1.0 / 3, 0, 0}, {2.0 / 3, 1.0 / 3, 0}, {1, 1, 1}});
}

Point3D power(double t) { return {t, t * t, t * t * t}; }

TEST(BezierCurve, NeedsAPoint) {
  try {
    BezierCurve({});
    FAIL();
  } catch (const std::invalid_argument& fault) {
    EXPECT_STREQ(fault.what(), "Invalid Bezier curve parameters");
  }
  const BezierCurve point({{1, 2, 3}});
  EXPECT_EQ(point.getDegree(), 0);
  EXPECT_THAT(point.evaluate(0.4), IsNear(Point3D(1, 2, 3), 0.0));
  EXPECT_FALSE(point.isValid());
}

TEST(BezierCurve, TwistedCubicHasItsPowersAndDerivatives) {
  const BezierCurve curve = twistedCubic();
  for (const double t : {0.0, 0.3, 0.5, 1.0, -0.5, 1.7}) {
    EXPECT_THAT(curve.evaluate(t), IsNear(power(t), 1e-14));
    const auto d = curve.evaluateDerivatives(t, 5);
    EXPECT_THAT(d[1], IsNear(Vector3D(1, 2 * t, 3 * t * t), 1e-14));
    EXPECT_THAT(d[2], IsNear(Vector3D(0, 2, 6 * t), 1e-14));
    EXPECT_THAT(d[3], IsNear(Vector3D(0, 0, 6), 1e-14));
    EXPECT_EQ(d[4].magnitude() + d[5].magnitude(), 0.0);
  }
  EXPECT_TRUE(curve.evaluateDerivatives(0.5, -1).empty());
}

TEST(BezierCurve, TrimSplitReverseAndElevationAreExact) {
  const BezierCurve curve = twistedCubic();
  const auto part = curve.trim(0.2, 0.9);
  const auto [first, second] = curve.split(0.3);
  const auto back = curve.reverse();
  const auto high = curve.elevateDegree(4);
  EXPECT_EQ(high->getDegree(), 7);
  for (const double t : {0.0, 0.25, 0.6, 1.0}) {
    EXPECT_THAT(part->evaluate(t), IsNear(power(0.2 + 0.7 * t), 1e-15));
    EXPECT_THAT(first->evaluate(t), IsNear(power(0.3 * t), 1e-15));
    EXPECT_THAT(second->evaluate(t), IsNear(power(0.3 + 0.7 * t), 1e-15));
    EXPECT_THAT(back->evaluate(t), IsNear(power(1 - t), 1e-15));
    EXPECT_THAT(high->evaluate(t), IsNear(power(t), 1e-15));
  }
  EXPECT_THROW(curve.split(1.0), std::invalid_argument);
  EXPECT_THROW(curve.trim(0.5, 1.5), std::invalid_argument);
  EXPECT_THROW(curve.trim(kNan, 1), std::invalid_argument);
  EXPECT_THROW(curve.elevateDegree(998), std::invalid_argument);
  EXPECT_THROW(curve.elevateDegree(-1), std::invalid_argument);
}

TEST(BezierCurve, MeasuresAndFindsTheNearestPoint) {
  // The parabola y = x^2 over [0, 1]: sqrt(5) / 2 + asinh(2) / 4.
  const BezierCurve parabola({{0, 0, 0}, {0.5, 0, 0}, {1, 1, 0}});
  EXPECT_NEAR(parabola.getTotalLength(), std::sqrt(5.0) / 2 + std::asinh(2.0) / 4, 1e-9);
  EXPECT_NEAR(parabola.getCurvature(0), 2, 1e-14);
  // The normal at x = 0.5 is (-1, 1) / sqrt(2), and no other point is as near.
  EXPECT_NEAR(parabola.getClosestParameter({0.4, 0.35, 0}), 0.5, 1e-9);
  EXPECT_EQ(parabola.getClosestParameter({-1, -1, 0}), 0.0);
}

TEST(BezierCurve, PointsChangeUnderControl) {
  BezierCurve curve = twistedCubic();
  curve.setControlPoint(0, {-1, 0, 0});
  EXPECT_THAT(curve.evaluate(0), IsNear(Point3D(-1, 0, 0), 0.0));
  EXPECT_THROW(curve.setControlPoint(4, {0, 0, 0}), std::out_of_range);
  EXPECT_THROW(curve.setControlPoint(0, {0, kNan, 0}), std::invalid_argument);
  const auto image = curve.transform(shear());
  EXPECT_THAT(image->evaluate(0.4), IsNear(shear().transform(curve.evaluate(0.4)), 1e-14));
  curve.applyTransformToGeometry(shear());
  EXPECT_THAT(curve.evaluate(0.4), IsNear(image->evaluate(0.4), 0.0));
}

}  // namespace
