#include "morvel/curves/ellipse_curve.h"

#include <gmock/gmock.h>

#include <cmath>
#include <stdexcept>

#include "tests/support/curve_probes.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

namespace {

using namespace morvel_test;

TEST(EllipseCurve, IntervalIsTheAnglesAndEvaluationIsNotClamped) {
  const EllipseCurve half({1, 1, 0}, {1, 0, 0}, {0, 0, 1}, 3.0, 2.0, 0.0, kPi);
  EXPECT_EQ(half.getParameterInterval().end, kPi);
  EXPECT_THAT(half.evaluate(kPi / 2), IsNear(Point3D(1, 3, 0), 1e-15));
  EXPECT_THAT(half.evaluate(1.5 * kPi), IsNear(Point3D(1, -1, 0), 1e-15));
}

TEST(EllipseCurve, MinorAxisIsHorizontalWhateverTheNormal) {
  const EllipseCurve flat({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, 2, 1, 0, 1);
  EXPECT_THAT(flat.getMinorAxis(), IsNear(Vector3D(0, 1, 0), 0.0));
  EXPECT_THAT(flat.getNormal(), IsNear(Vector3D(0, 1, 0), 0.0));
  EXPECT_EQ(risingEllipse().getMinorAxis().z(), 0.0);
  const EllipseCurve upright({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, 2, 1, 0, 1);
  EXPECT_THAT(upright.getMinorAxis(), IsNear(Vector3D::zero(), 0.0));
  EXPECT_THAT(upright.evaluate(kPi / 3), IsNear(Point3D(0, 0, 1), 1e-15));
}

TEST(EllipseCurve, ValidityComparesWithZeroAndClosureWithTheContext) {
  const auto ellipse = [](double b, double end) {
    return EllipseCurve({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, 1.0, b, 0.0, end);
  };
  EXPECT_TRUE(ellipse(1e-9, 1).isValid());
  EXPECT_FALSE(ellipse(0.0, 1).isValid());
  EXPECT_FALSE(ellipse(-1.0, 1).isValid());
  trova::foundation::ToleranceContext loose;
  loose.setGeometricTolerance(0.01);
  EXPECT_TRUE(ellipse(1, 6.28).isClosed(loose));
  EXPECT_FALSE(ellipse(1, 6.28).isClosed());
  EXPECT_FALSE(ellipse(1, 6.28).isPeriodic());
  EXPECT_TRUE(ellipse(1, 2 * kPi).isPeriodic());
}

TEST(EllipseCurve, ReversedHasStartAboveEndAndWorksOn) {
  const auto reversed = halfEllipse().reverse();
  const auto interval = reversed->getParameterInterval();
  EXPECT_GT(interval.start, interval.end);
  EXPECT_TRUE(reversed->isValidParameter(1.0));
  EXPECT_FALSE(reversed->isValidParameter(0.0));
  EXPECT_FALSE(risingEllipse().reverse()->isClosed());  // by contract
  const auto twice = reversed->reverse();
  EXPECT_EQ(twice->getParameterInterval().start, halfEllipse().getStartAngle());
}

TEST(EllipseCurve, ClosestPointAtTheHardPlaces) {
  const EllipseCurve thin({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, 4.0, 1e-6, 0.0, 2 * kPi);
  const EllipseCurve wide({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, 2.0, 1.0, 0.0, 2 * kPi);
  const EllipseCurve tall({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, 1.0, 2.0, 0.0, 2 * kPi);
  const EllipseCurve round({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, 1.0, 1.0, 0.0, 2 * kPi);
  const struct {
    const EllipseCurve& ellipse;
    Point3D point;
    double distance;
  } cases[] = {{wide, {0, 0, 0}, 1.0},
               {tall, {0, 0, 0}, 1.0},
               {round, {0, 0, 0}, 1.0},
               {wide, {1.5, 0, 0}, 0.5},              // the center of curvature
               {wide, {0.9, 0, 0}, std::sqrt(0.73)},  // on the axis inside the evolute
               {wide, {0, -3, 4}, std::sqrt(4.0 + 16.0)},
               {thin, {3.99999, 0, 0}, 1e-6 * std::sqrt(1 - std::pow(3.99999 / 4, 2))},
               {thin, {5, 0, 0}, 1.0}};
  for (const auto& [ellipse, point, distance] : cases) {
    const Point3D foot = ellipse.evaluate(ellipse.getClosestParameter(point));
    EXPECT_NEAR(foot.distanceTo(point), distance, 1e-14) << testing::PrintToString(point);
  }
}

TEST(EllipseCurve, ClosestOnAnArcTakesTheSecondFootOrAnEnd) {
  // The nearest point of the whole ellipse lies below; only the upper half belongs to the arc.
  const EllipseCurve upper({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, 2.0, 1.0, 0.0, kPi);
  const Point3D below(0.3, -0.1, 0);
  const Point3D foot = upper.evaluate(upper.getClosestParameter(below));
  EXPECT_NEAR(foot.distanceTo(below), sampledDistance(upper, below), 1e-7);
  EXPECT_GT(foot.y(), 0.9);
  EXPECT_EQ(upper.getClosestParameter({3, -1, 0}), 0.0);
}

TEST(EllipseCurve, TransformKeepsTheClassWhileTheMinorAxisStaysHorizontal) {
  const Transform3D turned = Transform3D::rotation({0, 0, 1}, 0.7);
  const Transform3D stretched = Transform3D::scaling(1e-5, 1e-5, 1e-5);
  for (const Transform3D& map : {turned, stretched, Transform3D::translation({1, 2, 3})}) {
    const auto image = risingEllipse().transform(map);
    EXPECT_EQ(image->getTypeIdentifier(), "EllipseCurve");
    EXPECT_THAT(image->evaluate(1.2), IsNear(map.transform(risingEllipse().evaluate(1.2)), 1e-14));
  }
  const auto tilted = risingEllipse().transform(Transform3D::rotation({1, 0, 0}, 0.7));
  EXPECT_EQ(tilted->getTypeIdentifier(), "NurbsCurve");
}

TEST(EllipseCurve, MirroredRunsOverTheNegativeAngles) {
  const Transform3D mirror = Transform3D::scaling(1, -1, 1);
  const EllipseCurve arc({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, 2.0, 1.0, 0.5, 2.0);
  const auto image = arc.transform(mirror);
  EXPECT_EQ(image->getTypeIdentifier(), "EllipseCurve");
  EXPECT_EQ(image->getParameterInterval().start, -0.5);
  EXPECT_THAT(image->evaluate(-1.7), IsNear(Point3D(2 * std::cos(1.7), -std::sin(1.7), 0), 1e-15));
  const auto normal = dynamic_cast<const EllipseCurve&>(*image).getNormal();
  EXPECT_THAT(normal, IsNear(Vector3D(0, 0, -1), 1e-15));
}

TEST(EllipseCurve, PerimeterOfAKnownEllipse) {
  // 4 a E(e) for a = 2, b = 1, to the digits of a table of the complete elliptic integral.
  const EllipseCurve ellipse({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, 2.0, 1.0, 0.0, 2 * kPi);
  EXPECT_NEAR(ellipse.getTotalLength(), 9.688448220547675, 1e-8);
}

TEST(EllipseCurve, FlatPartsGetFewerChordsThanTheTips) {
  const EllipseCurve thin({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, 100.0, 1.0, 0.0, 2 * kPi);
  const auto line = thin.adaptiveTessellate(1e-3);
  const auto tips = std::count_if(line.begin(), line.end(),
                                  [](const Point3D& p) { return std::abs(p.x()) > 80; });
  EXPECT_GT(2 * tips, static_cast<long>(line.size()));
}

}  // namespace
