#include "morvel/query/surface_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "morvel/surfaces/bezier_surface.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/nurbs_surface.h"
#include "morvel/surfaces/plane_surface.h"
#include "morvel/surfaces/sphere_surface.h"
#include "morvel/surfaces/torus_surface.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

namespace morvel_test {
namespace {

using trova::projection::ProjectedPoint;
using trova::projection::SurfaceSearch;

using Net = std::vector<std::vector<Point3D>>;
using SurfacePointer = std::unique_ptr<Surface>;

class Random {
 public:
  double in(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(engine_);
  }
  Point3D inBox(double half) { return near({0, 0, 0}, half); }
  Point3D near(const Point3D& p, double half) {
    return {p.x() + in(-half, half), p.y() + in(-half, half), p.z() + in(-half, half)};
  }

 private:
  std::mt19937 engine_{7};
};

template <class Map>
Net netOf(int nU, int nV, Map map) {
  Net net(nU);
  for (int i = 0; i < nU; ++i)
    for (int j = 0; j < nV; ++j)
      net[i].push_back(map(double(i) / (nU - 1), double(j) / (nV - 1)));
  return net;
}

Net wavyNet() {
  return netOf(12, 9, [](double u, double v) {
    return Point3D(4 * u - 2, 4 * v - 2, 0.7 * std::sin(9 * u) * std::cos(7 * v));
  });
}

// Rolled up until it meets itself, so that far parameters are close in space.
Net rolledNet() {
  return netOf(20, 6, [](double u, double v) {
    return Point3D((1 + 0.3 * u) * std::cos(6.2 * u), (1 + 0.3 * u) * std::sin(6.2 * u), 2 * v - 1);
  });
}

SurfacePointer rational() {
  Net net = wavyNet();
  Random random;
  NurbsSurface::Weights weights(net.size(), std::vector<double>(net[0].size()));
  for (auto& row : weights)
    for (double& w : row)
      w = random.in(0.2, 5);
  const auto plain = BSplineSurface::createClamped(net, 3, 2);
  return std::make_unique<NurbsSurface>(net, weights, plain->getUKnotVector(),
                                        plain->getVKnotVector(), 3, 2);
}

// A surface is evaluated on uniform knots, whatever it stores.
SurfacePointer onUnevenKnots() {
  std::vector<double> knots{0, 0, 0, 0, 0.01, 0.02, 0.03, 0.04, 0.05, 0.06, 0.9, 0.95, 1, 1, 1, 1};
  return std::make_unique<BSplineSurface>(wavyNet(), knots,
                                          BSplineCurve::generateClampedKnots(9, 2), 3, 2);
}

// Patches of the teapot: of the lid, with one edge in the pole, and of the spout.
const Net kLid{{{0, 0, 3.15}, {0, 0, 3.15}, {0, 0, 3.15}, {0, 0, 3.15}},
               {{0.8, 0, 3.15}, {0.8, -0.45, 3.15}, {0.45, -0.8, 3.15}, {0, -0.8, 3.15}},
               {{0, 0, 2.85}, {0, 0, 2.85}, {0, 0, 2.85}, {0, 0, 2.85}},
               {{0.2, 0, 2.7}, {0.2, -0.112, 2.7}, {0.112, -0.2, 2.7}, {0, -0.2, 2.7}}};
const Net kSpout{{{1.7, 0, 0.6}, {1.7, 0.66, 0.6}, {1.7, 0.66, 1.425}, {1.7, 0, 1.425}},
                 {{3.1, 0, 0.825}, {3.1, 0.66, 0.825}, {2.6, 0.66, 1.425}, {2.6, 0, 1.425}},
                 {{2.4, 0, 2.025}, {2.4, 0.25, 2.025}, {2.3, 0.25, 2.1}, {2.3, 0, 2.1}},
                 {{3.3, 0, 2.4}, {3.3, 0.25, 2.4}, {2.7, 0.25, 2.4}, {2.7, 0, 2.4}}};

// The distance by a dense grid and, from its best points, smaller and smaller steps in all
// directions: no derivative, no bound.
class DenseSearch {
 public:
  explicit DenseSearch(const Surface& surface) : surface_(surface) {
    for (int i = 0; i <= kSteps; ++i)
      for (int j = 0; j <= kSteps; ++j)
        grid_.push_back(surface.evaluate(double(i) / kSteps, double(j) / kSteps));
  }

