#include <array>
#include <functional>

#include "tests/api/curve_interface.h"

namespace morvel_test {
namespace {

using testing::Each;
using testing::ElementsAre;
using trova_internal::getCurveAs;
using CurveEvaluate = CurveInterface;

constexpr int kRoom = 1000;

// Samples a curve into a buffer of kRoom points.
std::vector<Point3D> sampled(int curve, int mode, int count, double tolerance) {
  Guarded<double> out(3 * kRoom);
  int written = -1;
  EXPECT_EQ(sample_curve_advanced(curve, mode, count, tolerance, out.data(), kRoom, &written), 0)
      << lastError();
  std::vector<Point3D> points;
  for (int i = 0; i < written; ++i)
    points.emplace_back(out[3 * i], out[3 * i + 1], out[3 * i + 2]);
  return points;
}

TEST_F(CurveEvaluate, PointAndDerivativesStandOneAfterTheOther) {
  // x = t^2, y = 2 t (1 - t), z = 5.
  constexpr double points[] = {0, 0, 5, 0, 1, 5, 1, 0, 5};
  const int handle = create_curve_bezier(points, 3);
  Guarded<double> out(12);
  EXPECT_EQ(evaluate_curve_derivatives(handle, 0.25, 3, out.data()), 0);
  constexpr double expected[] = {0.0625, 0.375, 5, 0.5, 1, 0, 2, -4, 0, 0, 0, 0};
  for (int i = 0; i < 12; ++i)
    EXPECT_NEAR(out[i], expected[i], 1e-14) << i;
  EXPECT_TRUE(out.isIntact());
  EXPECT_THAT(curvePoint(handle, 0.25), IsNear(Point3D(0.0625, 0.375, 5), 1e-15));
}

TEST_F(CurveEvaluate, CircleHasItsTangentNormalCurvatureAndLength) {
  const int circle = create_curve_circle(1, 2, 3, 0.5, 0, 0, 1);
  const Point3D point = curvePoint(circle, 0.1);
  const Vector3D outward = (point - Point3D(1, 2, 3)) / 0.5;
  double v[3], value = 0;
  EXPECT_EQ(evaluate_curve_tangent(circle, 0.1, v), 0);
  EXPECT_THAT(Vector3D(v[0], v[1], v[2]), IsNear(Vector3D::unitZ().cross(outward), 1e-12));
  EXPECT_EQ(evaluate_curve_normal(circle, 0.1, v), 0);
  EXPECT_THAT(Vector3D(v[0], v[1], v[2]), IsNear(-outward, 1e-12));
  EXPECT_EQ(evaluate_curve_curvature(circle, 0.1, &value), 0);
  EXPECT_NEAR(value, 2, 1e-12);
  EXPECT_EQ(evaluate_curve_length(circle, 0.75, 0.25, &value), 0);
  EXPECT_NEAR(value, kPi / 2, 1e-8);
}

TEST_F(CurveEvaluate, MeshAndSinglePointsAreTheSameBits) {
  for (const int handle : everyType()) {
    SCOPED_TRACE(handle);
    Guarded<double> mesh(300), part(9);
    EXPECT_EQ(get_curve_mesh_data(handle, mesh.data(), 100), 100);
    EXPECT_EQ(get_curve_mesh_data(handle, mesh.data(), kLargestInt), 100);
    EXPECT_EQ(get_curve_mesh_data(handle, part.data(), 3), 3);
    EXPECT_TRUE(mesh.isIntact());
    EXPECT_TRUE(part.isIntact());
    const std::vector<Point3D> uniform = sampled(handle, 0, 100, 0);
    for (const int i : {0, 1, 2, 50, 98, 99}) {
      double x = 0, y = 0, z = 0;
      EXPECT_EQ(get_curve_point(handle, i, &x, &y, &z), 0);
      EXPECT_THAT((std::array{x, y, z}),
                  ElementsAre(mesh[3 * i], mesh[3 * i + 1], mesh[3 * i + 2]));
      EXPECT_THAT(uniform[i], IsNear(Point3D(x, y, z), 0.0));
      if (i < 3) {
        EXPECT_EQ(part[3 * i], x);
      }
    }
    const auto [start, end] = getCurveAs<Curve>(handle)->getParameterInterval();
    EXPECT_THAT(uniform.front(), IsNear(curvePoint(handle, start), 0.0));
    EXPECT_THAT(uniform.back(), IsNear(curvePoint(handle, end), 0.0));
  }
}

// Measured with polylines of the pieces, which know nothing of the integration.
TEST_F(CurveEvaluate, EqualLengthSamplesCutEqualPieces) {
  constexpr int kPieces = 7, kSteps = 2000;
  for (const int handle : everyType()) {
    SCOPED_TRACE(handle);
    const Curve& curve = *getCurveAs<Curve>(handle);
    const std::vector<double> at = equalArcLengthParameters(curve, kPieces + 1);
    std::array<double, kPieces> lengths{};
    for (int piece = 0; piece < kPieces; ++piece) {
      Point3D before = curve.evaluate(at[piece]);
      for (int k = 1; k <= kSteps; ++k) {
        const Point3D next = curve.evaluate(at[piece] + (at[piece + 1] - at[piece]) * k / kSteps);
        lengths[piece] += before.distanceTo(next);
        before = next;
      }
    }
    EXPECT_THAT(lengths, Each(testing::DoubleNear(curve.getTotalLength() / kPieces, 2e-6)));
    const std::vector<Point3D> samples = sampled(handle, 1, kPieces + 1, 0);
    ASSERT_EQ(samples.size(), at.size());
    for (std::size_t i = 0; i < at.size(); ++i)
      EXPECT_THAT(samples[i], IsNear(curve.evaluate(at[i]), 0.0));
  }
}

TEST_F(CurveEvaluate, EqualLengthSamplesTakeStandstillsAndPointsWithoutLength) {
  constexpr double squared[] = {0, 0, 0, 0, 0, 0, 1, 0, 0}, still[] = {1, 2, 3, 1, 2, 3};
  const std::vector<Point3D> samples = sampled(create_curve_bezier(squared, 3), 1, 5, 0);
  for (int i = 0; i < 5; ++i)
    EXPECT_NEAR(samples[i].x(), i / 4.0, 1e-8);
  EXPECT_THAT(sampled(create_curve_bezier(still, 2), 1, 5, 0),
              testing::AllOf(testing::SizeIs(5), Each(IsNear(Point3D(1, 2, 3), 0.0))));
}

TEST_F(CurveEvaluate, ToleranceSamplesStayWithinTheirSagitta) {
  constexpr double kTolerance = 1e-3;
  const std::vector<Point3D> samples = sampled(unitCircle(), 2, -5, kTolerance);
  ASSERT_GT(samples.size(), 20u);
  for (std::size_t i = 1; i < samples.size(); ++i)
    EXPECT_GE(samples[i].midpoint(samples[i - 1]).distanceTo(Point3D::origin()), 1 - kTolerance);
  EXPECT_EQ(sampled(line(), 2, 0, kTolerance).size(), 2u);
}

TEST_F(CurveEvaluate, SamplesSayHowMuchRoomTheyNeed) {
  const int circle = unitCircle();
  int needed = -1;
  for (const int mode : {0, 1, 2}) {
    Guarded<double> out(3 * 4);
    EXPECT_EQ(sample_curve_advanced(circle, mode, 5, 1e-3, out.data(), 4, &needed), -5);
    EXPECT_TRUE(out.isUntouched());
    std::vector<double> enough(3 * needed);
    const int room = needed;
    EXPECT_EQ(sample_curve_advanced(circle, mode, 5, 1e-3, enough.data(), room, &needed), 0);
    EXPECT_EQ(needed, room);
  }
}

TEST_F(CurveEvaluate, BadArgumentsAreRefusedAndNothingIsWritten) {
  const int h = unitCircle();
  Guarded<double> room(40);
  double* const out = room.data();
  int n = -7;
  std::vector<Refusal> refusals = {
      {-1, "0 to 10", [&] { return evaluate_curve_derivatives(h, 0, -1, out); }},
      {-1, "0 to 10", [&] { return evaluate_curve_derivatives(h, 0, 11, out); }},
      {-1, "finite", [&] { return evaluate_curve_at_parameter(h, kNaN, out); }},
      {-1, "finite", [&] { return evaluate_curve_curvature(h, kInfinity, out); }},
      {-1, "finite", [&] { return evaluate_curve_length(h, 0, kNaN, out); }},
      {-1, "null", [&] { return evaluate_curve_at_parameter(9, 0.5, nullptr); }},
      {-3, "handle 9", [&] { return evaluate_curve_at_parameter(9, 0.5, out); }},
      {-1, "0 to 99", [&] { return get_curve_point(h, 100, out, out, out); }},
      {-1, "0 to 99", [&] { return get_curve_point(h, -1, out, out, out); }},
      {-1, "maxPoints", [&] { return get_curve_mesh_data(h, out, 0); }},
  };
  const auto refuseSample = [&](const std::string& text, int mode, int count, double tolerance,
                                int maxPoints) {
    refusals.push_back(
        {-1, text,
         [=, &n] { return sample_curve_advanced(h, mode, count, tolerance, out, maxPoints, &n); }});
  };
  refuseSample("maxPoints", 0, 3, 0, 0);
  refuseSample("mode", 3, 3, 1, 5);
  refuseSample("mode", -1, 3, 1, 5);
  refuseSample("count", 0, 1, 0, 5);
  refuseSample("count", 1, kLargestInt, 0, kLargestInt);
  for (const double tolerance : {0.0, -1.0, kNaN, kInfinity})
    refuseSample("tolerance", 2, 3, tolerance, 5);
  expectRefusals(refusals);
  EXPECT_TRUE(room.isUntouched());
  EXPECT_EQ(n, -7);
}

TEST_F(CurveEvaluate, ResultsThatAreNotFiniteAreFailures) {
  const int h = endless();
  Guarded<double> room(600);
  double* const out = room.data();
  int n = -7;
  expectRefusals({
      {-4, "not finite", [&] { return evaluate_curve_derivatives(h, 0.5, 1, out); }},
      {-4, "not finite", [&] { return evaluate_curve_length(h, 0, 1, out); }},
      {-4, "not finite", [&] { return sample_curve_advanced(h, 1, 10, 0, out, 200, &n); }},
      {-4, "not finite", [&] { return get_curve_mesh_data(h, out, 200); }},
  });
  EXPECT_TRUE(room.isUntouched());
  EXPECT_EQ(n, -7);
}

TEST_F(CurveEvaluate, EndsOnAnyParameterAndTolerance) {
  double value = 0, out[6];
  int n = 0;
  for (const int handle : everyType()) {
    for (const double u : {-1e308, -1e9, 0.0, 1e-300, 1e9, 1e308}) {
      evaluate_curve_length(handle, 0.5, u, &value);
      evaluate_curve_derivatives(handle, u, 1, out);
    }
    EXPECT_EQ(sample_curve_advanced(handle, 2, 0, 1e-300, out, 1, &n), -5);
    EXPECT_LE(n, 101'000);
  }
}

}  // namespace
}  // namespace morvel_test
