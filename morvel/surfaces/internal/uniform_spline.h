#pragma once

#include <optional>
#include <vector>

#include "morvel/foundation/spline_rows.h"
#include "morvel/surfaces/parameter_window.h"
#include "morvel/surfaces/unit_curve.h"

namespace trova::geometry::internal {

/// A spline on clamped uniform knots over [0, 1]. (SplineRows whose knots are known to be those.)
using UniformRows = foundation::nurbs::SplineRows;

/// The part of `spline` over a stretch of fractions of its interval; nothing where its knots,
/// mapped to [0, 1], are not clamped uniform (to kKnotTolerance).
std::optional<UniformRows> uniformPart(const foundation::nurbs::SplineRows& spline,
                                       const ParameterStretch& stretch);

/// The exact polynomial form of a part of a curve: of lines, Bezier curves, and B-spline curves
/// with suitable knots; nothing for others.
std::optional<UniformRows> exactUniformForm(const UnitCurve& curve,
                                            const ParameterStretch& stretch);

/// Brings all onto the same degree and knots, exactly; false where that is not possible on uniform
/// knots or would take too many.
bool makeCompatible(std::vector<UniformRows>& splines);

/// How curves without a common exact form are to be fitted.
struct FitPlan {
  /// As smooth as the knots of the curves say. They may be smoother than that (a rational circle
  /// is), and then the next degree does better.
  int degree = 3;
  int highestDegree = 3;
  int spans = 8;  ///< to begin with; this number and its doubles have knots where the curves bend
};

/// Looks at the places where the curves are not twice differentiable. Where these are no simple
/// fractions of the stretch, no uniform knots can meet them, and the plan is that for smooth
/// curves.
FitPlan fitPlan(const std::vector<const UnitCurve*>& curves, const ParameterStretch& stretch);

/// Splines on `spans` uniform spans through the curves at the Greville abscissae; one per curve.
/// @param degree  1 .. 3
std::vector<UniformRows> interpolatedUniform(const std::vector<const UnitCurve*>& curves,
                                             const ParameterStretch& stretch, int degree,
                                             int spans);

/// The k-th Greville abscissa, the mean of `degree` successive knots; degree >= 1.
double grevilleAbscissa(const std::vector<double>& knots, int degree, int k);

}  // namespace trova::geometry::internal
