#pragma once

#include "morvel/surfaces/surface.h"

namespace trova::geometry {

/// An exact surface: plane, sphere, cylinder, cone, torus, over [0, 1] x [0, 1].
class MORVEL_API AnalyticSurface : public Surface {
 public:
  virtual bool isExact() const { return true; }
  bool isNurbs() const override { return false; }
  std::pair<int, int> getRecommendedNurbsParameters() const override;
};

}  // namespace trova::geometry
