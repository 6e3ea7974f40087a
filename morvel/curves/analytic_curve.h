#pragma once

#include <memory>

#include "morvel/curves/curve.h"

namespace trova::geometry {

class NurbsCurve;

/// An exact curve: line, circle, ellipse. Each hands out an equivalent spline curve.
class MORVEL_API AnalyticCurve : public Curve {
 public:
  virtual bool isAnalytic() const { return true; }
  /// The exact rational spline of the same geometry, over the same interval and in the same
  /// direction.
  virtual std::unique_ptr<NurbsCurve> toNurbs() const = 0;
};

}  // namespace trova::geometry
