#pragma once

#include "morvel/surfaces/nurbs_surface.h"

namespace trova::geometry::blend::internal {

/// Evaluation with true derivatives: a rational surface's own are placeholders.
class TrueDerivatives {
 public:
  explicit TrueDerivatives(const Surface& surface)
      : surface_(surface), rational_(dynamic_cast<const NurbsSurface*>(&surface)) {}

  SurfaceEvaluation operator()(double u, double v, int order) const {
    return rational_ ? rational_->evaluateRationalDerivatives(u, v, order)
                     : surface_.evaluateDerivatives(u, v, order);
  }

  const Surface& surface() const { return surface_; }

 private:
  const Surface& surface_;
  const NurbsSurface* rational_;
};

}  // namespace trova::geometry::blend::internal
