#include "morvel/foundation/tolerance_context.h"

#include <cmath>
#include <stdexcept>

namespace trova::foundation {
namespace {

void setPositive(double& field, double value, const char* message) {
  if (!(value > 0)) throw std::invalid_argument(message);
  field = value;
}

}  // namespace

void ToleranceContext::setGeometricTolerance(double value) {
  setPositive(geometric_, value, "Geometric tolerance must be positive");
}

void ToleranceContext::setAngularTolerance(double value) {
  setPositive(angular_, value, "Angular tolerance must be positive");
}

void ToleranceContext::setCurveTolerance(double value) {
  setPositive(curve_, value, "Curve tolerance must be positive");
}

void ToleranceContext::setSurfaceTolerance(double value) {
  setPositive(surface_, value, "Surface tolerance must be positive");
}

bool ToleranceContext::isEqual(double a, double b, double tolerance) const {
  return isZero(a - b, tolerance);
}

bool ToleranceContext::isZero(double value, double tolerance) const {
  return std::abs(value) <= (tolerance < 0 ? geometric_ : tolerance);
}

}  // namespace trova::foundation
