#pragma once

#include <algorithm>
#include <memory>
#include <utility>

#include "morvel/surfaces/parameter_window.h"

namespace trova::geometry {

/// What all surfaces share that are given by a formula over natural parameters (s, t) in [0, 1]:
/// they look at it through a ParameterWindow. `Base` is Surface or AnalyticSurface.
///
/// `Derived` provides, for this class only:
/// - `Point3D naturalPoint(double s, double t) const`
/// - `void naturalDerivatives(double s, double t, int order, SurfaceEvaluation& out) const`, which
/// fills
///   the members of order 0 .. `order` except the normal
/// - `bool isNaturallyPeriodicS() const`, and T: whether the whole stretch joins its own start
/// smoothly
/// - `std::pair<int, int> naturalNurbsCounts() const`: control-point counts (s, t) for a conversion
template <class Derived, class Base>
class MORVEL_API WindowedSurface : public Base {
 public:
  std::unique_ptr<Surface> clone() const override { return std::make_unique<Derived>(self()); }

  bool isPeriodicU() const override {
    return window_.isTransposed() ? isPeriodicAlongT() : isPeriodicAlongS();
  }
  bool isPeriodicV() const override {
    return window_.isTransposed() ? isPeriodicAlongS() : isPeriodicAlongT();
  }

  Point3D evaluate(double u, double v) const override {
    const NaturalParameters at = window_.natural(u, v);
    return self().naturalPoint(at.s, at.t);
  }

  SurfaceEvaluation evaluateDerivatives(double u, double v, int order) const override {
    const NaturalParameters at = window_.natural(u, v);
    const int usedOrder = std::clamp(order, 0, 2);
    SurfaceEvaluation result;
    self().naturalDerivatives(at.s, at.t, usedOrder, result);
    window_.toOuter(result, usedOrder);
    return result;
  }

  /// The part over a rectangle of [0, 1] x [0, 1]; exact.
  /// @throws std::invalid_argument unless 0 <= start < end <= 1 in both directions
  std::unique_ptr<Surface> trim(double uStart, double uEnd, double vStart,
                                double vEnd) const override {
    return withWindow(window_.trimmed(uStart, uEnd, vStart, vEnd));
  }
  std::unique_ptr<Surface> reverseU() const override { return withWindow(window_.reversedU()); }
  std::unique_ptr<Surface> reverseV() const override { return withWindow(window_.reversedV()); }
  std::unique_ptr<Surface> swapUV() const override { return withWindow(window_.transposed()); }

  std::pair<int, int> getRecommendedNurbsParameters() const override {
    const auto [alongS, alongT] = self().naturalNurbsCounts();
    return window_.isTransposed() ? std::pair{alongT, alongS} : std::pair{alongS, alongT};
  }

  const ParameterWindow& parameterWindow() const { return window_; }
  void setParameterWindow(const ParameterWindow& window) { window_ = window; }

 protected:
  const Derived& self() const { return static_cast<const Derived&>(*this); }

  /// A copy without a pending transform: what every operation starts its result from.
  std::unique_ptr<Derived> freshCopy() const {
    auto copy = std::make_unique<Derived>(self());
    copy->resetMatrix();
    return copy;
  }

 private:
  bool isPeriodicAlongS() const { return window_.s().isFull() && self().isNaturallyPeriodicS(); }
  bool isPeriodicAlongT() const { return window_.t().isFull() && self().isNaturallyPeriodicT(); }

  std::unique_ptr<Surface> withWindow(const ParameterWindow& window) const {
    auto copy = freshCopy();
    static_cast<WindowedSurface&>(*copy).window_ = window;
    return copy;
  }

  ParameterWindow window_;
};

}  // namespace trova::geometry
