#pragma once

#include <utility>
#include <vector>

#include "morvel/foundation/export.h"

// Knot vectors: making, checking, searching. Throughout p is the degree, U the knot vector, and
// n = size(U) - p - 1 the number of control points. Knots and parameters closer than kKnotTolerance
// (1e-12) are "equal".

namespace trova::foundation::nurbs {

/// The span index k with U[k] <= u < U[k + 1] (Piegl and Tiller, The NURBS Book, A2.1); n - 1 for
/// u >= U[n] and p for u <= U[p]. No tolerance is applied. Ends on any input, NaN and unsorted
/// knots included, with an index in [p, n - 1] where n > p.
/// @throws std::invalid_argument where p < 0 or U has fewer than p + 2 knots (nothing to search)
MORVEL_API int findKnotSpan(int p, double u, const std::vector<double>& U);

/// Clamped and uniform on [0, 1]: p + 1 zeros, k / (n - p) for k = 1 .. n - p - 1, p + 1 ones.
/// @throws std::invalid_argument "Invalid degree or control point count for knot vector generation"
///         unless p >= 0 and n > p
MORVEL_API std::vector<double> generateUniformKnotVector(int p, int numControlPoints);

/// The same vector without the demand on n: with n <= p the ones overwrite the zeros from index n
/// on, so that the size is always n + p + 1. Empty for a negative n or p.
MORVEL_API std::vector<double> clampedUniformKnots(int numControlPoints, int p);

/// size(U) = n + p + 1, never decreasing, no run of equal knots longer than p + 1.
MORVEL_API bool validateKnotVector(const std::vector<double>& U, int p, int numControlPoints);

/// Every knot is finite and none is smaller than the one before it.
MORVEL_API bool isNonDecreasing(const std::vector<double>& U);

/// Maps the knots onto [0, 1] in place; where all are equal every knot becomes 0.
MORVEL_API void normalizeKnotVector(std::vector<double>& U);

/// (U.front, U.back), or (0, 1) for an empty vector.
MORVEL_API std::pair<double, double> getDomainFromKnotVector(const std::vector<double>& U);

/// U.front - tolerance <= u <= U.back + tolerance; false for an empty vector.
MORVEL_API bool isWithinDomain(double u, const std::vector<double>& U, double tolerance);

/// |u - U.front| < tolerance or |u - U.back| < tolerance; false for an empty vector.
MORVEL_API bool isAtDomainBoundary(double u, const std::vector<double>& U, double tolerance);

/// The knots in reverse order, each replaced by (first + last) - knot.
MORVEL_API std::vector<double> reversedKnots(const std::vector<double>& U);

/// How many knots lie within `tolerance` of u.
MORVEL_API int knotMultiplicity(double u, const std::vector<double>& U, double tolerance);

/// (u - U[i]) / (U[i + p] - U[i]), the weight of P[i] when u is inserted; 0 where the difference is
/// 0. Requires 0 <= i and i + p < size(U).
MORVEL_API double insertionCoefficient(double u, const std::vector<double>& U, int i, int p);

}  // namespace trova::foundation::nurbs
