#include "morvel/fitting/basis_derivative_evaluator.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "morvel/foundation/knot_vector.h"

namespace trova::geometry {

using foundation::nurbs::SplineBasis;

namespace {

constexpr int kHighestOrder = 2;
// The mixing step of splitmix64 (Steele, Lea and Flood, Fast splittable pseudorandom number
// generators, 2014).
constexpr std::uint64_t kGoldenGamma = 0x9e3779b97f4a7c15u;
constexpr std::uint64_t kFirstMultiplier = 0xbf58476d1ce4e5b9u;
constexpr std::uint64_t kSecondMultiplier = 0x94d049bb133111ebu;
constexpr int kShifts[] = {30, 27, 31};

std::uint64_t mixed(std::uint64_t seed, std::uint64_t value) {
  std::uint64_t z = seed + value + kGoldenGamma;
  z = (z ^ (z >> kShifts[0])) * kFirstMultiplier;
  z = (z ^ (z >> kShifts[1])) * kSecondMultiplier;
  return z ^ (z >> kShifts[2]);
}

// Equal keys need equal hashes, and 0 equals -0.
std::uint64_t bitsOf(double x) { return std::bit_cast<std::uint64_t>(x == 0.0 ? 0.0 : x); }

bool holdsEnoughKnots(const std::vector<double>& knots, int degree) {
  return degree >= 1 && knots.size() >= 2 * (static_cast<std::size_t>(degree) + 1);
}

SplineBasis usableBasis(int degree, std::vector<double> knots, const char* fault) {
  const bool isSorted = foundation::nurbs::isNonDecreasing(knots);
  SplineBasis basis(degree, std::move(knots));
  if (!isSorted || !basis.isUsable() || !(basis.end() > basis.start()))
    throw std::invalid_argument(fault);
  return basis;
}

}  // namespace

std::size_t EvaluationKeyHash::operator()(const EvaluationKey& key) const {
  const auto orders = static_cast<std::uint64_t>(key.derivative_u) << 32 |
                      static_cast<std::uint32_t>(key.derivative_v);
  return mixed(mixed(mixed(0, bitsOf(key.u)), bitsOf(key.v)), orders);
}

BasisDerivativeEvaluator::BasisDerivativeEvaluator(std::vector<double> uKnots,
                                                   std::vector<double> vKnots, int degreeU,
                                                   int degreeV) {
  if (!holdsEnoughKnots(uKnots, degreeU) || !holdsEnoughKnots(vKnots, degreeV))
    throw std::invalid_argument("Invalid knot vector or degree: insufficient control points");
  u_ = usableBasis(degreeU, std::move(uKnots), "Invalid U direction knot vector");
  v_ = usableBasis(degreeV, std::move(vKnots), "Invalid V direction knot vector");
}

const TensorBasisValues& BasisDerivativeEvaluator::evaluate(double u, double v, int derivative_u,
                                                            int derivative_v) const {
  const auto isOrder = [](int order) { return order >= 0 && order <= kHighestOrder; };
  if (!isOrder(derivative_u) || !isOrder(derivative_v))
    throw std::invalid_argument("Derivative order must be 0, 1 or 2");
  if (!std::isfinite(u) || !std::isfinite(v))
    throw std::invalid_argument("Parameters must be finite");
  const EvaluationKey key{u, v, derivative_u, derivative_v};
  const auto found = cache_.find(key);
  if (found != cache_.end()) return found->second.values;
  return cache_.emplace(key, Entry{computed(key), made_++}).first->second.values;
}

TensorBasisValues BasisDerivativeEvaluator::computed(const EvaluationKey& key) const {
  const auto rowOf = [](const SplineBasis& basis, double at, int order, std::vector<double>& out) {
    const double inside = std::clamp(at, basis.start(), basis.end());
    const int span = basis.span(inside);
    const int width = basis.degree() + 1;
    std::vector<double> table(static_cast<std::size_t>(width) * (order + 1));
    basis.derivatives(inside, span, order, table.data());
    out.assign(table.end() - width, table.end());
    return span - basis.degree();
  };
  std::vector<double> inU, inV;
  TensorBasisValues result;
  result.first_u = rowOf(u_, key.u, key.derivative_u, inU);
  result.first_v = rowOf(v_, key.v, key.derivative_v, inV);
  result.width_u = u_.degree() + 1;
  result.width_v = v_.degree() + 1;
  result.values.reserve(inU.size() * inV.size());
  for (const double b : inV) {
    for (const double a : inU)
      result.values.push_back(a * b);
  }
  return result;
}

Eigen::VectorXd BasisDerivativeEvaluator::evaluate_all(double u, double v, int derivative_u,
                                                       int derivative_v) const {
  Eigen::VectorXd all = Eigen::VectorXd::Zero(control_point_count());
  evaluate(u, v, derivative_u, derivative_v).forEach([&](int i, int j, double value) {
    all[j * u_.count() + i] = value;
  });
  return all;
}

void BasisDerivativeEvaluator::cleanup_cache(std::size_t max_entries) const {
  if (cache_.size() <= max_entries) return;
  std::vector<std::uint64_t> numbers;
  numbers.reserve(cache_.size());
  for (const auto& [key, entry] : cache_)
    numbers.push_back(entry.number);
  const auto firstKept =
      numbers.begin() + static_cast<std::ptrdiff_t>(numbers.size() - max_entries);
  if (firstKept == numbers.end()) return clear_cache();
  std::nth_element(numbers.begin(), firstKept, numbers.end());
  std::erase_if(cache_, [&](const auto& item) { return item.second.number < *firstKept; });
}

}  // namespace trova::geometry
