#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "morvel/curves/bezier_curve.h"
#include "tests/support/curve_probes.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

// The services that `Curve` gives to all its children.

namespace {

using namespace morvel_test;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/// Over [0, 1], with a cusp at (0, 0) for t = 1/2: x = s^3, y = s^2, s = 2 t - 1.
BezierCurve cusp() {
  return BezierCurve({{-1, 1, 0}, {1, -1.0 / 3, 0}, {-1, -1.0 / 3, 0}, {1, 1, 0}});
}

BSplineCurve polyline(std::vector<Point3D> points) {
  const int n = static_cast<int>(points.size());
  return {std::move(points), BSplineCurve::generateClampedKnots(n, 1), 1};
}

TEST(CurveDefaults, ArcLengthOfCuspsKinksAndLongCurves) {
  // Half of the cusp: the integral of s sqrt(9 s^2 + 4) over [0, 1].
  EXPECT_NEAR(cusp().getTotalLength(), 2 * (13 * std::sqrt(13.0) - 8) / 27, 1e-8);
  const BSplineCurve zigzag =
      polyline({{0, 0, 0}, {3, 4, 0}, {3, 4, 1e-9}, {3, -8, 5 + 1e-9}, {3, 4, 5 + 1e-9}});
  EXPECT_NEAR(zigzag.getTotalLength(), 5 + 1e-9 + 13 + 12, 1e-12);
  EXPECT_NEAR(zigzag.getArcLength(0.1, 0.8), 3 + 1e-9 + 13 + 2.4, 1e-12);
  const BezierCurve longParabola({{0, 0, 0}, {5e5, 0, 0}, {1e6, 1e6, 0}});
  EXPECT_NEAR(longParabola.getTotalLength(), 1e6 * (std::sqrt(5.0) / 2 + std::asinh(2.0) / 4),
              1e-8);
}

TEST(CurveDefaults, ArcLengthIsTheSameInEitherDirectionAndAddsUp) {
  const BSplineCurve curve = unevenCubic();
  EXPECT_EQ(curve.getArcLength(1, 0), curve.getArcLength(0, 1));
  EXPECT_EQ(curve.getArcLength(0.7, 0.7), 0);
  EXPECT_NEAR(curve.getArcLength(-1, 0.3) + curve.getArcLength(0.3, 4), curve.getTotalLength(),
              3e-8);
  EXPECT_NEAR(curve.getTotalLength(), sampledLength(curve, 200000), 1e-7);
}

TEST(CurveDefaults, ArcLengthEndsOnAnyNumbers) {
  const BezierCurve wild({{0, 0, 0}, {1e300, 0, 0}, {-1e300, 1e308, 0}, {1e308, 0, 0}});
  EXPECT_FALSE(std::isfinite(wild.getTotalLength()));
  EXPECT_TRUE(std::isnan(cusp().getArcLength(0, kNan)));
  BezierCurve nothing({{kNan, 0, 0}, {1, 1, 1}});
  EXPECT_TRUE(std::isnan(nothing.getTotalLength()));
  // A speed that is rounding noise: the work stays bounded.
  const BezierCurve noisy({{1e16, 0, 0}, {1e16 + 2, 1, 0}, {1e16, 2, 0}, {1e16 + 6, 3, 0}});
  EXPECT_GT(noisy.getTotalLength(), 3);
}

TEST(CurveDefaults, FrameOfALineAndOfACurve) {
  const BSplineCurve line = polyline({{0, 0, 0}, {0, 0, 5}});
  EXPECT_THAT(line.getTangent(0.5), IsNear(Vector3D(0, 0, 1), 0.0));
  EXPECT_EQ(line.getCurvature(0.5), 0);
  EXPECT_NEAR(line.getNormal(0.5).magnitude(), 1, 1e-15);
  EXPECT_NEAR(line.getNormal(0.5).dot({0, 0, 1}), 0, 1e-15);

  const BSplineCurve curve = unevenCubic();
  for (const double u : {-0.7, 0.6, 3.1}) {
    // How the tangent turns along the arc gives both curvature and normal.
    const double h = 1e-5;
    const Vector3D turn =
        (curve.getTangent(u + h) - curve.getTangent(u - h)) / curve.getArcLength(u - h, u + h);
    EXPECT_NEAR(curve.getCurvature(u), turn.magnitude(), 1e-5);
    EXPECT_THAT(curve.getNormal(u), IsNear(turn / turn.magnitude(), 1e-5));
  }
}

TEST(CurveDefaults, FrameVanishesWithTheDerivative) {
  const BSplineCurve still = polyline({{1, 1, 1}, {1, 1, 1}});
  EXPECT_EQ(still.getTangent(0.5).magnitude(), 0);
  EXPECT_EQ(still.getNormal(0.5).magnitude(), 0);
  EXPECT_EQ(still.getCurvature(0.5), 0);
  const BSplineCurve slow = polyline({{0, 0, 0}, {5e-5, 0, 0}});
  EXPECT_EQ(slow.getTangent(0.5).magnitude(), 0);  // below 1e-4
}

TEST(CurveDefaults, ContinuityIsJudgedEndToStart) {
  const NurbsCurve arc = quarterCircle();  // ends in (0, 1, 0), running to -x
  struct Case {
    const char* what;
    BezierCurve next;
    bool g0, g1, g2;
  };
  const Case cases[] = {
      {"apart", BezierCurve({{0, 1.001, 0}, {-1, 1, 0}}), false, false, false},
      {"at an angle", BezierCurve({{0, 1, 0}, {-1, 1.1, 0}}), true, false, false},
      {"backwards", BezierCurve({{0, 1, 0}, {1, 1, 0}}), true, false, false},
      {"straight on", BezierCurve({{0, 1, 0}, {-7, 1, 0}}), true, true, false},
      // Curvature 1/2 |P0 - 2 P1 + P2| ... / |P1 - P0|^2 of a parabola y = 1 - x^2 / 2 is 1.
      {"osculating parabola", BezierCurve({{0, 1, 0}, {-1, 1, 0}, {-2, -1, 0}}), true, true, true},
      {"bent to the other side", BezierCurve({{0, 1, 0}, {-1, 1, 0}, {-2, 3, 0}}), true, true,
       false},
      {"no direction", BezierCurve({{0, 1, 0}, {0, 1, 0}}), true, false, false},
  };
  for (const auto& [what, next, g0, g1, g2] : cases) {
    SCOPED_TRACE(what);
    EXPECT_EQ(arc.isG0ContinuousWith(next), g0);
    EXPECT_EQ(arc.isG1ContinuousWith(next), g1);
    EXPECT_EQ(arc.isG2ContinuousWith(next), g2);
  }
  const BSplineCurve a = polyline({{0, 0, 0}, {1, 2, 3}}), b = polyline({{1, 2, 3}, {3, 6, 9}});
  EXPECT_TRUE(a.isG2ContinuousWith(b));
  EXPECT_FALSE(b.isG0ContinuousWith(a));
}

TEST(CurveDefaults, PolylinesStayWithinTheTolerance) {
  const BSplineCurve cubic = unevenCubic();
  const BSplineCurve zigzag = polyline({{0, 0, 0}, {30, 40, 0}, {30, -40, 0}, {7, 7, 7}});
  const NurbsCurve arc = quarterCircle();
  for (const Curve* curve : {static_cast<const Curve*>(&cubic), static_cast<const Curve*>(&zigzag),
                             static_cast<const Curve*>(&arc)}) {
    for (const double tolerance : {0.1, 1e-3, 1e-5}) {
      for (const auto& line :
           {curve->tessellate(tolerance), curve->adaptiveTessellate(tolerance)}) {
        ASSERT_GE(line.size(), 2u);
        EXPECT_THAT(line.front(), IsNear(pointAt(*curve, 0), 0.0));
        EXPECT_THAT(line.back(), IsNear(pointAt(*curve, 1), 0.0));
        for (int i = 0; i <= 300; ++i)
          EXPECT_LE(distanceToPolyline(pointAt(*curve, i / 300.0), line), tolerance);
      }
    }
  }
  // A chord of the unit circle over the angle h misses it by 1 - cos(h / 2).
  const double fewest = kPi / 2 / (2 * std::acos(1 - 1e-5));
  EXPECT_LE(arc.adaptiveTessellate(1e-5).size(), 2 * fewest + 2);
  EXPECT_EQ(zigzag.adaptiveTessellate(1e-9).size(), 4u);
}

TEST(CurveDefaults, PointCountsAreBounded) {
  const NurbsCurve arc = quarterCircle();
  EXPECT_EQ(arc.tessellateUniform(2).size(), 2u);
  const std::vector<Point3D> five = arc.tessellateUniform(5);
  ASSERT_EQ(five.size(), 5u);
  EXPECT_THAT(five[3], IsNear(arc.evaluate(0.75), 0.0));
  for (const int count : {-5, 0, 1, kMaxUniformPoints + 1, std::numeric_limits<int>::max()})
    EXPECT_THROW(arc.tessellateUniform(count), std::invalid_argument);
  EXPECT_LE(arc.adaptiveTessellate(1e-300).size(),
            static_cast<std::size_t>(kMaxAdaptivePoints) + 2);
  for (const double tolerance : {0.0, -1.0, kNan}) {
    EXPECT_THROW(arc.tessellate(tolerance), std::invalid_argument);
    EXPECT_THROW(arc.adaptiveTessellate(tolerance), std::invalid_argument);
  }
  const BezierCurve nothing({{kNan, 0, 0}, {1, 1, 1}, {0, kNan, 0}});
  EXPECT_LE(nothing.adaptiveTessellate(1e-6).size(), 3u);
  EXPECT_LE(nothing.tessellate(1e-6).size(), 20u);
}

TEST(CurveDefaults, PendingTransformWaitsForApplyMatrix) {
  BSplineCurve curve = unevenCubic();
  const Point3D before = curve.evaluate(1);
  curve.setMatrix(shear());
  EXPECT_TRUE(curve.hasPendingTransform());
  EXPECT_THAT(curve.evaluate(1), IsNear(before, 0.0));
  EXPECT_TRUE(curve.clone()->hasPendingTransform());
  EXPECT_FALSE(curve.reverse()->hasPendingTransform());
  curve.applyMatrix();
  EXPECT_FALSE(curve.hasPendingTransform());
  EXPECT_THAT(curve.evaluate(1), IsNear(shear().transform(before), 1e-14));

  curve.setMatrix(Transform3D::translation({1, 0, 0}));
  curve.resetMatrix();
  curve.applyMatrix();
  EXPECT_THAT(curve.evaluate(1), IsNear(shear().transform(before), 1e-14));

  Transform3D broken;
  broken(0, 0) = kNan;
  curve.setMatrix(broken);
  EXPECT_THROW(curve.applyMatrix(), std::invalid_argument);
  EXPECT_THAT(curve.evaluate(1), IsNear(shear().transform(before), 1e-14));
}

TEST(CurveDefaults, ControlPolygonLength) {
  EXPECT_EQ(BezierCurve({{0, 0, 0}, {3, 4, 0}, {3, 4, 12}}).getControlPolygonLength(), 17);
  EXPECT_EQ(BezierCurve({{0, 0, 0}}).getControlPolygonLength(), 0);
}

}  // namespace
