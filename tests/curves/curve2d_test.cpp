#include "morvel/curves/curve2d.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <stdexcept>

#include "tests/support/near.h"

namespace {

using namespace trova::geometry;
using morvel_test::IsNear;

constexpr double kPi = std::numbers::pi;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::vector<std::unique_ptr<ParametricCurve2D>> sampleCurves() {
  std::vector<std::unique_ptr<ParametricCurve2D>> all;
  all.push_back(std::make_unique<LinearCurve2D>(Point2D(1, 2), Point2D(4, -2)));
  all.push_back(std::make_unique<IsoCurve2D>(IsoDirection::ConstantU, 0.3, 0.9, 0.2));
  all.push_back(std::make_unique<IsoCurve2D>(IsoDirection::ConstantV, -1.0));
  all.push_back(std::make_unique<BSplineCurve2D>(
      std::vector<Point2D>{{0, 0}, {1, 2}, {2, -1}, {4, 0}, {4, 3}},
      std::vector<double>{-1, -1, -1, 0, 2, 3, 3, 3}, 2));
  all.push_back(std::make_unique<CircularCurve2D>(Point2D(1, -1), 2.0));
  all.push_back(std::make_unique<CircularCurve2D>(Point2D(1, -1), 2.0, 2.5, -1.0));
  return all;
}

Point2D at(const ParametricCurve2D& curve, double share) {
  const ParameterInterval interval = curve.getParameterInterval();
  return curve.evaluate(interval.start + share * interval.length());
}

TEST(Curve2D, OperationsAgreeWithEvaluation) {
  for (const auto& curve : sampleCurves()) {
    SCOPED_TRACE(curve->getTypeIdentifier());
    const ParameterInterval interval = curve->getParameterInterval();
    const double t = interval.start + 0.37 * interval.length(), h = 1e-5;
    EXPECT_TRUE(curve->isValid());
    const auto d = curve->evaluateDerivatives(t, 2);
    EXPECT_THAT(d[0], IsNear(curve->evaluate(t), 0.0));
    const Point2D before = curve->evaluate(t - h), after = curve->evaluate(t + h);
    EXPECT_THAT(d[1], IsNear((after - before) * (0.5 / h), 1e-7));
    EXPECT_THAT(d[2], IsNear((after + before - d[0] * 2.0) * (1 / (h * h)), 1e-4));
    EXPECT_THAT(curve->evaluateSecondDerivative(t), IsNear(d[2], 0.0));
    EXPECT_TRUE(curve->evaluateDerivatives(t, -1).empty());
    EXPECT_THROW(curve->evaluateDerivatives(t, 2'000'000'000), std::invalid_argument);

    const auto [first, second] = curve->split(t);
    const auto back = curve->reverse();
    for (const double share : {0.0, 0.25, 0.8, 1.0}) {
      EXPECT_THAT(at(*first, share), IsNear(at(*curve, 0.37 * share), 1e-14));
      EXPECT_THAT(at(*second, share), IsNear(at(*curve, 0.37 + 0.63 * share), 1e-14));
      EXPECT_THAT(at(*back, share), IsNear(at(*curve, 1 - share), 1e-14));
      EXPECT_THAT(at(*curve->clone(), share), IsNear(at(*curve, share), 0.0));
    }
    EXPECT_THROW(curve->split(interval.start), std::invalid_argument);
    EXPECT_THROW(curve->trim(t, t), std::invalid_argument);
    EXPECT_THROW(curve->trim(kNan, interval.end), std::invalid_argument);
  }
}

TEST(Curve2D, NearestPointBoxAndPolylineHoldAgainstSamples) {
  for (const auto& curve : sampleCurves()) {
    SCOPED_TRACE(curve->getTypeIdentifier());
    const std::vector<Point2D> samples = curve->tessellateUniform(20001);
    for (const Point2D& point :
         {Point2D(0.2, 0.1), Point2D(3, 3), Point2D(-4, -1), Point2D(2, -6)}) {
      double nearest = std::numeric_limits<double>::infinity();
      for (const Point2D& sample : samples)
        nearest = std::min(nearest, sample.distanceTo(point));
      const Point2D foot = curve->evaluate(curve->getClosestParameter(point));
      EXPECT_NEAR(foot.distanceTo(point), nearest, 1e-6);
      EXPECT_LE(foot.distanceTo(point), nearest + 1e-12);
    }
    EXPECT_THROW(curve->getClosestParameter({kNan, 0}), std::invalid_argument);

    const BoundingBox box = curve->getBoundingBox();
    const std::vector<Point2D> line = curve->adaptiveTessellate(1e-3);
    EXPECT_THAT(line.front(), IsNear(samples.front(), 0.0));
    EXPECT_THAT(line.back(), IsNear(samples.back(), 0.0));
    for (std::size_t i = 0; i < samples.size(); i += 50) {
      const Point2D& p = samples[i];
      EXPECT_TRUE(box.contains({p.x(), p.y(), 0}));
      double gap = std::numeric_limits<double>::infinity();
      for (std::size_t j = 1; j < line.size(); ++j)
        gap =
            std::min(gap, LinearCurve2D(line[j - 1], line[j])
                              .evaluate(LinearCurve2D(line[j - 1], line[j]).getClosestParameter(p))
                              .distanceTo(p));
      EXPECT_LE(gap, 1e-3);
    }
    for (const double tolerance : {0.0, -1.0, kNan})
      EXPECT_THROW(curve->adaptiveTessellate(tolerance), std::invalid_argument);
    EXPECT_THROW(curve->tessellateUniform(1), std::invalid_argument);
  }
}

TEST(IsoCurve2D, HoldsOneParameterAndNamesIt) {
  const IsoCurve2D u(IsoDirection::ConstantU, 0.25, 0.1, 0.7);
  EXPECT_EQ(u.getTypeIdentifier(), "IsoCurve2D_u");
  EXPECT_THAT(u.evaluate(0.5), IsNear(Point2D(0.25, 0.4), 1e-15));
  const IsoCurve2D v(IsoDirection::ConstantV, 0.25, 0.1, 0.7);
  EXPECT_EQ(v.getTypeIdentifier(), "IsoCurve2D_v");
  EXPECT_THAT(v.evaluate(0.5), IsNear(Point2D(0.4, 0.25), 1e-15));
  EXPECT_THROW(IsoCurve2D(IsoDirection::ConstantU, kNan), std::invalid_argument);
}

TEST(CircularCurve2D, IsClosedAndPeriodicForAFullTurnForward) {
  struct Case {
    double start, end;
    bool closed;
  };
  for (const auto& [start, end, closed] : {Case{0, 2 * kPi, true},
                                           {1, 1 + 2 * kPi, true},
                                           {1, 1 + 2 * kPi - 9e-7, true},
                                           {1, 1 + 2 * kPi - 2e-6, false},
                                           {0, -2 * kPi, false},
                                           {0, 4 * kPi, false}}) {
    const CircularCurve2D circle({0, 0}, 1, start, end);
    EXPECT_EQ(circle.isClosed(), closed) << start << " to " << end;
    EXPECT_EQ(circle.isPeriodic(), closed);
  }
  EXPECT_FALSE(CircularCurve2D({0, 0}, -1).isValid());
  EXPECT_THROW(CircularCurve2D({0, 0}, kNan), std::invalid_argument);
  EXPECT_LE(CircularCurve2D({0, 0}, 1e9).adaptiveTessellate(1e-300).size(), 100'001u);
  EXPECT_EQ(CircularCurve2D({0, 0}, 0).adaptiveTessellate(1).size(), 5u);
}

TEST(CircularCurve2D, BoxIsTight) {
  const BoundingBox box = CircularCurve2D({1, 1}, 2, kPi / 4, kPi).getBoundingBox();
  EXPECT_THAT(box.getMin(), IsNear(trova::foundation::Point3D(-1, 1, 0), 1e-15));
  EXPECT_THAT(box.getMax(), IsNear(trova::foundation::Point3D(1 + std::sqrt(2), 3, 0), 1e-15));
}

}  // namespace
