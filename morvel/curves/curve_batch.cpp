#include "morvel/curves/curve_batch.h"

#include <typeinfo>

#include "morvel/curves/bezier_curve.h"
#include "morvel/curves/bspline_curve.h"
#include "morvel/curves/internal/derivative_batch.h"
#include "morvel/curves/nurbs_curve.h"

namespace trova::geometry {
namespace {

// A class derived from these may evaluate in its own way.
template <class Kind>
const Kind* asExactly(const Curve& curve) {
  return typeid(curve) == typeid(Kind) ? static_cast<const Kind*>(&curve) : nullptr;
}

}  // namespace

void evaluateCurveBatch(const Curve& curve, std::span<const double> t, int order, double* out) {
  if (const auto* spline = asExactly<BSplineCurve>(curve))
    return spline->evaluateBatch(t, order, out);
  if (const auto* rational = asExactly<NurbsCurve>(curve))
    return rational->evaluateBatch(t, order, out);
  if (const auto* bezier = asExactly<BezierCurve>(curve))
    return bezier->evaluateBatch(t, order, out);
  internal::evaluateOneByOne(curve, t, order, out);
}

}  // namespace trova::geometry
