#pragma once

#include <memory>

#include "morvel/surfaces/axis_frame.h"
#include "morvel/surfaces/windowed_surface.h"

namespace trova::geometry {

/// `matrix` after `placement`. @throws std::invalid_argument for a matrix that is not finite
MORVEL_API Transform3D composedPlacement(const Transform3D& matrix, const Transform3D& placement);
/// The matrix itself.
/// @throws std::invalid_argument where it is not finite or its last row is not 0 0 0 1
MORVEL_API const Transform3D& requireAffine(const Transform3D& matrix);
/// The box of the image of a box.
MORVEL_API BoundingBox placedBox(const Transform3D& placement, const BoundingBox& box);
/// Moves the point and the derivatives up to `order`; the normal is left alone.
MORVEL_API void placeEvaluation(const Transform3D& placement, int order,
                                SurfaceEvaluation& evaluation);

/// What the surfaces made from curves share: the construction stays as it was made, in local
/// coordinates, and an affine placement moves what it gives. So every affine map is held exactly,
/// also where the curve classes themselves could not hold it.
///
/// `Derived` provides `localPoint`, `localDerivatives` and `localBox` in place of the natural
/// functions of WindowedSurface; `localBox` must contain the surface.
template <class Derived>
class MORVEL_API PlacedSurface : public WindowedSurface<Derived, Surface> {
 public:
  /// The same class, for every affine map. @throws std::invalid_argument for one that is not finite
  std::unique_ptr<Surface> transform(const Transform3D& matrix) const override {
    auto copy = this->freshCopy();
    copy->applyTransformToGeometry(matrix);
    return copy;
  }

  /// @throws std::invalid_argument before any change for a matrix that is not finite
  void applyTransformToGeometry(const Transform3D& matrix) override {
    placement_ = composedPlacement(matrix, placement_);
  }

  /// Contains the surface; not always the smallest such box.
  BoundingBox getBoundingBox() const override {
    return placedBox(placement_, this->self().localBox());
  }

  /// What moves the construction to its place; curves and directions of the construction are handed
  /// out as they were given, without it.
  const Transform3D& getPlacement() const { return placement_; }
  /// Takes the matrix bit for bit.
  /// @throws std::invalid_argument for one that is not finite, or whose last row is not 0 0 0 1
  void setPlacement(const Transform3D& placement) { placement_ = requireAffine(placement); }

 private:
  friend class WindowedSurface<Derived, Surface>;

  Point3D naturalPoint(double s, double t) const {
    return placement_.transform(this->self().localPoint(s, t));
  }
  void naturalDerivatives(double s, double t, int order, SurfaceEvaluation& out) const {
    this->self().localDerivatives(s, t, order, out);
    placeEvaluation(placement_, order, out);
  }

  Transform3D placement_;
};

}  // namespace trova::geometry
