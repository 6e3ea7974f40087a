#include "morvel/query/surface_search.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "morvel/foundation/progress.h"
#include "morvel/query/internal/cell_tree.h"
#include "morvel/query/internal/foot_newton.h"

namespace trova::projection {
namespace {

using Eigen::Vector3d;
using internal::CellTree;
using internal::SurfaceCell;

/// From a point that is as far from everything (the centre of a sphere) every cell is near; their
/// feet differ by less than the cells are thick, and this many are looked at.
constexpr std::size_t kMostDescents = 256;

/// Crossings and feet closer together than this share of the surface's size are one.
constexpr double kSameShare = 1e-7;
/// A crossing lies on the line within this share of the surface's size and of its distance.
constexpr double kOnLineShare = 1e-11;
/// Boxes are met, within this share of the surface's size.
constexpr double kMeetingMargin = 1e-10;

/// A line at a flatter angle to a cell than this sine may meet it more than once.
constexpr double kGrazingSine = 0.35;
constexpr int kGrazingStarts = 3;  // in either direction

/// A point's foot may lie in a cell whose middle's tangent plane it projects to within this many
/// half-widths, if the cell is flat.
constexpr double kFootReach = 3.0;

/// Distances that differ by less than this share are equal.
constexpr double kEquallyClose = 1e-12;

double clampedToCell(double s) { return std::clamp(s, -1.0, 1.0); }

// How far a bent cell's normals spread at the distance of the point, in half-widths.
double turnOf(const SurfaceCell& cell, const Vector3d& toPoint) {
  const Vector3d extent = cell.high - cell.low;
  const double width = std::min(extent[0], extent[1]) / 2;
  return 4.0 * toPoint.norm() * extent[2] / (width * width);
}

ProjectedPoint nowhere(const geometry::ParameterDomain& domain) {
  ProjectedPoint result;
  result.u = (domain.uMin + domain.uMax) / 2;
  result.v = (domain.vMin + domain.vMax) / 2;
  result.distance = result.along = std::numeric_limits<double>::infinity();
  return result;
}

void addUnlessKnown(std::vector<ProjectedPoint>& known, const ProjectedPoint& found, double same) {
  const bool isKnown = std::any_of(known.begin(), known.end(), [&](const ProjectedPoint& other) {
    return other.point.distanceTo(found.point) <= same;
  });
  if (!isKnown) known.push_back(found);
}

}  // namespace

class SurfaceSearch::Impl {
 public:
  explicit Impl(const Surface& surface)
      : derivatives_(surface),
        domain_(surface.getParameterDomain()),
        tree_(internal::cellsOf(surface)),
        size_(tree_.isEmpty() ? 0.0 : (tree_.box().high - tree_.box().low).norm()) {}

  using Candidates = std::vector<CellTree::Candidate>;

  ProjectedPoint closest(const Point3D& point, Candidates& near) const {
    ProjectedPoint best = nowhere(domain_);
    if (point.isFinite()) improve(best, point, near);
    return best;
  }

  ProjectedPoint closestFrom(const Point3D& point, double u, double v) const {
    if (!point.isFinite() || tree_.isEmpty()) return nowhere(domain_);
    const ProjectedPoint neighbour = internal::descendToFoot(
        derivatives_, domain_, point, std::clamp(u, domain_.uMin, domain_.uMax),
        std::clamp(v, domain_.vMin, domain_.vMax));
    ProjectedPoint best = neighbour;
    best.distance *= 1.0 - kEquallyClose;
    Candidates near;
    improve(best, point, near);
    return best.distance < neighbour.distance * (1.0 - kEquallyClose) ? best : neighbour;
  }

  std::vector<ProjectedPoint> normalFeet(const Point3D& point) const {
    std::vector<ProjectedPoint> feet;
    if (!point.isFinite()) return feet;
    for (const SurfaceCell& cell : tree_.cells()) {
      const Vector3d d = point.eigen() - cell.middle;
      const double s = d.dot(cell.toU);
      const double t = d.dot(cell.toV);
      const double reach = kFootReach + turnOf(cell, d);
      if (std::abs(s) > reach || std::abs(t) > reach) continue;
      const auto foot = internal::stationaryFoot(
          derivatives_, domain_, point, cell.uAt(clampedToCell(s)), cell.vAt(clampedToCell(t)));
      if (foot) addUnlessKnown(feet, *foot, kSameShare * size_);
    }
    std::sort(feet.begin(), feet.end(), [](const ProjectedPoint& a, const ProjectedPoint& b) {
      return a.distance < b.distance;
    });
    return feet;
  }

  std::vector<ProjectedPoint> crossings(const Point3D& point, const Vector3D& direction,
                                        int maxIterations) const {
    std::vector<ProjectedPoint> found;
    if (!point.isFinite() || !direction.isFinite() || tree_.isEmpty()) return found;
    // The iteration runs near the surface, where nothing is lost by the distance of the point.
    const Vector3d middle = (tree_.box().low + tree_.box().high) / 2;
    const double shift = (middle - point.eigen()).dot(direction.eigen());
    const Point3D near(Vector3d(point.eigen() + shift * direction.eigen()));
    const double margin = kMeetingMargin * (size_ + near.distanceTo(point));
    tree_.forEachMetBy(near.eigen(), direction.eigen(), margin, [&](const SurfaceCell& cell) {
      appendCrossings(cell, near, direction, maxIterations, found);
    });
    for (ProjectedPoint& hit : found) {
      hit.along = (hit.point - point).dot(direction);
      hit.distance = std::abs(hit.along);
    }
    std::sort(found.begin(), found.end(),
              [](const ProjectedPoint& a, const ProjectedPoint& b) { return a.along < b.along; });
    return found;
  }

