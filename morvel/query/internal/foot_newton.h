#pragma once

#include <optional>

#include "morvel/query/internal/true_derivatives.h"
#include "morvel/query/projection_records.h"
#include "morvel/surfaces/foot_point.h"

// The iterations behind the projections, each from one start.

namespace trova::projection::internal {

using foundation::Vector3D;
using geometry::ParameterDomain;

/// A parameter pair of an iteration.
struct Parameters {
  double u = 0.0;
  double v = 0.0;
};

/// Newton's step on the foot-point equations. Empty where the determinant is below 1e-12 in size.
std::optional<Parameters> footStep(const geometry::FootPointSystem& system);

/// The closest point that a descent from (u, v) reaches: Newton's steps while they come closer and
/// stay in the domain (on its edge, along the edge), else the damped descent of `refineFootPoint`.
ProjectedPoint descendToFoot(const TrueDerivatives& derivatives, const ParameterDomain& domain,
                             const Point3D& point, double u, double v);

/// The same by Newton's steps only; empty where they do not settle.
std::optional<ProjectedPoint> settledFoot(const TrueDerivatives& derivatives,
                                          const ParameterDomain& domain, const Point3D& point,
                                          double u, double v);

/// A stationary point of the distance, reached by Newton's steps alone, inside the domain or on its
/// edge. Empty where the steps leave the domain or do not settle.
std::optional<ProjectedPoint> stationaryFoot(const TrueDerivatives& derivatives,
                                             const ParameterDomain& domain, const Point3D& point,
                                             double u, double v);

/// A crossing with the line through `point` along the unit vector `direction`. Empty where none
/// within `tolerance` of the line is reached.
std::optional<ProjectedPoint> crossingFrom(const TrueDerivatives& derivatives,
                                           const ParameterDomain& domain, const Point3D& point,
                                           const Vector3D& direction, double u, double v,
                                           double tolerance, int maxIterations);

}  // namespace trova::projection::internal
