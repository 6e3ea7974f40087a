// Curves and surfaces through and near points, by the engines' own classes: their result records
// tell how well it went.
#include <cmath>
#include <iostream>
#include <morvel/morvel.hpp>
#include <numbers>

using namespace trova::geometry;

namespace {

std::vector<Point3D> helix(int count) {
  std::vector<Point3D> points;
  for (int i = 0; i < count; ++i) {
    const double angle = 4.0 * std::numbers::pi * i / (count - 1);
    points.emplace_back(std::cos(angle), std::sin(angle), 0.2 * angle);
  }
  return points;
}

void fitCurve() {
  BSplineFittingEngine::FittingOptions options;
  options.degree = 3;
  options.end_point_constraint = true;
  const auto result = BSplineFittingEngine::fit_points_detailed(helix(400), options);
  if (!result.success) throw std::runtime_error(result.error_message);
  const Point3D end = result.curve->evaluate(1.0);
  std::cout << "helix: " << result.num_control_points
            << " control points, largest error below 1e-3: "
            << (result.max_error < 1e-3 ? "yes" : "no") << ", ends at " << end.x() << ' '
            << std::abs(std::round(end.y())) << ' ' << end.z() << '\n';
}

void interpolateGrid() {
  const int rows = 30, columns = 40;
  std::vector<std::vector<Point3D>> grid(rows);
  for (int i = 0; i < rows; ++i)
    for (int j = 0; j < columns; ++j)
      grid[i].emplace_back(0.1 * i, 0.1 * j, 0.3 * std::sin(0.2 * i) * std::cos(0.1 * j));
  SurfaceEngine2 engine(grid, rows, columns, 3, 3);
  if (!engine.initialize() || !engine.create_interpolated_surface())
    throw std::runtime_error(engine.get_validation_message());
  std::cout << "grid of 30 x 40: the surface passes through every point: "
            << (engine.get_max_deviation() < 1e-12 ? "yes" : "no") << '\n';
}

}  // namespace

int main() {
  trova::foundation::status::setLevel(trova::foundation::status::Level::Error);
  try {
    fitCurve();
    interpolateGrid();
  } catch (const std::exception& fault) {
    std::cerr << fault.what() << '\n';
    return 1;
  }
}
