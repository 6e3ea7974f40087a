#pragma once

#include <span>

#include "morvel/curves/curve.h"
#include "morvel/foundation/export.h"

namespace trova::geometry {

/// Many points of one curve at a time: per parameter order + 1 vectors, the point first. The bits
/// are those of `evaluate` for order 0, else of `evaluateDerivatives`; for spline and Bezier curves
/// nothing is allocated per point.
/// @throws std::invalid_argument for an order below 0 or above kMaxDerivativeOrder
MORVEL_API void evaluateCurveBatch(const Curve& curve, std::span<const double> t, int order,
                                   double* out);

}  // namespace trova::geometry
