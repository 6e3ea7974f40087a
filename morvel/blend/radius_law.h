#pragma once

#include <vector>

#include "morvel/foundation/export.h"

namespace trova::geometry::blend {

/// How a law runs between its values.
enum class RadiusInterpolation : int {
  Linear = 0,
  Smooth = 1  ///< C1 cubics that rise and fall with the values (Fritsch and Carlson, 1980)
};

/// A radius that changes along a parameter.
class MORVEL_API RadiusLaw {
 public:
  /// @param parameters  rising, at least two
  /// @param radii       as many
  /// @throws std::invalid_argument otherwise, or where a number is not finite
  RadiusLaw(std::vector<double> parameters, std::vector<double> radii,
            RadiusInterpolation interpolation);

  /// Constant before the first parameter and after the last one.
  double at(double t) const;

  double least() const;

 private:
  void findSlopes();

  std::vector<double> parameters_;
  std::vector<double> radii_;
  std::vector<double> slopes_;  // at the parameters; empty for a linear law
};

}  // namespace trova::geometry::blend
