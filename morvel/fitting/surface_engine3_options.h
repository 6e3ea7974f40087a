#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/surfaces/bspline_surface.h"

// What goes into a constrained surface fit, and what comes out of it.

namespace trova::geometry {

/// How points without parameters get theirs.
enum class SurfaceEngine3ParameterizationMethod : std::int32_t {
  UNIFORM = 0,         ///< the points are a grid, row by row: evenly spaced parameters
  CHORD_LENGTH = 1,    ///< the same grid with averaged distances
  CENTRIPETAL = 2,     ///< the same grid with averaged square roots of distances
  UNIVERSAL = 3,       ///< one of 4, 5, 6, by the spread of the points
  PCA_PROJECTION = 4,  ///< onto the two principal axes
  LEAST_SQUARES_PLANE = 5,
  CONVEX_HULL_PROJECTION = 6  ///< onto the plane, measured against the hull
};

/// The enumerator's name; "unknown" for any other code.
MORVEL_API const char* surface_engine3_parameterization_method_name(int code);

/// The method with that code; any other prints a warning and is LEAST_SQUARES_PLANE.
MORVEL_API SurfaceEngine3ParameterizationMethod int_to_param_method(int code);

struct MORVEL_API SurfaceEngine3Options {
  int degree_u = 3;
  int degree_v = 3;
  int control_points_u = 0;  ///< 0: from the number of points
  int control_points_v = 0;
  std::vector<double> knots_u;  ///< empty: clamped, evenly spaced; else they set the count
  std::vector<double> knots_v;
  int parameterization_method =
      static_cast<int>(SurfaceEngine3ParameterizationMethod::LEAST_SQUARES_PLANE);
  bool adaptive_parameterization = false;  ///< carried for callers; no step reads it
  double fitting_tolerance = 1e-6;         ///< model units; carried for callers
  bool condition_analysis = true;          ///< compute the condition number of the system
  double condition_threshold = 1e12;       ///< least squares above it are regularised
  int max_iterations = 100;                ///< of the refinement of a solution
  double convergence_tolerance = 1e-8;     ///< carried for callers; refinement goes to rounding
  /// The adaptive flag of the system with hard constraints: what is added to the diagonal of its
  /// normal matrix is the weight times that matrix's largest singular value where this is set, else
  /// the weight itself. (Least squares without hard constraints are regularised, by the first rule,
  /// where their condition number is above the threshold.)
  bool regularization = true;
  bool g1_processing = true;  ///< off: G1 constraints stay out of the system
  bool validation = true;     ///< off: contradictory constraints are not looked for beforehand
  bool verbose = false;       ///< carried for callers; no step reads it
  double regularization_weight = 1e-6;
  double g1_tolerance = 1e-8;          ///< two tangents at one place differ above it (relative)
  double constraint_tolerance = 1e-6;  ///< a violation below it counts as none

  /// Degrees in 1..10, counts at least 0, fitting tolerance at least 0, the condition threshold,
  /// the weight and the last two tolerances above 0.
  bool validate() const;
  /// The same with its words: "Options validated successfully", or "Invalid options: Check degrees,
  /// control points, and tolerance values".
  bool validate(std::string& message) const;
};

struct MORVEL_API SurfaceEngine3Result {
  bool success = false;
  std::string error_message;
  /// On the knots below. Its ordinary evaluation takes uniform knots (see BSplineSurface): where
  /// knots were given that are not uniform, the engine's own evaluation is the fitted surface.
  std::shared_ptr<BSplineSurface> surface;
  int degree_u = 3;
  int degree_v = 3;
  int control_points_u = 0;
  int control_points_v = 0;
  std::vector<double> knots_u;
  std::vector<double> knots_v;
  double max_deviation = 0.0;  ///< of the approximation points, model units
  double rms_deviation = 0.0;
  double condition_number = 0.0;         ///< of the solved system; 0 where it was not asked for
  double constraint_satisfaction = 0.0;  ///< 0 .. 1
  int interpolation_constraints = 0;
  int approximation_constraints = 0;
  int derivative_constraints = 0;
  int boundary_constraints = 0;  ///< hard ones with u or v at 0 or 1
  double parameterization_time_ms = 0.0;
  double constraint_building_time_ms = 0.0;
  double solving_time_ms = 0.0;
  double total_time_ms = 0.0;
  std::vector<std::string> warnings;

  void print_summary() const;
  /// The lines of the summary under a heading of its own.
  std::string get_detailed_report() const;
};

}  // namespace trova::geometry
