#pragma once

#include <string>
#include <utility>
#include <vector>

#include "morvel/fitting/surface_engine3_options.h"
#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"

// Parameters and knots of a constrained surface fit.

namespace trova::geometry {

using SurfaceParameters = std::vector<std::pair<double, double>>;

/// Clamped and evenly spaced on [0, 1].
/// @throws std::invalid_argument unless num_control_points > degree >= 0
MORVEL_API std::vector<double> create_clamped_knot_vector(int num_control_points, int degree);

/// As generateAverageKnotVector: one control point for each parameter.
MORVEL_API std::vector<double> create_averaging_knot_vector(const std::vector<double>& parameters,
                                                            int degree);

/// num_control_points + degree + 1 finite knots that never decrease, degree + 1 equal ones at
/// either end, the two ends apart, and no longer run than degree + 1.
MORVEL_API bool validate_knot_vector(const std::vector<double>& knots, int num_control_points,
                                     int degree);

/// The i-th of n points as a node of a square grid: with k = floor(sqrt(n)),
/// u_i = (i mod k) / (sqrt(n) - 1) and v_i = floor(i / k) / (sqrt(n) - 1). By contract the formula
/// stands as it is where n is no square, so that v may exceed 1. (0, 0) for a single point.
MORVEL_API SurfaceParameters compute_square_lattice_parameters(std::size_t count);

/// Parameters of a grid of points, `rows` rows of `columns` points one after the other: u runs
/// along a row, v from row to row. Each is averaged over the lines of the grid (The NURBS Book,
/// section 9.2.5), even for UNIFORM; the projections take the points as they lie in space.
/// @throws std::invalid_argument for counts below 1 or that do not fit the points, and where a
///         projection fails
MORVEL_API SurfaceParameters parameterize_point_grid(const std::vector<Point3D>& points, int rows,
                                                     int columns,
                                                     SurfaceEngine3ParameterizationMethod method);

}  // namespace trova::geometry
