#include "morvel/blend/surface_intersection_generator.h"

#include <numeric>

#include "tests/blend/blend_samples.h"
#include "tests/support/near.h"

namespace {

using namespace morvel_test;
using namespace trova::geometry::blend;

constexpr double kPi = 3.14159265358979323846;

PlaneSurface floorAt(double z) {
  return rectangle({-5, -5, z}, Vector3D(10, 0, 0), Vector3D(0, 10, 0));
}

SurfaceIntersection meet(const Surface& a, const Surface& b, double tolerance = 1e-4) {
  SurfaceIntersectionConfig config;
  config.tolerance = tolerance;
  return SurfaceIntersectionGenerator::computeIntersection(a, b, config);
}

// Every point lies on both surfaces at its parameters, and each step goes on in the direction of
// the points.
void expectSound(const SurfaceIntersection& found, const Surface& a, const Surface& b) {
  for (const IntersectionBranch& branch : found.branches)
    for (std::size_t k = 0; k < branch.points.size(); ++k) {
      const IntersectionPoint& at = branch.points[k];
      ASSERT_THAT(a.evaluate(at.u1, at.v1), IsNear(at.point, 1e-8));
      ASSERT_THAT(b.evaluate(at.u2, at.v2), IsNear(at.point, 1e-8));
      if (k == 0) continue;
      const Vector3D step = at.point - branch.points[k - 1].point;
      ASSERT_TRUE(step.magnitude() <= 1e-9 || step.dot(at.tangent) > 0.0);
    }
}

TEST(SurfaceIntersection, SphereAndPlaneMeetInAClosedCircle) {
  const SphereSurface ball({0.3, -0.2, 0.1}, 2.0);
  const PlaneSurface plane = floorAt(0.9);
  const auto found = meet(ball, plane);
  ASSERT_EQ(found.branches.size(), 1u);
  EXPECT_TRUE(found.branches[0].is_closed);
  expectSound(found, ball, plane);
  const double radius = std::sqrt(4.0 - 0.64);
  EXPECT_NEAR(found.branches[0].length(), 2 * kPi * radius, 0.01 * radius);
  const auto curve = SurfaceIntersectionGenerator::fitBranch(found.branches[0], 1e-4);
  for (double t = 0.0; t <= 1.0; t += 0.013) {
    const Point3D p = curve->evaluate(t);
    EXPECT_NEAR(p.z(), 0.9, 3e-4);
    EXPECT_NEAR(std::hypot(p.x() - 0.3, p.y() + 0.2), radius, 3e-4);
  }
}

TEST(SurfaceIntersection, CylindersOfUnequalRadiiMeetInTwoLoops) {
  const CylinderSurface wide({0, 0, -3}, Vector3D(0, 0, 1), 1.0, 6.0);
  const CylinderSurface slim({-3, 0, 0}, Vector3D(1, 0, 0), 0.6, 6.0);
  const auto found = meet(wide, slim);
  ASSERT_EQ(found.branches.size(), 2u);
  for (const auto& branch : found.branches) {
    EXPECT_TRUE(branch.is_closed);
    EXPECT_EQ(branch.points.front().point.x() > 0, branch.points.back().point.x() > 0);
  }
  expectSound(found, wide, slim);
}

TEST(SurfaceIntersection, FindsEveryBranchOfAWavyFieldAndItsLevels) {
  const auto field = wavyField(0.5, 0.3, 14);
  for (const double z : {0.03, 0.2, 0.33, 0.43}) {
    const PlaneSurface plane = floorAt(z);
    const auto found = meet(*field, plane);
    expectSound(found, *field, plane);
    // Wherever the field changes sides along a line of the grid, some branch passes.
    for (int line = 0; line <= 40; ++line)
      for (int k = 0; k < 400; ++k) {
        const Point3D p = field->evaluate(line / 40.0, k / 400.0);
        const Point3D q = field->evaluate(line / 40.0, (k + 1) / 400.0);
        if ((p.z() < z) == (q.z() < z)) continue;
        double nearest = 1e9;
        for (const auto& branch : found.branches)
          for (std::size_t m = 0; m + 1 < branch.points.size(); ++m) {
            const Point3D& a = branch.points[m].point;
            const Vector3D chord = branch.points[m + 1].point - a;
            const double t = std::clamp(
                (p - a).dot(chord) / std::max(chord.squaredMagnitude(), 1e-300), 0.0, 1.0);
            nearest = std::min(nearest, p.distanceTo(a + chord * t));
          }
        ASSERT_LT(nearest, 0.03) << "level " << z << " at " << testing::PrintToString(p);
      }
    for (const auto& branch : found.branches) {
      if (branch.is_closed) continue;
      for (const auto* end : {&branch.points.front(), &branch.points.back()})
        EXPECT_NEAR(std::min({end->u1, 1 - end->u1, end->v1, 1 - end->v1}), 0.0, 1e-12) << z;
    }
  }
}

TEST(SurfaceIntersection, FindsASmallLoop) {
  const SphereSurface ball({0.37, 0.11, -1.0}, 1.0);
  const PlaneSurface plane = floorAt(-0.001);  // a circle of radius 0.045
  const auto found = meet(ball, plane, 1e-5);
  ASSERT_EQ(found.branches.size(), 1u);
  EXPECT_TRUE(found.branches[0].is_closed);
  expectSound(found, ball, plane);
}

TEST(SurfaceIntersection, ReportsTangencyAndCoincidence) {
  const SphereSurface ball({0.2, 0.1, 1.0}, 1.0);
  const auto touching = meet(ball, floorAt(0.0));
  EXPECT_TRUE(touching.branches.empty());
  ASSERT_FALSE(touching.tangencies.empty());
  EXPECT_THAT(touching.tangencies[0].point, IsNear(Point3D(0.2, 0.1, 0.0), 0.01));

  const auto field = wavyField(0.4, 0.0);
  EXPECT_TRUE(meet(*field, *field).coincide);
  EXPECT_TRUE(
      meet(floorAt(0.0), rectangle({-1, -1, 0}, Vector3D(3, 0, 0), Vector3D(0, 3, 0))).coincide);

  // Equal cylinders cross themselves where they are tangent, at (0, +-1, 0).
  const CylinderSurface a({0, 0, -3}, Vector3D(0, 0, 1), 1.0, 6.0);
  const CylinderSurface b({-3, 0, 0}, Vector3D(1, 0, 0), 1.0, 6.0);
  const auto crossing = meet(a, b);
  EXPECT_FALSE(crossing.coincide);
  EXPECT_FALSE(crossing.tangencies.empty());
  EXPECT_GE(crossing.branches.size(), 4u);
  expectSound(crossing, a, b);

  EXPECT_TRUE(meet(floorAt(0.0), floorAt(1.0)).branches.empty());
  EXPECT_TRUE(meet(floorAt(0.0), floorAt(1.0)).tangencies.empty());
}

}  // namespace
