#include "morvel/surfaces/unit_curve.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace trova::geometry {

UnitCurve::UnitCurve(const std::shared_ptr<const Curve>& curve, const char* what) {
  if (!curve) throw std::invalid_argument(std::string(what) + " cannot be null");
  curve_ = curve->clone();
  interval_ = curve_->getParameterInterval();
  if (!std::isfinite(interval_.start) || !std::isfinite(interval_.end))
    throw std::invalid_argument(std::string(what) + " must have a finite interval");
}

double UnitCurve::parameterAt(double s) const {
  return std::lerp(interval_.start, interval_.end, s);
}

CurveJet UnitCurve::jet(double s, int order) const {
  CurveJet jet;
  if (order < 1) {
    jet.point = point(s);
    return jet;
  }
  const std::vector<Vector3D> values = curve_->evaluateDerivatives(parameterAt(s), order);
  if (!values.empty()) jet.point = Point3D(values[0].eigen());
  const std::size_t count = std::min(values.size(), jet.derivatives.size() + 1);
  double factor = 1.0;
  for (std::size_t k = 1; k < count; ++k) {
    factor *= interval_.length();
    jet.derivatives[k - 1] = values[k] * factor;
  }
  return jet;
}

}  // namespace trova::geometry
