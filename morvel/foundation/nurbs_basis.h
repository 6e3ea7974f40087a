#pragma once

#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/foundation/knot_vector.h"

// B-spline basis functions by definition, one at a time or all non-zero ones at once. Classes that
// evaluate the same knot vector again and again hold a SplineBasis (spline_basis.h) instead.

namespace trova::foundation::nurbs {

/// N(i, p)(u) (Cox and de Boor). u within 1e-12 of an end knot is snapped to it; at the last knot
/// the value is 1 for i = size(U) - t - 1, t being the number of trailing knots equal to it, else
/// 0. A term whose knot difference is below 1e-12 is 0. 0 for an index outside the basis. Cost
/// O(p^2): the recurrence is run as a triangle, not as the recursion that defines it.
MORVEL_API double evaluateBasisFunction(int i, int p, double u, const std::vector<double>& U);

/// All non-zero basis functions at u (Piegl and Tiller, The NURBS Book, A2.2): out[r] is
/// N(span - p + r)(u).
/// @param span  index with U[span] <= u < U[span + 1]; an empty span divides by zero
/// @param out   resized to p + 1. By contract: at a domain end only one entry is written, out[0] or
///              out[p], which becomes 1; so pass it empty or zeroed.
/// @throws std::out_of_range where span or [span - p + 1, span + p] does not lie in U;
///         std::invalid_argument for a negative p
MORVEL_API void evaluateAllBasisFunctions(int p, double u, const std::vector<double>& U, int span,
                                          std::vector<double>& out);

/// The k-th derivative of N(i, p) at u; 0 for k < 0, k > p or an index outside the basis. u is
/// snapped to the end knots as above. Cost O(p^2).
MORVEL_API double evaluateBasisDerivative(int i, int p, double u, const std::vector<double>& U,
                                          int k);

/// out[j][r] is the j-th derivative of N(span - p + r) at u, j = 0 .. k (Piegl and Tiller, The
/// NURBS Book, A2.3); rows above p are 0.
/// @throws std::out_of_range as evaluateAllBasisFunctions; std::invalid_argument for a negative k
MORVEL_API void evaluateAllBasisDerivatives(int p, double u, const std::vector<double>& U, int span,
                                            int k, std::vector<std::vector<double>>& out);

}  // namespace trova::foundation::nurbs
