#pragma once

#include <Eigen/Core>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "morvel/fitting/surface_engine3_options.h"
#include "morvel/fitting/surface_parameterization.h"
#include "morvel/foundation/principal_axes.h"

namespace trova::geometry::internal {

/// Parameters by a method, the warnings it gave, and the method that was used in the end.
struct ScatteredParameters {
  std::vector<std::pair<double, double>> parameters;
  std::vector<std::string> warnings;
  SurfaceEngine3ParameterizationMethod method{};
};

/// Which projection suits the points: fewer than 9, or coplanar ones, LEAST_SQUARES_PLANE; long
/// narrow ones (spreads 25 to 1) PCA_PROJECTION; 16 to 64, CONVEX_HULL_PROJECTION; else
/// LEAST_SQUARES_PLANE.
SurfaceEngine3ParameterizationMethod selectProjection(const std::vector<Point3D>& points);

/// By one of the projections (UNIVERSAL selects). @throws std::invalid_argument with the reason
/// where the points have none
ScatteredParameters projectedParameters(const std::vector<Point3D>& points,
                                        SurfaceEngine3ParameterizationMethod method);

/// By any method. UNIFORM, CHORD_LENGTH and CENTRIPETAL take the points for a square grid, row by
/// row; where their number is no square, UNIFORM is the lattice clamped to [0, 1], and the other
/// two give way to LEAST_SQUARES_PLANE with a warning. @throws as projectedParameters
ScatteredParameters scatteredParameters(const std::vector<Point3D>& points,
                                        SurfaceEngine3ParameterizationMethod method);

/// The affine map of the plane of the points that takes them to parameters which came from a
/// projection onto it.
class PlanarMap {
 public:
  /// Nothing where the points have no plane.
  static std::optional<PlanarMap> of(const std::vector<Point3D>& points,
                                     const std::vector<std::pair<double, double>>& parameters);
  std::pair<double, double> operator()(const Point3D& point) const;

 private:
  Eigen::RowVector3d inPlane(const Point3D& point) const;

  foundation::PrincipalAxes axes_;
  double scale_ = 1.0;
  Eigen::Matrix<double, 3, 2> map_;
};

}  // namespace trova::geometry::internal
