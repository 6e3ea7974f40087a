#include "morvel/blend/variable_spine_contact_solver.h"

#include <cmath>

#include "tests/blend/blend_samples.h"
#include "tests/support/near.h"

namespace {

using namespace morvel_test;
using namespace trova::geometry::blend;

const auto kFloor = rectangle({-4, -4, 0}, Vector3D(8, 0, 0), Vector3D(0, 8, 0));
const auto kWall = rectangle({0, -3, -2}, Vector3D(0, 6, 0), Vector3D(0, 0, 5));

TEST(VariableSpine, DerivativesOfTheConstraintsAreTheirSlopes) {
  const auto field = wavyField(0.3, 0.4), wall = wavyWall(0.2, 0.1);
  const VariableSpineConstraintSystem system({field.get(), wall.get(), 1.0, -1.0}, 0.3, {1, 2, 3},
                                             {0.6, 0.0, 0.8});
  SpineVector x;
  x << 0.31, 0.42, 0.53, 0.64, 1.1, 2.2, 0.3;
  SpineVector at, ahead, behind;
  SpineMatrix jacobian, unused;
  ASSERT_TRUE(system.evaluateConstraints(x, at, jacobian));
  for (int k = 0; k < 7; ++k) {
    constexpr double kStep = 1e-6;
    SpineVector step = SpineVector::Zero();
    step[k] = kStep;
    ASSERT_TRUE(system.evaluateConstraints(x + step, ahead, unused));
    ASSERT_TRUE(system.evaluateConstraints(x - step, behind, unused));
    EXPECT_LT(((ahead - behind) / (2 * kStep) - jacobian.col(k)).norm(), 1e-6) << k;
  }
}

TEST(VariableSpine, BallsOnAPlaneStandAtTheirRadius) {
  const VariableSpineContactSolver solver({&kFloor, &kWall, 1.0, 1.0});
  for (const double r : {0.1, 0.7, 1.9}) {
    const auto found = solver.solve(r, {0, 1, 0}, {0, 1, 0}, {0.5, 0.5, 0.5, 0.5});
    ASSERT_TRUE(found.converged) << r;
    EXPECT_THAT(found.station.centre, IsNear(Point3D(r, 1, r), 1e-7));
    EXPECT_THAT(found.station.contact1, IsNear(Point3D(r, 1, 0), 1e-7));
    EXPECT_THAT(found.station.contact2, IsNear(Point3D(0, 1, r), 1e-7));
    EXPECT_LE(found.residual, 1e-8);
    EXPECT_EQ(found.station.radius, r);
  }
  // The wall ends at z = 3.
  EXPECT_FALSE(solver.solve(3.5, {0, 1, 0}, {0, 1, 0}, {0.5, 0.5, 0.5, 0.5}).converged);
}

TEST(VariableSpine, ParametersStayInTheirRangesAndIdleStepsEndTheSearch) {
  VariableSpineConfig config;
  config.u1 = {0.1, 0.4};
  const VariableSpineContactSolver held({&kFloor, &kWall, 1.0, 1.0}, config);
  SpineVector x = SpineVector::Constant(0.7);
  EXPECT_FALSE(held.clampParameters(x));
  EXPECT_EQ(x[0], 0.4);
  EXPECT_EQ(x[1], 0.7);
  EXPECT_TRUE(held.clampParameters(x));
  // The contact at u1 = 0.5 + 0.7 / 8 is out of its range: the search cannot get there.
  const std::array<double, 4> near{0.3, 0.5, 0.5, 0.5};
  EXPECT_FALSE(held.solve(0.7, {0, 1, 0}, {0, 1, 0}, near).converged);
  config.clamp = false;
  const VariableSpineContactSolver loose({&kFloor, &kWall, 1.0, 1.0}, config);
  EXPECT_TRUE(loose.solve(0.7, {0, 1, 0}, {0, 1, 0}, near).converged);
  config.max_iterations = 1;
  const VariableSpineContactSolver brief({&kFloor, &kWall, 1.0, 1.0}, config);
  EXPECT_FALSE(brief.solve(0.7, {0, 1, 0}, {0, 1, 0}, near).converged);
}

TEST(VariableSpine, StationsFollowTheLawAlongAGuide) {
  const VariableSpineContactSolver solver({&kFloor, &kWall, 1.0, 1.0});
  const RadiusLaw law({0.0, 1.0}, {0.4, 0.8}, RadiusInterpolation::Linear);
  const BallPath guide = [](double t) -> std::optional<BallStation> {
    if (t > 0.9) return std::nullopt;
    BallStation at;
    at.centre = {0.6, -2 + 4 * t, 0.6};
    at.along = {0, 2, 0};
    at.u1 = at.v1 = at.u2 = at.v2 = 0.5;
    return at;
  };
  const auto spine = solver.generateConstraintBasedSpine(guide, law, {0.0, 0.5, 0.8, 1.0});
  ASSERT_EQ(spine.size(), 4u);
  for (const auto& [k, t] : {std::pair(0, 0.0), {1, 0.5}, {2, 0.8}}) {
    ASSERT_TRUE(spine[k].converged);
    const double r = 0.4 + 0.4 * t;
    EXPECT_THAT(spine[k].station.centre, IsNear(Point3D(r, -2 + 4 * t, r), 1e-7));
  }
  EXPECT_FALSE(spine[3].converged);
}

TEST(RadiusLaw, StaysWithinItsValuesAndIsSmooth) {
  const std::vector<double> at{0.0, 0.3, 0.5, 1.0}, radii{0.5, 0.2, 0.9, 0.8};
  for (const auto kind : {RadiusInterpolation::Linear, RadiusInterpolation::Smooth}) {
    const RadiusLaw law(at, radii, kind);
    EXPECT_EQ(law.least(), 0.2);
    EXPECT_EQ(law.at(-1.0), 0.5);
    EXPECT_EQ(law.at(2.0), 0.8);
    double last = law.at(0.0);
    for (int k = 1; k <= 1000; ++k) {
      const double t = k / 1000.0, now = law.at(t);
      const std::size_t piece = t <= 0.3 ? 0 : t <= 0.5 ? 1 : 2;
      EXPECT_GE(now, std::min(radii[piece], radii[piece + 1]) - 1e-12);
      EXPECT_LE(now, std::max(radii[piece], radii[piece + 1]) + 1e-12);
      EXPECT_GE((now - last) * (radii[piece + 1] - radii[piece]), -1e-12) << t;  // no turning back
      last = now;
    }
    const double h = 1e-6;
    if (kind == RadiusInterpolation::Smooth) {
      EXPECT_NEAR((law.at(0.3 + h) - law.at(0.3)) / h, (law.at(0.3) - law.at(0.3 - h)) / h, 1e-3);
    }
  }
  EXPECT_THROW(RadiusLaw({0.0, 0.0}, {1, 1}, RadiusInterpolation::Linear), std::invalid_argument);
  EXPECT_THROW(RadiusLaw({0.0, 1.0}, {1, NAN}, RadiusInterpolation::Linear), std::invalid_argument);
}

}  // namespace