  double distance(const Point3D& point) const {
    std::vector<std::pair<double, int>> order;
    for (std::size_t k = 0; k < grid_.size(); ++k)
      order.emplace_back(grid_[k].distanceTo(point), int(k));
    std::partial_sort(order.begin(), order.begin() + kStarts, order.end());
    double best = order[0].first;
    for (int k = 0; k < kStarts; ++k)
      best = std::min(best, descended(point, order[k].second));
    return best;
  }

 private:
  static constexpr int kSteps = 120;
  static constexpr int kStarts = 8;

  double descended(const Point3D& point, int start) const {
    double u = double(start / (kSteps + 1)) / kSteps;
    double v = double(start % (kSteps + 1)) / kSteps;
    double now = grid_[start].distanceTo(point);
    for (double step = 1.0 / kSteps; step > 1e-9; step /= 2) {
      for (bool moved = true; moved;) {
        moved = false;
        for (const auto& [du, dv] : {std::pair{step, 0.0},
                                     {-step, 0.0},
                                     {0.0, step},
                                     {0.0, -step},
                                     {step, step},
                                     {-step, -step},
                                     {step, -step},
                                     {-step, step}}) {
          const double s = std::clamp(u + du, 0.0, 1.0), t = std::clamp(v + dv, 0.0, 1.0);
          const double d = surface_.evaluate(s, t).distanceTo(point);
          if (d < now) now = d, u = s, v = t, moved = true;
        }
      }
    }
    return now;
  }

