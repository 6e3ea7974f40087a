#include "morvel/surfaces/parametric_surface.h"

#include <stdexcept>
#include <utility>

namespace trova::geometry {

ParametricSurface::ParametricSurface(ControlNet net)
    : net_(std::move(net)), netIsFinite_(net_.isFinite()) {}

BoundingBox ParametricSurface::getBoundingBox() const {
  BoundingBox box;
  for (const Point3D& point : net_.points())
    box.addPoint(point);
  return box;
}

double ParametricSurface::controlNetArea() const {
  double twice = 0.0;
  for (int i = 0; i + 1 < net_.uCount(); ++i) {
    for (int j = 0; j + 1 < net_.vCount(); ++j) {
      const Vector3D diagonal = net_(i + 1, j + 1) - net_(i, j);
      twice += (net_(i + 1, j) - net_(i, j)).cross(diagonal).magnitude();
      twice += diagonal.cross(net_(i, j + 1) - net_(i, j)).magnitude();
    }
  }
  return twice / 2;
}

void ParametricSurface::replaceControlPoint(int i, int j, const Point3D& point) {
  static_cast<void>(net_.at(i, j));
  if (!point.isFinite()) throw std::invalid_argument("Control point must be finite");
  net_(i, j) = point;
  if (!netIsFinite_) netIsFinite_ = net_.isFinite();
}

void ParametricSurface::transformNet(const Transform3D& matrix) {
  for (int i = 0; i < net_.uCount(); ++i) {
    for (int j = 0; j < net_.vCount(); ++j)
      net_(i, j) = matrix.transform(net_(i, j));
  }
  netIsFinite_ = net_.isFinite();
}

}  // namespace trova::geometry
