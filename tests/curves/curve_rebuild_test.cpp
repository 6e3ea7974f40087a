#include "morvel/curves/curve_rebuild.h"

#include <gmock/gmock.h>

#include <cmath>
#include <memory>
#include <stdexcept>

#include "morvel/curves/bezier_curve.h"
#include "morvel/curves/offset_curve.h"
#include "tests/support/curve_probes.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

namespace {

using namespace morvel_test;

double largestDifference(const Curve& a, const Curve& b) {
  double largest = 0.0;
  for (int i = 0; i <= 3000; ++i)
    largest = std::max(largest, pointAt(a, i / 3000.0).distanceTo(pointAt(b, i / 3000.0)));
  return largest;
}

TEST(RebuildCurve, HasTheCountAndDegreeAskedAndReportsItsDeviation) {
  const CircleCurve circle = tiltedCircle();
  double previous = 1.0;
  for (const int count : {8, 16, 32, 64}) {
    double deviation = -1.0;
    const auto spline = rebuildCurve(circle, count, 3, &deviation);
    EXPECT_EQ(spline->getControlPointCount(), count);
    EXPECT_EQ(spline->getDegree(), 3);
    EXPECT_TRUE(spline->isValid());
    EXPECT_THAT(spline->evaluate(0), IsNear(circle.evaluate(0), 1e-14));
    EXPECT_THAT(spline->evaluate(1), IsNear(circle.evaluate(1), 1e-14));
    EXPECT_NEAR(deviation, largestDifference(circle, *spline), 0.05 * deviation);
    EXPECT_LT(deviation, previous / 8);  // fourth order
    previous = deviation;
  }
}

TEST(RebuildCurve, ReproducesASplineOfItsOwnSpace) {
  const BSplineCurve wave = planarWave();
  double deviation = 1.0;
  const auto same = rebuildCurve(wave, wave.getControlPointCount(), 3, &deviation);
  EXPECT_LT(deviation, 1e-12);
  for (int i = 0; i < wave.getControlPointCount(); ++i)
    EXPECT_THAT(same->getControlPoint(i), IsNear(wave.getControlPoint(i), 1e-11));
}

TEST(RebuildCurve, WorksOverAnyIntervalAndFarFromTheOrigin) {
  const Transform3D away = Transform3D::translation({1e6, -1e6, 1e6});
  const auto far = unevenCubic().transform(away);
  double deviation = 1.0;
  const auto spline = rebuildCurve(*far, 60, 3, &deviation);
  EXPECT_EQ(spline->getParameterInterval().start, -1.0);
  EXPECT_EQ(spline->getParameterInterval().end, 4.0);
  EXPECT_LT(deviation, 1e-3);
  const auto backwards = rebuildCurve(*halfEllipse().reverse(), 20, 4, nullptr);
  EXPECT_LT(largestDifference(*backwards, *halfEllipse().reverse()), 1e-4);
}

TEST(RebuildCurve, RefusesCountsAndDegreesOutOfRange) {
  EXPECT_THROW(rebuildCurve(planarWave(), 3, 3, nullptr), std::invalid_argument);
  EXPECT_THROW(rebuildCurve(planarWave(), 8, 0, nullptr), std::invalid_argument);
  EXPECT_THROW(rebuildCurve(planarWave(), 1001, 1000, nullptr), std::invalid_argument);
  EXPECT_THROW(rebuildCurve(planarWave(), 2000000000, 3, nullptr), std::invalid_argument);
  const EllipseCurve none({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, 1, 1, 2, 2);
  EXPECT_THROW(rebuildCurve(none, 8, 3, nullptr), std::invalid_argument);
}

TEST(RebuildCurve, HighDegreesLoseNoDigits) {
  // The poles of the quarter's rational form leave an error of about 5^-degree.
  for (const int degree : {8, 15, 22, 29}) {
    for (const int count : {degree + 1, degree + 8}) {
      double deviation = 1.0;
      rebuildCurve(quarterCircle(), count, degree, &deviation);
      EXPECT_LT(deviation, std::max(std::pow(5.0, -degree), 1e-14)) << degree << " " << count;
    }
  }
}

TEST(SimplifyCurve, TakesNoMorePointsThanTheToleranceNeeds) {
  for (const double tolerance : {0.1, 1e-3, 1e-5}) {
    double achieved = 1.0;
    const auto simple = simplifyCurve(tiltedArc(), tolerance, &achieved);
    EXPECT_LE(achieved, tolerance);
    EXPECT_LE(largestDifference(tiltedArc(), *simple), tolerance * 1.01);
    double fewer = 0.0;
    rebuildCurve(tiltedArc(), simple->getControlPointCount() - 1, simple->getDegree(), &fewer);
    EXPECT_GT(fewer, tolerance);
  }
}

TEST(SimplifyCurve, FindsTheLineInAnOverdefinedOne) {
  std::vector<Point3D> points;
  for (int i = 0; i <= 30; ++i)
    points.emplace_back(i, 2 * i, -i);
  const auto straight = BSplineCurve::createClamped(points, 1);
  double achieved = 1.0;
  EXPECT_EQ(simplifyCurve(*straight, 1e-6, &achieved)->getControlPointCount(), 2);
  EXPECT_LT(achieved, 1e-6);
}

TEST(SimplifyCurve, GivesBackWhatIsSimplestAlready) {
  const auto corner = BSplineCurve::createClamped({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {2, 1, 0}}, 1);
  const auto same = simplifyCurve(*corner, 1e-9, nullptr);
  EXPECT_EQ(same->getControlPointCount(), 4);
  EXPECT_EQ(same->getDegree(), 1);
  EXPECT_THROW(simplifyCurve(*corner, 0.0, nullptr), std::invalid_argument);
  EXPECT_THROW(simplifyCurve(tiltedCircle(), 1e-18, nullptr), std::runtime_error);
}

TEST(ApproximateCurve, KeepsTheToleranceAcrossJoints) {
  const OffsetCurve smooth(planarWave().clone(), 0.3, {0, 0, 1});
  const OffsetCurve kinked(unevenCubic().clone(), 0.2, {0, 0, 1});  // C0 at the double knot
  for (const Curve* curve :
       {static_cast<const Curve*>(&smooth), static_cast<const Curve*>(&kinked)}) {
    const auto spline = approximateCurve(*curve, 1e-6);
    EXPECT_LE(largestDifference(*curve, *spline), 1.01e-6);
    EXPECT_LT(spline->getControlPointCount(), 600);
  }
}

TEST(ApproximateCurve, SaysSoWhereTheCurveJumps) {
  const auto corner = BSplineCurve::createClamped({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}, 1);
  const OffsetCurve torn(corner->clone(), 0.2, {0, 0, 1});
  EXPECT_THROW(approximateCurve(torn, 1e-4), std::runtime_error);
}

TEST(ToSpline, KeepsSplinesAndGivesAnalyticCurvesExactly) {
  EXPECT_EQ(toSpline(BezierCurve({{0, 0, 0}, {1, 1, 0}}))->getTypeIdentifier(), "BezierCurve");
  EXPECT_EQ(toSpline(quarterCircle())->getTypeIdentifier(), "NurbsCurve");
  EXPECT_EQ(toSpline(tiltedCircle())->getTypeIdentifier(), "NurbsCurve");
  const OffsetCurve offset(planarWave().clone(), 0.3, {0, 0, 1});
  EXPECT_LE(largestDifference(offset, *toSpline(offset)), 1.01e-6);
}

}  // namespace
