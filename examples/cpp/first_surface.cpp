// Makes a B-spline surface, evaluates and refines it, and hands it to the registry.
#include <cmath>
#include <iostream>
#include <morvel/morvel.hpp>

int main() {
  using namespace trova::geometry;

  BSplineSurface::Net net(6, std::vector<Point3D>(5));
  for (int i = 0; i < 6; ++i)
    for (int j = 0; j < 5; ++j)
      net[i][j] = Point3D(i, j, std::sin(i) * std::cos(j));

  std::unique_ptr<Surface> surface = BSplineSurface::createClamped(net, 3, 2);
  const SurfaceEvaluation at = surface->evaluateDerivatives(0.3, 0.6, 1);
  std::cout << "point " << at.point.x() << ' ' << at.point.y() << ' ' << at.point.z() << ", normal "
            << at.normal.x() << ' ' << at.normal.y() << ' ' << at.normal.z() << '\n'
            << surface->tessellate(1e-3).faces.size() << " faces, area " << surface->getArea(1e-3)
            << '\n';

  const int handle = trova_internal::storeSurface(std::move(surface));
  std::cout << "registered as " << handle << ", of degree " << get_surface_u_degree(handle) << " x "
            << get_surface_v_degree(handle) << '\n';
  delete_surface(handle);
}
