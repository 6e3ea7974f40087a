#include "morvel/curves/bspline_curve.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "tests/support/captured_streams.h"
#include "tests/support/curve_probes.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

namespace {

using namespace morvel_test;
using testing::ElementsAre;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

const std::vector<Point3D> kFivePoints{{0, 0, 0}, {1, 2, 0}, {2, -1, 1}, {4, 0, 0}, {5, 1, -1}};

const BSplineCurve& asBSpline(const Curve& curve) {
  return dynamic_cast<const BSplineCurve&>(curve);
}

void expectSamePoints(const std::vector<Point3D>& a, const std::vector<Point3D>& b) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i)
    EXPECT_THAT(a[i], IsNear(b[i], 0.0)) << i;
}

void expectSameCurve(const Curve& a, const Curve& b, double from, double to, double tolerance) {
  for (int i = 0; i <= 40; ++i) {
    const double u = from + (to - from) * i / 40;
    EXPECT_THAT(a.evaluate(u), IsNear(b.evaluate(u), tolerance)) << u;
  }
}

TEST(BSplineCurve, BothMakersGiveTheSameClampedKnots) {
  const auto uniform = BSplineCurve::createUniform(kFivePoints, 2);
  const auto clamped = BSplineCurve::createClamped(kFivePoints, 2);
  EXPECT_THAT(uniform->getKnotVector(), ElementsAre(0, 0, 0, 1.0 / 3, 2.0 / 3, 1, 1, 1));
  EXPECT_EQ(clamped->getKnotVector(), uniform->getKnotVector());
  EXPECT_TRUE(uniform->isValid());
}

TEST(BSplineCurve, InterpolatePointsTakesThePointsForControlPoints) {
  const std::vector<Point3D> four(kFivePoints.begin(), kFivePoints.end() - 1);
  expectSamePoints(BSplineCurve::interpolatePoints(four, 3)->getControlPoints(), four);
  try {
    BSplineCurve::interpolatePoints({four.begin(), four.end() - 1}, 3);
    FAIL();
  } catch (const std::invalid_argument& fault) {
    EXPECT_STREQ(fault.what(), "Insufficient points for interpolation");
  }
}

TEST(BSplineCurve, ChordLengthParametersAreSharesOfTheLength) {
  EXPECT_THAT(
      BSplineCurve::generateChordLengthParameters({{0, 0, 0}, {3, 4, 0}, {3, 4, 15}, {3, 4, 10}}),
      ElementsAre(0, 0.2, 0.8, 1));
  EXPECT_TRUE(std::isnan(BSplineCurve::generateChordLengthParameters({{1, 1, 1}, {1, 1, 1}})[0]));
  EXPECT_TRUE(BSplineCurve::generateChordLengthParameters({}).empty());
}

// The cubic on {0, 1, 2, ...}: its values at knots and between are known fractions.
TEST(BSplineCurve, UniformCubicHasTheKnownValues) {
  const BSplineCurve curve({{6, 0, 0}, {0, 6, 0}, {0, 0, 6}, {12, 0, 0}, {0, 0, 0}},
                           {0, 1, 2, 3, 4, 5, 6, 7, 8}, 3);
  EXPECT_EQ(curve.getParameterInterval().start, 3);
  EXPECT_EQ(curve.getParameterInterval().end, 5);
  EXPECT_THAT(curve.evaluate(3), IsNear(Point3D(1, 4, 1), 1e-15));
  EXPECT_THAT(curve.evaluate(3.5),
              IsNear(Point3D((6 + 12) / 48.0, 6 * 23 / 48.0, 6 * 23 / 48.0), 1e-14));
  EXPECT_THAT(curve.evaluateDerivatives(3, 1)[1], IsNear(Vector3D(-3, 0, 3), 1e-14));
}

TEST(BSplineCurve, DerivativesAreTrueAndVanishAboveTheDegree) {
  const BSplineCurve curve = unevenCubic();
  for (const double u : {-0.9, -0.3, 0.7, 1.9, 2.3, 3.9})
    expectTrueDerivatives(curve, u, 4, 1e-7);
  EXPECT_EQ(curve.evaluateDerivatives(0.5, 9)[7].magnitude(), 0.0);
  EXPECT_TRUE(curve.evaluateDerivatives(0.5, -1).empty());
  EXPECT_THROW(curve.evaluateDerivatives(0.5, std::numeric_limits<int>::max()),
               std::invalid_argument);
}

