// Makes a B-spline surface, evaluates and divides it, and hands it to the registry, where it goes
// by a handle.
#include <algorithm>
#include <cmath>
#include <iostream>
#include <morvel/morvel.hpp>
#include <stdexcept>

using namespace trova::geometry;

int main() {
  BSplineSurface::Net net(6, std::vector<Point3D>(5));
  for (int i = 0; i < 6; ++i)
    for (int j = 0; j < 5; ++j)
      net[i][j] = Point3D(i, j, std::sin(i) * std::cos(j));

  const auto surface = BSplineSurface::createClamped(net, 3, 2);
  const SurfaceEvaluation at = surface->evaluateDerivatives(0.3, 0.6, 1);
  std::cout << "point " << at.point.x() << ' ' << at.point.y() << ' ' << at.point.z() << ", normal "
            << at.normal.x() << ' ' << at.normal.y() << ' ' << at.normal.z() << '\n'
            << surface->tessellate(1e-3).faces.size() << " faces, area " << surface->getArea(1e-3)
            << '\n';

  // What changes a surface returns a new one. Elevated, it is the same shape on other points.
  const auto elevated = surface->elevateUDegree(1);
  const std::vector<double> uv = {0.1, 0.2, 0.5, 0.5, 0.9, 0.7};
  std::vector<double> before(9), after(9);
  evaluateSurfaceExactBatch(*surface, uv, 0, before.data());
  evaluateSurfaceExactBatch(*elevated, uv, 0, after.data());
  double moved = 0.0;
  for (std::size_t i = 0; i < before.size(); ++i)
    moved = std::max(moved, std::abs(after[i] - before[i]));
  std::cout << "elevated, it moved by " << (moved < 1e-12 ? "rounding only" : "more than rounding")
            << '\n';

  try {
    BSplineSurface::createClamped(BSplineSurface::Net{}, 3, 3);
  } catch (const std::invalid_argument& refusal) {
    std::cout << "refused: " << refusal.what() << '\n';
  }

  const int handle = trova_internal::storeSurface(surface->clone());
  std::cout << "registered as " << handle << ", of degree " << get_surface_u_degree(handle) << " x "
            << get_surface_v_degree(handle) << '\n';
  delete_surface(handle);
}
