#pragma once

#include <array>
#include <memory>

#include "morvel/curves/curve.h"

namespace trova::geometry {

/// A point of a curve with its derivatives by a parameter over [0, 1]: [0] first .. [2] third.
struct MORVEL_API CurveJet {
  Point3D point;
  std::array<Vector3D, 3> derivatives;
};

/// A curve run through by a parameter over [0, 1], from the start of its interval to the end (which
/// may be the smaller number). Holds a copy of the curve that nobody else can change; copies share
/// it.
class MORVEL_API UnitCurve {
 public:
  /// @throws std::invalid_argument for a null curve or an interval that is not finite; `what` opens
  /// the
  ///         message
  UnitCurve(const std::shared_ptr<const Curve>& curve, const char* what);

  const Curve& curve() const { return *curve_; }
  const std::shared_ptr<const Curve>& shared() const { return curve_; }
  double parameterAt(double s) const;
  Point3D point(double s) const { return curve_->evaluate(parameterAt(s)); }
  /// @param order  0 .. 3; derivatives above it stay zero
  CurveJet jet(double s, int order) const;

 private:
  std::shared_ptr<const Curve> curve_;
  ParameterInterval interval_;
};

}  // namespace trova::geometry
