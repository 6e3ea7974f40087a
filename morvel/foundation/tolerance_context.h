#pragma once

#include "morvel/foundation/export.h"

namespace trova::foundation {

/// The tolerances of equality and zero tests. A default-constructed context is used wherever a
/// caller gives none. Every setter throws `std::invalid_argument` for a value that is not above 0
/// (NaN too) and then leaves the old value.
class MORVEL_API ToleranceContext {
 public:
  double getGeometricTolerance() const { return geometric_; }
  double getAngularTolerance() const { return angular_; }
  double getCurveTolerance() const { return curve_; }
  double getSurfaceTolerance() const { return surface_; }

  void setGeometricTolerance(double value);
  void setAngularTolerance(double value);
  void setCurveTolerance(double value);
  void setSurfaceTolerance(double value);

  /// |a - b| <= tolerance; a negative tolerance stands for the geometric one, 0 compares exactly.
  bool isEqual(double a, double b, double tolerance = -1.0) const;

  /// |value| <= tolerance, by the same rule.
  bool isZero(double value, double tolerance = -1.0) const;

 private:
  double geometric_ = 1e-4;  // model units
  double angular_ = 1e-6;    // radians
  double curve_ = 1e-5;      // model units
  double surface_ = 1e-4;    // model units
};

}  // namespace trova::foundation
