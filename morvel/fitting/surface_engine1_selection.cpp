// How SurfaceEngine1 chooses a projection for a data set.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>
#include <optional>

#include "morvel/fitting/surface_engine1.h"
#include "morvel/foundation/principal_axes.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {
namespace {

namespace status = foundation::status;
using Method = SurfaceParameterizationMethod;

constexpr std::size_t kMostComparedPoints = 1024;
constexpr double kMostSpacingSpread = 2.0;
constexpr double kNoSpacingSpread = 10.0;  // where all neighbours coincide
constexpr double kCoplanarTolerance = 1e-6;
constexpr double kFlatBoxAspect = 100.0;
constexpr double kLeastExtent = 1e-12;
constexpr double kBoundaryMargin = 0.05;  // of the parameter square
constexpr int kLeastBoundaryPoints = 4;
constexpr double kLeastBoundaryRatio = 0.2;
constexpr double kMostBoundaryRatio = 0.7;

constexpr int kLeastPoints = 4;
constexpr int kSmallSet = 9;
constexpr double kHighAspect = 5.0;
constexpr double kUnevenDensity = 0.8;
constexpr int kHullFrom = 12;
constexpr int kLargeSet = 100;
constexpr int kEvenHullFrom = 16;
constexpr int kEvenHullBelow = 65;

struct Analysis {
  int points;
  bool isWellDistributed;
  bool isNonCoplanar;
  double aspectRatio;
  double densityVariation;
  bool hasClearBoundary;
};

template <class... Values>
std::string formatted(const char* format, Values... values) {
  std::array<char, 256> text;
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

const char* yesNo(bool is) { return is ? "YES" : "NO"; }

void report(const Analysis& data) {
  status::progress(status::Symbol::Target, "DEBUG Universal Selection Analysis:");
  status::progress(status::Symbol::None,
                   formatted("   Points: %d, Good distribution: %s, Non-coplanar: %s", data.points,
                             yesNo(data.isWellDistributed), yesNo(data.isNonCoplanar)));
  status::progress(
      status::Symbol::None,
      formatted("   Aspect ratio: %.2f, Density variation: %.3f, Clear boundary: %s",
                data.aspectRatio, data.densityVariation, yesNo(data.hasClearBoundary)));
}

struct Choice {
  Method method;
  const char* text;
};

Choice choose(const Analysis& data) {
  const int m = data.points;
  if (m < kSmallSet) return {Method::LEAST_SQUARES_PLANE, "LEAST_SQUARES_PLANE (small dataset)"};
  if (!data.isNonCoplanar)
    return {Method::LEAST_SQUARES_PLANE, "LEAST_SQUARES_PLANE (coplanar data)"};
  if (data.aspectRatio > kHighAspect || data.densityVariation > kUnevenDensity)
    return {Method::PCA_PROJECTION, "PCA_PROJECTION (high aspect ratio or density variation)"};
  if (data.hasClearBoundary && m >= kHullFrom && m <= kLargeSet)
    return {Method::CONVEX_HULL_PROJECTION, "CONVEX_HULL_PROJECTION (clear boundary structure)"};
  if (!data.isWellDistributed)
    return {Method::PCA_PROJECTION, "PCA_PROJECTION (poor distribution, volumetric)"};
  if (m > kLargeSet)
    return {Method::LEAST_SQUARES_PLANE, "LEAST_SQUARES_PLANE (large dataset stability)"};
  if (m >= kEvenHullFrom && m < kEvenHullBelow)
    return {Method::CONVEX_HULL_PROJECTION, "CONVEX_HULL_PROJECTION (optimal conditions)"};
  return {Method::LEAST_SQUARES_PLANE, "LEAST_SQUARES_PLANE (default robust choice)"};
}

double meanOf(const std::vector<double>& values) {
  return std::accumulate(values.begin(), values.end(), 0.0) / double(values.size());
}

}  // namespace

Method SurfaceEngine1::select_optimal_method() const {
  if (get_point_count() < kLeastPoints) return Method::LEAST_SQUARES_PLANE;
  const Analysis data{get_point_count(),
                      check_point_distribution_advanced(),
                      check_non_coplanarity(kCoplanarTolerance),
                      compute_aspect_ratio(),
                      compute_point_density_variation(),
                      estimate_boundary_structure()};
  report(data);
  const Choice choice = choose(data);
  status::progress(status::Symbol::None, "   → Selected: ", choice.text);
  return choice.method;
}

std::vector<double> SurfaceEngine1::nearestNeighbourDistances() const {
  const std::size_t count = std::min(points_.size(), kMostComparedPoints);
  std::vector<double> squares(count, std::numeric_limits<double>::infinity());
  const auto compared = [&](std::size_t k) { return points_[k * points_.size() / count].eigen(); };
  for (std::size_t a = 0; a < count; ++a) {
    for (std::size_t b = a + 1; b < count; ++b) {
      const double square = (compared(a) - compared(b)).squaredNorm();
      squares[a] = std::min(squares[a], square);
      squares[b] = std::min(squares[b], square);
    }
  }
  for (double& square : squares)
    square = std::sqrt(square);
  return squares;
}

bool SurfaceEngine1::check_point_distribution_advanced() const {
  const std::vector<double> distances = nearestNeighbourDistances();
  if (distances.empty()) return false;
  const double mean = meanOf(distances);
  const auto [least, greatest] = std::minmax_element(distances.begin(), distances.end());
  const double spread = mean > 0 ? (*greatest - *least) / mean : kNoSpacingSpread;
  return spread < kMostSpacingSpread;
}

bool SurfaceEngine1::check_non_coplanarity(double tolerance) const {
  const std::optional<foundation::PrincipalAxes> axes = foundation::principalAxes(points_);
  if (!axes) return false;
  const Eigen::Vector3d normal = axes->axes[0].eigen();
  const Eigen::Vector3d centroid = axes->centroid.eigen();
  return std::any_of(points_.begin(), points_.end(), [&](const Point3D& point) {
    return std::abs((point.eigen() - centroid).dot(normal)) > tolerance;
  });
}

double SurfaceEngine1::compute_aspect_ratio() const {
  const Eigen::Vector3d extent = box_.getMax().eigen() - box_.getMin().eigen();
  std::array<double, 3> sides{extent.x(), extent.y(), extent.z()};
  std::sort(sides.begin(), sides.end());
  return sides[1] > kLeastExtent ? sides[2] / sides[1] : kFlatBoxAspect;
}

double SurfaceEngine1::compute_point_density_variation() const {
  const std::vector<double> distances = nearestNeighbourDistances();
  if (distances.empty()) return kNoSpacingSpread;
  const double mean = meanOf(distances);
  if (!(mean > 0)) return kNoSpacingSpread;
  double squares = 0.0;
  for (const double distance : distances)
    squares += (distance - mean) * (distance - mean);
  return std::sqrt(squares / double(distances.size())) / mean;
}

bool SurfaceEngine1::estimate_boundary_structure() const {
  const ParameterizationResult projected = compute_least_squares_plane_projection(points_);
  const auto isNearSide = [](double t) { return t < kBoundaryMargin || t > 1.0 - kBoundaryMargin; };
  const auto candidates = std::count_if(
      projected.parameters.begin(), projected.parameters.end(),
      [&](const auto& pair) { return isNearSide(pair.first) || isNearSide(pair.second); });
  const double ratio = double(candidates) / double(std::max<std::size_t>(points_.size(), 1));
  return candidates >= kLeastBoundaryPoints && ratio >= kLeastBoundaryRatio &&
         ratio <= kMostBoundaryRatio;
}

}  // namespace trova::geometry
