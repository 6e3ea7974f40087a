#include "morvel/curves/nurbs_curve.h"

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

const NurbsCurve& asNurbs(const Curve& curve) { return dynamic_cast<const NurbsCurve&>(curve); }

/// The unit circle from four quarters; inner knots double.
NurbsCurve fullCircle() {
  const double w = std::sqrt(0.5);
  return {{{1, 0, 0},
           {1, 1, 0},
           {0, 1, 0},
           {-1, 1, 0},
           {-1, 0, 0},
           {-1, -1, 0},
           {0, -1, 0},
           {1, -1, 0},
           {1, 0, 0}},
          {1, w, 1, w, 1, w, 1, w, 1},
          {0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4},
          2};
}

/// An uneven cubic with very different weights, over [-1, 4].
NurbsCurve wildCubic() {
  const BSplineCurve base = unevenCubic();
  return {base.getControlPoints(), {1, 3, 0.2, 5, 1, 0.4, 2}, base.getKnotVector(), 3};
}

void expectSameCurve(const Curve& a, const Curve& b, double from, double to) {
  for (int i = 0; i <= 40; ++i) {
    const double u = from + (to - from) * i / 40;
    EXPECT_THAT(a.evaluate(u), IsNear(b.evaluate(u), 1e-13)) << u;
  }
}

TEST(NurbsCurve, CircleIsRound) {
  const NurbsCurve circle = fullCircle();
  for (int i = 0; i <= 100; ++i) {
    const double u = i / 25.0;
    const Point3D p = circle.evaluate(u);
    EXPECT_NEAR(std::hypot(p.x(), p.y()), 1, 1e-15);
    EXPECT_NEAR(circle.getCurvature(u), 1, 1e-12);
    EXPECT_THAT(circle.getNormal(u), IsNear(Vector3D(-p.x(), -p.y(), 0), 1e-12));
  }
  EXPECT_NEAR(circle.getTotalLength(), 2 * kPi, 1e-8);
  EXPECT_TRUE(circle.isClosed());
  EXPECT_TRUE(circle.isRational());
}

TEST(NurbsCurve, DerivativesAreTrueAboveTheDegreeToo) {
  const NurbsCurve curve = wildCubic();
  for (const double u : {-0.9, -0.3, 0.7, 1.9, 2.3, 3.9})
    expectTrueDerivatives(curve, u, 5, 1e-6);
  EXPECT_EQ(curve.evaluateDerivatives(0.5, 0).size(), 1u);
  EXPECT_TRUE(curve.evaluateDerivatives(0.5, -1).empty());
  EXPECT_THROW(curve.evaluateDerivatives(0.5, kMaxDerivativeOrder + 1), std::invalid_argument);
}

TEST(NurbsCurve, EqualWeightsGiveThePolynomialCurve) {
  const BSplineCurve base = unevenCubic();
  const NurbsCurve curve(base.getControlPoints(), std::vector<double>(7, 2.5), base.getKnotVector(),
                         3);
  expectSameCurve(curve, base, -1, 4);
  EXPECT_FALSE(curve.isRational());
}

TEST(NurbsCurve, RefinementsAreExact) {
  for (const NurbsCurve& curve : {wildCubic(), fullCircle()}) {
    const auto [start, end] = curve.getParameterInterval();
    const double u = start + 0.37 * (end - start);
    const auto refined = curve.insertKnot(u, 2);
    EXPECT_EQ(asNurbs(*refined).getControlPointCount(), curve.getControlPointCount() + 2);
    expectSameCurve(*refined, curve, start, end);
    const auto elevated = curve.elevateDegree(2);
    EXPECT_EQ(asNurbs(*elevated).getDegree(), curve.getDegree() + 2);
    expectSameCurve(*elevated, curve, start, end);
    const auto [first, second] = curve.split(u);
    EXPECT_EQ(second->getParameterInterval().start, u);
    expectSameCurve(*first, curve, start, u);
    expectSameCurve(*second, curve, u, end);
    expectSameCurve(*curve.trim(start + 0.1, u), curve, start + 0.1, u);
    EXPECT_TRUE(refined->isValid() && elevated->isValid() && first->isValid());
    const auto back = curve.reverse();
    EXPECT_THAT(back->evaluate(end - 0.2), IsNear(curve.evaluate(start + 0.2), 1e-13));
    for (const double outside : {start, end, end + 1, kNan})
      EXPECT_THROW(curve.split(outside), std::invalid_argument);
    EXPECT_THROW(curve.insertKnot(end + 1, 1), std::invalid_argument);
    EXPECT_EQ(asNurbs(*curve.removeKnot(u, 1)).getWeights(), curve.getWeights());
  }
}

TEST(NurbsCurve, ClosestParameterIsGlobal) {
  const NurbsCurve curve = wildCubic();
  const NurbsCurve circle = fullCircle();
  for (const Point3D& point : {Point3D(0, 3, 0), {8, 1, 1}, {4, -2, 5}, {0.1, -0.2, 0.3}}) {
    const Point3D foot = curve.evaluate(curve.getClosestParameter(point));
    EXPECT_NEAR(foot.distanceTo(point), sampledDistance(curve, point), 1e-6);
    const Point3D onCircle = circle.evaluate(circle.getClosestParameter(point));
    const double radius = std::hypot(point.x(), point.y());
    EXPECT_THAT(onCircle, IsNear(Point3D(point.x() / radius, point.y() / radius, 0), 1e-8));
  }
  EXPECT_THROW(circle.getClosestParameter({0, kNan, 0}), std::invalid_argument);
}

TEST(NurbsCurve, TransformKeepsTheWeights) {
  NurbsCurve curve = wildCubic();
  const auto image = curve.transform(shear());
  const Point3D expected = shear().transform(curve.evaluate(0.7));
  EXPECT_THAT(image->evaluate(0.7), IsNear(expected, 1e-13));
  curve.applyTransformToGeometry(shear());
  EXPECT_THAT(curve.evaluate(0.7), IsNear(expected, 1e-13));
  curve.setControlPoint(3, {100, 0, 0});
  EXPECT_GT(curve.evaluate(0.7).x(), expected.x() + 1);
}

TEST(NurbsCurve, ValidityJudgesTheWeights) {
  const NurbsCurve good = quarterCircle();
  const std::vector<double> bad[] = {{1, 0, 1}, {1, -1, 1}, {1, kNan, 1}, {1, 1}, {1, 1, 1, 1}, {}};
  EXPECT_TRUE(good.isValid());
  for (const std::vector<double>& weights : bad) {
    const NurbsCurve curve(good.getControlPoints(), weights, good.getKnotVector(), 2);
    EXPECT_FALSE(curve.isValid());
    for (const double u : {0.0, 0.5, 1.0, 7.0})
      curve.evaluateDerivatives(u, 3);
    curve.adaptiveTessellate(0.01);
    curve.getClosestParameter({1, 2, 3});
  }
  EXPECT_THROW(static_cast<void>(good.getWeight(3)), std::out_of_range);
}

}  // namespace
