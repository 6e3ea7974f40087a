#include <array>
#include <cstring>
#include <numbers>
#include <random>

#include "tests/api/surface_interface.h"

namespace morvel_test {
namespace {

using trova::geometry::SurfaceEvaluation;

constexpr int kWidths[] = {3, 12, 21};

// An eighth of the unit sphere with a degenerate pole: Bezier quarter arcs both ways, the knots
// over [1, 3] and [-2, 5] with a double knot inside that splits the u direction off-centre.
struct Octant {
  std::vector<double> points, weights, u, v;
  int nU = 0, nV = 0;

  int make() const {
    return create_surface_nurbs(points.data(), nU, nV, weights.data(), u.data(), int(u.size()),
                                v.data(), int(v.size()), 2, 2);
  }
};

/// Homogeneous control points of the quarter circle (1, 0) to (0, 1), halved at t by de Casteljau.
std::vector<std::array<double, 3>> halvedArc(double t) {
  const double s = std::numbers::sqrt2 / 2;
  const std::array<double, 3> p[] = {{1, 0, 1}, {s, s, s}, {0, 1, 1}};
  const auto mix = [t](const std::array<double, 3>& a, const std::array<double, 3>& b) {
    std::array<double, 3> m;
    for (int d = 0; d < 3; ++d)
      m[d] = (1 - t) * a[d] + t * b[d];
    return m;
  };
  const auto a = mix(p[0], p[1]), b = mix(p[1], p[2]);
  return {p[0], a, mix(a, b), b, p[2]};
}

Octant octant() {
  Octant made;
  const auto around = halvedArc(0.3);
  const auto upward = halvedArc(0.8);
  made.nU = made.nV = 5;
  made.u = {1, 1, 1, 1.6, 1.6, 3, 3, 3};
  made.v = {-2, -2, -2, 3.6, 3.6, 5, 5, 5};
  for (const auto& [x, y, w] : around) {
    for (const auto& [r, z, m] : upward) {
      made.weights.push_back(w * m);
      for (const double c : {x * r, y * r, w * z})
        made.points.push_back(c / (w * m));
    }
  }
  return made;
}

std::vector<double> randomPairs(int count, double uMin, double uMax, double vMin, double vMax) {
  std::mt19937 random(7);
  std::vector<double> pairs;
  for (int k = 0; k < count; ++k) {
    pairs.push_back(std::uniform_real_distribution(uMin, uMax)(random));
    pairs.push_back(std::uniform_real_distribution(vMin, vMax)(random));
  }
  return pairs;
}

std::vector<double> batchOf(int surface, const std::vector<double>& uv, int order,
                            decltype(&evaluate_surface_batch) call = evaluate_surface_batch) {
  std::vector<double> out(uv.size() / 2 * kWidths[order]);
  EXPECT_EQ(call(surface, uv.data(), int(uv.size() / 2), order, out.data()), 0) << lastError();
  return out;
}

/// The layout of a batch from the surface's own evaluation of one point.
std::vector<double> singly(int surface, double u, double v, int order) {
  const SurfaceEvaluation at = get_surface_from_registry(surface)->evaluateDerivatives(u, v, order);
  std::vector<double> flat;
  const auto add = [&](const auto& triple) {
    flat.insert(flat.end(), {triple.x(), triple.y(), triple.z()});
  };
  add(at.point);
  for (const Vector3D* vector : {&at.Su, &at.Sv, &at.normal, &at.Suu, &at.Suv, &at.Svv})
    add(*vector);
  flat.resize(kWidths[order]);
  return flat;
}

/// FNV-1a over the bytes.
std::uint64_t hashOf(const std::vector<double>& values) {
  std::uint64_t hash = 14695981039346656037u;
  for (const double value : values) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    for (int shift = 0; shift < 64; shift += 8)
      hash = (hash ^ (bits >> shift & 0xff)) * 1099511628211u;
  }
  return hash;
}

class SurfaceBatch : public SurfaceInterface {
 protected:
  static std::vector<int> everyType() {
    return {
        wavyClamped(6, 7, 3, 3), wavyClamped(4, 9, 1, 5),           unevenSpline(), octant().make(),
        bilinearPatch(1.0),      create_surface_sphere(0, 0, 0, 2), unitPlane(),    sampleLoft()};
  }
};

TEST_F(SurfaceBatch, GivesTheBitsOfTheSingleCalls) {
  std::vector<double> uv = randomPairs(150, -0.1, 1.1, 0, 1);
  uv.insert(uv.end(), {0, 0, 1, 1, 0, 1, 1.0 / 3, 0.25});
  for (const int surface : everyType()) {
    for (int order = 0; order <= 2; ++order) {
      std::vector<double> single;
      for (std::size_t k = 0; k < uv.size(); k += 2) {
        const auto one = singly(surface, uv[k], uv[k + 1], order);
        single.insert(single.end(), one.begin(), one.end());
      }
      EXPECT_EQ(hashOf(batchOf(surface, uv, order)), hashOf(single)) << surface << ' ' << order;
    }
  }
}

TEST_F(SurfaceBatch, GridsGiveTheBitsOfBatchesUOuter) {
  const std::vector<double> u = {0, 0.1, 1.0 / 3, 0.99, 1, 7}, v = {1, 0.5, 0.2, -3};
  std::vector<double> pairs;
  for (const double s : u)
    for (const double t : v)
      pairs.insert(pairs.end(), {s, t});
  for (const int surface : everyType()) {
    for (int order = 0; order <= 2; ++order) {
      std::vector<double> grid(pairs.size() / 2 * kWidths[order]);
      ASSERT_EQ(evaluate_surface_grid(surface, u.data(), 6, v.data(), 4, order, grid.data()), 0);
      EXPECT_EQ(hashOf(grid), hashOf(batchOf(surface, pairs, order))) << surface << ' ' << order;
    }
  }
}

TEST_F(SurfaceBatch, NormalsAndClosestParametersAreThoseOfTheSingleCalls) {
  const std::vector<double> uv = randomPairs(20, 0, 1, 0, 1);
  const int surface = wavyClamped(5, 5, 3, 3);
  std::vector<double> normals(60), closest(40);
  ASSERT_EQ(get_surface_normal_batch(surface, uv.data(), 20, normals.data()), 0);
  const std::vector<double> points = batchOf(surface, uv, 0);
  ASSERT_EQ(get_surface_closest_parameter_batch(surface, points.data(), 20, closest.data()), 0);
  for (int k = 0; k < 20; ++k) {
    const auto normal = get_surface_normal_at_parameter(surface, uv[2 * k], uv[2 * k + 1]);
    EXPECT_THAT(toPoint(&normals[3 * k]), IsNear(toPoint(normal), 0.0));
    EXPECT_THAT(pointOf(surface, closest[2 * k], closest[2 * k + 1]),
                IsNear(toPoint(&points[3 * k]), 1e-6));
  }
}

TEST_F(SurfaceBatch, ExactSphereOctantOnUnevenKnotsLiesOnTheSphere) {
  const int surface = octant().make();
  ASSERT_GT(surface, 0) << lastError();
  std::vector<double> uv = randomPairs(300, 1, 3, -2, 4.99);
  uv.insert(uv.end(), {1, -2, 3, -2, 1.6, 3.6, 1.6 - 1e-13, 0, 3, 4});
  const std::vector<double> at = batchOf(surface, uv, 2, evaluate_surface_exact_batch);
  for (std::size_t k = 0; k < uv.size() / 2; ++k) {
    const Vector3D point(at[21 * k], at[21 * k + 1], at[21 * k + 2]);
    EXPECT_NEAR(point.magnitude(), 1.0, 1e-12);
    const Vector3D normal(at[21 * k + 9], at[21 * k + 10], at[21 * k + 11]);
    EXPECT_NEAR((normal - point).magnitude(), 0.0, 1e-12) << uv[2 * k] << ' ' << uv[2 * k + 1];
    // x . x = 1 differentiated twice.
    const auto vector = [&](int index) {
      const double* p = &at[21 * k + 3 * index];
      return Vector3D(p[0], p[1], p[2]);
    };
    const Vector3D su = vector(1), sv = vector(2);
    const double scale = 1 + su.dot(su) + sv.dot(sv) + vector(4).magnitude() +
                         vector(5).magnitude() + vector(6).magnitude();
    EXPECT_NEAR(point.dot(vector(4)) + su.dot(su), 0.0, 1e-11 * scale);
    EXPECT_NEAR(point.dot(vector(5)) + su.dot(sv), 0.0, 1e-11 * scale);
    EXPECT_NEAR(point.dot(vector(6)) + sv.dot(sv), 0.0, 1e-11 * scale);
  }
  // The ordinary evaluation of the same surface is another shape.
  const std::vector<double> ordinary = batchOf(surface, {0.5, 0.5}, 0);
  EXPECT_GT(std::abs(std::hypot(ordinary[0], ordinary[1], ordinary[2]) - 1), 1e-3);
}

TEST_F(SurfaceBatch, ExactSplineFollowsItsStoredKnotsAndClampsToTheirRange) {
  const int surface = unevenSpline();
  const ReadSpline spline = readSpline(surface);
  const std::vector<double> uv = randomPairs(100, 0, 1, 1, 4);
  const std::vector<double> at = batchOf(surface, uv, 1, evaluate_surface_exact_batch);
  constexpr double kStep = 1e-6;
  for (std::size_t k = 0; k < uv.size() / 2; ++k) {
    const double u = std::clamp(uv[2 * k], kStep, 1 - kStep);
    EXPECT_THAT(toPoint(&at[12 * k]), IsNear(spline.at(uv[2 * k], uv[2 * k + 1]), 1e-12));
    const Vector3D quotient =
        (spline.at(u + kStep, uv[2 * k + 1]) - spline.at(u - kStep, uv[2 * k + 1])) / (2 * kStep);
    EXPECT_NEAR((Vector3D(at[12 * k + 3], at[12 * k + 4], at[12 * k + 5]) - quotient).magnitude(),
                0.0, 1e-3);
  }
  EXPECT_EQ(batchOf(surface, {-9, 0, 9, 99}, 2, evaluate_surface_exact_batch),
            batchOf(surface, {0, 1, 1, 4}, 2, evaluate_surface_exact_batch));
}

TEST_F(SurfaceBatch, ExactBatchOfASurfaceWithoutKnotsIsTheOrdinaryOne) {
  const std::vector<double> uv = randomPairs(10, 0, 1, 0, 1);
  for (const int surface : {bilinearPatch(1.0), create_surface_sphere(1, 2, 3, 2), sampleLoft()})
    EXPECT_EQ(batchOf(surface, uv, 2, evaluate_surface_exact_batch), batchOf(surface, uv, 2));
}

TEST_F(SurfaceBatch, RefusesBadInputWithoutWriting) {
  const int surface = unevenSpline();
  Guarded<double> out(42);
  const double uv[] = {0.5, 0.5, 0.25, kNaN}, good[] = {0.5, 0.5, 0, 1};
  for (const auto call : {evaluate_surface_batch, evaluate_surface_exact_batch}) {
    for (const int code :
         {call(surface, nullptr, 2, 1, out.data()), call(surface, good, -1, 1, out.data()),
          call(surface, good, 2, -1, out.data()), call(surface, good, 2, 3, out.data()),
          call(surface, uv, 2, 1, out.data()), call(surface, good, kMany, 2, out.data()),
          call(surface, good, 2, 1, nullptr)})
      EXPECT_EQ(code, -1);
    EXPECT_EQ(call(kNoHandle, good, 2, 1, out.data()), -3);
    EXPECT_EQ(call(surface, good, 0, 1, out.data()), 0);
  }
  EXPECT_EQ(evaluate_surface_grid(surface, uv, 4, good, 2, 0, out.data()), -1);
  EXPECT_EQ(evaluate_surface_grid(surface, good, kMany, good, kMany, 0, out.data()), -1);
  EXPECT_EQ(evaluate_surface_grid(surface, good, 2, good, -1, 0, out.data()), -1);
  EXPECT_EQ(evaluate_surface_grid(kNoHandle, good, 2, good, 2, 0, out.data()), -3);
  EXPECT_EQ(evaluate_surface_grid(surface, good, 2, good, 0, 0, out.data()), 0);
  EXPECT_TRUE(out.isUntouched());
  ASSERT_EQ(evaluate_surface_batch(surface, good, 2, 2, out.data()), 0);
  EXPECT_TRUE(out.isIntact());
}

TEST_F(SurfaceBatch, ResultsThatAreNotFiniteAndExceptionsAreMinusFour) {
  double out[24];
  const double uv[] = {0.5, 0.5, 0, 0.5};
  EXPECT_EQ(evaluate_surface_batch(FaultyPlane::store(FaultyPlane::kNotANumber), uv, 2, 1, out),
            -4);
  EXPECT_EQ(evaluate_surface_batch(FaultyPlane::store(FaultyPlane::kThrowsTangents), uv, 2, 1, out),
            -4);
  EXPECT_EQ(lastError(), "no tangents here");
}

}  // namespace
}  // namespace morvel_test
