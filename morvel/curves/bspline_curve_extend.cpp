#include "morvel/curves/bspline_curve.h"
#include "morvel/curves/internal/curve_extension.h"
#include "morvel/curves/internal/extension_report.h"
#include "morvel/curves/internal/spline_conversion.h"

namespace trova::geometry {

std::unique_ptr<Curve> BSplineCurve::extend(double length, CurveEnd end, ExtensionMode mode) const {
  std::unique_ptr<BSplineCurve> result =
      internal::bsplineFrom(internal::extended(internal::rowsOf(*this), length, end, mode));
  internal::requireValidResult(*result, mode == ExtensionMode::Natural
                                            ? "B-spline validation failed (natural): "
                                            : "B-spline validation failed: ");
  return result;
}

}  // namespace trova::geometry
