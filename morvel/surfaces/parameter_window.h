#pragma once

#include "morvel/foundation/export.h"
#include "morvel/surfaces/surface.h"

// How a surface's own [0, 1] x [0, 1] lies in the natural parameters of its class. Trimming,
// reversing and exchanging the parameters of a sphere (a sweep, ...) changes this window only, so
// that the result is a sphere over [0, 1] x [0, 1] again.

namespace trova::geometry {

/// A stretch of one natural parameter, run through from `from` to `to`; backwards where `from` is
/// the larger.
struct MORVEL_API ParameterStretch {
  double from = 0.0;
  double to = 1.0;

  double at(double fraction) const;  ///< exact at fractions 0 and 1
  double length() const { return to - from; }
  bool isFull() const;  ///< all of [0, 1], in either direction
};

/// Natural parameters of a surface class: `s` and `t`, each over [0, 1].
struct MORVEL_API NaturalParameters {
  double s = 0.0;
  double t = 0.0;
};

/// The part of the natural square that a surface covers, and which of its parameters runs along s.
class MORVEL_API ParameterWindow {
 public:
  ParameterWindow() = default;
  /// @throws std::invalid_argument where a stretch leaves [0, 1]
  ParameterWindow(const ParameterStretch& s, const ParameterStretch& t, bool isTransposed);

  /// u and v are clamped to [0, 1] first; NaN stays NaN.
  NaturalParameters natural(double u, double v) const;
  /// Turns derivatives by (s, t) into derivatives by (u, v), and fills in the unit normal.
  /// @param order  0, 1 or 2: how far `evaluation` is filled
  void toOuter(SurfaceEvaluation& evaluation, int order) const;

  /// @throws std::invalid_argument unless 0 <= start < end <= 1 in both directions
  ParameterWindow trimmed(double uStart, double uEnd, double vStart, double vEnd) const;
  ParameterWindow reversedU() const;
  ParameterWindow reversedV() const;
  ParameterWindow transposed() const;

  const ParameterStretch& s() const { return s_; }
  const ParameterStretch& t() const { return t_; }
  /// u runs along t and v along s.
  bool isTransposed() const { return transposed_; }

 private:
  ParameterStretch s_;
  ParameterStretch t_;
  bool transposed_ = false;
};

}  // namespace trova::geometry
