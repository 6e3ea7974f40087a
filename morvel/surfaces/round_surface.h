#pragma once

#include <memory>

#include "morvel/surfaces/analytic_surface.h"
#include "morvel/surfaces/axis_frame.h"
#include "morvel/surfaces/windowed_surface.h"

namespace trova::geometry {

/// What sphere, cylinder, cone and torus share: a frame whose z axis is the axis of symmetry, and
/// sizes that a similarity scales. `Derived` provides `void scaleSizes(double factor)` beside what
/// WindowedSurface asks for. s is the fraction of the turn about the axis.
template <class Derived>
class MORVEL_API RoundSurface : public WindowedSurface<Derived, AnalyticSurface> {
 public:
  /// A similarity (rotation, translation, reflection, uniform scaling) gives the same class; any
  /// other affine map a B-spline surface within the default tolerance, over the same parameters.
  /// @throws std::invalid_argument for a matrix that is not finite; ToNurbsException
  std::unique_ptr<Surface> transform(const Transform3D& matrix) const override {
    if (!foundation::similarityRatio(matrix)) return refitUnder(matrix, *this);
    auto copy = this->freshCopy();
    copy->applyTransformToGeometry(matrix);
    return copy;
  }

  /// @throws std::invalid_argument before any change where the matrix is no similarity
  void applyTransformToGeometry(const Transform3D& matrix) override {
    const double factor = requireSimilarity(matrix);
    frame_ = frame_.transformed(matrix);
    static_cast<Derived&>(*this).scaleSizes(factor);
  }

  const AxisFrame& getFrame() const { return frame_; }
  /// Unit vector.
  const Vector3D& getAxis() const { return frame_.z; }

 protected:
  explicit RoundSurface(const AxisFrame& frame) : frame_(frame) {}

 private:
  AxisFrame frame_;
};

}  // namespace trova::geometry
