#include "tests/api/curve_interface.h"

namespace morvel_test {
namespace {

class CurveBatch : public CurveInterface {
 protected:
  static std::vector<double> parameters(int curve) {
    double start = 0, end = 0;
    EXPECT_EQ(get_curve_parameter_interval(curve, &start, &end), 0);
    std::vector<double> t;
    for (int k = 0; k <= 200; ++k)
      t.push_back(std::lerp(start, end, k / 200.0));
    t.push_back(start + (end - start) / std::numbers::pi);
    return t;
  }
};

TEST_F(CurveBatch, GivesTheBitsOfTheSingleCalls) {
  for (const int curve : everyType()) {
    const std::vector<double> t = parameters(curve);
    const int count = int(t.size());
    for (const int order : {0, 1, 2, 5}) {
      const int width = 3 * (order + 1);
      Guarded<double> out(t.size() * width);
      ASSERT_EQ(evaluate_curve_batch(curve, t.data(), count, order, out.data()), 0) << lastError();
      EXPECT_TRUE(out.isIntact());
      std::vector<double> single(t.size() * width);
      for (int k = 0; k < count; ++k) {
        if (order == 0)
          ASSERT_EQ(evaluate_curve_at_parameter(curve, t[k], &single[3 * k]), 0);
        else
          ASSERT_EQ(evaluate_curve_derivatives(curve, t[k], order, &single[width * k]), 0);
      }
      EXPECT_EQ(std::vector<double>(out.data(), out.data() + single.size()), single)
          << "curve " << curve << ", order " << order;
    }
  }
}

TEST_F(CurveBatch, TangentsNormalsAndCurvaturesAreThoseOfTheSingleCalls) {
  for (const int curve : everyType()) {
    const std::vector<double> t = parameters(curve);
    const int count = int(t.size());
    std::vector<double> tangents(3 * t.size()), normals(3 * t.size()), curvatures(t.size());
    ASSERT_EQ(evaluate_curve_tangent_batch(curve, t.data(), count, tangents.data()), 0);
    ASSERT_EQ(evaluate_curve_normal_batch(curve, t.data(), count, normals.data()), 0);
    ASSERT_EQ(evaluate_curve_curvature_batch(curve, t.data(), count, curvatures.data()), 0);
    const int k = count - 1;
    double tangent[3], normal[3], curvature;
    ASSERT_EQ(evaluate_curve_tangent(curve, t[k], tangent), 0);
    ASSERT_EQ(evaluate_curve_normal(curve, t[k], normal), 0);
    ASSERT_EQ(evaluate_curve_curvature(curve, t[k], &curvature), 0);
    EXPECT_EQ(tangents[3 * k + 1], tangent[1]);
    EXPECT_EQ(normals[3 * k + 2], normal[2]);
    EXPECT_EQ(curvatures[k], curvature);
  }
}

TEST_F(CurveBatch, LengthsAreThoseOfTheSingleCallsWhateverTheOrderOfEachRange) {
  for (const int curve : everyType()) {
    const std::vector<double> t = parameters(curve);
    const double ranges[] = {t[0], t[200], t[150], t[20], t[7], t[7]};
    double lengths[3];
    ASSERT_EQ(evaluate_curve_length_batch(curve, ranges, 3, lengths), 0) << lastError();
    for (int k = 0; k < 3; ++k) {
      double single;
      ASSERT_EQ(evaluate_curve_length(curve, ranges[2 * k], ranges[2 * k + 1], &single), 0);
      EXPECT_EQ(lengths[k], single) << "curve " << curve << ", range " << k;
    }
    EXPECT_GT(lengths[0], lengths[1]);
    EXPECT_EQ(lengths[2], 0.0);
  }
}

TEST_F(CurveBatch, ClosestParametersLeadBackToThePoints) {
  const int curve = store(quarterCircle());
  const double points[] = {2, 0, 0, 0, 3, 0, 5, 5, 5};
  double t[3];
  ASSERT_EQ(get_curve_closest_parameter_batch(curve, points, 3, t), 0);
  const double s = std::sqrt(0.5);
  EXPECT_THAT(curvePoint(curve, t[0]), IsNear(Point3D(1, 0, 0), 1e-7));
  EXPECT_THAT(curvePoint(curve, t[1]), IsNear(Point3D(0, 1, 0), 1e-7));
  EXPECT_THAT(curvePoint(curve, t[2]), IsNear(Point3D(s, s, 0), 1e-7));
}

TEST_F(CurveBatch, RefusesBadInputWithoutWriting) {
  const int curve = store(unevenCubic()), tooLong = endless();
  Guarded<double> out(66);
  const double t[] = {0.5, kInfinity};
  const auto call = evaluate_curve_batch;
  expectRefusals({
      {-1, "must not be null", [&] { return call(curve, nullptr, 1, 0, out.data()); }},
      {-1, "must not be null", [&] { return call(curve, t, 1, 0, nullptr); }},
      {-1, "count out of range", [&] { return call(curve, t, -1, 0, out.data()); }},
      {-1, "count out of range", [&] { return call(curve, t, kLargestInt, 3, out.data()); }},
      {-1, "order must be", [&] { return call(curve, t, 1, 11, out.data()); }},
      {-1, "order must be", [&] { return call(curve, t, 1, -1, out.data()); }},
      {-1, "must be finite", [&] { return call(curve, t, 2, 0, out.data()); }},
      {-3, "no curve has the handle", [&] { return call(7, t, 1, 0, out.data()); }},
      {-4, "Result is not finite",
       [&] {
         double point[6];
         return call(tooLong, t, 1, 1, point);
       }},
  });
  EXPECT_EQ(call(curve, t, 0, 10, out.data()), 0);
  EXPECT_TRUE(out.isUntouched());
}

}  // namespace
}  // namespace morvel_test
