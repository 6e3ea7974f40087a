#pragma once

#include <vector>

#include "morvel/foundation/export.h"

// Exact refinement of splines: one implementation for curves (polynomial and rational) and for
// either direction of a surface net. The operations keep the function; only its representation
// changes.

namespace trova::foundation::nurbs {

/// A spline in one parameter whose control points are rows of `dim` doubles: 3 for a curve, 4 for a
/// rational curve in homogeneous coordinates, 3 * nV for a net as a spline in u.
struct SplineRows {
  int degree = 0;
  int dim = 0;
  std::vector<double> knots;
  std::vector<double> coords;  // count() rows of dim values

  int count() const { return dim > 0 ? static_cast<int>(coords.size()) / dim : 0; }
};

/// Degree elevation ends here: more columns than this serve nobody and cost without bound.
inline constexpr int kMaxElevatedDegree = 1000;

// All throw std::invalid_argument for a spline whose parts do not fit together: size(U) = n + p +
// 1, n > p, finite knots that never decrease. Nothing is changed then.

/// Inserts u up to `times` times (Boehm's step; Piegl and Tiller, The NURBS Book, A5.1), stopping
/// when its multiplicity, counted within `tolerance`, reaches the degree. u outside [U[p], U[n]] or
/// not finite throws std::invalid_argument.
MORVEL_API void insertKnot(SplineRows& spline, double u, int times, double tolerance);

/// The same function with end knots of multiplicity p + 1 at U[p] and U[n].
MORVEL_API SplineRows clamped(const SplineRows& spline);

/// The part over [a, b], clamped, on its own stretch of the knots (not mapped to [0, 1]).
/// @throws std::invalid_argument unless U[p] <= a < b <= U[n], and b - a is above 2e-12
MORVEL_API SplineRows trimmed(const SplineRows& spline, double a, double b);

/// The same function on degree + times: every distinct knot gains `times` copies. Each new point is
/// the average of polar values of the old spline over the choices of p of its knots (Ramshaw,
/// Blossoms are polar forms, 1989), summed without listing them and in the order of the Oslo
/// algorithm, so that all weights are positive and no digits are lost. An unclamped spline is
/// clamped first. Cost per new point: about (degree + times) * min(times + 1, degree) * degree
/// operations.
/// @throws std::invalid_argument for times < 0 or a degree above kMaxElevatedDegree;
///         std::length_error where the work would exceed 1e10 operations
MORVEL_API SplineRows elevated(const SplineRows& spline, int times);

/// The same function traversed backwards, over the same interval.
MORVEL_API SplineRows reversed(const SplineRows& spline);

}  // namespace trova::foundation::nurbs
