// Filling in space, measured on the surface by closed forms and closest points.

#include <gtest/gtest.h>

#include "morvel/nsided/rbf_nsided_patch.h"
#include "tests/nsided/nsided_samples.h"

namespace morvel_test {
namespace {

struct Hole {
  const char* name;
  Bowl bowl;
  int sides;
  bool isPolygon;
  double largestAngle;  // degrees
};

void PrintTo(const Hole& hole, std::ostream* out) { *out << hole.name << hole.sides; }

std::unique_ptr<RBFNSidedPatch> filled(const BoundaryCurves& curves, int level,
                                       double tolerance = 1e-3) {
  NSidedPatchParameters parameters;
  parameters.continuityLevels.assign(curves.size(), level);
  parameters.boundaryTolerance = tolerance;
  parameters.fillInSpace = true;
  return RBFNSidedPatch::createFromBoundaries(curves, parameters);
}

class SpaceFill : public testing::TestWithParam<Hole> {};

// Both ways: every point of the curves has a point of the surface near it, and every point of the
// surface's edge lies on the bowl and on the rim of the circle or polygon.
TEST_P(SpaceFill, FollowsItsBoundaryAndTheTangentPlanesThere) {
  const Hole& hole = GetParam();
  constexpr double kTolerance = 1e-3;
  const auto curves = loopOn(hole.bowl, hole.sides, hole.isPolygon);
  const auto patch = filled(curves, 1, kTolerance);
  ASSERT_TRUE(patch->isValid());
  for (const auto& curve : curves) {
    for (int k = 0; k <= 12; ++k) {
      const Point3D point = curve->evaluate(k / 12.0);
      const auto [u, v] = patch->getBSplineSurface()->getClosestParameter(point);
      EXPECT_LT(patch->evaluate(u, v).distanceTo(point), kTolerance);
    }
  }
  const double apothem = hole.isPolygon ? std::cos(std::numbers::pi / hole.sides) : 1.0;
  int compared = 0;
  for (int edge = 0; edge < 4; ++edge) {
    for (double x = 0.013; x < 1.0; x += 0.0171) {
      const double us[] = {x, 1.0, 1 - x, 0.0};
      const double vs[] = {0.0, x, 1.0, 1 - x};
      const auto at = patch->evaluateDerivatives(us[edge], vs[edge], 1);
      const auto& p = at.point;
      EXPECT_NEAR(p.z(), hole.bowl.height(p.x(), p.y()), kTolerance);
      const double radius = std::hypot(p.x() - 0.5, p.y() - 0.5) / kLoopRadius;
      EXPECT_GT(radius, apothem - 3 * kTolerance);
      EXPECT_LT(radius, 1.0 + 3 * kTolerance);
      const double sine = at.Su.cross(at.Sv).magnitude() / (at.Su.magnitude() * at.Sv.magnitude());
      if (sine < 0.05 || at.Su.magnitude() < 0.05 || at.Sv.magnitude() < 0.05) continue;
      ++compared;
      const double cosine = std::abs(at.normal.dot(hole.bowl.normal(p.x(), p.y())));
      EXPECT_LT(std::acos(std::min(cosine, 1.0)) * 180 / std::numbers::pi, hole.largestAngle);
    }
  }
  EXPECT_GT(compared, 150);
  EXPECT_LE(patch->getQuality().maxDeviation, kTolerance);
  EXPECT_LT(patch->getQuality().maxAngle * 180 / std::numbers::pi, hole.largestAngle);
}

INSTANTIATE_TEST_SUITE_P(
    Holes, SpaceFill,
    testing::Values(Hole{"plane", {0, 0}, 3, false, 1e-3}, Hole{"dome", {-1, -1}, 3, false, 0.5},
                    Hole{"dome", {-1, -1}, 6, false, 0.5}, Hole{"saddle", {1, -1}, 3, true, 1.0},
                    Hole{"saddle", {1, -1}, 4, true, 0.1}, Hole{"saddle", {1, -1}, 5, true, 1.0},
                    Hole{"dome", {-1, -1}, 6, true, 1.0}, Hole{"bowl", {3, 1}, 8, true, 1.0}));

TEST(SpaceFillSingle, ThePositionsAloneAreFollowedByCurvesWithoutNeighbours) {
  const auto curves = polygon({{0, 0, 0}, {2, 0, 1}, {3, 2, 0}, {1, 3, 1}, {-1, 2, 0}});
  const auto patch = filled(curves, 1, 1e-4);
  ASSERT_TRUE(patch->isValid());
  EXPECT_LE(patch->getQuality().maxDeviation, 1e-4);
  EXPECT_EQ(patch->getQuality().maxAngle, 0.0);
  for (const auto& curve : curves) {
    const Point3D middle = curve->evaluate(0.37);
    const auto [u, v] = patch->getBSplineSurface()->getClosestParameter(middle);
    EXPECT_LT(patch->evaluate(u, v).distanceTo(middle), 1e-4);
  }
}

// The normal curvature across the edge, by differences of the surface's own points.
TEST(SpaceFillSingle, CurvatureContinuityGivesTheNeighboursBendAcrossTheEdge) {
  const Bowl dome{-1, -1};
  const auto bendError = [&](int level) {
    const auto patch = filled(loopOn(dome, 4, true), level);
    double largest = 0.0;
    for (double x = 0.2; x < 0.81; x += 0.1) {
      constexpr double h = 1e-4;
      const auto n = dome.normal(patch->evaluate(x, 0).x(), patch->evaluate(x, 0).y());
      const auto d1 = (patch->evaluate(x, h) - patch->evaluate(x, 0)) / h;
      const auto d2 = ((patch->evaluate(x, 2 * h) - patch->evaluate(x, h)) / h - d1) / h;
      const double slopes = d1.x() * d1.x() + d1.y() * d1.y();
      const double wanted = n.z() * -2.0 * slopes;  // of z = -(x^2 + y^2): n . (0, 0, z'')
      largest = std::max(largest, std::abs(n.dot(d2) - wanted) / std::abs(wanted));
    }
    return largest;
  };
  EXPECT_LT(bendError(2), 0.05);
  EXPECT_GT(bendError(1), 0.05);
}

}  // namespace
}  // namespace morvel_test
