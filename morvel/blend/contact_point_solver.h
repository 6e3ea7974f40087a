#pragma once

#include <Eigen/Core>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "morvel/blend/blend_records.h"

// Where balls of known centres touch surfaces: the third stage of a rolling-ball blend, which
// checks the spine by a route of its own.

namespace trova::geometry::blend {

/// X with A X = b; nothing where A is singular to rounding or a value is not finite.
MORVEL_API std::optional<Eigen::Vector4d> solve4x4System(const Eigen::Matrix4d& A,
                                                         const Eigen::Vector4d& b);

class MORVEL_API ContactPointSolver {
 public:
  /// The foot point of a centre by damped Newton steps (Levenberg, 1944; Marquardt, 1963) from a
  /// guess, then, where these fail, by short gradient steps from fixed starts.
  ///
  /// By contract candidates stay within [0.02, 0.98] and the gradient steps within [0.05, 0.95] of
  /// the parameters, whatever the surface's domain; a guess within 0.05 of an edge is satisfied
  /// with a coarser gradient; and a search that ends with a gradient below 0.2 is accepted, with
  /// `maxIterations` + 100 iterations.
  /// @param guess  (u, v)
  static ContactPoint solveSingleContactPoint(const Surface& surface, const Point3D& centre,
                                              double radius, std::pair<double, double> guess,
                                              const ContactPointConfig& config = {});

  /// Contacts of every centre on both surfaces; each search starts at the contact before it where
  /// that converged, else at `generateInitialGuess`.
  /// @param radii  one for all, or one a centre
  /// @throws std::invalid_argument for another number of radii
  static std::vector<ContactTriplet> computeContactPoints(const Surface& surface1,
                                                          const Surface& surface2,
                                                          std::span<const Point3D> centres,
                                                          std::span<const double> radii,
                                                          const ContactPointConfig& config = {});

  /// The (u, v) of the closest point of a coarse grid over the middle of the domain.
  static std::pair<double, double> generateInitialGuess(const Surface& surface,
                                                        const Point3D& centre);

  /// The centre of the ball that touches at both contacts: of the four pairs of sides of the
  /// surfaces the one on which both normals lead to about the same point, half-way between.
  static Point3D computeSphereCenterFromContacts(const ContactPoint& first,
                                                 const ContactPoint& second, double radius);

  /// As the free function.
  static std::optional<Eigen::Vector4d> solveLinearSystem4x4(const Eigen::Matrix4d& A,
                                                             const Eigen::Vector4d& b) {
    return solve4x4System(A, b);
  }
};

}  // namespace trova::geometry::blend
