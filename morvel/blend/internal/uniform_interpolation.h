#pragma once

#include <vector>

namespace trova::geometry::blend::internal {

/// Interpolation on clamped uniform knots over [0, 1] at the Greville abscissae, which always has
/// an answer (de Boor, A Practical Guide to Splines, chapter XIII). The system is factored once.
class UniformInterpolation {
 public:
  /// @param count  points and control points, above the degree; degree >= 1
  UniformInterpolation(int count, int degree);

  const std::vector<double>& parameters() const { return parameters_; }

  /// Replaces values at the parameters by control points: `count` rows of `width` doubles.
  void solve(double* rows, int width) const;

 private:
  int count_;
  int degree_;
  std::vector<double> parameters_;
  std::vector<double> band_;  // the factors, without pivoting: row i holds columns i - p .. i + p
};

}  // namespace trova::geometry::blend::internal
