// Analytic surfaces as splines: a sphere is converted, cut in two, and measured against closed
// forms; a circle becomes an exact rational curve.
#include <iomanip>
#include <iostream>
#include <morvel/morvel.hpp>
#include <numbers>

using namespace trova::geometry;
using std::numbers::pi;

namespace {

// By triangles: O(1 / n^2) below the true area.
double meshArea(const Surface& surface, int n) {
  const SurfaceMesh mesh = surface.tessellateUniform(n, n);
  const std::vector<std::int32_t> corners = mesh.getTriangulatedIndices();
  double area = 0.0;
  for (std::size_t i = 0; i < corners.size(); i += 3) {
    const Point3D& a = mesh.vertices[corners[i]];
    area += Vector3D(a, mesh.vertices[corners[i + 1]])
                .cross(Vector3D(a, mesh.vertices[corners[i + 2]]))
                .magnitude() /
            2.0;
  }
  return area;
}

}  // namespace

int main() {
  const double radius = 2.0;
  const SphereSurface sphere(Point3D(0.0, 0.0, 0.0), radius);

  // Through the base class: every surface converts, to the tolerance asked for.
  const Surface& any = sphere;
  const std::shared_ptr<BSplineSurface> spline = any.toNurbs(1e-6);
  double off = 0.0;
  for (double u = 0.0; u <= 1.0; u += 1.0 / 64)
    for (double v = 0.0; v <= 1.0; v += 1.0 / 64)
      off = std::max(off, std::abs(spline->evaluate(u, v).distanceTo(Point3D::origin()) - radius));
  std::cout << "a spline of " << spline->getUControlPointCount() << " x "
            << spline->getVControlPointCount()
            << " points, off the sphere by less than 1e-6: " << (off < 1e-6 ? "yes" : "no") << '\n';

  // v runs from pole to pole; what lies above 60 degrees north is a cap.
  const auto cap = sphere.trim(0.0, 1.0, 150.0 / 180.0, 1.0);
  const double expected = 2.0 * pi * radius * radius * (1.0 - std::cos(pi / 6.0));
  std::cout << std::fixed << std::setprecision(3) << "the polar cap has area "
            << meshArea(*cap, 300) << ", by hand " << expected << '\n';

  // Curves likewise; a circle is a rational spline without any deviation.
  const CircleCurve circle(Point3D(0.0, 0.0, 0.0), Vector3D::unitZ(), radius);
  const std::unique_ptr<ParametricCurve> exact = toSpline(circle);
  const auto [first, second] = exact->split(0.5);
  std::cout << exact->getTypeIdentifier() << " of length " << exact->getTotalLength() << ", halves "
            << first->getTotalLength() << " and " << second->getTotalLength() << '\n';
}
