#include "tests/api/surface_interface.h"

namespace morvel_test {
namespace {

using SurfaceEvaluate = SurfaceInterface;

/// x = u, y = v, z = u^2 + 3 u v: control heights by blossoming.
int quadraticPatch() {
  const double heights[3][2] = {{0, 0}, {0, 1.5}, {1, 4}};
  std::vector<double> points;
  for (int j = 0; j < 2; ++j)
    for (int i = 0; i < 3; ++i)
      points.insert(points.end(), {i / 2.0, double(j), heights[i][j]});
  return create_surface_bezier(points.data(), 3, 2);
}

TEST_F(SurfaceEvaluate, PointsNormalsAndDerivativesHaveTheirClosedForms) {
  const int patch = quadraticPatch();
  Guarded<double> first(3), second(3), third(3);
  for (const double u : {0.0, 0.25, 1.0}) {
    for (const double v : {0.0, 0.6, 1.0}) {
      const Vector3D su(1, 0, 2 * u + 3 * v), sv(0, 1, 3 * u);
      EXPECT_THAT(pointOf(patch, u, v), IsNear(Point3D(u, v, u * u + 3 * u * v), 1e-14));
      const Point3D normal = toPoint(get_surface_normal_at_parameter(patch, u, v));
      EXPECT_THAT(Vector3D(Point3D(), normal), IsNear(su.cross(sv).normalized(), 1e-14));
      ASSERT_EQ(get_surface_first_derivatives(patch, u, v, first.data(), second.data()), 0);
      EXPECT_THAT(Vector3D(Point3D(), toPoint(first.data())), IsNear(su, 1e-14));
      EXPECT_THAT(Vector3D(Point3D(), toPoint(second.data())), IsNear(sv, 1e-14));
      ASSERT_EQ(
          get_surface_second_derivatives(patch, u, v, first.data(), second.data(), third.data()),
          0);
      EXPECT_THAT(toPoint(first.data()), IsNear(Point3D(0, 0, 2), 1e-13));
      EXPECT_THAT(toPoint(second.data()), IsNear(Point3D(0, 0, 3), 1e-13));
      EXPECT_THAT(toPoint(third.data()), IsNear(Point3D(), 1e-13));
    }
  }
  ASSERT_EQ(get_surface_normal_at_center(patch, first.data()), 0);
  EXPECT_THAT(toPoint(first.data()),
              IsNear(toPoint(get_surface_normal_at_parameter(patch, 0.5, 0.5)), 0.0));
  EXPECT_TRUE(first.isIntact() && second.isIntact() && third.isIntact());
}

TEST_F(SurfaceEvaluate, ValuesByResultAreZeroWithATextWhereThereAreNone) {
  const int patch = quadraticPatch();
  const int faulty = FaultyPlane::store(FaultyPlane::kNotANumber);
  const auto expectZero = [](auto get, int surface, double u, const char* text) {
    g_last_error.clear();
    EXPECT_THAT(toPoint(get(surface, u, 0.5)), IsNear(Point3D(), 0.0)) << text;
    EXPECT_EQ(lastError(), text);
  };
  for (auto get : {evaluate_surface_at_parameter, get_surface_normal_at_parameter}) {
    expectZero(get, kNoHandle, 0.5, "Invalid surface handle");
    expectZero(get, patch, kNaN, "Parameters u and v must be finite");
    expectZero(get, patch, -kInfinity, "Parameters u and v must be finite");
  }
  expectZero(evaluate_surface_at_parameter, faulty, 0.0, "Result is not finite");
  // A degenerate normal is an answer, not a failure.
  const double flat[] = {0, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0};
  expectZero(get_surface_normal_at_parameter, create_surface_bezier(flat, 2, 2), 0.5, "");
}

TEST_F(SurfaceEvaluate, FirstDerivativesAreRefused) {
  const int patch = quadraticPatch();
  const int faulty = FaultyPlane::store(FaultyPlane::kNotANumber);
  const int throwing = FaultyPlane::store(FaultyPlane::kThrowsTangents);
  Guarded<double> out(3);
  const auto get = [&](int surface, double u) {
    return get_surface_first_derivatives(surface, u, 0.5, out.data(), out.data());
  };
  expectRefusals({
      {"Invalid output arrays for derivatives", -1,
       [&] { return get_surface_first_derivatives(kNoHandle, 0, 0, nullptr, out.data()); }},
      {"Parameters u and v must be finite", -1, [&] { return get(patch, kNaN); }},
      {"Invalid surface handle", -3, [&] { return get(kNoHandle, 0); }},
      {"Derivative evaluation failed", -4, [&] { return get(faulty, 0); }},
      {"no tangents here", -4, [&] { return get(throwing, 0); }},
      {"get_surface_normal_at_center: normal must not be null", -1,
       [&] { return get_surface_normal_at_center(patch, nullptr); }},
      {"Invalid surface handle", -3, [&] { return get_surface_normal_at_center(0, out.data()); }},
  });
  EXPECT_TRUE(out.isUntouched());
}

TEST_F(SurfaceEvaluate, SecondDerivativesAreRefusedInTheStatedOrder) {
  Guarded<double> out(3);
  const auto get = [&](int surface) {
    return get_surface_second_derivatives(surface, 0.5, 0.5, out.data(), out.data(), out.data());
  };
  expectRefusals({
      {"Invalid output arrays for second derivatives", -1,
       [&] {
         return get_surface_second_derivatives(kNoHandle, 0, 0, out.data(), nullptr, out.data());
       }},
      {"Surface registry is empty", -3, [&] { return get(kNoHandle); }},
  });
  const int invalid = FaultyPlane::store(FaultyPlane::kInvalid);
  const int faulty = FaultyPlane::store(FaultyPlane::kNotANumber);
  const int empty = get_next_surface_handle();
  g_surfaces[empty] = nullptr;
  expectRefusals({
      {"Surface handle not found", -3, [&] { return get(kNoHandle); }},
      {"Null surface in registry", -3, [&] { return get(empty); }},
      {"Invalid surface state", -4, [&] { return get(invalid); }},
      {"Surface evaluation returned invalid result", -4, [&] { return get(faulty); }},
  });
  EXPECT_TRUE(out.isUntouched());
}

TEST_F(SurfaceEvaluate, PointAndTangentsClampTheirParameters) {
  const int patch = quadraticPatch();
  Guarded<double> point(3), du(3), dv(3);
  ASSERT_EQ(evaluate_surface_derivatives_at_uv(patch, 7, -7, point.data(), du.data(), dv.data()),
            1);
  EXPECT_THAT(toPoint(point.data()), IsNear(Point3D(1, 0, 1), 1e-14));
  EXPECT_THAT(toPoint(du.data()), IsNear(Point3D(1, 0, 2), 1e-14));
  EXPECT_THAT(toPoint(dv.data()), IsNear(Point3D(0, 1, 3), 1e-14));
  EXPECT_TRUE(point.isIntact() && du.isIntact() && dv.isIntact());
}

TEST_F(SurfaceEvaluate, DifferencesStandInForTangentsThatThrow) {
  const int plane = FaultyPlane::store(FaultyPlane::kThrowsTangents);
  double point[3], du[3], dv[3];
  for (const double u : {0.0, 0.5, 1.0}) {
    ASSERT_EQ(evaluate_surface_derivatives_at_uv(plane, u, 1.0 - u, point, du, dv), 1);
    EXPECT_THAT(toPoint(du), IsNear(Point3D(1, 0, 0), 1e-9));
    EXPECT_THAT(toPoint(dv), IsNear(Point3D(0, 1, 0), 1e-9));
  }
  EXPECT_EQ(lastError(), "");
}

TEST_F(SurfaceEvaluate, PointAndTangentsAnswerZeroOnFailure) {
  const int patch = quadraticPatch();
  const int faulty = FaultyPlane::store(FaultyPlane::kNotANumber);
  const int throwing = FaultyPlane::store(FaultyPlane::kThrows);
  Guarded<double> out(3);
  const auto get = [&](int surface, double u) {
    return evaluate_surface_derivatives_at_uv(surface, u, 0.5, out.data(), out.data(), out.data());
  };
  expectRefusals({
      {"evaluate_surface_derivatives_at_uv: outputs must not be null", 0,
       [&] {
         return evaluate_surface_derivatives_at_uv(patch, 0, 0, out.data(), out.data(), nullptr);
       }},
      {"Parameters u and v must be finite", 0, [&] { return get(patch, kNaN); }},
      {"Invalid surface handle", 0, [&] { return get(kNoHandle, 0); }},
      {"Result is not finite", 0, [&] { return get(faulty, 0); }},
      {"no point here", 0, [&] { return get(throwing, 0); }},
  });
  EXPECT_TRUE(out.isUntouched());
}

}  // namespace
}  // namespace morvel_test
