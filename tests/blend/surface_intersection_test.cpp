#include "morvel/blend/surface_intersection_generator.h"

#include <algorithm>
#include <numeric>

#include "tests/blend/blend_samples.h"
#include "tests/support/captured_streams.h"
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

/// The pieces of a level set of a height field, counted on a fine grid: edges of the grid that
/// change sides, joined within its cells.
class LevelPieces {
 public:
  LevelPieces(const Surface& field, double level) : above_(kSide * kSide) {
    for (int i = 0; i < kSide; ++i)
      for (int j = 0; j < kSide; ++j)
        above_[at(i, j)] = field.evaluate(share(i), share(j)).z() > level;
    parent_.resize(2 * above_.size());
    std::iota(parent_.begin(), parent_.end(), 0);
    for (int i = 0; i + 1 < kSide; ++i)
      for (int j = 0; j + 1 < kSide; ++j)
        joinIn(i, j, field.evaluate(share(i + 0.5), share(j + 0.5)).z() > level);
  }

  int count() {
    int pieces = 0;
    for (int i = 0; i < kSide; ++i)
      for (int j = 0; j < kSide; ++j) {
        pieces += i + 1 < kSide && above(i, j) != above(i + 1, j) && isRoot(2 * at(i, j));
        pieces += j + 1 < kSide && above(i, j) != above(i, j + 1) && isRoot(2 * at(i, j) + 1);
      }
    return pieces;
  }

 private:
  static constexpr int kSide = 501;
  static double share(double i) { return i / (kSide - 1); }
  static int at(int i, int j) { return i * kSide + j; }
  bool above(int i, int j) const { return above_[at(i, j)]; }

  void joinIn(int i, int j, bool isMiddleAbove) {
    const int edges[4] = {2 * at(i, j), 2 * at(i + 1, j) + 1, 2 * at(i, j + 1), 2 * at(i, j) + 1};
    const bool corners[4] = {above(i, j), above(i + 1, j), above(i + 1, j + 1), above(i, j + 1)};
    std::vector<int> crossed;
    for (int k = 0; k < 4; ++k)
      if (corners[k] != corners[(k + 1) % 4]) crossed.push_back(edges[k]);
    if (crossed.size() == 2) join(crossed[0], crossed[1]);
    if (crossed.size() < 4) return;
    const int shift = isMiddleAbove == corners[0] ? 1 : 3;  // the corner next to the middle's side
    join(edges[0], edges[shift]);
    join(edges[2], edges[(2 + shift) % 4]);
  }

  int rootOf(int edge) {
    while (parent_[edge] != edge)
      edge = parent_[edge] = parent_[parent_[edge]];
    return edge;
  }
  bool isRoot(int edge) { return rootOf(edge) == edge; }
  void join(int a, int b) { parent_[rootOf(a)] = rootOf(b); }

  std::vector<char> above_;
  std::vector<int> parent_;
};

TEST(SurfaceIntersection, CountsTheBranchesNearPeaksPassesAndPits) {
  int several = 0;
  for (const auto& [phase, points] : {std::pair(0.0, 8), {0.9, 11}, {2.1, 14}}) {
    const auto field = wavyField(0.5, phase, points);
    // Where the field is level at a place of a coarse grid, a level a little off has small loops or
    // branches that almost touch.
    for (int i = 1; i < 60; ++i)
      for (int j = 1; j < 60; ++j) {
        const auto look = field->evaluateDerivatives(i / 60.0, j / 60.0, 1);
        if (std::hypot(look.Su.z(), look.Sv.z()) > 0.1) continue;
        for (const double off : {-1e-2, 2e-3, 1e-2}) {
          const double z = look.point.z() + off;
          const int found = int(meet(*field, floorAt(z)).branches.size());
          ASSERT_EQ(found, LevelPieces(*field, z).count()) << phase << ", level " << z;
          several += found > 1;
        }
      }
  }
  EXPECT_GT(several, 20);
}

// The roof z = -x^2 under y, cut just below its ridge: two lines a small distance apart.
TEST(SurfaceIntersection, PartsLinesThatRunCloseTogether) {
  for (const double depth : {1e-1, 1e-3, 1e-5})
    for (const double tolerance : {1e-2, 1e-5}) {
      ControlNet net(3, 5);
      for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 5; ++j)
          net(i, j) = {2.0 * (i - 1) + 0.3 * j, 1.0 * j, i == 1 ? 4.0 : -4.0};
      const auto roof = BSplineSurface::createClamped(std::move(net), 2, 3);
      const auto found = meet(*roof, floorAt(-depth), tolerance);
      ASSERT_EQ(found.branches.size(), 2u) << depth << ", " << tolerance;
      for (const auto& branch : found.branches)
        EXPECT_NEAR(branch.length(), 4.0 * std::hypot(1.0, 0.3), 1e-6);
      const double apart =
          found.branches[0].points[0].point.x() - 0.3 / 1.0 * found.branches[0].points[0].point.y();
      EXPECT_NEAR(std::abs(apart), std::sqrt(depth), 1e-6);
    }
}

