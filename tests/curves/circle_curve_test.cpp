#include "morvel/curves/circle_curve.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/support/curve_probes.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

namespace {

using namespace morvel_test;

trova::foundation::ToleranceContext looseContext() {
  trova::foundation::ToleranceContext context;
  context.setGeometricTolerance(0.01);
  return context;
}

TEST(CircleCurve, ClosureIsTheFullTurnWhateverTheTolerance) {
  const Vector3D up(0, 0, 1);
  EXPECT_TRUE(CircleCurve({0, 0, 0}, up, 1.0, 0.0, 6.2831853).isClosed());
  EXPECT_FALSE(CircleCurve({0, 0, 0}, up, 1.0, 0.0, 6.28).isClosed(looseContext()));
  EXPECT_TRUE(tiltedCircle().isPeriodic());
  EXPECT_FALSE(tiltedArc().isPeriodic());
  EXPECT_FALSE(CircleCurve({0, 0, 0}, up, 1.0, 2 * kPi, 0.0).isFullCircle());
  EXPECT_TRUE(tiltedCircle().reverse()->isClosed());
}

TEST(CircleCurve, ValidityHasFixedThresholds) {
  EXPECT_FALSE(CircleCurve({0, 0, 0}, {0, 0, 1}, 1e-5).isValid());
  EXPECT_TRUE(CircleCurve({0, 0, 0}, {0, 0, 1}, 2e-4).isValid());
  EXPECT_FALSE(CircleCurve({0, 0, 0}, {0, 0, 5e-5}, 1.0).isValid());
  EXPECT_FALSE(CircleCurve({0, 0, 0}, {0, 0, 1}, -1.0).isValid());
  const CircleCurve flat({1, 2, 3}, {0, 0, 0}, 1.0);
  EXPECT_THAT(flat.evaluate(0.3), IsNear(Point3D(1, 2, 3), 0.0));
}

TEST(CircleCurve, StartAxisIsNormalCrossXOrY) {
  const struct {
    Vector3D normal, start;
  } cases[] = {{{0, 0, 2}, {0, 1, 0}},    // z x X
               {{3, 0, 0}, {0, 0, 1}},    // x x Y
               {{0, 1, 0}, {0, 0, -1}}};  // y x X
  for (const auto& [normal, start] : cases) {
    const CircleCurve circle({0, 0, 0}, normal, 1.0);
    EXPECT_THAT(circle.getStartAxis(), IsNear(start, 1e-15));
    EXPECT_THAT(circle.getNormal(), IsNear(normal, 0.0));
    // A quarter turn on, it has turned about the normal by the right-hand rule.
    const Vector3D quarter = circle.evaluate(0.25) - Point3D::origin();
    EXPECT_THAT(quarter, IsNear(normal.normalized().cross(start), 1e-15));
  }
  const CircleCurve chosen({0, 0, 0}, {0, 0, 1}, Vector3D(3, 0, 4), 1.0);
  EXPECT_THAT(chosen.evaluate(0.0), IsNear(Point3D(1, 0, 0), 1e-15));
}

TEST(CircleCurve, ParameterIsNormalisedAndClamped) {
  const CircleCurve arc({0, 0, 0}, {0, 0, 1}, Vector3D(1, 0, 0), 2.0, kPi / 2, kPi);
  EXPECT_THAT(arc.evaluate(-3.0), IsNear(Point3D(0, 2, 0), 1e-15));
  EXPECT_THAT(arc.evaluate(7.0), IsNear(Point3D(-2, 0, 0), 1e-15));
  EXPECT_NEAR(arc.getTotalLength(), kPi, 1e-15);
  EXPECT_NEAR(arc.getCurvature(0.4), 0.5, 1e-14);
  const Curve& asCurve = arc;
  EXPECT_THAT(asCurve.getNormal(0.0), IsNear(Vector3D(0, -1, 0), 1e-14));
  EXPECT_THAT(arc.getNormal(0.0), IsNear(Vector3D(0, -1, 0), 1e-14));
}

TEST(CircleCurve, ClosestParameterOfAnArcWeighsItsEnds) {
  const CircleCurve arc({0, 0, 0}, {0, 0, 1}, Vector3D(1, 0, 0), 1.0, 0.0, kPi / 2);
  EXPECT_EQ(arc.getClosestParameter({5, -1, 0}), 0.0);
  EXPECT_EQ(arc.getClosestParameter({-1, 5, 0}), 1.0);
  EXPECT_NEAR(arc.getClosestParameter({1, 1, 7}), 0.5, 1e-15);
  EXPECT_EQ(arc.getClosestParameter({0, 0, 3}), 0.0);
}

TEST(CircleCurve, OffsetInItsPlaneIsConcentric) {
  const CircleCurve circle({1, 0, 0}, {0, 0, 1}, 2.0);
  const auto radiusOf = [](const std::unique_ptr<Curve>& curve) {
    return dynamic_cast<const CircleCurve&>(*curve).getRadius();
  };
  EXPECT_EQ(radiusOf(circle.offset(0.5, {0, 0, 3})), 1.5);  // normal x tangent points inward
  EXPECT_EQ(radiusOf(circle.offset(0.5, {0, 0, -1})), 2.5);
  EXPECT_EQ(radiusOf(circle.reverse()->offset(0.5, {0, 0, 1})), 2.5);
  const CircleCurve clockwise({0, 0, 0}, {0, 0, 1}, 2.0, 3.0, 1.0);
  EXPECT_EQ(radiusOf(clockwise.offset(0.5, {0, 0, 1})), 2.5);
  EXPECT_THROW(circle.offset(2.0, {0, 0, 1}), std::invalid_argument);
  EXPECT_THROW(circle.offset(5.0, {0, 0, 1}), std::invalid_argument);
  EXPECT_EQ(circle.offset(0.5, {0, 1, 1})->getTypeIdentifier(), "OffsetCurve");
}

TEST(CircleCurve, SimilarityKeepsTheClassAndAnyOtherMapTheShape) {
  const auto image = tiltedArc().transform(similarity());
  const auto& circle = dynamic_cast<const CircleCurve&>(*image);
  EXPECT_NEAR(circle.getRadius(), 5.0, 1e-13);
  EXPECT_NEAR(circle.getNormal().magnitude(), 3.0, 1e-13);
  EXPECT_EQ(tiltedArc().transform(shear())->getTypeIdentifier(), "NurbsCurve");
  // Stretched across its plane only, a circle stays one.
  const CircleCurve flat({0, 0, 1}, {0, 0, 1}, 1.0);
  EXPECT_EQ(flat.transform(Transform3D::scaling(2, 2, 7))->getTypeIdentifier(), "CircleCurve");
}

TEST(CircleCurve, NaturalExtensionMayPassTheStart) {
  const auto longer = tiltedCircle().extend(1.0, CurveEnd::End, ExtensionMode::Natural);
  EXPECT_NEAR(longer->getTotalLength(), 4 * kPi + 1.0, 1e-12);
  EXPECT_EQ(longer->getTypeIdentifier(), "CircleCurve");
}

TEST(CircleCurve, TinyToleranceEndsInABoundedPolyline) {
  EXPECT_LE(tiltedCircle().adaptiveTessellate(1e-300).size(), kMaxAdaptivePoints + 1u);
  EXPECT_GE(tiltedCircle().adaptiveTessellate(1e3).size(), 5u);
}

}  // namespace
