#include "morvel/foundation/basis_function_cache.h"

#include <algorithm>
#include <cmath>

#include "morvel/foundation/nurbs_basis.h"
#include "morvel/foundation/tolerances.h"

namespace trova::foundation::nurbs {
namespace {

constexpr std::size_t kReservedEntries = 100;

}  // namespace

BasisFunctionCache::BasisFunctionCache(int degree, const std::vector<double>& knots)
    : degree_(degree), knots_(knots) {
  parameters_.reserve(kReservedEntries);
  values_.reserve(kReservedEntries);
}

const std::vector<double>& BasisFunctionCache::getBasisValues(double u) {
  const auto hit = std::find_if(parameters_.begin(), parameters_.end(), [&](double parameter) {
    return std::abs(parameter - u) < kKnotTolerance;
  });
  if (hit != parameters_.end()) return values_[std::size_t(hit - parameters_.begin())];

  std::vector<double> values;
  evaluateAllBasisFunctions(degree_, u, knots_, findKnotSpan(degree_, u, knots_), values);
  values_.resize(parameters_.size());  // drops values whose parameter found no memory
  values_.push_back(std::move(values));
  parameters_.push_back(u);
  return values_.back();
}

void BasisFunctionCache::clearCache() {
  parameters_.clear();
  values_.clear();
}

}  // namespace trova::foundation::nurbs
