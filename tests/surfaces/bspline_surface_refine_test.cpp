#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "tests/surfaces/spline_probes.h"

// Refinement is exact on the stored knots: compared with the double sum over them.

namespace morvel_test {
namespace {

using testing::Each;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const BSplineSurface& asSpline(const std::unique_ptr<Surface>& surface) {
  return dynamic_cast<const BSplineSurface&>(*surface);
}

BSplineSurface unclampedSurface() {
  return {wildNet(6, 5), {-1, 0, 0.5, 1, 2, 3, 4, 4.5, 6}, {0, 1, 2, 3, 3, 4, 6, 7}, 2, 2};
}

TEST(BSplineSurfaceRefine, InsertionKeepsTheSurface) {
  const BSplineSurface s = unevenSurface(7, 6, 3, 2);
  const auto u = s.insertUKnot(0.4, 2);
  const auto v = s.insertVKnot(1.9, 1);
  EXPECT_EQ(asSpline(u).getUControlPointCount(), 9);
  EXPECT_EQ(asSpline(u).getVControlPointCount(), 6);
  EXPECT_EQ(asSpline(v).getVControlPointCount(), 7);
  for (const auto* result : {&u, &v}) {
    EXPECT_TRUE((*result)->isValid());
    EXPECT_LT(storedGap(asSpline(*result), s, -1, 3, -1, 3), 1e-13);
  }
}

TEST(BSplineSurfaceRefine, InsertionStopsAtTheDegree) {
  const BSplineSurface s = unevenSurface(8, 6, 3, 2);  // 1 is a double knot
  struct Case {
    double u;
    int times, added;
  };
  const Case cases[] = {{1.0, 1, 1},  {1.0, 9, 1}, {1.0 + 5e-11, 9, 1}, {0.5, 1'000'000, 3},
                        {-1.0, 2, 0}, {3.0, 2, 0}, {0.5, 0, 0}};
  for (const Case& c : cases)
    EXPECT_EQ(asSpline(s.insertUKnot(c.u, c.times)).getUControlPointCount(), 8 + c.added) << c.u;
  const auto full = s.insertUKnot(1.0, 1);
  EXPECT_EQ(asSpline(asSpline(full).insertUKnot(1.0, 1)).getUKnotVector(),
            asSpline(full).getUKnotVector());
  for (const double bad : {-1.1, 3.1, kNaN})
    EXPECT_THROW(s.insertUKnot(bad, 1), std::invalid_argument);
}

TEST(BSplineSurfaceRefine, ElevationKeepsTheSurface) {
  for (const int times : {0, 1, 3}) {
    const BSplineSurface s = unevenSurface(7, 5, 3, 2);
    const auto u = s.elevateUDegree(times);
    const auto v = s.elevateVDegree(times);
    EXPECT_EQ(asSpline(u).getUDegree(), 3 + times);
    EXPECT_EQ(asSpline(u).getVDegree(), 2);
    EXPECT_EQ(asSpline(v).getVDegree(), 2 + times);
    EXPECT_EQ(asSpline(v).getUKnotVector(), s.getUKnotVector());
    for (const auto* result : {&u, &v}) {
      EXPECT_TRUE((*result)->isValid());
      EXPECT_LT(storedGap(asSpline(*result), s, -1, 3, -1, 3, 5), 1e-12);
    }
  }
  EXPECT_THROW(unevenSurface(5, 5, 2, 2).elevateUDegree(-1), std::invalid_argument);
  EXPECT_THROW(unevenSurface(5, 5, 2, 2).elevateVDegree(2'000'000'000), std::invalid_argument);
}

TEST(BSplineSurfaceRefine, TrimKeepsThePartOnItsStretchOfTheKnots) {
  struct Case {
    double u0, u1, v0, v1;
  };
  const Case cases[] = {{-0.5, 2.5, 0.2, 1.8},          {-1, 3, -1, 3},       {1, 3, -1, 1},
                        {1 + 5e-11, 2, 0, 3},           {1 - 5e-11, 2, 0, 3}, {1.2, 1.21, 2, 2.001},
                        {-1, 1 + 5e-11, -1, 1 + 5e-11}, {0, 1 - 5e-11, 0, 3}};
  const BSplineSurface s = unevenSurface(9, 7, 3, 2);
  for (const Case& c : cases) {
    const auto part = s.trim(c.u0, c.u1, c.v0, c.v1);
    const BSplineSurface& trimmed = asSpline(part);
    ASSERT_TRUE(trimmed.isValid()) << c.u0;
    const Knots& U = trimmed.getUKnotVector();
    EXPECT_THAT(std::vector(U.begin(), U.begin() + 4), Each(c.u0));
    EXPECT_THAT(std::vector(U.end() - 4, U.end()), Each(c.u1));
    EXPECT_GT(U[4], c.u0 + 1e-10);  // no spans of rounding at the ends
    EXPECT_LT(U[U.size() - 5], c.u1 - 1e-10);
    EXPECT_LT(storedGap(trimmed, s, c.u0 + 1e-10, c.u1, c.v0, c.v1, 5), 1e-9) << c.u0;
    EXPECT_LT(trimmed.getControlPoint(0, 0).distanceTo(storedPoint(s, c.u0, c.v0)), 1e-9);
  }
  EXPECT_LT(storedGap(asSpline(s.trim(-0.5, 2.5, 0.2, 1.8)), s, -0.5, 2.5, 0.2, 1.8, 5), 1e-13);
}

TEST(BSplineSurfaceRefine, TrimClampsUnclampedSurfaces) {
  const BSplineSurface s = unclampedSurface();
  ASSERT_TRUE(s.isValid());
  const auto part = s.trim(0.5, 4, 2.5, 4);
  EXPECT_LT(storedGap(asSpline(part), s, 0.5, 4, 2.5, 4), 1e-13);
  EXPECT_LT(asSpline(part).getControlPoint(0, 0).distanceTo(storedPoint(s, 0.5, 2.5)), 1e-13);
}

TEST(BSplineSurfaceRefine, TrimRefusesWindowsThatAreNone) {
  const BSplineSurface s = unevenSurface(7, 6, 3, 2);
  const double windows[][4] = {{0, 0, 0, 1}, {1, 0, 0, 1},    {-1.1, 1, 0, 1}, {0, 3.1, 0, 1},
                               {0, 1, 0, 0}, {kNaN, 1, 0, 1}, {0, 1, 0, kNaN}, {0, 1e-10, 0, 1}};
  for (const auto [u0, u1, v0, v1] : windows)
    EXPECT_THROW(s.trim(u0, u1, v0, v1), std::invalid_argument) << u0 << " " << u1;
  EXPECT_THROW(BSplineSurface(wildNet(3, 3), {0, 1}, {0, 1}, 2, 2).trim(0, 1, 0, 1),
               std::invalid_argument);
  EXPECT_NO_THROW(s.trim(-1 - 1e-12, 3 + 1e-12, 0, 1));  // rounding of a caller's mapping
}

TEST(BSplineSurfaceRefine, SubPatchesAndKnotSubsequencesBelongTogether) {
  const BSplineSurface s = unevenSurface(8, 7, 3, 2);
  const BSplineSurface part(s.extractSubPatch(2, 6, 1, 4), s.extractUKnotSubsequence(2, 6),
                            s.extractVKnotSubsequence(1, 4), 3, 2);
  ASSERT_TRUE(part.isValid());
  const Knots &U = part.getUKnotVector(), &V = part.getVKnotVector();
  EXPECT_LT(storedGap(part, s, U[3], U[5], V[2], V[4]), 1e-13);
  EXPECT_THROW(s.extractSubPatch(0, 8, 0, 1), std::out_of_range);
  EXPECT_THROW(s.extractSubPatch(-1, 3, 0, 1), std::out_of_range);
  EXPECT_THROW(s.extractUKnotSubsequence(3, 2), std::out_of_range);
  EXPECT_THROW(s.extractVKnotSubsequence(0, 2'147'483'647), std::out_of_range);
  const auto ready = s.insertKnotIfNeeded(0.5, true)->insertKnotIfNeeded(0.5, true);
  EXPECT_EQ(ready->getUControlPointCount(), 11);
}

}  // namespace
}  // namespace morvel_test
