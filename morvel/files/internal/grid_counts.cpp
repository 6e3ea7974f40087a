#include "morvel/files/internal/grid_counts.h"

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "morvel/files/mesh_sampling.h"
#include "morvel/surfaces/grid_sampling.h"
#include "morvel/surfaces/parametric_surface.h"
#include "morvel/surfaces/surface_batch.h"
#include "morvel/trimmed_surface/trimmed_surface.h"

namespace trova::files::internal {
namespace {

using Position = Eigen::Vector3d;
using geometry::Surface;

constexpr int kFirstCount = 9;
constexpr int kSamplesPerControlPoint = 2;
// The deviation falls with the square of the count; at kinks only with the count itself, which
// takes a few rounds more.
constexpr double kMostGrowth = 4.0;
constexpr double kLeastGrowth = 1.2;

double distanceToChord(const Position& p, const Position& a, const Position& b) {
  const Position chord = b - a;
  const double square = chord.squaredNorm();
  const double share = square > 0.0 ? std::clamp((p - a).dot(chord) / square, 0.0, 1.0) : 0.0;
  return (p - a - share * chord).norm();
}

/// From the plane of a triangle; from its first side where it has no area.
double distanceToPlane(const Position& p, const Position& a, const Position& b, const Position& c) {
  const Position normal = (b - a).cross(c - a).normalized();
  return normal.squaredNorm() > 0.0 ? std::abs(normal.dot(p - a)) : distanceToChord(p, a, b);
}

struct Deviation {
  double alongU = 0.0;
  double alongV = 0.0;
  double inCells = 0.0;

  double greatest() const { return std::max({alongU, alongV, inCells}); }
};

/// Compares a grid with the samples midway between its own, one strip of cells after the other.
class GridDeviation {
 public:
  GridDeviation(const Surface& surface, int uCount, int vCount)
      : surface_(surface),
        domain_(surface.getParameterDomain()),
        rows_(2 * uCount - 1),
        v_(geometry::gridParameters(domain_.vMin, domain_.vMax, 2 * vCount - 1)) {}

  Deviation measure() {
    Row lower = row(0);
    alongRow(lower);
    for (int a = 1; a < rows_; a += 2) {
      const Row middle = row(a);
      Row upper = row(a + 1);
      alongRow(upper);
      for (std::size_t b = 0; b < v_.size(); b += 2)
        enlarge(worst_.alongU, distanceToChord(middle[b], lower[b], upper[b]));
      for (std::size_t b = 1; b < v_.size(); b += 2)
        enlarge(worst_.inCells, inCell(middle[b], &lower[b], &upper[b]));
      lower = std::move(upper);
    }
    return worst_;
  }

 private:
  using Row = std::vector<Position>;

  Row row(int a) const {
    Row points(v_.size());
    const double u = geometry::gridParameter(domain_.uMin, domain_.uMax, a, rows_);
    geometry::evaluateSurfaceGrid(surface_, {&u, 1}, v_, 0, points[0].data());
    return points;
  }

  void alongRow(const Row& points) {
    for (std::size_t b = 1; b < points.size(); b += 2)
      enlarge(worst_.alongV, distanceToChord(points[b], points[b - 1], points[b + 1]));
  }

  /// From the nearer of the two triangles of a cell, between two rows.
  static double inCell(const Position& middle, const Position* lower, const Position* upper) {
    return std::min(distanceToPlane(middle, lower[-1], upper[1], lower[1]),
                    distanceToPlane(middle, lower[-1], upper[1], upper[-1]));
  }

  static void enlarge(double& worst, double distance) {
    if (!std::isfinite(distance)) throw std::invalid_argument("The surface is not finite");
    worst = std::max(worst, distance);
  }

  const Surface& surface_;
  geometry::ParameterDomain domain_;
  int rows_;
  std::vector<double> v_;
  Deviation worst_;
};

/// Not coarser than the control net, between whose points nothing may be overlooked.
std::pair<int, int> firstCounts(const Surface& surface) {
  using geometry::trimmed_surface::TrimmedSurface;
  if (const auto* trimmed = dynamic_cast<const TrimmedSurface*>(&surface))
    return firstCounts(*trimmed->getBaseSurface());
  const auto* parametric = dynamic_cast<const geometry::ParametricSurface*>(&surface);
  if (!parametric) return {kFirstCount, kFirstCount};
  const auto count = [](int controlPoints) {
    return std::clamp(kSamplesPerControlPoint * controlPoints, kFirstCount, kMaxSurfaceSamples);
  };
  return {count(parametric->controlNet().uCount()), count(parametric->controlNet().vCount())};
}

int grownCount(int count, double deviation, double tolerance) {
  if (deviation <= tolerance) return count;
  if (count == kMaxSurfaceSamples)
    throw std::invalid_argument("The tolerance needs more than " +
                                std::to_string(kMaxSurfaceSamples) +
                                " samples along u or v; a larger one, or counts, would do");
  const double growth =
      std::clamp(kLeastGrowth * std::sqrt(deviation / tolerance), kLeastGrowth, kMostGrowth);
  return std::min(static_cast<int>(std::ceil(growth * count)), kMaxSurfaceSamples);
}

}  // namespace

std::pair<int, int> gridCountsWithin(const Surface& surface, double tolerance) {
  auto [u, v] = firstCounts(surface);
  for (;;) {  // at least one count grows in every round, up to the largest
    const Deviation deviation = GridDeviation(surface, u, v).measure();
    if (deviation.greatest() <= tolerance) return {u, v};
    // What only the middle of a cell shows is twist, which both directions lessen.
    const bool isTwist = std::max(deviation.alongU, deviation.alongV) <= tolerance;
    u = grownCount(u, isTwist ? deviation.inCells : deviation.alongU, tolerance);
    v = grownCount(v, isTwist ? deviation.inCells : deviation.alongV, tolerance);
  }
}

}  // namespace trova::files::internal
