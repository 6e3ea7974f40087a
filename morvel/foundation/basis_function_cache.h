#pragma once

#include <vector>

#include "morvel/foundation/export.h"

namespace trova::foundation::nurbs {

/// Remembers the non-zero basis values of one knot vector by parameter. Grows until `clearCache`.
class MORVEL_API BasisFunctionCache {
 public:
  BasisFunctionCache(int degree, const std::vector<double>& knots);

  /// The values at the first remembered parameter within 1e-12 of u, in order of insertion; else
  /// they are computed and remembered. A later miss may invalidate the reference.
  const std::vector<double>& getBasisValues(double u);

  void clearCache();

 private:
  int degree_;
  std::vector<double> knots_;
  std::vector<double> parameters_;
  std::vector<std::vector<double>> values_;
};

}  // namespace trova::foundation::nurbs
