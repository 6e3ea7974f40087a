#include "morvel/fitting/surface_parameterization.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include "morvel/foundation/principal_axes.h"

namespace trova::geometry {
namespace {

using foundation::PrincipalAxes;

constexpr double kLeastVariance = 1e-12;  // squared model units
constexpr double kLeastRange = 1e-12;     // model units
constexpr double kLowQuality = 0.8;
constexpr std::size_t kLeastPcaPoints = 4;
constexpr double kLinearShare = 0.95;      // of the variance, along one axis
constexpr double kVolumetricShare = 0.15;  // of the variance, across the plane
constexpr double kHighAspectRatio = 10.0;

constexpr const char* kNoNormal = "Failed to compute plane normal via eigendecomposition";
constexpr const char* kNoVariation =
    "Degenerate point distribution - insufficient variation in U or V direction";
constexpr const char* kUnfitForPlane =
    "Low projection quality - points may not be well-suited for planar projection";

// The two in-plane axes and the shares of the variance.
struct Plane {
  Eigen::Vector3d centroid;
  Eigen::Vector3d uAxis;
  Eigen::Vector3d vAxis;
  std::array<double, 3> spread;  // ascending
  double total;

  double quality() const {
    if (!(total > kLeastVariance)) return 0.0;
    return std::clamp((spread[1] + spread[2]) / total, 0.0, 1.0);
  }
};

Eigen::Vector3d oriented(const Eigen::Vector3d& axis) {
  int largest = 0;
  axis.cwiseAbs().maxCoeff(&largest);
  return axis[largest] < 0 ? Eigen::Vector3d(-axis) : axis;
}

std::optional<Plane> planeOf(std::span<const Point3D> points) {
  const std::optional<PrincipalAxes> axes = foundation::principalAxes(points);
  if (!axes) return std::nullopt;
  const double total = axes->spread[0] + axes->spread[1] + axes->spread[2];
  return Plane{axes->centroid.eigen(), oriented(axes->axes[2].eigen()),
               oriented(axes->axes[1].eigen()), axes->spread, total};
}

// The smallest and the largest value of either coordinate.
struct Range2 {
  double uMin = std::numeric_limits<double>::infinity();
  double uMax = -std::numeric_limits<double>::infinity();
  double vMin = std::numeric_limits<double>::infinity();
  double vMax = -std::numeric_limits<double>::infinity();

