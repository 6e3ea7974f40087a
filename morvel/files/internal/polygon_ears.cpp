#include "morvel/files/internal/polygon_ears.h"

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace trova::files::internal {
namespace {

using Flat = std::vector<Eigen::Vector2d>;

constexpr std::size_t kTriangle = 3;

/// The corners projected along the axis nearest to the normal, so that they run counter-clockwise.
Flat projected(std::span<const foundation::Point3D> vertices,
               std::span<const std::int32_t> corners) {
  // Relative to a corner, so that a place far from the origin costs no digits.
  const Eigen::Vector3d origin = vertices[static_cast<std::size_t>(corners[0])].eigen();
  std::vector<Eigen::Vector3d> points;
  for (const std::int32_t corner : corners)
    points.emplace_back(vertices[static_cast<std::size_t>(corner)].eigen() - origin);
  Eigen::Vector3d normal = Eigen::Vector3d::Zero();
  for (std::size_t k = 0; k < points.size(); ++k)
    normal += points[k].cross(points[(k + 1) % points.size()]);
  int axis = 0;
  normal.cwiseAbs().maxCoeff(&axis);
  int x = (axis + 1) % 3, y = (axis + 2) % 3;
  if (normal[axis] < 0.0) std::swap(x, y);
  Flat flat;
  for (const Eigen::Vector3d& point : points)
    flat.emplace_back(point[x], point[y]);
  return flat;
}

/// Positive where c lies to the left of the way from a to b.
double turn(const Eigen::Vector2d& a, const Eigen::Vector2d& b, const Eigen::Vector2d& c) {
  return (b - a).x() * (c - a).y() - (b - a).y() * (c - a).x();
}

/// The polygon that is left while ears are cut off, as a ring of positions.
class Ring {
 public:
  explicit Ring(const Flat& flat) : flat_(flat), next_(flat.size()), previous_(flat.size()) {
    std::iota(next_.begin(), next_.end(), std::size_t{1});
    next_.back() = 0;
    std::iota(previous_.begin() + 1, previous_.end(), std::size_t{0});
    previous_.front() = flat.size() - 1;
  }

  std::size_t next(std::size_t k) const { return next_[k]; }
  std::size_t previous(std::size_t k) const { return previous_[k]; }

  void remove(std::size_t k) {
    next_[previous_[k]] = next_[k];
    previous_[next_[k]] = previous_[k];
  }

  double turnAt(std::size_t k) const {
    return turn(flat_[previous_[k]], flat_[k], flat_[next_[k]]);
  }

  /// A triangle of the ring that turns left and holds no other corner; only corners that turn right
  /// can lie inside.
  bool isEar(std::size_t k) const {
    if (!(turnAt(k) > 0.0)) return false;
    for (std::size_t other = next_[next_[k]]; other != previous_[k]; other = next_[other]) {
      if (turnAt(other) <= 0.0 && isInTriangle(k, flat_[other])) return false;
    }
    return true;
  }

 private:
  bool isInTriangle(std::size_t k, const Eigen::Vector2d& p) const {
    const Eigen::Vector2d &a = flat_[previous_[k]], &b = flat_[k], &c = flat_[next_[k]];
    if (p == a || p == b || p == c) return false;  // polygons with a bridge pass a place twice
    return turn(a, b, p) >= 0.0 && turn(b, c, p) >= 0.0 && turn(c, a, p) >= 0.0;
  }

  const Flat& flat_;
  std::vector<std::size_t> next_;
  std::vector<std::size_t> previous_;
};

/// The first ear from a corner on; else a corner on a straight line, whose triangle is flat; else
/// that corner.
std::size_t earFrom(const Ring& ring, std::size_t start, std::size_t count) {
  std::size_t k = start, straight = start;
  for (std::size_t tried = 0; tried < count; ++tried, k = ring.next(k)) {
    if (ring.isEar(k)) return k;
    if (ring.turnAt(k) == 0.0 && ring.turnAt(straight) != 0.0) straight = k;
  }
  return straight;
}

}  // namespace

void appendEars(std::span<const foundation::Point3D> vertices,
                std::span<const std::int32_t> corners, std::vector<std::int32_t>& triangles) {
  if (corners.size() == kTriangle) {
    triangles.insert(triangles.end(), corners.begin(), corners.end());
    return;
  }
  const Flat flat = projected(vertices, corners);
  Ring ring(flat);
  std::size_t start = 1;
  for (std::size_t left = corners.size(); left >= kTriangle; --left) {
    const std::size_t ear = earFrom(ring, start, left);
    for (const std::size_t k : {ring.previous(ear), ear, ring.next(ear)})
      triangles.push_back(corners[k]);
    start = ring.next(ear);
    ring.remove(ear);
  }
}

}  // namespace trova::files::internal
