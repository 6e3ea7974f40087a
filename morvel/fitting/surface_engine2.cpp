#include "morvel/fitting/surface_engine2.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/fitting/internal/collocation.h"
#include "morvel/fitting/internal/deviation.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {
namespace {

namespace status = foundation::status;
using foundation::progress::Stage;
using foundation::status::join;
using internal::Collocation;

constexpr int kDimensions = 3;
constexpr int kColumnsTogether = 64;
// Rows are turned into columns this many at a time, so that a turned block stays in the cache.
constexpr int kTurnedRows = 20;

void reportStep(const char* text) { status::progress(status::Symbol::Working, text); }

bool isFiniteRow(const std::vector<Point3D>& row) {
  return std::all_of(row.begin(), row.end(), [](const Point3D& point) { return point.isFinite(); });
}

double distance(const Point3D& a, const Point3D& b) { return (a.eigen() - b.eigen()).norm(); }

// The share of one step in a polyline of a total length; even where there is no length.
Eigen::ArrayXd sharesOf(const Eigen::ArrayXd& lengths) {
  const double total = lengths.sum();
  if (total > 0 && std::isfinite(total)) return lengths / total;
  return Eigen::ArrayXd::Constant(lengths.size(), 1.0 / double(lengths.size()));
}

// From 0 to 1 by steps that add up to `lines`.
std::vector<double> parametersFrom(const Eigen::ArrayXd& steps, int lines) {
  std::vector<double> result(std::size_t(steps.size()) + 1, 0.0);
  for (Eigen::Index k = 0; k < steps.size(); ++k)
    result[k + 1] = std::min(result[k] + steps[k] / lines, 1.0);
  if (steps.size() > 0) result.back() = 1.0;
  return result;
}

// Chord lengths along each row, as shares of the row's length, averaged over the rows.
std::vector<double> rowParameters(const std::vector<std::vector<Point3D>>& grid) {
  const Eigen::Index count = Eigen::Index(grid.front().size()) - 1;
  Eigen::ArrayXd steps = Eigen::ArrayXd::Zero(count);
  Eigen::ArrayXd lengths(count);
  for (const std::vector<Point3D>& row : grid) {
    for (Eigen::Index k = 0; k < count; ++k)
      lengths[k] = distance(row[k + 1], row[k]);
    steps += sharesOf(lengths);
  }
  return parametersFrom(steps, int(grid.size()));
}

// The same along the columns: some at once, row after row, since a column is scattered in memory.
std::vector<double> columnParameters(const std::vector<std::vector<Point3D>>& grid) {
  const Eigen::Index count = Eigen::Index(grid.size()) - 1;
  const Eigen::Index lines = Eigen::Index(grid.front().size());
  Eigen::ArrayXd steps = Eigen::ArrayXd::Zero(count);
  Eigen::ArrayXXd lengths(std::min<Eigen::Index>(kColumnsTogether, lines), count);
  for (Eigen::Index first = 0; first < lines; first += kColumnsTogether) {
    const Eigen::Index together = std::min<Eigen::Index>(kColumnsTogether, lines - first);
    Eigen::ArrayXd totals = Eigen::ArrayXd::Zero(together);
    for (Eigen::Index k = 0; k < count; ++k) {
      for (Eigen::Index line = 0; line < together; ++line)
        lengths(line, k) = distance(grid[k + 1][first + line], grid[k][first + line]);
      totals += lengths.col(k).head(together);
    }
    for (Eigen::Index line = 0; line < together; ++line) {
      if (totals[line] > 0 && std::isfinite(totals[line])) continue;
      lengths.row(line).setOnes();
      totals[line] = double(count);
    }
    for (Eigen::Index k = 0; k < count; ++k)
      steps[k] += (lengths.col(k).head(together) / totals).sum();
  }
  return parametersFrom(steps, int(lines));
}

// The first line without a solution; `point(k, i)` is the i-th point of line k.
template <class PointOf>
int firstUnsolvable(const Collocation& system, int lines, PointOf point) {
  std::vector<Point3D> line(system.size());
  for (int k = 0; k + 1 < lines; ++k) {
    for (int i = 0; i < system.size(); ++i)
      line[i] = point(k, i);
    if (!system.solve(line.front().eigen().data(), kDimensions)) return k;
  }
  return lines - 1;
}

double* coordinates(ControlNet& net) { return net(0, 0).eigen().data(); }

}  // namespace

SurfaceEngine2::SurfaceEngine2(std::vector<std::vector<Point3D>> grid, int rows, int columns,
                               int degree_u, int degree_v)
    : grid_(std::move(grid)),
      rows_(rows),
      columns_(columns),
      degree_u_(degree_u),
      degree_v_(degree_v) {}

bool SurfaceEngine2::fail(std::string message) {
  validation_message_ = std::move(message);
  status::line(status::Level::Error, status::Stream::Output, status::Symbol::Failure,
               validation_message_);
  return false;
}