TEST(BSplineCurve, HighDegreesLeaveTheStackTablesUnharmed) {
  std::vector<Point3D> points;
  for (int i = 0; i <= 60; ++i)
    points.emplace_back(i / 60.0, std::pow(-1, i), i * (i - 1) / (60.0 * 59));
  const auto curve = BSplineCurve::createClamped(points, 60);
  EXPECT_THAT(curve->evaluate(0.3).x(), testing::DoubleNear(0.3, 1e-14));  // linear precision
  EXPECT_THAT(curve->evaluateDerivatives(0.3, 5)[1].x(), testing::DoubleNear(1, 1e-12));
  EXPECT_THAT(curve->evaluateDerivatives(0.3, 5)[2].z(), testing::DoubleNear(2, 1e-11));
}

TEST(BSplineCurve, CurvesThatDoNotFitTogetherStayWithinBounds) {
  const std::vector<double> seven{0, 0, 0, 0.5, 1, 1, 1};
  struct Case {
    const char* what;
    BSplineCurve curve;
  };
  const Case cases[] = {
      {"fewer than degree + 1 points", {{{1, 2, 3}, {4, 5, 6}}, {0, 0, 1, 1, 1, 1}, 3}},
      {"too few knots", {kFivePoints, {0, 0, 1}, 2}},
      {"too many knots", {{{1, 2, 3}}, seven, 2}},
      {"unsorted", {{{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}}, {0, 1, 0, 0.5, 0.2, 1, 1}, 2}},
      {"not a number", {{{1, 0, 0}, {2, 0, 0}}, {0, kNan, 1, 1}, 1}},
      {"no knots", {kFivePoints, {}, 2}},
      {"degree -1", {kFivePoints, seven, -1}},
      {"largest degree", {kFivePoints, seven, std::numeric_limits<int>::max()}},
  };
  for (const auto& [what, curve] : cases) {
    SCOPED_TRACE(what);
    for (const double u : {0.0, 0.3, 1.0, -5.0, 1e300, kNan}) {
      curve.evaluate(u);
      EXPECT_EQ(curve.evaluateDerivatives(u, 2).size(), 3u);
    }
    curve.getTotalLength();
    curve.getClosestParameter({1, 1, 1});
    EXPECT_LE(curve.adaptiveTessellate(1e-3).size(), 100'100u);
    EXPECT_LE(curve.tessellate(1e-3).size(), 100'100u);
    EXPECT_THROW(curve.insertKnot(0.5, 1), std::invalid_argument);
    EXPECT_THROW(curve.trim(0.2, 0.5), std::invalid_argument);
    EXPECT_THROW(curve.split(0.5), std::invalid_argument);
    EXPECT_THROW(curve.extend(1, CurveEnd::End, ExtensionMode::Natural), std::invalid_argument);
    curve.reverse();
  }
  const BSplineCurve none({}, {}, 2);
  EXPECT_THAT(none.evaluate(0.5), IsNear(Point3D(0, 0, 0), 0.0));
  EXPECT_EQ(none.getParameterInterval().start, 0);
  EXPECT_EQ(none.getParameterInterval().end, 1);
  EXPECT_FALSE(none.isValid());
  EXPECT_FALSE(none.isClosed());
}

TEST(BSplineCurve, ShortPieceEvaluatesByTheDefinition) {
  // On these knots the two functions are 3 u^2 (1 - u) and u^3.
  const BSplineCurve piece({{1, 0, 0}, {0, 1, 0}}, {0, 0, 1, 1, 1, 1}, 3);
  EXPECT_THAT(piece.evaluate(0.25), IsNear(Point3D(9.0 / 64, 1.0 / 64, 0), 1e-16));
  EXPECT_THAT(piece.evaluateDerivatives(0.25, 1)[1],
              IsNear(Vector3D(15.0 / 16, 3.0 / 16, 0), 1e-15));
}

TEST(BSplineCurve, ParameterIntervalIsTheInnerKnotRange) {
  const BSplineCurve curve(kFivePoints, {0, 0, 0, 0, 2, 5, 5, 5, 5}, 3);
  EXPECT_EQ(curve.getParameterInterval().start, 0);
  EXPECT_EQ(curve.getParameterInterval().end, 5);
  EXPECT_TRUE(curve.isValidParameter(5));
  EXPECT_FALSE(curve.isValidParameter(5.1));
}

TEST(BSplineCurve, IsClosedWithinTheGeometricTolerance) {
  std::vector<Point3D> points = kFivePoints;
  points.back() = {5e-5, 0, 0};
  const auto curve = BSplineCurve::createClamped(points, 3);
  EXPECT_TRUE(curve->isClosed());
  ToleranceContext fine;
  fine.setGeometricTolerance(1e-6);
  EXPECT_FALSE(curve->isClosed(fine));
}

TEST(BSplineCurve, ReverseMirrorsKnotsAndPoints) {
  const BSplineCurve curve({{0, 0, 0}, {1, 2, 0}, {2, -1, 1}, {4, 0, 0}}, {0, 0, 0, 1, 3, 3, 3}, 2);
  const auto back = curve.reverse();
  EXPECT_THAT(asBSpline(*back).getKnotVector(), ElementsAre(0, 0, 0, 2, 3, 3, 3));
  for (const double u : {0.0, 0.4, 1.0, 2.2, 3.0})
    EXPECT_THAT(back->evaluate(3 - u), IsNear(curve.evaluate(u), 1e-15));
}

// By hand: u = 0.25 into the clamped quadratic on {0, 0, 0, 0.5, 1, 1, 1} has span 2, so points 2
// and 1 are rewritten (weights 0.25 and 0.5), point 3 keeps its place and the origin is appended.
TEST(BSplineCurve, InsertKnotLeavesTheLaterPointsInPlace) {
  const BSplineCurve curve({{4, 0, 0}, {8, 4, 0}, {12, 0, 4}, {16, 8, 8}}, {0, 0, 0, 0.5, 1, 1, 1},
                           2);
  const auto refined = curve.insertKnot(0.25, 1);
  EXPECT_THAT(asBSpline(*refined).getKnotVector(), ElementsAre(0, 0, 0, 0.25, 0.5, 1, 1, 1));
  expectSamePoints(asBSpline(*refined).getControlPoints(),
                   {{4, 0, 0}, {6, 2, 0}, {9, 3, 1}, {16, 8, 8}, {0, 0, 0}});
  expectSamePoints(asBSpline(*curve.insertKnot(0.25, 0)).getControlPoints(),
                   curve.getControlPoints());
  for (const double u : {-0.1, 1.1, kNan})
    EXPECT_THROW(curve.insertKnot(u, 1), std::invalid_argument);
  EXPECT_THROW(curve.insertKnot(0.5, std::numeric_limits<int>::max()), std::invalid_argument);
}

TEST(BSplineCurve, RemoveKnotGivesAnEqualCurve) {
  const BSplineCurve curve = unevenCubic();
  const auto same = curve.removeKnot(2, 1);
  EXPECT_EQ(asBSpline(*same).getKnotVector(), curve.getKnotVector());
  expectSamePoints(asBSpline(*same).getControlPoints(), curve.getControlPoints());
}

TEST(BSplineCurve, SplitReparameterisesBothPiecesOverZeroOne) {
  const BSplineCurve curve = unevenCubic();  // 7 points; 4 insertions make 11, the span of 1 is 8
  const auto [first, second] = curve.split(1.0);
  EXPECT_EQ(asBSpline(*first).getControlPointCount(), 9);
  EXPECT_EQ(asBSpline(*second).getControlPointCount(), 3);
  EXPECT_EQ(asBSpline(*first).getKnotVector(), BSplineCurve::generateClampedKnots(9, 3));
  EXPECT_EQ(asBSpline(*second).getKnotVector(), BSplineCurve::generateClampedKnots(3, 3));
  EXPECT_THAT(first->evaluate(0), IsNear(curve.evaluate(-1), 1e-15));
  EXPECT_THROW(curve.split(4.5), std::invalid_argument);
  EXPECT_THROW(curve.split(kNan), std::invalid_argument);
}

TEST(BSplineCurve, TrimIsExactOnItsOwnStretchOfTheKnots) {
  const BSplineCurve curve = unevenCubic();
  for (const auto& [a, b] : {std::pair(-1.0, 4.0), {-0.5, 3.0}, {0.0, 2.0}, {2.0, 2.1}}) {
    const auto part = curve.trim(a, b);
    EXPECT_EQ(part->getParameterInterval().start, a);
    EXPECT_EQ(part->getParameterInterval().end, b);
    expectSameCurve(*part, curve, a, b, 1e-14);
  }
  for (const auto& [a, b] : {std::pair(1.0, 1.0), {2.0, 1.0}, {-2.0, 1.0}, {1.0, 5.0}, {kNan, 1.0}})
    EXPECT_THROW(curve.trim(a, b), std::invalid_argument);
}

TEST(BSplineCurve, ElevateDegreeKeepsTheShapeAndReports) {
  const BSplineCurve curve = unevenCubic();
  CapturedStreams streams;
  const auto elevated = curve.elevateDegree(2);
  EXPECT_EQ(streams.out(), "    ✅ Degree elevation successful\n");
  EXPECT_EQ(asBSpline(*elevated).getDegree(), 5);
  expectSameCurve(*elevated, curve, -1, 4, 1e-14);
  EXPECT_THROW(curve.elevateDegree(-1), std::invalid_argument);
  EXPECT_EQ(streams.err(), "❌ Degree elevation failed: Degree out of range\n");
}

// From the middle of the interval the search goes to the near foot point, not to the nearest one.
TEST(BSplineCurve, ClosestParameterIsALocalSearch) {
  const BSplineCurve line({{0, 0, 0}, {10, 0, 0}}, {0, 0, 1, 1}, 1);
  EXPECT_NEAR(line.getClosestParameter({3, 4, 0}), 0.3, 1e-8);
  EXPECT_EQ(line.getClosestParameter({-3, 4, 0}), 0.0);
  EXPECT_EQ(line.getClosestParameter({30, 4, 0}), 1.0);
  EXPECT_THROW(line.getClosestParameter({kNan, 0, 0}), std::invalid_argument);

  const BSplineCurve loop({{0, 0, 0}, {0, 10, 0}, {10, 10, 0}, {10, 0, 0}},
                          {0, 0, 0, 0, 1, 1, 1, 1}, 3);
  // Above the axis of symmetry the middle is a foot point already, though the ends are nearer.
  EXPECT_EQ(loop.getClosestParameter({5, -1, 0}), 0.5);
}

TEST(BSplineCurve, BoxFollowsEveryChangeOfThePoints) {
  auto curve = BSplineCurve::createClamped(kFivePoints, 3);
  EXPECT_THAT(curve->getBoundingBox().getMax(), IsNear(Point3D(5, 2, 1), 0.0));
  curve->setControlPoint(1, {1, 7, 0});
  EXPECT_THAT(curve->getBoundingBox().getMax(), IsNear(Point3D(5, 7, 1), 0.0));
  curve->applyTransformToGeometry(Transform3D::translation({0, 0, 3}));
  EXPECT_THAT(curve->getBoundingBox().getMax(), IsNear(Point3D(5, 7, 4), 0.0));
  EXPECT_THROW(curve->setControlPoint(5, {0, 0, 0}), std::out_of_range);
  EXPECT_THROW(curve->setControlPoint(-1, {0, 0, 0}), std::out_of_range);
  EXPECT_THROW(curve->setControlPoint(0, {kNan, 0, 0}), std::invalid_argument);
  EXPECT_THROW(static_cast<void>(curve->getControlPoint(5)), std::out_of_range);
}

TEST(BSplineCurve, TransformMovesEveryPoint) {
  const BSplineCurve curve = unevenCubic();
  const auto image = curve.transform(shear());
  for (const double u : {-1.0, 0.3, 2.0, 3.3})
    EXPECT_THAT(image->evaluate(u), IsNear(shear().transform(curve.evaluate(u)), 1e-14));
}

TEST(BSplineCurve, BinomialsAreExactAndBounded) {
  EXPECT_EQ(BSplineCurve::binomialCoeff(52, 5), 2598960);
  EXPECT_EQ(BSplineCurve::binomialCoeff(5, 6), 0);
  EXPECT_EQ(BSplineCurve::binomialCoeff(5, -1), 0);
  EXPECT_TRUE(std::isinf(BSplineCurve::binomialCoeff(std::numeric_limits<int>::max(), 1 << 30)));
}

}  // namespace
