#include "morvel/foundation/bounding_box.h"

namespace trova::foundation {

BoundingBox::BoundingBox(const Point3D& a, const Point3D& b) {
  addPoint(a);
  addPoint(b);
}

void BoundingBox::addPoint(const Point3D& p) {
  if (empty) {
    min = max = p;
    empty = false;
    return;
  }
  min = Point3D(Eigen::Vector3d(min.eigen().cwiseMin(p.eigen())));
  max = Point3D(Eigen::Vector3d(max.eigen().cwiseMax(p.eigen())));
}

void BoundingBox::addBoundingBox(const BoundingBox& other) {
  if (other.empty) return;
  addPoint(other.min);
  addPoint(other.max);
}

void BoundingBox::expand(double d) {
  if (empty) return;
  min.eigen().array() -= d;
  max.eigen().array() += d;
}

bool BoundingBox::contains(const Point3D& p, const ToleranceContext& tolerance) const {
  return !empty && intersects(BoundingBox(p, p), tolerance);
}

bool BoundingBox::intersects(const BoundingBox& other, const ToleranceContext& tolerance) const {
  if (empty || other.empty) return false;
  const double t = tolerance.getGeometricTolerance();
  return (min.eigen().array() - t <= other.max.eigen().array()).all() &&
         (other.min.eigen().array() <= max.eigen().array() + t).all();
}

Vector3D BoundingBox::diagonal() const { return empty ? Vector3D::zero() : max - min; }

Point3D BoundingBox::center() const { return empty ? Point3D::origin() : min.midpoint(max); }

double BoundingBox::volume() const {
  const Vector3D d = diagonal();
  return d.x() * d.y() * d.z();
}

}  // namespace trova::foundation
