#include "morvel/fitting/surface_parameterization.h"

#include <gmock/gmock.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace {

using namespace trova::geometry;
using testing::Contains;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::mt19937 randomSource(7);
double randomValue(double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(randomSource);
}

// a and b along a tilted plane, c across it.
Point3D onTiltedPlane(double a, double b, double c) {
  const Eigen::Vector3d along(2.0 / 3, 1.0 / 3, 2.0 / 3), across(-2.0 / 3, 2.0 / 3, 1.0 / 3);
  return Point3D(Eigen::Vector3d(along * a + across * b + along.cross(across) * c +
                                 Eigen::Vector3d(10, -20, 30)));
}

std::vector<Point3D> cloud(int count, double a, double b, double c) {
  std::vector<Point3D> points;
  for (int k = 0; k < count; ++k)
    points.push_back(onTiltedPlane(randomValue(0, a), randomValue(0, b), c * randomValue(-1, 1)));
  return points;
}

using Projection = ParameterizationResult (*)(std::span<const Point3D>);
constexpr Projection kProjections[] = {compute_least_squares_plane_projection,
                                       compute_pca_projection, compute_convex_hull_projection};

TEST(SurfaceParameterization, RectangleInSpaceIsMappedOntoTheSquare) {
  std::vector<Point3D> points;
  for (int i = 0; i <= 6; ++i)
    for (int j = 0; j <= 4; ++j)
      points.push_back(onTiltedPlane(i, j, 0));
  for (const Projection project : kProjections) {
    const ParameterizationResult result = project(points);
    ASSERT_TRUE(result.is_valid()) << result.method_name;
    EXPECT_NEAR(result.quality, 1.0, 1e-12);
    EXPECT_TRUE(result.warnings.empty());
    // Up to the direction of an axis, which the convex hull leaves to its first corner.
    for (std::size_t k = 0; k < points.size(); ++k) {
      const double i = double(k / 5) / 6, j = double(k % 5) / 4;
      const auto [u, v] = result.parameters[k];
      EXPECT_NEAR(std::abs(u - 0.5), std::abs(i - 0.5), 1e-12);
      EXPECT_NEAR(std::abs(v - 0.5), std::abs(j - 0.5), 1e-12);
    }
  }
}

TEST(SurfaceParameterization, HullAlignsTheSquareWithARectangleThatTheAxesCross) {
  // Dense along one diagonal: the principal axes follow the diagonal, the hull does not.
  std::vector<Point3D> points;
  for (const double x : {0.0, 2.0})
    for (const double y : {0.0, 1.0})
      points.emplace_back(x, y, 0.0);
  for (int k = 1; k < 50; ++k)
    points.emplace_back(2.0 * k / 50, 1.0 * k / 50, 0.0);
  const ParameterizationResult hull = compute_convex_hull_projection(points);
  const ParameterizationResult plane = compute_least_squares_plane_projection(points);
  for (int corner = 0; corner < 4; ++corner) {
    const auto [u, v] = hull.parameters[corner];
    EXPECT_NEAR(std::abs(u - 0.5), 0.5, 1e-12);
    EXPECT_NEAR(std::abs(v - 0.5), 0.5, 1e-12);
  }
  EXPECT_LT(std::abs(plane.parameters[0].second - 0.5), 0.4);
}

TEST(SurfaceParameterization, ConvexHullIsTheOneOfHalfPlanes) {
  std::vector<Point2D> points;
  for (int k = 0; k < 300; ++k)
    points.emplace_back(std::round(randomValue(0, 20)), std::round(randomValue(0, 20)));
  const std::vector<Point2D> hull = convexHull(points);
  ASSERT_GE(hull.size(), 4u);
  for (std::size_t k = 0; k < hull.size(); ++k) {
    const Point2D& a = hull[k];
    const Point2D& b = hull[(k + 1) % hull.size()];
    const auto side = [&](const Point2D& p) {
      return (b.x() - a.x()) * (p.y() - a.y()) - (b.y() - a.y()) * (p.x() - a.x());
    };
    for (const Point2D& p : points)
      EXPECT_GE(side(p), 0.0);
    EXPECT_GT(side(hull[(k + 2) % hull.size()]), 0.0);  // no corner on a side
  }
  EXPECT_LT(convexHull({{0, 0}, {1, 1}, {2, 2}}).size(), 3u);
}

TEST(SurfaceParameterization, QualityIsTheInPlaneShareOfTheVariance) {
  // Uniform spreads: variances as the squares of the sides.
  const ParameterizationResult flat = compute_least_squares_plane_projection(cloud(20000, 4, 4, 1));
  EXPECT_NEAR(flat.quality, (16.0 + 16.0) / (16 + 16 + 4), 0.01);
  EXPECT_TRUE(flat.warnings.empty());
  const auto ball = compute_least_squares_plane_projection(cloud(20000, 4, 4, 2));
  EXPECT_NEAR(ball.quality, 2.0 / 3, 0.01);
  EXPECT_THAT(ball.warnings, Contains("Low projection quality - points may not be well-suited for "
                                      "planar projection"));
}

TEST(SurfaceParameterization, FailuresAndWarningsSayWhy) {
  const std::vector<Point3D> line = {{0, 0, 0}, {1, 1, 0}, {2, 2, 0}, {3, 3, 0}, {4, 4, 0}};
  const std::vector<Point3D> equal(5, Point3D(1, 2, 3));
  const std::vector<Point3D> three(3);
  std::vector<Point3D> broken = cloud(10, 1, 1, 0.1);
  broken[3] = Point3D(0, kNaN, 0);
  const std::vector<Point3D> ball = cloud(500, 1, 1, 0.5);
  const std::vector<Point3D> strip = cloud(500, 100, 1, 0.001);
  constexpr auto plane = compute_least_squares_plane_projection;
  constexpr auto hull = compute_convex_hull_projection;
  constexpr auto pca = compute_pca_projection;
  const char* noVariation =
      "Degenerate point distribution - insufficient variation in U or V direction";
  const struct {
    Projection project;
    const std::vector<Point3D>& points;
    bool isValid;
    const char* text;
  } cases[] = {
      {plane, line, false, noVariation},
      {plane, equal, false, noVariation},
      {hull, line, false, noVariation},
      {hull, equal, false, noVariation},
      {plane, broken, false, "Failed to compute plane normal via eigendecomposition"},
      {hull, broken, false, "Failed to compute plane normal via eigendecomposition"},
      {pca, three, false, "Insufficient points for PCA analysis (need at least 4)"},
      {pca, broken, false, "PCA eigendecomposition failed - numerical instability"},
      {pca, equal, false, "Points are essentially coincident - no meaningful parameterization"},
      {pca, line, false, "Data is highly linear - consider using curve fitting instead"},
      {pca, line, false, "Degenerate point distribution in parameter space"},
      {pca, ball, true, "Data is volumetric - projection quality may be reduced"},
      {pca, ball, true, "Low projection quality - consider alternative parameterization"},
      {pca, strip, true, "High aspect ratio detected - may affect surface quality"},
  };
  for (const auto& [project, points, isValid, text] : cases) {
    const ParameterizationResult result = project(points);
    EXPECT_EQ(result.is_valid(), isValid) << text;
    EXPECT_THAT(result.warnings, Contains(text));
    EXPECT_EQ(result.parameters.size(), isValid ? points.size() : 0u) << text;
  }
}

}  // namespace
