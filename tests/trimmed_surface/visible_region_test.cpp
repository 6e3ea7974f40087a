// The visible part as a mesh: watertight, along the loops, of the right area.

#include "morvel/trimmed_surface/visible_region.h"

#include <gmock/gmock.h>

#include <map>

#include "morvel/trimmed_surface/trimmed_surface_factory.h"
#include "tests/trimmed_surface/bases.h"

using namespace morvel_test;

namespace {

struct MeshCheck {
  double parameterArea = 0.0;
  std::vector<Point2D> border;  // vertices of edges with one triangle
};

/// Triangles counter-clockwise, every edge at most once in each direction.
MeshCheck checked(const SurfaceMesh& mesh) {
  MeshCheck check;
  std::map<std::pair<int, int>, int> uses;
  for (const auto& face : mesh.faces) {
    const Point2D &a = mesh.parameters[face[0]], &b = mesh.parameters[face[1]],
                  &c = mesh.parameters[face[2]];
    const double twice = (b.x() - a.x()) * (c.y() - a.y()) - (c.x() - a.x()) * (b.y() - a.y());
    EXPECT_GT(twice, -1e-12);
    check.parameterArea += twice / 2;
    for (int k = 0; k < 3; ++k)
      EXPECT_EQ(++uses[std::pair(face[k], face[(k + 1) % 3])], 1);
  }
  for (const auto& [edge, use] : uses) {
    if (!uses.contains({edge.second, edge.first})) {
      check.border.push_back(mesh.parameters[edge.first]);
      check.border.push_back((mesh.parameters[edge.first] + mesh.parameters[edge.second]) * 0.5);
    }
  }
  return check;
}

/// Every vertex and every middle of a border edge lies on a loop or on the domain's edge.
void expectBorderOnLoops(const TrimmedSurface& surface, const MeshCheck& check) {
  for (const Point2D& p : check.border) {
    const double edge = std::min({p.x(), 1 - p.x(), p.y(), 1 - p.y()});
    EXPECT_LT(std::min(edge, surface.computeDistanceToNearestBoundary(p.x(), p.y())), 1e-8)
        << p.x() << " " << p.y();
  }
}

double polygonArea(double radius, int corners) {
  return corners / 2.0 * radius * radius * std::sin(2 * std::numbers::pi / corners);
}

std::vector<Point2D> star(int points) {
  std::vector<Point2D> corners;
  for (int k = 0; k < 2 * points; ++k) {
    const double angle = std::numbers::pi * k / points;
    corners.push_back(Point2D(0.5, 0.5) +
                      Point2D(std::cos(angle), std::sin(angle)) * (k % 2 ? 0.2 : 0.45));
  }
  return corners;
}

}  // namespace

TEST(VisibleRegion, IsWatertightAlongTheLoopsAndHasTheirArea) {
  const auto outer = [](std::vector<Point2D> p) { return polygonLoop(std::move(p)); };
  const auto hole = [](std::vector<Point2D> p) {
    return polygonLoop(std::move(p), kInnerHole, false);
  };
  const double star17 = 17 * 0.45 * 0.2 * std::sin(std::numbers::pi / 17);
  const struct {
    const char* name;
    std::vector<TrimLoop> loops;
    double area;
  } cases[] = {
      {"none", {}, 1.0},
      {"disc", {outer(regularPolygon({0.5, 0.5}, 0.4, 64))}, polygonArea(0.4, 64)},
      {"star with a hole",
       {outer(star(17)), hole(regularPolygon({0.5, 0.5}, 0.1, 30))},
       star17 - polygonArea(0.1, 30)},
      {"along the grid",
       {outer(box(0.25, 0.75, 0.25, 0.75)), hole(box(0.5, 0.75, 0.25, 0.5))},
       0.25 - 0.0625},
      {"the whole domain and a hole over its edge",
       {outer(box(0, 1, 0, 1)), hole(box(0.75, 1.5, 0.5, 0.6))},
       1 - 0.25 * 0.1},
      {"far outside", {outer(box(-5, 7, -3, 9)), hole(box(1e6, 2e6, 0, 1))}, 1.0},
      {"two outer loops that overlap",
       {outer(box(0.1, 0.5, 0.1, 0.5)), outer(box(0.3, 0.7, 0.3, 0.7))},
       0.32 - 0.04},
      {"a bow tie", {outer({{0.1, 0.1}, {0.9, 0.9}, {0.9, 0.1}, {0.1, 0.9}})}, 0.32},
      {"a hole outside of the outer loop",
       {outer(box(0.1, 0.4, 0.1, 0.4)), hole(box(0.6, 0.9, 0.6, 0.9))},
       0.09},
      {"a needle and two points",
       {outer(box(0.2, 0.8, 0.5, 0.5 + 1e-7)), hole({{0.1, 0.1}, {0.9, 0.8}})},
       0.6e-7},
      {"nothing", {outer({{0.5, 0.5}, {0.5, 0.5}, {0.5, 0.5}})}, 0.0},
  };
  for (const auto& [name, loops, area] : cases) {
    SCOPED_TRACE(name);
    const auto surface = trimmedPlate(loops);
    for (const int count : {2, 5, 33}) {
      const SurfaceMesh mesh = tessellateVisibleRegion(*surface, count, count);
      const MeshCheck check = checked(mesh);
      EXPECT_NEAR(check.parameterArea, area, 2e-8);
      expectBorderOnLoops(*surface, check);
      EXPECT_EQ(mesh.vertices.size(), mesh.parameters.size());
    }
    EXPECT_NEAR(surface->computeArea(), 2 * area, 1e-7);  // the plate is 2 by 1
  }
}

TEST(VisibleRegion, HoldsTenThousandCorners) {
  const auto surface = trimmedPlate({polygonLoop(regularPolygon({0.5, 0.5}, 0.45, 10000)),
                                     polygonLoop(star(30), kInnerHole, false)});
  const MeshCheck check = checked(tessellateVisibleRegion(*surface, 50, 20));
  EXPECT_NEAR(check.parameterArea,
              polygonArea(0.45, 10000) - 30 * 0.45 * 0.2 * std::sin(std::numbers::pi / 30), 1e-7);
}

TEST(VisibleRegion, MeasuresRoundSurfacesInSpace) {
  const auto sphere = std::make_shared<SphereSurface>(Point3D(1, 2, 3), 2.0);
  // Between the latitudes of v = 1/4 and 3/4, a quarter of the way around.
  const auto band = TrimmedSurfaceFactory::createRectangular(sphere, 0.0, 0.25, 0.25, 0.75);
  const double zone = 2 * std::numbers::pi * 4 * std::sqrt(2.0) / 4;
  EXPECT_NEAR(band->computeArea(), zone, 1e-4 * zone);
  const auto drilled = TrimmedSurfaceFactory::createWithCircularHole(plate(), {0.5, 0.5}, 0.25);
  EXPECT_NEAR(drilled->computeArea(), 2 * (1 - polygonArea(0.25, 100)), 1e-7);
}
