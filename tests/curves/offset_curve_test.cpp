#include "morvel/curves/offset_curve.h"

#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>

#include "morvel/curves/bezier_curve.h"
#include "tests/support/curve_probes.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

namespace {

using namespace morvel_test;

const Vector3D kUp(0, 0, 1);

OffsetCurve offsetOf(const Curve& base, double distance, const Vector3D& normal = kUp) {
  return {base.clone(), distance, normal};
}

TEST(OffsetCurve, LiesAtTheDistanceOnTheSideOfNormalCrossTangent) {
  const BSplineCurve base = planarWave();
  const OffsetCurve offset = offsetOf(base, 0.3);
  for (int i = 0; i <= 20; ++i) {
    const double u = i / 20.0;
    const Vector3D shift = offset.evaluate(u) - base.evaluate(u);
    EXPECT_NEAR(shift.magnitude(), 0.3, 1e-14);
    EXPECT_NEAR(shift.dot(base.getTangent(u)), 0.0, 1e-14);
    EXPECT_GT(kUp.cross(base.getTangent(u)).dot(shift), 0.0);
  }
}

TEST(OffsetCurve, OfCirclesIsConcentric) {
  const OffsetCurve offset = offsetOf(quarterCircle(), 0.25);
  for (const double u : {0.0, 0.31, 1.0}) {
    EXPECT_NEAR(offset.evaluate(u).distanceTo({0, 0, 0}), 0.75, 1e-15);
    EXPECT_NEAR(offset.getCurvature(u), 1 / 0.75, 1e-12);
  }
  EXPECT_NEAR(offset.getTotalLength(), 0.75 * kPi / 2, 1e-8);
}

TEST(OffsetCurve, DerivativesAgreeWithDifferences) {
  for (const double u : {0.1, 0.45, 0.8}) {
    expectTrueDerivatives(offsetOf(planarWave(), -0.3), u, 4, 1e-6);
    expectTrueDerivatives(offsetOf(offsetOf(planarWave(), -0.3), 0.2, {0, 1, 1}), u, 3, 1e-6);
  }
  expectTrueDerivatives(offsetOf(unevenCubic(), 1.0, {1, -2, 3}), 1.3, 3, 1e-6);
  expectTrueDerivatives(offsetOf(*halfEllipse().reverse(), 0.2), 1.3, 4, 1e-6);
}

TEST(OffsetCurve, SideFollowsTheTravelOnAReversedEllipse) {
  const EllipseCurve ellipse = halfEllipse();
  const auto backwards = ellipse.reverse();
  const Vector3D outside = offsetOf(*backwards, 0.2).evaluate(1.0) - ellipse.evaluate(1.0);
  const Vector3D inside = offsetOf(ellipse, 0.2).evaluate(1.0) - ellipse.evaluate(1.0);
  EXPECT_THAT(outside, IsNear(-inside, 1e-15));
  const auto restored = offsetOf(ellipse, 0.2).reverse();
  EXPECT_THAT(pointAt(*restored, 0.25), IsNear(pointAt(offsetOf(ellipse, 0.2), 0.75), 1e-14));
}

TEST(OffsetCurve, PartsAreExactWhereTheBaseSplitsOnlyApproximately) {
  const OffsetCurve offset = offsetOf(unevenCubic(), 0.4);
  const auto [first, second] = offset.split(1.2);
  EXPECT_THAT(first->evaluate(0.7), IsNear(offset.evaluate(0.7), 1e-12));
  EXPECT_THAT(second->evaluate(3.1), IsNear(offset.evaluate(3.1), 1e-12));
  const auto reversed = offset.reverse();
  EXPECT_THAT(pointAt(*reversed, 0.3), IsNear(pointAt(offset, 0.7), 1e-12));
  EXPECT_THROW(offset.trim(2.0, 1.0), std::invalid_argument);
  EXPECT_THROW(offset.split(4.0), std::invalid_argument);
}

TEST(OffsetCurve, TransformFollowsEveryMap) {
  const OffsetCurve offset = offsetOf(planarWave(), 0.3);
  for (const Transform3D& map : {similarity(), reflection(), shear()}) {
    const auto image = offset.transform(map);
    const bool exact = image->getTypeIdentifier() == "OffsetCurve";
    for (const double u : {0.0, 0.37, 1.0})
      EXPECT_THAT(image->evaluate(u),
                  IsNear(map.transform(offset.evaluate(u)), exact ? 1e-13 : 1e-5));
    OffsetCurve moved = offset;
    if (exact) {
      moved.applyTransformToGeometry(map);
      EXPECT_THAT(moved.evaluate(0.37), IsNear(image->evaluate(0.37), 1e-13));
    } else {
      EXPECT_THROW(moved.applyTransformToGeometry(map), std::invalid_argument);
      EXPECT_THAT(moved.evaluate(0.37), IsNear(offset.evaluate(0.37), 0.0));
    }
  }
  EXPECT_EQ(offset.transform(similarity())->getTypeIdentifier(), "OffsetCurve");
  EXPECT_EQ(offset.transform(reflection())->getTypeIdentifier(), "OffsetCurve");
}

TEST(OffsetCurve, QueriesMatchSampling) {
  const OffsetCurve offset = offsetOf(planarWave(), 0.3);
  const BoundingBox box = offset.getBoundingBox();
  const auto line = offset.adaptiveTessellate(1e-3);
  for (int i = 0; i <= 300; ++i) {
    EXPECT_TRUE(box.contains(pointAt(offset, i / 300.0)));
    EXPECT_LE(distanceToPolyline(pointAt(offset, i / 300.0), line), 1e-3);
  }
  for (const Point3D& p :
       {Point3D(2, -3, 1), Point3D(4, 2, 0), Point3D(-1, 0, 0), Point3D(9, 9, 9)}) {
    const Point3D foot = offset.evaluate(offset.getClosestParameter(p));
    EXPECT_NEAR(foot.distanceTo(p), sampledDistance(offset, p), 1e-6);
  }
}

TEST(OffsetCurve, ExtensionIsAsLongAsAsked) {
  const QuietStatus quiet;
  const OffsetCurve offset = offsetOf(planarWave(), 0.3);
  const auto longer = offset.extend(0.5, CurveEnd::End, ExtensionMode::Linear);
  EXPECT_NEAR(longer->getTotalLength(), offset.getTotalLength() + 0.5, 1e-4);
}

TEST(OffsetCurve, ABaseThatStopsAtItsEndStillHasASide) {
  // The first two control points coincide: no tangent at 0, but one just behind it.
  const BezierCurve base({{0, 0, 0}, {0, 0, 0}, {1, 0, 0}, {2, 1, 0}});
  const OffsetCurve offset = offsetOf(base, 0.5);
  EXPECT_FALSE(offset.isValid());
  EXPECT_THAT(offset.evaluate(0.0), IsNear(Point3D(0, 0.5, 0), 1e-5));
  EXPECT_TRUE(offset.evaluateDerivatives(0.0, 2)[2].isFinite());
  const OffsetCurve upright = offsetOf(LineCurve({0, 0, 0}, {0, 0, 4}), 0.5);
  EXPECT_FALSE(upright.isValid());
  EXPECT_TRUE(upright.evaluate(0.5).isFinite());
}

TEST(OffsetCurve, OffsetsOfOffsetsAddUpAndStayShallow) {
  std::unique_ptr<Curve> curve = planarWave().clone();
  for (int i = 0; i < 12; ++i)
    curve = curve->offset(0.02, kUp);
  EXPECT_THAT(pointAt(*curve, 0.5), IsNear(offsetOf(planarWave(), 0.24).evaluate(0.5), 1e-5));
}

TEST(OffsetCurve, RefusesWhatHasNoOffset) {
  const std::shared_ptr<const Curve> none;
  const std::shared_ptr<const Curve> wave = planarWave().clone();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THROW(OffsetCurve(none, 1.0, kUp), std::invalid_argument);
  EXPECT_THROW(OffsetCurve(wave, nan, kUp), std::invalid_argument);
  EXPECT_THROW(OffsetCurve(wave, 1.0, {0, 0, 0}), std::invalid_argument);
  EXPECT_THROW(OffsetCurve(wave, 1.0, {0, nan, 0}), std::invalid_argument);
}

}  // namespace