bool SurfaceEngine2::initialize() {
  is_initialized_ = false;
  surface_.reset();
  if (!validate_input() || !compute_surface_parameterization()) return false;
  is_initialized_ = true;
  validation_message_ = "Initialization completed successfully";
  return true;
}

bool SurfaceEngine2::validate_input() {
  if (rows_ < 1 || columns_ < 1) return fail("Invalid grid dimensions");
  if (grid_.size() != std::size_t(rows_)) return fail("Point grid row count mismatch");
  for (const std::vector<Point3D>& row : grid_)
    if (row.size() != std::size_t(columns_)) return fail("Point grid column count mismatch");
  if (degree_u_ < 1 || degree_v_ < 1) return fail("Degrees must be >= 1");
  if (rows_ <= degree_u_)
    return fail(join("Not enough rows for U degree ", degree_u_, " (need > ", degree_u_, ")"));
  if (columns_ <= degree_v_)
    return fail(join("Not enough columns for V degree ", degree_v_, " (need > ", degree_v_, ")"));
  if (!std::all_of(grid_.begin(), grid_.end(), isFiniteRow))
    return fail("Grid points must be finite");
  return true;
}

bool SurfaceEngine2::compute_surface_parameterization() {
  Stage stage("choosing parameters");
  std::vector<double> u = columnParameters(grid_);
  stage.report(0.5);
  std::vector<double> v = rowParameters(grid_);
  stage.finish();
  u_parameters_ = std::move(u);
  v_parameters_ = std::move(v);
  return true;
}

bool SurfaceEngine2::create_interpolated_surface() {
  surface_.reset();
  if (!is_initialized_) return fail("Engine not properly initialized");
  Stage stage("interpolating a grid");
  ControlNet net(rows_, columns_);
  for (int i = 0; i < rows_; ++i)
    std::copy(grid_[i].begin(), grid_[i].end(), &net(i, 0));
  std::vector<double> knotsU;
  std::vector<double> knotsV;
  if (!interpolateColumns(net, knotsU) || !interpolateRows(net, knotsV)) return false;
  stage.finish();
  surface_ = std::make_unique<BSplineSurface>(std::move(net), std::move(knotsU), std::move(knotsV),
                                              degree_u_, degree_v_);
  return true;
}

bool SurfaceEngine2::interpolateColumns(ControlNet& net, std::vector<double>& knots) {
  reportStep("Step 1: Interpolating along columns (U direction)");
  Stage stage("interpolating columns", 0.0, 0.5);
  Collocation system(u_parameters_, degree_u_);
  if (!system.factor()) return fail("Failed to interpolate column 0");
  if (!system.solve(coordinates(net), columns_ * kDimensions, &stage)) {
    const int column = firstUnsolvable(system, columns_, [&](int k, int i) { return grid_[i][k]; });
    return fail(join("Failed to interpolate column ", column));
  }
  knots = system.knots();
  return true;
}

bool SurfaceEngine2::interpolateRows(ControlNet& net, std::vector<double>& knots) {
  reportStep("Step 2: Interpolating along rows (V direction)");
  Stage stage("interpolating rows", 0.5);
  Collocation system(v_parameters_, degree_v_);
  if (!system.factor()) return fail("Failed to interpolate row 0");
  std::vector<Point3D> turned(std::size_t(std::min(kTurnedRows, rows_)) * columns_);
  for (int first = 0; first < rows_; first += kTurnedRows) {
    stage.report(first, rows_);
    const int count = std::min(kTurnedRows, rows_ - first);
    for (int j = 0; j < columns_; ++j)
      for (int r = 0; r < count; ++r)
        turned[std::size_t(j) * count + r] = net(first + r, j);
    if (!system.solve(turned.front().eigen().data(), count * kDimensions)) {
      const int row =
          firstUnsolvable(system, count, [&](int k, int j) { return net(first + k, j); });
      return fail(join("Failed to interpolate row ", first + row));
    }
    for (int j = 0; j < columns_; ++j)
      for (int r = 0; r < count; ++r)
        net(first + r, j) = turned[std::size_t(j) * count + r];
  }
  knots = system.knots();
  return true;
}

double SurfaceEngine2::get_max_deviation() const {
  if (!surface_) throw std::runtime_error("No interpolated surface");
  internal::Deviation deviation;
  std::vector<double> uv(2 * std::size_t(columns_));
  std::vector<double> on(kDimensions * std::size_t(columns_));
  Stage stage("measuring");
  for (int i = 0; i < rows_; ++i) {
    stage.report(i, rows_);
    for (int j = 0; j < columns_; ++j) {
      uv[2 * j] = u_parameters_[i];
      uv[2 * j + 1] = v_parameters_[j];
    }
    surface_->evaluateExactBatch(uv, 0, on.data());
    for (int j = 0; j < columns_; ++j)
      deviation.add(distance(grid_[i][j], {on[3 * j], on[3 * j + 1], on[3 * j + 2]}));
  }
  stage.finish();
  return deviation.maximum();
}

}  // namespace trova::geometry
