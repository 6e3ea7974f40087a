#include "morvel/fitting/constraint_application.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "morvel/surfaces/cylinder_surface.h"
#include "tests/support/captured_streams.h"
#include "tests/support/near.h"

namespace morvel_test {
namespace {

using namespace trova::geometry;

/// A bicubic surface of nU x nV points over [x, x + 1] x [0, 1], wavy by `height`.
BSplineSurface wavyNet(int nU, int nV, double x, double height) {
  BSplineSurface::Net net(nU, std::vector<Point3D>(nV));
  for (int i = 0; i < nU; ++i) {
    for (int j = 0; j < nV; ++j)
      net[i][j] = {x + double(i) / (nU - 1), double(j) / (nV - 1),
                   height * std::sin(0.7 * i + 0.4 * j)};
  }
  return *BSplineSurface::createClamped(net, 3, 3);
}

std::vector<JoinConstraint> alongSide(const Surface& other, SurfaceSide otherSide,
                                      const BSplineSurface& surface, SurfaceSide side,
                                      int samples) {
  std::vector<JoinConstraint> constraints;
  for (const SidePair& at : pairSides(other, otherSide, surface, side, samples))
    constraints.push_back(joinConstraintAt(other, at.otherU, at.otherV, at.u, at.v));
  return constraints;
}

TEST(ConstraintMask, CountsOnAGridOfTenByTen) {
  struct Case {
    int type;
    std::size_t entries;
    int first, last;
    double weight;
  };
  for (const Case& c :
       {Case{0, 64, 11, 88, 0.8}, Case{1, 40, 10, 89, 0.3}, Case{2, 36, 22, 77, 0.6},
        Case{3, 100, 0, 99, 0.9}, Case{-7, 100, 0, 99, 0.9}}) {
    const CapturedStreams streams;
    const std::vector<MaskEntry> mask = constraintMask(c.type, 1000);
    ASSERT_EQ(mask.size(), c.entries);
    EXPECT_EQ(mask.front().index, c.first);
    EXPECT_EQ(mask.back().index, c.last);
    EXPECT_EQ(mask.back().weight, c.weight);
    EXPECT_EQ(constraintMask(c.type, 5).size(), 5u);
  }
}

// A neighbour of the same kind that is bent elsewhere: all of its edge can be met.
TEST(ApplyJoinConstraints, JoinsASideToItsNeighbour) {
  const CapturedStreams streams;
  const BSplineSurface neighbour = wavyNet(10, 10, 0.0, 0.2);
  for (const int level : {1, 2}) {
    const int samples = level == 1 ? 6 : 3;  // value, slope and bend of ten points on the edge
    BSplineSurface edited = wavyNet(10, 10, 1.02, 0.1);
    const auto constraints =
        alongSide(neighbour, SurfaceSide::UMax, edited, SurfaceSide::UMin, samples);
    const JoinReport report = applyJoinConstraints(edited, constraints, level, nullptr);
    EXPECT_GT(report.before.angle, 0.1);
    EXPECT_EQ(report.satisfied, samples);
    for (int k = 0; k < samples; ++k) {
      const double v = double(k) / (samples - 1);
      EXPECT_THAT(edited.evaluate(0, v), IsNear(neighbour.evaluate(1, v), 1e-6));
      EXPECT_LT(edited.getNormal(0, v).cross(neighbour.getNormal(1, v)).magnitude(), 1e-6);
    }
    if (level == 2) {
      EXPECT_GT(report.before.curvature, 0.5);
      EXPECT_LE(report.after.curvature, kJoinCurvatureTolerance);
    }
  }
}

// At one place the curvatures of a cylinder are known: 1 / radius around it, 0 along it.
TEST(ApplyJoinConstraints, BendsASurfaceToACylinder) {
  const CapturedStreams streams;
  const CylinderSurface cylinder({0, 0, 0}, {0, 0, 1}, 2.0, 3.0);
  BSplineSurface edited = wavyNet(8, 9, 0.0, 0.05);
  const std::vector<JoinConstraint> constraints{joinConstraintAt(cylinder, 0.3, 0.5, 0.4, 0.6)};
  const JoinReport report = applyJoinConstraints(edited, constraints, 2, nullptr);
  EXPECT_EQ(report.satisfied, 1);
  const SurfaceEvaluation e = edited.evaluateDerivatives(0.4, 0.6, 2);
  const Vector3D axis(0, 0, 1);
  const double E = e.Su.dot(e.Su), F = e.Su.dot(e.Sv), G = e.Sv.dot(e.Sv);
  const double L = e.Suu.dot(e.normal), M = e.Suv.dot(e.normal), N = e.Svv.dot(e.normal);
  EXPECT_NEAR(std::abs((E * N - 2 * F * M + G * L) / (2 * (E * G - F * F))), 0.25, 0.011);
  EXPECT_NEAR((L * N - M * M) / (E * G - F * F), 0.0, 0.006);
  EXPECT_NEAR(e.normal.dot(axis), 0.0, 1e-6);
  EXPECT_THAT(streams.out(),
              testing::MatchesRegex("    • Curvature error: [-0-9.e+]+ - applying correction\n"));
}

TEST(ApplyJoinConstraints, MovesOnlyWhatTheMaskLetsMove) {
  const CapturedStreams streams;
  const BSplineSurface neighbour = wavyNet(10, 10, 0.0, 0.2);
  const BSplineSurface original = wavyNet(10, 10, 1.02, 0.1);
  BSplineSurface edited = original;
  const auto constraints = alongSide(neighbour, SurfaceSide::UMax, edited, SurfaceSide::UMin, 12);
  const std::vector<MaskEntry> coons = constraintMask(0, 100);
  const JoinReport report = applyJoinConstraints(edited, constraints, 1, &coons);
  EXPECT_EQ(report.satisfied, 0);                      // the edge may not move
  EXPECT_LT(report.after.angle, report.before.angle);  // its neighbours do
  for (int i = 0; i < 10; ++i) {
    for (int j = 0; j < 10; ++j) {
      const bool isFree = i > 0 && i < 9 && j > 0 && j < 9;
      const double moved = edited.getControlPoint(i, j).distanceTo(original.getControlPoint(i, j));
      EXPECT_TRUE(isFree || moved == 0.0) << i << " " << j;
    }
  }
}

TEST(ApplyJoinConstraints, RefusesWhatCannotBe) {
  const BSplineSurface neighbour = wavyNet(6, 6, 0.0, 0.2);
  BSplineSurface edited = wavyNet(6, 6, 1.0, 0.1);
  JoinConstraint broken = joinConstraintAt(neighbour, 1, 0.5, 0, 0.5);
  EXPECT_THROW(applyJoinConstraints(edited, {broken}, 3, nullptr), std::invalid_argument);
  EXPECT_THROW(applyJoinConstraints(edited, {}, 1, nullptr), std::invalid_argument);
  broken.position.setX(std::numeric_limits<double>::quiet_NaN());
  EXPECT_THROW(applyJoinConstraints(edited, {broken}, 1, nullptr), std::invalid_argument);
  const std::vector<MaskEntry> heavy{{3, -1.0}};
  EXPECT_THROW(
      applyJoinConstraints(edited, {joinConstraintAt(neighbour, 1, 0.5, 0, 0.5)}, 1, &heavy),
      std::invalid_argument);
}

// The constraints across a joint are the neighbour's own derivatives, told in the other's
// directions.
TEST(BoundaryG1Constraints, ContinueTheNeighbourIntoTheSurface) {
  const BSplineSurface neighbour = wavyNet(6, 6, 0.0, 0.2);
  const BSplineSurface right = wavyNet(6, 6, 1.0, 0.1);
  const std::unique_ptr<Surface> turned = right.reverseU();
  for (const auto& [surface, side, sign] :
       {std::tuple<const Surface*, SurfaceSide, double>{&right, SurfaceSide::UMin, 1.0},
        {turned.get(), SurfaceSide::UMax, -1.0}}) {
    const auto constraints = boundaryG1Constraints(neighbour, SurfaceSide::UMax, *surface, side, 5);
    const G1Constraint& g1 = constraints[2];
    EXPECT_EQ(g1.u, side == SurfaceSide::UMin ? 0.0 : 1.0);
    EXPECT_THAT(g1.tangent_u, IsNear(sign * neighbour.derivative_u(1, 0.5), 1e-12));
    EXPECT_THAT(g1.tangent_v, IsNear(neighbour.derivative_v(1, 0.5), 1e-12));
    EXPECT_THAT(g1.position, IsNear(neighbour.evaluate(1, 0.5), 1e-12));
  }
}

}  // namespace
}  // namespace morvel_test
