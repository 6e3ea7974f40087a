#include "morvel/curves/arc_length_sampling.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace trova::geometry {
namespace {

// Pieces whose lengths are known before any point is sought.
constexpr int kPanels = 64;

// A length is reached within this share of the whole.
constexpr double kRelativeLength = 1e-12;

// Newton steps double the digits; halvings, their fallback, add one binary digit each.
constexpr int kMaxSteps = 60;

// The length along a curve as a function of t in [0, 1], which runs the way the curve runs.
class LengthTable {
 public:
  explicit LengthTable(const Curve& curve)
      : curve_(curve), interval_(curve.getParameterInterval()) {
    for (int k = 0; k < kPanels; ++k)
      reached_[k + 1] = reached_[k] + between(start(k), start(k + 1));
    if (!std::isfinite(total())) throw std::runtime_error("Curve length is not finite");
  }

  double total() const { return reached_[kPanels]; }
  double parameter(double t) const { return interval_.start + interval_.length() * t; }

  /// The t at which the curve is `length` long, 0 < length < total.
  double at(double length) const {
    const auto above = std::upper_bound(reached_.begin(), reached_.end(), length);
    const int panel = std::min(static_cast<int>(above - reached_.begin()), kPanels) - 1;
    return within(start(panel), start(panel + 1), length - reached_[panel]);
  }

 private:
  static double start(int panel) { return double(panel) / kPanels; }

  double between(double t0, double t1) const {
    return curve_.getArcLength(parameter(t0), parameter(t1));
  }

  double speed(double t) const {
    const std::vector<Vector3D> derivatives = curve_.evaluateDerivatives(parameter(t), 1);
    return derivatives.at(1).magnitude() * std::abs(interval_.length());
  }

  // Newton steps that never leave the bracket; `missing` is the length still to go from t.
  double within(double low, double high, double missing) const {
    double t = low;
    for (int step = 0; step < kMaxSteps; ++step) {
      if (!(std::abs(missing) > kRelativeLength * total())) break;
      (missing > 0.0 ? low : high) = t;
      double next = t + missing / speed(t);
      if (!(low < next && next < high)) next = low + (high - low) / 2.0;
      if (next == t) break;
      missing += next > t ? -between(t, next) : between(t, next);
      t = next;
    }
    return t;
  }

  const Curve& curve_;
  ParameterInterval interval_;
  std::array<double, kPanels + 1> reached_{};
};

}  // namespace

std::vector<double> equalArcLengthParameters(const Curve& curve, int count) {
  if (count < 2) throw std::invalid_argument("Point count out of range");
  const LengthTable table(curve);
  std::vector<double> parameters;
  parameters.reserve(static_cast<std::size_t>(count));
  parameters.push_back(table.parameter(0.0));
  for (int k = 1; k < count - 1; ++k) {
    const double share = double(k) / (count - 1);
    const bool hasLength = table.total() > 0.0;
    parameters.push_back(table.parameter(hasLength ? table.at(share * table.total()) : share));
  }
  parameters.push_back(curve.getParameterInterval().end);
  return parameters;
}

}  // namespace trova::geometry
