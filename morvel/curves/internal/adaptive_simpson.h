#pragma once

#include <cmath>
#include <limits>

namespace trova::geometry::internal {

/// One run of `adaptiveSimpson`: the integrand and what is left to spend on it.
template <class Integrand>
class SimpsonRun {
 public:
  SimpsonRun(const Integrand& f, int recursionLimit) : f_(f), recursionLimit_(recursionLimit) {}

  double integrate(double a, double b, double tolerance, int panels) {
    const double width = (b - a) / panels;
    double total = 0.0;
    double left = a, fLeft = value(a);
    for (int i = 1; i <= panels && isFinite_; ++i) {
      const double right = i == panels ? b : a + i * width;
      const double middle = left + (right - left) / 2.0;
      const double fMiddle = value(middle), fRight = value(right);
      const double whole = simpson(right - left, fLeft, fMiddle, fRight);
      roundingFloor_ = kRoundingShare * (std::abs(total) + std::abs(whole));
      total += refined({left, middle, right, fLeft, fMiddle, fRight, whole}, tolerance / panels, 0);
      left = right;
      fLeft = fRight;
    }
    return isFinite_ ? total : std::numeric_limits<double>::quiet_NaN();
  }

 private:
  // Two estimates closer than this share of the whole differ by rounding.
  static constexpr double kRoundingShare = 4.0 * std::numeric_limits<double>::epsilon();
  // Far beyond what any smooth integrand needs; bounds the work on the others.
  static constexpr int kMaxEvaluations = 400'000;
  // The two-panel estimate is this many times closer than its difference from the one-panel one.
  static constexpr double kErrorRatio = 15.0;

  struct Panel {
    double a, m, b;
    double fa, fm, fb;
    double whole;
  };

  static double simpson(double width, double fa, double fm, double fb) {
    return width / 6.0 * (fa + 4.0 * fm + fb);
  }

  double value(double t) {
    ++evaluations_;
    const double result = f_(t);
    isFinite_ = isFinite_ && std::isfinite(result);
    return result;
  }

  bool mayHalve(const Panel& panel, int depth) const {
    return isFinite_ && depth < recursionLimit_ && evaluations_ < kMaxEvaluations &&
           panel.a < panel.m && panel.m < panel.b;
  }

  double refined(const Panel& panel, double tolerance, int depth) {
    if (!mayHalve(panel, depth)) return panel.whole;
    const double ml = panel.a + (panel.m - panel.a) / 2.0;
    const double mr = panel.m + (panel.b - panel.m) / 2.0;
    const double fl = value(ml), fr = value(mr);
    const double left = simpson(panel.m - panel.a, panel.fa, fl, panel.fm);
    const double right = simpson(panel.b - panel.m, panel.fm, fr, panel.fb);
    const double change = left + right - panel.whole;
    // Written so that a change that is not a number ends the recursion.
    if (!(std::abs(change) > kErrorRatio * tolerance) || !(std::abs(change) > roundingFloor_))
      return left + right + change / kErrorRatio;
    const Panel first{panel.a, ml, panel.m, panel.fa, fl, panel.fm, left};
    const Panel second{panel.m, mr, panel.b, panel.fm, fr, panel.fb, right};
    return refined(first, tolerance / 2.0, depth + 1) + refined(second, tolerance / 2.0, depth + 1);
  }

  const Integrand& f_;
  int recursionLimit_;
  int evaluations_ = 0;
  bool isFinite_ = true;
  double roundingFloor_ = 0.0;
};

/// The integral of f over [a, b], a < b, by adaptive Simpson quadrature (Lyness, Notes on the
/// adaptive Simpson quadrature routine, 1969) from `panels` equal pieces. A panel is not halved
/// further where the halves agree with it to 15 times its share of `tolerance` or to rounding,
/// where no number is left between its ends, or where the limits of depth and of evaluations are
/// reached: the work is bounded on any integrand. Not a number where f is not finite.
template <class Integrand>
double adaptiveSimpson(const Integrand& f, double a, double b, double tolerance, int recursionLimit,
                       int panels) {
  if (!(a < b)) return a == b ? 0.0 : std::numeric_limits<double>::quiet_NaN();
  return SimpsonRun<Integrand>(f, recursionLimit).integrate(a, b, tolerance, panels);
}

}  // namespace trova::geometry::internal
