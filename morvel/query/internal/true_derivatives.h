#pragma once

#include "morvel/surfaces/nurbs_surface.h"

namespace trova::projection::internal {

/// Evaluation with true derivatives: a rational surface's own are placeholders.
class TrueDerivatives {
 public:
  explicit TrueDerivatives(const geometry::Surface& surface)
      : surface_(surface), rational_(dynamic_cast<const geometry::NurbsSurface*>(&surface)) {}

  geometry::SurfaceEvaluation operator()(double u, double v, int order) const {
    return rational_ ? rational_->evaluateRationalDerivatives(u, v, order)
                     : surface_.evaluateDerivatives(u, v, order);
  }

  const geometry::Surface& surface() const { return surface_; }

 private:
  const geometry::Surface& surface_;
  const geometry::NurbsSurface* rational_;
};

}  // namespace trova::projection::internal
