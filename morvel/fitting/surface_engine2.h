#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "morvel/surfaces/bspline_surface.h"

namespace trova::geometry {

/// Interpolation of a grid of points by a B-spline surface: first down the columns, then along the
/// rows (Piegl and Tiller, The NURBS Book, section 9.2.5), all columns and all rows at once.
///
/// u runs down the columns, v along the rows: grid point (i, j) is reached at u parameter i and v
/// parameter j. By contract this holds on the surface's *stored* knots, which are averages of the
/// parameters (`BSplineSurface::evaluateExactBatch`); the ordinary evaluation, on uniform knots, is
/// another surface unless the grid is even.
class MORVEL_API SurfaceEngine2 {
 public:
  /// @param grid  rows of `columns` points; what does not fit together is told by `initialize`
  SurfaceEngine2(std::vector<std::vector<Point3D>> grid, int rows, int columns, int degree_u,
                 int degree_v);

  /// Checks grid and degrees, and parameterises. The outcome is the validation message.
  bool initialize();
  bool validate_input();
  /// Chord-length parameters of every column, averaged over the columns; of every row likewise.
  bool compute_surface_parameterization();

  /// False where the engine is not initialised, or a column or row cannot be interpolated; the
  /// validation message says which. The surface of an earlier call is gone then too.
  bool create_interpolated_surface();

  /// Not owned; null before an interpolation. Valid until the next one or the end of the engine.
  const BSplineSurface* getBsplineSurface() const { return surface_.get(); }
  bool has_surface() const { return surface_ != nullptr; }
  bool is_valid() const { return is_initialized_; }
  /// The largest distance of a grid point from the surface on its stored knots at the point's
  /// parameters. @throws std::runtime_error "No interpolated surface"
  double get_max_deviation() const;

  int get_degree_u() const { return degree_u_; }
  int get_degree_v() const { return degree_v_; }
  int get_rows() const { return rows_; }
  int get_columns() const { return columns_; }
  const std::vector<double>& get_u_parameters() const { return u_parameters_; }
  const std::vector<double>& get_v_parameters() const { return v_parameters_; }
  const std::string& get_validation_message() const { return validation_message_; }

 private:
  bool fail(std::string message);
  bool interpolateColumns(ControlNet& net, std::vector<double>& knots);
  bool interpolateRows(ControlNet& net, std::vector<double>& knots);

  std::vector<std::vector<Point3D>> grid_;
  int rows_;
  int columns_;
  int degree_u_;
  int degree_v_;
  std::vector<double> u_parameters_;
  std::vector<double> v_parameters_;
  std::string validation_message_;
  bool is_initialized_ = false;
  std::unique_ptr<BSplineSurface> surface_;  // holds the knots and the net
};

}  // namespace trova::geometry
