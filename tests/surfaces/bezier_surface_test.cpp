#include "morvel/surfaces/bezier_surface.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "morvel/surfaces/bspline_surface.h"
#include "tests/support/shapes.h"
#include "tests/surfaces/spline_probes.h"
#include "tests/surfaces/surface_measures.h"

namespace morvel_test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Repeated linear interpolation of points, the other way to a Bezier surface.
Point3D interpolated(std::vector<Point3D> line, double t) {
  for (; line.size() > 1; line.pop_back()) {
    for (std::size_t k = 0; k + 1 < line.size(); ++k)
      line[k] = line[k] + t * (line[k + 1] - line[k]);
  }
  return line[0];
}

Point3D interpolated(const ControlNet& net, double u, double v) {
  std::vector<Point3D> line;
  for (const auto& row : net.rows())
    line.push_back(interpolated(row, v));
  return interpolated(line, u);
}

TEST(BezierSurface, IsRepeatedInterpolation) {
  const int shapes[][2] = {{2, 2}, {4, 4}, {6, 3}, {1, 3}, {34, 5}};
  for (const auto [nU, nV] : shapes) {
    const BezierSurface s(wildNet(nU, nV));
    for (const double u : {0.0, 0.3, 0.5, 1.0})
      for (const double v : {0.0, 0.72, 1.0})
        EXPECT_THAT(s.evaluate(u, v), IsNear(interpolated(s.controlNet(), u, v), 2e-12 * nU));
  }
  EXPECT_EQ(BezierSurface(ControlNet()).evaluate(0.5, 0.5).distanceTo({}), 0);
  EXPECT_NEAR(bernsteinBasis(2, 5, 0.25), 10 * 0.0625 * 0.421875, 1e-15);
}

TEST(BezierSurface, DerivativesAreTheLimitsOfDifferences) {
  for (const auto& [nU, nV] : {std::pair{4, 4}, {2, 5}, {3, 2}})
    expectTrueDerivatives(BezierSurface(wildNet(nU, nV)), 0.35, 0.6, 1e-5);
  const SurfaceEvaluation at = BezierSurface(wildNet(2, 2)).evaluateDerivatives(0.5, 0.5, 2);
  EXPECT_EQ(at.Suu.magnitude() + at.Svv.magnitude(), 0);
  EXPECT_GT(at.Suv.magnitude(), 0);
}

// By contract terms at or below 1e-15 are left out: a point weighted less does not count, however
// far away it lies.
TEST(BezierSurface, SkipsTinyAndNegativeTerms) {
  ControlNet net = wildNet(4, 4);
  net(3, 3) = Point3D(1e20, 0, 0);
  const BezierSurface far(net);
  net(3, 3) = Point3D(0, 0, 0);
  const double t = 2e-3;  // t^6 is 6.4e-17
  EXPECT_THAT(far.evaluate(t, t), IsNear(BezierSurface(net).evaluate(t, t), 1e-12));
  const auto line =
      BezierSurface(BezierSurface::Net{{{1, 0, 0}, {1, 1, 0}}, {{3, 0, 0}, {3, 1, 0}}});
  EXPECT_NEAR(line.evaluate(2, 0.5).x(), 6, 1e-14);  // -1 * 1 is skipped, 2 * 3 stays
  EXPECT_NEAR(line.evaluateDerivatives(2, 0.5, 1).Su.x(), 2, 1e-14);
  EXPECT_EQ(line.evaluate(kNaN, 0.5).distanceTo({}), 0);
}

TEST(BezierSurface, MeshesHaveTheBitsOfSinglePoints) {
  const BezierSurface s(wildNet(4, 5));
  const SurfaceMesh mesh = s.tessellateUniform(5, 4);
  for (int k = 0; k < int(mesh.vertices.size()); ++k) {
    const double u = (k / 4) / 4.0, v = (k % 4) / 3.0;
    EXPECT_THAT(mesh.vertices[k], IsNear(s.evaluate(u, v), 0.0));
    EXPECT_THAT(mesh.normals[k], IsNear(s.getNormal(u, v), 0.0));
  }
}

TEST(BezierSurface, SplitAndTrimAreExact) {
  const BezierSurface s(wildNet(4, 3));
  const auto [below, above] = s.splitU(0.3);
  const auto [left, right] = s.splitV(0.6);
  const auto part = s.trim(0.2, 0.7, 0.5, 1.0);
  for (const double a : {0.0, 0.4, 1.0}) {
    for (const double b : {0.0, 0.5, 1.0}) {
      EXPECT_THAT(below.evaluate(a, b), IsNear(s.evaluate(0.3 * a, b), 1e-14));
      EXPECT_THAT(above.evaluate(a, b), IsNear(s.evaluate(0.3 + 0.7 * a, b), 1e-14));
      EXPECT_THAT(left.evaluate(a, b), IsNear(s.evaluate(a, 0.6 * b), 1e-14));
      EXPECT_THAT(right.evaluate(a, b), IsNear(s.evaluate(a, 0.6 + 0.4 * b), 1e-14));
      EXPECT_THAT(part->evaluate(a, b), IsNear(s.evaluate(0.2 + 0.5 * a, 0.5 + 0.5 * b), 1e-13));
    }
  }
  EXPECT_THROW(s.splitU(kNaN), std::invalid_argument);
  for (const auto& [start, end] : {std::pair{0.5, 0.5}, {-0.1, 0.5}, {0.5, 1.1}, {kNaN, 1.0}}) {
    EXPECT_THROW(s.trim(start, end, 0, 1), std::invalid_argument);
    EXPECT_THROW(s.trim(0, 1, start, end), std::invalid_argument);
  }
}

TEST(BezierSurface, ConvertsExactly) {
  const BezierSurface s(wildNet(4, 3));
  const auto spline = s.toNurbs();
  EXPECT_TRUE(spline->isValid());
  EXPECT_EQ(spline->getUDegree(), 3);
  EXPECT_LT(largestGap(*spline, s, 15), 1e-14);
}

TEST(BezierSurface, ReversalAndTransposeAreCopiesByContract) {
  const BezierSurface s(wildNet(4, 3));
  for (const auto& copy : {s.reverseU(), s.reverseV(), s.swapUV()})
    EXPECT_EQ(largestGap(*copy, s, 5), 0);
  EXPECT_FALSE(s.isNurbs());
  EXPECT_FALSE(BezierSurface(wildNet(1, 3)).isValid());
  const auto moved = s.transform(shear());
  EXPECT_THAT(moved->evaluate(0.2, 0.7), IsNear(shear().transform(s.evaluate(0.2, 0.7)), 1e-13));
}

TEST(BezierSurface, ClosestParametersLieStraightAcross) {
  const BezierSurface s(wildNet(4, 4));
  const auto [u, v] = s.getClosestParameter(s.evaluate(0.3, 0.8) + 0.2 * s.getNormal(0.3, 0.8));
  EXPECT_NEAR(u, 0.3, 1e-9);
  EXPECT_NEAR(v, 0.8, 1e-9);
}

}  // namespace
}  // namespace morvel_test
