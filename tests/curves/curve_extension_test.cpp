#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>

#include "morvel/curves/bezier_curve.h"
#include "morvel/curves/internal/curve_extension.h"
#include "tests/support/captured_streams.h"
#include "tests/support/curve_probes.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

namespace {

using namespace morvel_test;
using testing::HasSubstr;

NurbsCurve wildCubic() {
  const BSplineCurve base = unevenCubic();
  return {base.getControlPoints(), {1, 3, 0.2, 5, 1, 0.4, 2}, base.getKnotVector(), 3};
}

/// Without clamped ends.
BSplineCurve floatingQuadratic() {
  return {{{0, 0, 0}, {1, 2, 0}, {2, -1, 1}, {4, 0, 0}}, {0, 1, 2.5, 3, 4.5, 5, 7}, 2};
}

std::vector<std::unique_ptr<Curve>> splines() {
  std::vector<std::unique_ptr<Curve>> all;
  all.push_back(unevenCubic().clone());
  all.push_back(wildCubic().clone());
  all.push_back(floatingQuadratic().clone());
  all.push_back(quarterCircle().clone());
  return all;
}

class CurveExtension : public testing::Test {
 protected:
  CapturedStreams streams_;
};

// Over the old interval the curve is the old one, beyond it the old polynomial goes on, and the arc
// length of the new part is the one asked for.
TEST_F(CurveExtension, NaturalContinuesTheEndPolynomialExactly) {
  for (const auto& curve : splines()) {
    const auto [start, end] = curve->getParameterInterval();
    for (const double length : {0.01, 0.7, 1.3}) {
      for (const CurveEnd at : {CurveEnd::Start, CurveEnd::End}) {
        const auto longer = curve->extend(length, at, ExtensionMode::Natural);
        EXPECT_TRUE(longer->isValid());
        const auto [first, last] = longer->getParameterInterval();
        EXPECT_EQ(at == CurveEnd::End ? first : last, at == CurveEnd::End ? start : end);
        for (int i = 0; i <= 50; ++i) {
          const double u = first + (last - first) * i / 50;
          // evaluate() goes on along the end polynomial outside the interval.
          EXPECT_THAT(longer->evaluate(u), IsNear(curve->evaluate(u), 1e-11)) << u;
        }
        const bool atEnd = at == CurveEnd::End;
        EXPECT_NEAR(longer->getArcLength(atEnd ? end : first, atEnd ? last : start), length, 1e-7);
      }
    }
  }
}

TEST_F(CurveExtension, LinearIsAStraightLineOfTheLengthAlongTheTangent) {
  for (const auto& curve : splines()) {
    const auto [start, end] = curve->getParameterInterval();
    const auto after = curve->extend(2.5, CurveEnd::End, ExtensionMode::Linear);
    const auto before = curve->extend(2.5, CurveEnd::Start, ExtensionMode::Linear);
    for (int i = 0; i <= 20; ++i) {
      const double u = start + (end - start) * i / 20;
      EXPECT_THAT(after->evaluate(u), IsNear(curve->evaluate(u), 1e-13));
      EXPECT_THAT(before->evaluate(u), IsNear(curve->evaluate(u), 1e-13));
      const Point3D onLine = curve->evaluate(end) + curve->getTangent(end) * (2.5 * i / 20);
      const double far = after->getParameterInterval().end;
      EXPECT_THAT(after->evaluate(end + (far - end) * i / 20), IsNear(onLine, 1e-12));
    }
    EXPECT_THAT(pointAt(*before, 0),
                IsNear(curve->evaluate(start) - curve->getTangent(start) * 2.5, 1e-12));
    // The speed does not jump at the joint.
    EXPECT_THAT(after->evaluateDerivatives(end, 1)[1],
                IsNear(curve->evaluateDerivatives(end, 1)[1], 1e-11));
  }
}

// A conic over its whole parameter line leaves one point out: what is left of the circle behind a
// quarter is an arc of 135 degrees.
TEST_F(CurveExtension, NaturalExtensionOfAnArcStaysOnTheCircle) {
  const NurbsCurve arc = quarterCircle();
  const auto longer = arc.extend(130 / 180.0 * kPi, CurveEnd::End, ExtensionMode::Natural);
  EXPECT_TRUE(longer->isValid());
  for (int i = 0; i <= 50; ++i)
    EXPECT_NEAR(pointAt(*longer, i / 50.0).distanceTo({0, 0, 0}), 1, 1e-12);
  const double angle = 220 / 180.0 * kPi;
  EXPECT_THAT(pointAt(*longer, 1), IsNear(Point3D(std::cos(angle), std::sin(angle), 0), 1e-7));
  EXPECT_THROW(arc.extend(136 / 180.0 * kPi, CurveEnd::End, ExtensionMode::Natural),
               std::invalid_argument);
}

// Zero first derivative at the end: the direction is that of the last two points that differ.
TEST_F(CurveExtension, EndWithoutSpeedTakesItsDirectionFromThePoints) {
  const BSplineCurve curve({{0, 0, 0}, {3, 4, 0}, {3, 4, 0}}, {0, 0, 0, 1, 1, 1}, 2);
  const auto linear = curve.extend(5, CurveEnd::End, ExtensionMode::Linear);
  EXPECT_THAT(pointAt(*linear, 1), IsNear(Point3D(6, 8, 0), 1e-12));
  const BSplineCurve still({{1, 1, 1}, {1, 1, 1}}, {0, 0, 1, 1}, 1);
  for (const ExtensionMode mode : {ExtensionMode::Linear, ExtensionMode::Natural})
    EXPECT_THROW(still.extend(1, CurveEnd::End, mode), std::invalid_argument);
}

TEST_F(CurveExtension, LengthMustBePositiveAndFinite) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const BezierCurve bezier({{0, 0, 0}, {1, 2, 0}, {3, 0, 0}});
  for (const double length : {0.0, -1.0, kInfinity, nan}) {
    for (const ExtensionMode mode : {ExtensionMode::Linear, ExtensionMode::Natural}) {
      EXPECT_THROW(unevenCubic().extend(length, CurveEnd::End, mode), std::invalid_argument);
      EXPECT_THROW(wildCubic().extend(length, CurveEnd::Start, mode), std::invalid_argument);
      EXPECT_THROW(bezier.extend(length, CurveEnd::End, mode), std::invalid_argument);
    }
  }
  EXPECT_THAT(streams_.err(),
              HasSubstr("❌ Error in BezierCurve::extend: Extension length must be positive\n"));
}