  void include(double u, double v) {
    uMin = std::min(uMin, u);
    uMax = std::max(uMax, u);
    vMin = std::min(vMin, v);
    vMax = std::max(vMax, v);
  }
  double uExtent() const { return uMax - uMin; }
  double vExtent() const { return vMax - vMin; }
  bool isDegenerate() const { return !(uExtent() > kLeastRange) || !(vExtent() > kLeastRange); }
};

using Pairs = std::vector<std::pair<double, double>>;

Range2 project(std::span<const Point3D> points, const Plane& plane, Pairs& pairs) {
  pairs.resize(points.size());
  Range2 range;
  for (std::size_t k = 0; k < points.size(); ++k) {
    const Eigen::Vector3d offset = points[k].eigen() - plane.centroid;
    pairs[k] = {offset.dot(plane.uAxis), offset.dot(plane.vAxis)};
    range.include(pairs[k].first, pairs[k].second);
  }
  return range;
}

void normalise(Pairs& pairs, const Range2& range) {
  for (auto& [u, v] : pairs) {
    u = std::clamp((u - range.uMin) / range.uExtent(), 0.0, 1.0);
    v = std::clamp((v - range.vMin) / range.vExtent(), 0.0, 1.0);
  }
}

ParameterizationResult failed(ParameterizationResult result, const char* reason) {
  result.parameters.clear();
  result.quality = 0.0;
  result.warnings.emplace_back(reason);
  return result;
}

double cross(const Point2D& origin, const Point2D& a, const Point2D& b) {
  return (a.x() - origin.x()) * (b.y() - origin.y()) - (a.y() - origin.y()) * (b.x() - origin.x());
}

// The lower half of the hull of points in order; with the order reversed, the upper one.
template <class Iterator>
void appendChain(Iterator first, Iterator last, std::vector<Point2D>& hull) {
  const std::size_t start = hull.size();
  for (; first != last; ++first) {
    while (hull.size() >= start + 2 && !(cross(hull[hull.size() - 2], hull.back(), *first) > 0))
      hull.pop_back();
    hull.push_back(*first);
  }
  hull.pop_back();  // it begins the other half
}

// The unit direction of the side of a hull that the smallest rectangle about it lies on. The number
// of corners is small beside that of the points, so each side is tried against all of them.
Eigen::Vector2d sideOfLeastBox(const std::vector<Point2D>& hull) {
  double leastArea = std::numeric_limits<double>::infinity();
  Eigen::Vector2d best(1.0, 0.0);
  for (std::size_t k = 0; k < hull.size(); ++k) {
    const Eigen::Vector2d side = hull[(k + 1) % hull.size()].eigen() - hull[k].eigen();
    if (!(side.norm() > kLeastRange)) continue;
    const Eigen::Vector2d along = side.normalized();
    Range2 range;
    for (const Point2D& corner : hull)
      range.include(corner.eigen().dot(along), along.x() * corner.y() - along.y() * corner.x());
    const double area = range.uExtent() * range.vExtent();
    if (area < leastArea) {
      leastArea = area;
      best = along;
    }
  }
  return best;
}

// Turns the pairs so that the first coordinate runs along the longer side of the rectangle.
Range2 turnToBox(Pairs& pairs, const Eigen::Vector2d& side) {
  Range2 range;
  for (auto& [u, v] : pairs) {
    const double along = u * side.x() + v * side.y();
    v = v * side.x() - u * side.y();
    u = along;
    range.include(u, v);
  }
  if (!(range.uExtent() < range.vExtent())) return range;
  for (auto& [u, v] : pairs)
    std::swap(u, v);
  return {range.vMin, range.vMax, range.uMin, range.uMax};
}

// How many corners a hull may have for every side to be tried against all corners.
constexpr std::size_t kMostTriedCorners = 4096;

std::vector<Point2D> thinned(std::vector<Point2D> corners) {
  if (corners.size() <= kMostTriedCorners) return corners;
  const std::size_t step = (corners.size() + kMostTriedCorners - 1) / kMostTriedCorners;
  for (std::size_t k = 0; k * step < corners.size(); ++k)
    corners[k] = corners[k * step];
  corners.resize((corners.size() + step - 1) / step);
  return corners;
}

void warnOfSpread(const Plane& plane, ParameterizationResult& result) {
  if (plane.spread[2] > kLinearShare * plane.total)
    result.warnings.emplace_back("Data is highly linear - consider using curve fitting instead");
  if (plane.spread[0] > kVolumetricShare * plane.total)
    result.warnings.emplace_back("Data is volumetric - projection quality may be reduced");
}

void warnOfShape(const Range2& range, ParameterizationResult& result) {
  const double least = std::min(range.uExtent(), range.vExtent());
  const double greatest = std::max(range.uExtent(), range.vExtent());
  if (greatest > kHighAspectRatio * least)
    result.warnings.emplace_back("High aspect ratio detected - may affect surface quality");
  if (result.quality < kLowQuality)
    result.warnings.emplace_back("Low projection quality - consider alternative parameterization");
}

}  // namespace

ParameterizationResult compute_least_squares_plane_projection(std::span<const Point3D> points) {
  ParameterizationResult result;
  result.method_name = "Least Squares Plane Projection";
  const std::optional<Plane> plane = planeOf(points);
  if (!plane) return failed(std::move(result), kNoNormal);
  const Range2 range = project(points, *plane, result.parameters);
  if (range.isDegenerate()) return failed(std::move(result), kNoVariation);
  normalise(result.parameters, range);
  result.quality = plane->quality();
  if (result.quality < kLowQuality) result.warnings.emplace_back(kUnfitForPlane);
  return result;
}

ParameterizationResult compute_pca_projection(std::span<const Point3D> points) {
  ParameterizationResult result;
  result.method_name = "PCA-Based Projection";
  if (points.size() < kLeastPcaPoints)
    return failed(std::move(result), "Insufficient points for PCA analysis (need at least 4)");
  const std::optional<Plane> plane = planeOf(points);
  if (!plane)
    return failed(std::move(result), "PCA eigendecomposition failed - numerical instability");
  if (!(plane->total > kLeastVariance))
    return failed(std::move(result),
                  "Points are essentially coincident - no meaningful parameterization");
  warnOfSpread(*plane, result);
  const Range2 range = project(points, *plane, result.parameters);
  if (range.isDegenerate())
    return failed(std::move(result), "Degenerate point distribution in parameter space");
  normalise(result.parameters, range);
  result.quality = plane->quality();
  warnOfShape(range, result);
  return result;
}

std::vector<Point2D> convexHull(std::vector<Point2D> points) {
  std::sort(points.begin(), points.end(), [](const Point2D& a, const Point2D& b) {
    return a.x() < b.x() || (a.x() == b.x() && a.y() < b.y());
  });
  std::vector<Point2D> hull;
  if (points.empty()) return hull;
  appendChain(points.begin(), points.end(), hull);
  appendChain(points.rbegin(), points.rend(), hull);
  return hull;
}

ParameterizationResult compute_convex_hull_projection(std::span<const Point3D> points) {
  ParameterizationResult result;
  result.method_name = "Convex Hull Projection";
  const std::optional<Plane> plane = planeOf(points);
  if (!plane) return failed(std::move(result), kNoNormal);
  project(points, *plane, result.parameters);
  std::vector<Point2D> inPlane;
  inPlane.reserve(points.size());
  for (const auto& [u, v] : result.parameters)
    inPlane.emplace_back(u, v);
  const std::vector<Point2D> hull = thinned(convexHull(std::move(inPlane)));
  const Range2 range = turnToBox(result.parameters, sideOfLeastBox(hull));
  if (range.isDegenerate()) return failed(std::move(result), kNoVariation);
  normalise(result.parameters, range);
  result.quality = plane->quality();
  if (result.quality < kLowQuality) result.warnings.emplace_back(kUnfitForPlane);
  return result;
}

}  // namespace trova::geometry
