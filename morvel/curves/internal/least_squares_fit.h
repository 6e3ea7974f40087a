#pragma once

#include <memory>
#include <vector>

#include "morvel/curves/bspline_curve.h"

namespace trova::geometry::internal {

/// A spline with its deviation from the curve it stands for.
struct CurveFit {
  std::unique_ptr<BSplineCurve> spline;
  double deviation = 0.0;  // model units
};

/// A curve as a function of a parameter that grows from its start to its end: the curve's own,
/// mirrored where its interval runs downwards.
class UpwardCurve {
 public:
  /// @throws std::invalid_argument for an interval that is empty or not finite
  explicit UpwardCurve(const Curve& curve);

  const Curve& curve() const { return curve_; }
  double low() const { return low_; }
  double high() const { return high_; }
  Point3D point(double u) const;

 private:
  const Curve& curve_;
  double low_;
  double high_;
  bool mirrored_;
};

/// The least-squares spline on the given clamped knots over [low, high], with both ends kept.
/// @throws std::runtime_error where rounding leaves no answer (high degrees on many points)
CurveFit fitOnKnots(const UpwardCurve& curve, const std::vector<double>& knots, int degree);

/// The largest distance at equal parameters, at parameters of every span of the knots that
/// `fitOnKnots` did not use.
/// @throws std::invalid_argument where a point is not finite
double measuredDeviation(const UpwardCurve& curve, const BSplineCurve& spline);

}  // namespace trova::geometry::internal
