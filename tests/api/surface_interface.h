#pragma once

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "morvel/morvel.hpp"
#include "tests/api/kernel_session.h"
#include "tests/foundation/basis_oracle.h"
#include "tests/support/captured_streams.h"
#include "tests/support/near.h"

// What the tests of the surface functions share: empty registries, sample surfaces made through the
// interface, buffers with guard values, and the reading back of a spline with an oracle for its
// stored knots.

namespace morvel_test {

using trova::foundation::Point3D;
using trova::foundation::Vector3D;

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr int kMany = std::numeric_limits<int>::max();
inline constexpr int kNoHandle = 12345;

inline Point3D toPoint(const MorvelPoint3D& p) { return {p.x, p.y, p.z}; }
inline Point3D toPoint(const double* p) { return {p[0], p[1], p[2]}; }
inline Point3D pointOf(int surface, double u, double v) {
  return toPoint(evaluate_surface_at_parameter(surface, u, v));
}

/// Empty registries, no last error; printed lines are caught.
class SurfaceInterface : public testing::Test {
 protected:
  SurfaceInterface() {
    clear_all_curves();
    cleanup_all_surfaces();
    g_last_error.clear();
  }
  ~SurfaceInterface() override {
    clear_all_curves();
    cleanup_all_surfaces();
  }

  struct Refusal {
    const char* text;
    int code;
    std::function<int()> call;
  };
  /// Each call gives its code and text, and leaves the number of surfaces as it was.
  static void expectRefusals(const std::vector<Refusal>& refusals) {
    for (const Refusal& refusal : refusals) {
      g_last_error.clear();
      const int surfaces = get_surfaces_count();
      EXPECT_EQ(refusal.call(), refusal.code) << refusal.text;
      EXPECT_EQ(lastError(), refusal.text);
      EXPECT_EQ(get_surfaces_count(), surfaces) << refusal.text;
    }
  }

  CapturedStreams streams_;
};

/// nU x nV points (i, j, sin(i + 2 j)), u outer.
inline std::vector<double> wavyPoints(int nU, int nV) {
  std::vector<double> points;
  for (int i = 0; i < nU; ++i)
    for (int j = 0; j < nV; ++j)
      for (const double c : {double(i), double(j), std::sin(i + 2.0 * j)})
        points.push_back(c);
  return points;
}

inline int wavyClamped(int nU, int nV, int degreeU, int degreeV) {
  return create_surface_bspline_clamped(wavyPoints(nU, nV).data(), nU, nV, degreeU, degreeV);
}

/// Quadratic by cubic, on uneven knots over [0, 1] and [1, 4].
inline int unevenSpline(double lift = 0.0) {
  std::vector<double> points = wavyPoints(5, 6);
  for (std::size_t k = 2; k < points.size(); k += 3)
    points[k] += lift * points[k - 1];
  const double u[] = {0, 0, 0, 0.2, 0.7, 1, 1, 1};
  const double v[] = {1, 1, 1, 1, 2, 2.5, 4, 4, 4, 4};
  return create_bspline_surface(points.data(), 5, 6, 2, 3, u, 8, v, 10);
}

/// Degree 1 by 1 with corners (0,0,0), (2,0,0), (0,3,0), (2,3,z), v outer in memory.
inline int bilinearPatch(double z = 0.0) {
  const double points[] = {0, 0, 0, 2, 0, 0, 0, 3, 0, 2, 3, z};
  return create_surface_bezier(points, 2, 2);
}

inline int unitPlane() {
  const double origin[] = {0, 0, 0}, u[] = {1, 0, 0}, v[] = {0, 1, 0};
  return create_surface_plane(origin, u, v);
}

/// Two parallel lines and an arc-like curve between them as sections.
inline int sampleLoft() {
  const double bend[] = {0, 1, 0, 1, 1, 1, 2, 1, 0};
  const int sections[] = {create_curve_line(0, 0, 0, 2, 0, 0), create_curve_bezier(bend, 3),
                          create_curve_line(0, 2, 0, 2, 2, 0)};
  return create_surface_loft(sections, 3, 2);
}

/// A spline surface as the interface tells it.
struct ReadSpline {
  int degreeU = 0, degreeV = 0, nU = 0, nV = 0;
  std::vector<Point3D> net;  // u outer
  std::vector<double> u, v;

  /// On the stored knots, by the definition of the basis functions.
  Point3D at(double s, double t) const {
    Point3D sum;
    for (int i = 0; i < nU; ++i) {
      for (int j = 0; j < nV; ++j) {
        const double weight =
            double(oracleBasis(i, degreeU, s, u)) * double(oracleBasis(j, degreeV, t, v));
        sum += net[i * nV + j] * weight;
      }
    }
    return sum;
  }
};

inline ReadSpline readSpline(int surface) {
  ReadSpline spline;
  EXPECT_EQ(get_surface_degrees_ex(surface, &spline.degreeU, &spline.degreeV), 0);
  spline.u.resize(get_surface_u_knots_count(surface));
  spline.v.resize(get_surface_v_knots_count(surface));
  int count = 0;
  EXPECT_EQ(get_surface_u_knot_vector(surface, spline.u.data(), int(spline.u.size()), &count), 0);
  EXPECT_EQ(get_surface_v_knot_vector(surface, spline.v.data(), int(spline.v.size()), &count), 0);
  const int points =
      get_surface_u_control_points_count(surface) * get_surface_v_control_points_count(surface);
  std::vector<double> flat(3 * points);
  EXPECT_EQ(
      get_surface_control_points(surface, flat.data(), points, &count, &spline.nU, &spline.nV), 0);
  for (int k = 0; k < points; ++k)
    spline.net.push_back(toPoint(&flat[3 * k]));
  return spline;
}

/// A plane whose evaluation fails at u = 0 in a chosen way, under a chosen type name.
class FaultyPlane : public trova::geometry::PlaneSurface {
 public:
  enum Fault { kNone, kNotANumber, kThrows, kThrowsTangents, kInvalid };
  explicit FaultyPlane(Fault fault, std::string type = "PlaneSurface")
      : PlaneSurface(Point3D(), Vector3D::unitX(), Vector3D::unitY(), 1.0, 1.0),
        fault_(fault),
        type_(std::move(type)) {}

  static int store(Fault fault, const char* type = "PlaneSurface") {
    return trova_internal::storeSurface(std::make_unique<FaultyPlane>(fault, type));
  }

  std::string getTypeIdentifier() const override { return type_; }
  bool isValid() const override { return fault_ != kInvalid; }
  Point3D evaluate(double u, double v) const override {
    if (fault_ == kThrows) throw std::runtime_error("no point here");
    if (fault_ == kNotANumber && u == 0.0) return {kNaN, v, 0.0};
    return PlaneSurface::evaluate(u, v);
  }
  trova::geometry::SurfaceEvaluation evaluateDerivatives(double u, double v,
                                                         int order) const override {
    if (fault_ == kThrowsTangents) throw std::runtime_error("no tangents here");
    auto at = PlaneSurface::evaluateDerivatives(u, v, order);
    if (fault_ == kNotANumber) at.Su = at.Suu = Vector3D(kNaN, 0.0, 0.0);
    return at;
  }

 private:
  Fault fault_;
  std::string type_;
};

}  // namespace morvel_test
