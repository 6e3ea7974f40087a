// Basis functions and knot vectors for callers without C++. Values are not judged here, by
// contract; what is judged is only whether there is an array to read.

#include "morvel/api/c/foundation.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <tuple>
#include <vector>

#include "morvel/api/exception_guard.h"
#include "morvel/api/last_error.h"
#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/nurbs_basis.h"

using namespace trova_internal;
namespace nurbs = trova::foundation::nurbs;

namespace {

// Two GiB of knots: a count beyond it is no count of an array.
constexpr int kMostKnots = std::numeric_limits<std::int32_t>::max() / int(sizeof(double));
constexpr int kFewestKnotsOfDomain = 2;

constexpr FailureTexts kAllBasisFunctions{.stored = "foundation_evaluate_all_basis_functions: "};
constexpr FailureTexts kDomain{.stored = "foundation_get_domain_from_knots: "};
constexpr FailureTexts kBoundary{.stored = "foundation_is_at_domain_boundary: "};

bool isReadable(const double* knots, int knotCount, int fewest) {
  return knots && knotCount >= fewest && knotCount <= kMostKnots;
}

// Without knots there are no basis functions, and the functions of the basis module say so.
std::vector<double> copyKnots(const double* knots, int knotCount) {
  if (!isReadable(knots, knotCount, 0)) return {};
  return {knots, knots + knotCount};
}

// All that questions about the domain read.
std::vector<double> endKnots(const double* knots, int knotCount) {
  return {knots[0], knots[knotCount - 1]};
}

}  // namespace

double foundation_evaluate_basis_function(int i, int p, double u, const double* knots,
                                          int knotCount) {
  return guarded(
      0.0, {}, [&] { return nurbs::evaluateBasisFunction(i, p, u, copyKnots(knots, knotCount)); });
}

int foundation_evaluate_all_basis_functions(int p, double u, const double* knots, int knotCount,
                                            double* out) {
  if (!out) return refuse(kBadArgument, "foundation_evaluate_all_basis_functions: out is null");
  return guarded(kBadArgument, kAllBasisFunctions, [&] {
    const std::vector<double> U = copyKnots(knots, knotCount);
    const int span = nurbs::findKnotSpan(p, u, U);
    std::vector<double> values;
    nurbs::evaluateAllBasisFunctions(p, u, U, span, values);
    std::ranges::copy(values, out);
    return span;
  });
}

double foundation_evaluate_basis_derivative(int i, int p, double u, const double* knots,
                                            int knotCount, int k) {
  return guarded(0.0, {}, [&] {
    return nurbs::evaluateBasisDerivative(i, p, u, copyKnots(knots, knotCount), k);
  });
}

int foundation_get_domain_from_knots(const double* knots, int knotCount, double* start,
                                     double* end) {
  if (!start || !end || !isReadable(knots, knotCount, kFewestKnotsOfDomain))
    return refuse(0, "foundation_get_domain_from_knots: Invalid parameters");
  return guarded(0, kDomain, [&] {
    std::tie(*start, *end) = nurbs::getDomainFromKnotVector(endKnots(knots, knotCount));
    return 1;
  });
}

int foundation_is_at_domain_boundary(double u, const double* knots, int knotCount,
                                     double tolerance) {
  if (!isReadable(knots, knotCount, kFewestKnotsOfDomain))
    return refuse(0, "foundation_is_at_domain_boundary: Invalid knot vector");
  return guarded(0, kBoundary, [&] {
    return nurbs::isAtDomainBoundary(u, endKnots(knots, knotCount), tolerance) ? 1 : 0;
  });
}
