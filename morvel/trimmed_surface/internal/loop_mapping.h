#pragma once

#include <memory>

#include "morvel/curves/curve2d.h"
#include "morvel/surfaces/surface.h"

namespace trova::geometry::trimmed_surface::internal {

/// What reversing and swapping the parameters of a surface does to its parameter plane. The swap
/// comes last.
class PlaneMap {
 public:
  PlaneMap(const ParameterDomain& domain, bool reversesU, bool reversesV, bool swaps)
      : domain_(domain), reversesU_(reversesU), reversesV_(reversesV), swaps_(swaps) {}

  Point2D image(const Point2D& p) const;
  /// Lines, circles and splines stay what they are; other curves become polylines.
  std::unique_ptr<ParametricCurve2D> image(const ParametricCurve2D& curve) const;

 private:
  double angle(double a) const;

  ParameterDomain domain_;
  bool reversesU_;
  bool reversesV_;
  bool swaps_;
};

}  // namespace trova::geometry::trimmed_surface::internal
