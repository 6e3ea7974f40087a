#include "morvel/curves/line_curve.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/support/near.h"
#include "tests/support/shapes.h"

namespace {

using namespace morvel_test;

TEST(LineCurve, ParametersOutsideGiveTheEndsExactly) {
  const LineCurve line({0, 0, 0}, {2, 0, 0});
  EXPECT_THAT(line.evaluate(1.5), IsNear(Point3D(2, 0, 0), 0.0));
  EXPECT_THAT(line.evaluate(-1.0), IsNear(Point3D(0, 0, 0), 0.0));
  const LineCurve far({1e16, 0, 0}, {1, 0, 0});
  EXPECT_EQ(far.evaluate(1.0).x(), 1.0);
}

TEST(LineCurve, ValidityHasItsOwnThresholdAndClosureTheContexts) {
  const LineCurve tiny({0, 0, 0}, {0, 5e-5, 0});
  const LineCurve small({0, 0, 0}, {0, 2e-4, 0});
  EXPECT_FALSE(tiny.isValid());
  EXPECT_TRUE(small.isValid());
  EXPECT_FALSE(small.isClosed());
  trova::foundation::ToleranceContext wide;
  wide.setGeometricTolerance(1e-3);
  EXPECT_TRUE(small.isClosed(wide));
  EXPECT_TRUE(small.isValid());
  EXPECT_FALSE(small.isPeriodic());
}

TEST(LineCurve, OffsetIsParallelOnTheSideOfNormalCrossTangent) {
  const auto left = LineCurve({0, 0, 0}, {4, 0, 0}).offset(2.0, {0, 0, 5});
  EXPECT_EQ(left->getTypeIdentifier(), "LineCurve");
  EXPECT_THAT(left->evaluate(0), IsNear(Point3D(0, 2, 0), 1e-15));
  EXPECT_THAT(left->evaluate(1), IsNear(Point3D(4, 2, 0), 1e-15));
  EXPECT_THROW(LineCurve({0, 0, 0}, {4, 0, 0}).offset(2.0, {1, 0, 0}), std::invalid_argument);
}

TEST(LineCurve, ALineWithoutExtentIsHandledEverywhere) {
  const LineCurve point({1, 2, 3}, {1, 2, 3});
  EXPECT_EQ(point.getClosestParameter({5, 5, 5}), 0.0);
  EXPECT_EQ(point.getTotalLength(), 0.0);
  EXPECT_THROW(point.extend(1.0, CurveEnd::End, ExtensionMode::Natural), std::invalid_argument);
  EXPECT_THROW(point.offset(1.0, {0, 0, 1}), std::invalid_argument);
}

TEST(LineCurve, SplineFormIsTheTwoPointsOfDegreeOne) {
  const auto spline = LineCurve({1, 0, 0}, {0, 3, 0}).toNurbs();
  EXPECT_EQ(spline->getDegree(), 1);
  EXPECT_THAT(spline->getKnotVector(), testing::ElementsAre(0, 0, 1, 1));
  EXPECT_THAT(spline->getWeights(), testing::ElementsAre(1, 1));
  EXPECT_THAT(spline->getControlPoint(1), IsNear(Point3D(0, 3, 0), 0.0));
}

}  // namespace