  const Surface& surface() const { return derivatives_.surface(); }
  bool isFinite() const { return !tree_.isEmpty(); }
  double size() const { return size_; }

 private:
  // Looks for a foot that is closer than `best`: of each cell in turn, within the cell, so that
  // none is passed over because a descent left it. The first descent may go where it wants.
  void improve(ProjectedPoint& best, const Point3D& point, Candidates& near) const {
    tree_.nearCells(point.eigen(), near);
    const std::size_t count = std::min(near.size(), kMostDescents);
    for (std::size_t k = 0; k < count && near[k].bound < best.distance * best.distance; ++k) {
      const SurfaceCell& cell = *near[k].cell;
      const auto [u, v] = cell.startFor(point.eigen());
      if (k == 0) {
        const auto foot = internal::settledFoot(derivatives_, domain_, point, u, v);
        if (foot && foot->distance < best.distance) best = *foot;
        if (foot && cell.contains(foot->u, foot->v)) continue;
      }
      takeFoot(best, point, cell, u, v);
    }
  }

  // That of a descent within the cell, if it is closer than `best`.
  void takeFoot(ProjectedPoint& best, const Point3D& point, const SurfaceCell& cell, double u,
                double v) const {
    const ProjectedPoint foot = internal::descendToFoot(derivatives_, ownDomain(cell), point, u, v);
    if (foot.distance < best.distance) best = foot;
  }

  // At an edge that a cell shares with the next, the surface is evaluated as part of the next one,
  // and its derivatives may differ.
  geometry::ParameterDomain ownDomain(const SurfaceCell& cell) const {
    geometry::ParameterDomain own = cell.domain;
    if (own.uMax < domain_.uMax) own.uMax = std::nextafter(own.uMax, own.uMin);
    if (own.vMax < domain_.vMax) own.vMax = std::nextafter(own.vMax, own.vMin);
    return own;
  }

  void appendCrossings(const SurfaceCell& cell, const Point3D& point, const Vector3D& direction,
                       int maxIterations, std::vector<ProjectedPoint>& found) const {
    const double sine = direction.eigen().dot(cell.axis[2]);
    const auto start = [&](double s, double t) {
      const double tolerance = kOnLineShare * (size_ + point.eigen().norm());
      const auto hit = internal::crossingFrom(derivatives_, domain_, point, direction, cell.uAt(s),
                                              cell.vAt(t), tolerance, maxIterations);
      if (hit) addUnlessKnown(found, *hit, kSameShare * size_);
    };
    if (std::abs(sine) > kGrazingSine) {
      const double along = (cell.middle - point.eigen()).dot(cell.axis[2]) / sine;
      const Vector3d d = point.eigen() + along * direction.eigen() - cell.middle;
      start(clampedToCell(d.dot(cell.toU)), clampedToCell(d.dot(cell.toV)));
      return;
    }
    for (int i = 0; i < kGrazingStarts; ++i) {
      for (int j = 0; j < kGrazingStarts; ++j)
        start(i - 1.0, j - 1.0);
    }
  }

  internal::TrueDerivatives derivatives_;
  geometry::ParameterDomain domain_;
  CellTree tree_;
  double size_;
};

SurfaceSearch::SurfaceSearch(const Surface& surface)
    : impl_(std::make_unique<const Impl>(surface)) {}
SurfaceSearch::~SurfaceSearch() = default;

ProjectedPoint SurfaceSearch::closest(const Point3D& point) const {
  Impl::Candidates near;
  return impl_->closest(point, near);
}

void SurfaceSearch::closestBatch(std::span<const double> xyz, std::span<double> uv,
                                 std::span<double> points, std::span<double> distances) const {
  constexpr std::size_t kDim = 3, kReported = 64;
  foundation::progress::Stage stage("projecting points");
  Impl::Candidates near;
  for (std::size_t k = 0; k < xyz.size() / kDim; ++k) {
    if (k % kReported == 0) stage.report(double(kDim * k), double(xyz.size()));
    const ProjectedPoint foot =
        impl_->closest({xyz[kDim * k], xyz[kDim * k + 1], xyz[kDim * k + 2]}, near);
    if (!std::isfinite(foot.distance)) throw std::runtime_error("Result is not finite");
    if (!uv.empty()) {
      uv[2 * k] = foot.u;
      uv[2 * k + 1] = foot.v;
    }
    if (!points.empty()) std::copy_n(foot.point.eigen().data(), kDim, &points[kDim * k]);
    if (!distances.empty()) distances[k] = foot.distance;
  }
  stage.finish();
}

ProjectedPoint SurfaceSearch::closestFrom(const Point3D& point, double u, double v) const {
  return impl_->closestFrom(point, u, v);
}

std::vector<ProjectedPoint> SurfaceSearch::normalFeet(const Point3D& point) const {
  return impl_->normalFeet(point);
}

std::vector<ProjectedPoint> SurfaceSearch::crossings(const Point3D& point,
                                                     const Vector3D& direction,
                                                     int maxIterations) const {
  return impl_->crossings(point, direction, maxIterations);
}

const Surface& SurfaceSearch::surface() const { return impl_->surface(); }
bool SurfaceSearch::isFinite() const { return impl_->isFinite(); }
double SurfaceSearch::size() const { return impl_->size(); }

}  // namespace trova::projection
