/* B-spline basis functions and knot vectors.

   By contract: values are not checked, neither knots nor parameters. The two functions that return
   a value give 0 for an index outside the basis, null knots or a count that no array has (below 0,
   or above 2^28 - 1); the others refuse those. */
#ifndef MORVEL_API_C_FOUNDATION_H
#define MORVEL_API_C_FOUNDATION_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* N(i, p)(u). */
MORVEL_API double foundation_evaluate_basis_function(int i, int p, double u,
                                                     const double* knots MORVEL_LEN(knotCount),
                                                     int knotCount);
/* Writes the p + 1 non-zero basis values at u and returns the span; -1 with a text on failure. */
MORVEL_API int foundation_evaluate_all_basis_functions(int p, double u,
                                                       const double* knots MORVEL_LEN(knotCount),
                                                       int knotCount,
                                                       double* out MORVEL_LEN(p + 1));
/* The k-th derivative of N(i, p) at u; 0 for k below 0 or above p. */
MORVEL_API double foundation_evaluate_basis_derivative(int i, int p, double u,
                                                       const double* knots MORVEL_LEN(knotCount),
                                                       int knotCount, int k);
/* First and last knot. 1 on success, 0 with a text for null pointers or fewer than two knots. */
MORVEL_API int foundation_get_domain_from_knots(const double* knots MORVEL_LEN(knotCount),
                                                int knotCount, double* start MORVEL_LEN(1),
                                                double* end MORVEL_LEN(1));
/* 1 where u lies within tolerance of the first or last knot, else 0. */
MORVEL_API int foundation_is_at_domain_boundary(double u, const double* knots MORVEL_LEN(knotCount),
                                                int knotCount, double tolerance);

MORVEL_C_END

#endif