TEST_F(CurveExtension, BezierGoesOnAsABezierOrAsAStraightSpline) {
  const BezierCurve parabola({{0, 0, 0}, {0.5, 0, 0}, {1, 1, 0}});  // y = x^2
  for (const CurveEnd at : {CurveEnd::Start, CurveEnd::End}) {
    const auto natural = parabola.extend(3, at, ExtensionMode::Natural);
    EXPECT_EQ(natural->getTypeIdentifier(), "BezierCurve");
    EXPECT_NEAR(natural->getTotalLength() - parabola.getTotalLength(), 3, 1e-7);
    for (int i = 0; i <= 10; ++i) {
      const Point3D p = natural->evaluate(i / 10.0);
      EXPECT_NEAR(p.y(), p.x() * p.x(), 1e-12);
    }
  }
  const auto linear = parabola.extend(std::sqrt(5.0), CurveEnd::End, ExtensionMode::Linear);
  EXPECT_EQ(linear->getTypeIdentifier(), "BSplineCurve");
  EXPECT_THAT(linear->evaluate(0.5), IsNear(Point3D(0.5, 0.25, 0), 1e-15));
  EXPECT_THAT(pointAt(*linear, 1), IsNear(Point3D(2, 3, 0), 1e-12));
}

TEST_F(CurveExtension, TellsAboutDegrees) {
  unevenCubic().extend(1, CurveEnd::End, ExtensionMode::Linear);
  EXPECT_EQ(streams_.out(),
            "    ✅ No degree elevation needed - both curves already have degree 3\n");
}

TEST_F(CurveExtension, CurveOfLowerDegreeIsRaisedToThatOfTheSegment) {
  const internal::SplineRows line{1, 3, {0, 0, 1, 1}, {0, 0, 0, 1, 0, 0}};
  const internal::SplineRows arc{2, 3, {1, 1, 1, 2, 2, 2}, {1, 0, 0, 2, 0, 0, 2, 1, 0}};
  const internal::SplineRows both = internal::joined(line, arc, CurveEnd::End);
  EXPECT_EQ(both.degree, 2);
  EXPECT_THAT(both.coords, testing::ElementsAre(0, 0, 0, 0.5, 0, 0, 1, 0, 0, 2, 0, 0, 2, 1, 0));
  EXPECT_EQ(streams_.out(),
            "🔧 Elevating original curve from degree 1 to degree 2\n"
            "    ✅ Degree elevation successful\n");
}

// Far enough the numbers overflow: told on standard error, and thrown.
TEST_F(CurveExtension, ResultThatIsNotFiniteIsRefused) {
  const BSplineCurve huge({{0, 0, 0}, {1e308, 0, 0}}, {0, 0, 1, 1}, 1);
  EXPECT_THROW(huge.extend(1e308, CurveEnd::End, ExtensionMode::Linear), std::runtime_error);
  EXPECT_THAT(streams_.err(),
              HasSubstr("❌ B-spline validation failed: a control point is not finite\n"));
}

}  // namespace