TEST(SurfaceIntersection, PartsSheetsOfOneSurface) {
  for (const double gap : {0.3, 3e-3}) {
    ControlNet net(14, 6);
    for (int i = 0; i < 14; ++i)
      for (int j = 0; j < 6; ++j)
        net(i, j) = {4.0 - 8.0 * std::abs(i / 13.0 - 0.5), 0.8 * j, i < 7 ? 0.0 : gap};
    const auto hairpin = BSplineSurface::createClamped(std::move(net), 3, 3);
    const auto across = rectangle({1.3, -1, -3}, Vector3D(0.3, 6, 0), Vector3D(0, 0, 6));
    EXPECT_EQ(meet(*hairpin, across).branches.size(), 2u) << gap;
  }
}

TEST(SurfaceIntersection, SettingsDoWhatTheySay) {
  const auto field = wavyField(0.5, 0.3, 14);
  const PlaneSurface plane = floorAt(0.2);
  SurfaceIntersectionConfig config;
  config.tolerance = 1e-4;
  const auto run = [&](const Surface& a, const Surface& b) {
    return SurfaceIntersectionGenerator::computeIntersection(a, b, config);
  };
  const auto all = run(*field, plane);
  ASSERT_GT(all.branches.size(), 1u);
  EXPECT_GE(all.branches[0].length(), all.branches[1].length());

  config.reverse = true;
  const auto reversed = run(*field, plane);
  EXPECT_LT(reversed.branches[0].points[1].tangent.dot(all.branches[0].points[1].tangent), 1.0);
  expectSound(reversed, *field, plane);
  EXPECT_THAT(reversed.branches[0].points.front().point,
              IsNear(all.branches[0].points.back().point, 1e-9));
  config.reverse = false;

  config.only_branch = 1;
  ASSERT_EQ(run(*field, plane).branches.size(), 1u);
  EXPECT_NEAR(run(*field, plane).branches[0].length(), all.branches[1].length(), 1e-9);
  config.only_branch = -1;

  config.max_iterations = 5;  // far too few to cross the field
  const auto stopped = run(*field, plane);
  ASSERT_FALSE(stopped.branches.empty());
  EXPECT_TRUE(stopped.branches[0].start == BranchEnd::Stalled ||
              stopped.branches[0].end == BranchEnd::Stalled);
  config.max_iterations = 1000;

  config.verbose = true;
  {
    CapturedStreams streams;
    run(*field, plane);
    EXPECT_THAT(streams.out(), testing::HasSubstr("from an edge to an edge"));
  }
  config.verbose = false;

  // A loop inside one of the coarsest cells is seen with more of them.
  const SphereSurface dome({0.1, 0.2, -99.9999}, 100.0);
  config.report_tangency = false;
  EXPECT_TRUE(run(SphereSurface({0.2, 0.1, 1.0}, 1.0), floorAt(0.0)).tangencies.empty());
  const auto coarse = run(dome, floorAt(0.0));
  config.fewest_cells = 60;
  config.starts_per_cell = 2;
  EXPECT_EQ(run(dome, floorAt(0.0)).branches.size(), 1u);
  EXPECT_GT(run(dome, floorAt(0.0)).meeting_cells, coarse.meeting_cells);
}

TEST(SurfaceIntersection, FoldsOfOffsetsEndABranchOrDropIt) {
  // The plane stands across a gutter whose bend is sharper than the distance at its bottom.
  ControlNet net(3, 2);
  for (int j = 0; j < 2; ++j) {
    const double width = j == 0 ? 0.4 : 3.0;
    net(0, j) = {-width, 4.0 * j, 1.0};
    net(1, j) = {0.0, 4.0 * j, -1.0};
    net(2, j) = {width, 4.0 * j, 1.0};
  }
  const auto gutter = BSplineSurface::createClamped(std::move(net), 2, 1);
  const auto upright = rectangle({-3, 2, -3}, Vector3D(6, 0, 0), Vector3D(0, 0, 8));
  SurfaceIntersectionConfig config;
  config.tolerance = 1e-4;
  const auto meetOffset = [&] {
    return SurfaceIntersectionGenerator::computeOffsetIntersection(*gutter, 1.8, upright, 0.0,
                                                                   config);
  };
  const auto isFolded = [](const IntersectionBranch& branch) {
    return branch.start == BranchEnd::Fold || branch.end == BranchEnd::Fold;
  };
  const auto all = meetOffset().branches;
  EXPECT_EQ(all.size(), 2u);  // from either rim to where the offset turns over
  EXPECT_TRUE(std::all_of(all.begin(), all.end(), isFolded));
  config.keep_folded = false;
  EXPECT_TRUE(meetOffset().branches.empty());
}

}  // namespace