  const Surface& surface_;
  std::vector<Point3D> grid_;
};

TEST(SurfaceSearch, FindsWhatADenseSearchFinds) {
  Random random;
  std::vector<std::pair<std::string, SurfacePointer>> cases;
  const auto add = [&](const char* name, SurfacePointer surface) {
    cases.emplace_back(name, std::move(surface));
  };
  add("wavy", BSplineSurface::createClamped(wavyNet(), 3, 2));
  add("rolled", BSplineSurface::createClamped(rolledNet(), 3, 3));
  add("degree 5, 1", BSplineSurface::createClamped(wavyNet(), 5, 1));
  add("rational", rational());
  add("uneven knots", onUnevenKnots());
  add("sphere", std::make_unique<SphereSurface>(Point3D(0, 0, 0), 1.3));
  add("torus", std::make_unique<TorusSurface>(Point3D(0, 0, 0), Vector3D(0, 1, 1), 1.5, 0.5));
  add("to a line", BSplineSurface::createClamped(
                       netOf(6, 5, [](double u, double) { return Point3D(u, u * u, 0); }), 3, 2));
  add("to a point", std::make_unique<BezierSurface>(
                        netOf(3, 3, [](double, double) { return Point3D(0.5, 0, 0); })));
  add("lid", std::make_unique<BezierSurface>(kLid));
  add("spout", std::make_unique<BezierSurface>(kSpout));
  for (const int degree : {1, 2, 3, 3})  // few and uneven control points
    add("random", BSplineSurface::createClamped(netOf(4, 5,
                                                      [&](double u, double v) {
                                                        return random.near({u, v, 0}, 0.4);
                                                      }),
                                                degree, 3 - degree / 2));
  for (const auto& [name, surface] : cases) {
    const SurfaceSearch search(*surface);
    const DenseSearch dense(*surface);
    for (int k = 0; k < 40; ++k) {
      const Point3D point = random.inBox(k % 5 == 0 ? 30.0 : 2.5);
      const ProjectedPoint foot = search.closest(point);
      const double expected = dense.distance(point);
      EXPECT_NEAR(foot.distance, expected, 1e-7 * (1 + expected)) << name;
      EXPECT_LE(foot.distance, expected + 1e-12 * (1 + expected)) << name;
      EXPECT_TRUE(foot.converged) << name;
      EXPECT_THAT(foot.point, IsNear(surface->evaluate(foot.u, foot.v), 0.0)) << name;
      EXPECT_NEAR(foot.point.distanceTo(point), foot.distance, 1e-12 * (1 + expected)) << name;
    }
  }
}

TEST(SurfaceSearch, AnswersForPointsOnTheSurfaceAndFarAway) {
  const auto surface = BSplineSurface::createClamped(wavyNet(), 3, 3);
  const SurfaceSearch search(*surface);
  for (const auto& [u, v] : {std::pair{0.0, 0.0}, {1.0, 0.3}, {0.37, 0.61}, {0.5, 1.0}}) {
    const ProjectedPoint foot = search.closest(surface->evaluate(u, v));
    EXPECT_NEAR(foot.u, u, 1e-9);
    EXPECT_NEAR(foot.v, v, 1e-9);
    EXPECT_LE(foot.distance, 1e-13);
  }
  EXPECT_NEAR(search.closest({0, 0, 1e9}).distance, 1e9, 2.0);
  const SphereSurface sphere({1, 2, 3}, 0.7);  // from the middle every point is as close
  EXPECT_NEAR(SurfaceSearch(sphere).closest({1, 2, 3}).distance, 0.7, 1e-12);
}

TEST(SurfaceSearch, ABatchHasTheBitsOfSingleCallsInAnyOrder) {
  const auto surface = BSplineSurface::createClamped(rolledNet(), 3, 3);
  const SurfaceSearch search(*surface);
  Random random;
  constexpr int kCount = 50;
  std::vector<double> xyz, uv(2 * kCount), points(3 * kCount), distances(kCount);
  for (int k = 0; k < 3 * kCount; ++k)
    xyz.push_back(random.in(-2, 2));
  search.closestBatch(xyz, uv, points, distances);
  for (int k = kCount - 1; k >= 0; --k) {
    const ProjectedPoint one =
        SurfaceSearch(*surface).closest({xyz[3 * k], xyz[3 * k + 1], xyz[3 * k + 2]});
    EXPECT_EQ(one.u, uv[2 * k]);
    EXPECT_EQ(one.v, uv[2 * k + 1]);
    EXPECT_EQ(one.point.z(), points[3 * k + 2]);
    EXPECT_EQ(one.distance, distances[k]);
  }
}

TEST(SurfaceSearch, RefusesWhatIsNotFinite) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const SphereSurface sphere({0, 0, 0}, 1);
  const SurfaceSearch search(sphere);
  for (const Point3D& point : {Point3D(kNaN, 0, 0), Point3D(0, kInfinity, 0)}) {
    EXPECT_FALSE(search.closest(point).converged);
    EXPECT_TRUE(std::isinf(search.closest(point).distance));
    EXPECT_TRUE(search.crossings(point, Vector3D::unitZ()).empty());
    EXPECT_TRUE(search.normalFeet(point).empty());
  }
  Net net = wavyNet();
  net[3][3] = {0, 0, kNaN};
  const auto broken = BSplineSurface::createClamped(net, 3, 3);
  EXPECT_FALSE(SurfaceSearch(*broken).isFinite());
  EXPECT_FALSE(SurfaceSearch(*broken).closest({0, 0, 0}).converged);
}

// Real roots of |p + t d|^2 = r^2.
std::vector<double> sphereCrossings(const Point3D& p, const Vector3D& d, double r) {
  const Vector3D o = p - Point3D::origin();
  const double b = o.dot(d), c = o.squaredMagnitude() - r * r;
  if (b * b < c) return {};
  const double root = std::sqrt(b * b - c);
  return {-b - root, -b + root};
}

// Sign changes of the torus' equation along the line, narrowed by bisection.
std::vector<double> torusCrossings(const Point3D& p, const Vector3D& d, double major,
                                   double minor) {
  const auto f = [&](double t) {
    const Point3D q = p + d * t;
    const double k = std::hypot(q.x(), q.y()) - major;
    return k * k + q.z() * q.z() - minor * minor;
  };
  std::vector<double> roots;
  constexpr double kStep = 1e-3;
  for (double t = -20; t < 20; t += kStep) {
    if (f(t) * f(t + kStep) >= 0) continue;
    double low = t, high = t + kStep;
    for (int k = 0; k < 60; ++k)
      (f(low) * f((low + high) / 2) <= 0 ? high : low) = (low + high) / 2;
    roots.push_back(low);
  }
  return roots;
}

void expectCrossings(const SurfaceSearch& search, const Point3D& p, const Vector3D& d,
                     const std::vector<double>& expected) {
  const auto hits = search.crossings(p, d);
  ASSERT_EQ(hits.size(), expected.size());
  for (std::size_t k = 0; k < hits.size(); ++k) {
    EXPECT_NEAR(hits[k].along, expected[k], 1e-8);
    EXPECT_THAT(hits[k].point, IsNear(p + d * expected[k], 1e-8));
    EXPECT_EQ(hits[k].distance, std::abs(hits[k].along));
  }
}

TEST(SurfaceSearch, HitsEveryCrossingOfALine) {
  const SphereSurface sphere({0, 0, 0}, 1.3);
  const TorusSurface torus({0, 0, 0}, {0, 0, 1}, 2.0, 0.6);
  const SurfaceSearch onSphere(sphere), onTorus(torus);
  Random random;
  int hits = 0;
  for (int k = 0; k < 200; ++k) {
    const Point3D p = random.inBox(3.0);
    const Vector3D d = (random.inBox(2.0) - p) / (random.inBox(2.0) - p).magnitude();
    const Vector3D unit = d / d.magnitude();
    expectCrossings(onSphere, p, unit, sphereCrossings(p, unit, 1.3));
    const auto expected = torusCrossings(p, unit, 2.0, 0.6);
    expectCrossings(onTorus, p, unit, expected);
    hits += expected.size() == 4;
  }
  EXPECT_GE(hits, 5);
  expectCrossings(onTorus, {-9, 0, 0}, {1, 0, 0},
                  {6.4, 7.6, 10.4, 11.6});  // on a plane of symmetry
  expectCrossings(onSphere, {0, 1.31, 0}, {1, 0, 0}, {});
  const auto touching = onSphere.crossings({-5, 0, 1.3}, {1, 0, 0});  // at a pole, as it happens
  ASSERT_EQ(touching.size(), 1u);
  EXPECT_NEAR(touching[0].along, 5.0, 1e-4);
  EXPECT_EQ(onSphere.crossings({1e8, 0, 0.1}, {-1, 0, 0}).size(), 2u);
}

TEST(SurfaceSearch, FeetStandAtRightAngles) {
  const TorusSurface torus({0, 0, 0}, {0, 0, 1}, 2.0, 0.5);
  const auto feet = SurfaceSearch(torus).normalFeet({1.7, 0.6, 0.4});
  const double axial = std::hypot(1.7, 0.6);  // from the axis; the tube's middle lies at 2
  std::vector<double> expected;
  for (const double middle : {axial - 2, axial + 2})
    for (const double sign : {-1.0, 1.0})
      expected.push_back(std::abs(std::hypot(middle, 0.4) + sign * 0.5));
  std::sort(expected.begin(), expected.end());
  ASSERT_EQ(feet.size(), 4u);
  for (std::size_t k = 0; k < 4; ++k)
    EXPECT_NEAR(feet[k].distance, expected[k], 1e-9);
  const PlaneSurface plane({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, 1, 1);
  EXPECT_EQ(SurfaceSearch(plane).normalFeet({0.5, 0.5, 2}).size(), 1u);
  EXPECT_TRUE(SurfaceSearch(plane).normalFeet({1.5, 0.5, 2}).empty());
}

}  // namespace
}  // namespace morvel_test
