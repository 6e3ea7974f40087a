#include <algorithm>
#include <cmath>

#include "morvel/blend/internal/branch_pace.h"
#include "morvel/blend/internal/uniform_interpolation.h"
#include "morvel/blend/surface_intersection_generator.h"

namespace trova::geometry::blend {

using Eigen::Vector3d;

namespace {

constexpr int kDegree = 3;
constexpr int kMostPoints = 1000;

std::unique_ptr<BSplineCurve> curveThrough(const internal::BranchPace& pace, int count) {
  const internal::UniformInterpolation interpolation(count, kDegree);
  std::vector<Point3D> points;
  for (const double t : interpolation.parameters())
    points.push_back(pace.at(t).point);
  interpolation.solve(points.front().eigen().data(), 3);
  return BSplineCurve::createClamped(points, kDegree);
}

double deviationOf(const BSplineCurve& curve, const internal::BranchPace& pace, int count) {
  double largest = 0.0;
  const int samples = 2 * count;
  for (int k = 0; k < samples; ++k) {
    const double t = (k + 0.5) / samples;
    largest = std::max(largest, curve.evaluate(t).distanceTo(pace.at(t).point));
  }
  return largest;
}

}  // namespace

namespace internal {

// An arc is longer than its chord by 1 / 24 of the squared turn between its ends.
BranchPace::BranchPace(const IntersectionBranch& branch) : points_(branch.points), lengths_{0.0} {
  for (std::size_t k = 0; k + 1 < points_.size(); ++k) {
    const double chord = points_[k].point.distanceTo(points_[k + 1].point);
    const double turn = (points_[k + 1].tangent - points_[k].tangent).magnitude();
    lengths_.push_back(lengths_.back() + chord * (1.0 + turn * turn / 24.0));
  }
}

IntersectionPoint BranchPace::at(double fraction) const {
  const double along = std::clamp(fraction, 0.0, 1.0) * length();
  const auto above = std::upper_bound(lengths_.begin() + 1, lengths_.end() - 1, along);
  const auto k = static_cast<std::size_t>(above - lengths_.begin());
  const IntersectionPoint& a = points_[k - 1];
  const IntersectionPoint& b = points_[k];
  const double stretch = lengths_[k] - lengths_[k - 1];
  const double t = stretch > 0.0 ? (along - lengths_[k - 1]) / stretch : 0.0;
  const double s = 1.0 - t;
  IntersectionPoint point;
  point.point = Point3D(
      Vector3d(a.point.eigen() * (s * s * (1 + 2 * t)) + b.point.eigen() * (t * t * (1 + 2 * s)) +
               stretch * (s * s * t * a.tangent.eigen() - t * t * s * b.tangent.eigen())));
  point.u1 = s * a.u1 + t * b.u1;
  point.v1 = s * a.v1 + t * b.v1;
  point.u2 = s * a.u2 + t * b.u2;
  point.v2 = s * a.v2 + t * b.v2;
  point.tangent = Vector3D(
      Vector3d((6 * s * t * (b.point.eigen() - a.point.eigen()) / std::max(stretch, 1e-300) +
                s * (1 - 3 * t) * a.tangent.eigen() + t * (1 - 3 * s) * b.tangent.eigen())
                   .normalized()));
  return point;
}

}  // namespace internal

std::unique_ptr<BSplineCurve> SurfaceIntersectionGenerator::fitBranch(
    const IntersectionBranch& branch, double tolerance, int fewest) {
  if (branch.points.size() < 2) return nullptr;
  const internal::BranchPace pace(branch);
  if (!(pace.length() > 0.0)) return nullptr;
  std::unique_ptr<BSplineCurve> curve;
  for (int count = std::clamp(fewest, kDegree + 1, kMostPoints);;
       count = std::min(2 * count, kMostPoints)) {
    curve = curveThrough(pace, count);
    if (count == kMostPoints || deviationOf(*curve, pace, count) <= tolerance) return curve;
  }
}

}  // namespace trova::geometry::blend
