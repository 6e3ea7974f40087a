#include "tests/api/surface_interface.h"

namespace morvel_test {
namespace {

class SurfaceNurbs : public SurfaceInterface {
 protected:
  std::vector<double> points_ = wavyPoints(3, 4);
  std::vector<double> weights_ = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  std::vector<double> u_ = {0, 0, 0, 1, 1, 1};
  std::vector<double> v_ = {0, 0, 1, 2, 4, 4};

  int make(int nU = 3, int nV = 4, int degreeU = 2, int degreeV = 1) const {
    return create_surface_nurbs(points_.data(), nU, nV, weights_.data(), u_.data(), int(u_.size()),
                                v_.data(), int(v_.size()), degreeU, degreeV);
  }
};

TEST_F(SurfaceNurbs, KeepsNetWeightsAndKnotsInTheirOrder) {
  const int surface = make();
  ASSERT_GT(surface, 0) << lastError();
  EXPECT_EQ(is_surface_rational(surface), 1);
  const ReadSpline spline = readSpline(surface);
  EXPECT_EQ(spline.u, u_);
  EXPECT_EQ(spline.v, v_);
  EXPECT_THAT(spline.net[1 * 4 + 2], IsNear(Point3D(1, 2, std::sin(5.0)), 0.0));
  Guarded<double> weights(12);
  int count = 0;
  ASSERT_EQ(get_surface_weights(surface, weights.data(), 12, &count), 0);
  EXPECT_EQ(std::vector<double>(weights.data(), weights.data() + 12), weights_);
  EXPECT_TRUE(weights.isIntact());
  Guarded<double> small(11);
  count = 0;
  EXPECT_EQ(get_surface_weights(surface, small.data(), 11, &count), -2);
  EXPECT_EQ(count, 12);
  EXPECT_TRUE(small.isUntouched());
  EXPECT_EQ(get_surface_weights(unevenSpline(), small.data(), 11, &count), -6);
  EXPECT_EQ(get_surface_weights(kNoHandle, small.data(), 11, &count), -3);
}

TEST_F(SurfaceNurbs, RefusesWithTheTextsOfItsCurveTwin) {
  const auto broken = [](std::vector<double>& values, double value) {
    return [&values, value, keep = values[1]](auto call) {
      values[1] = value;
      const int code = call();
      values[1] = keep;
      return code;
    };
  };
  const auto call = [this] { return make(); };
  expectRefusals({
      {"Invalid input parameters for NURBS surface", -1,
       [&] {
         return create_surface_nurbs(points_.data(), 3, 4, nullptr, u_.data(), 6, v_.data(), 6, 2,
                                     1);
       }},
      {"Invalid input parameters for NURBS surface", -1, [&] { return make(1); }},
      {"Invalid input parameters for NURBS surface", -1, [&] { return make(kMany, kMany); }},
      {"Invalid input parameters for NURBS surface", -1, [&] { return make(3, 4, 0); }},
      {"Invalid knot vector size for NURBS surface", -1, [&] { return make(3, 4, 1); }},
      {"Invalid knot vector size for NURBS surface", -1, [&] { return make(3, 4, kMany); }},
      {"Knot vector must be non-decreasing", -1, [&] { return broken(u_, -1)(call); }},
      {"NURBS weights must be positive", -1, [&] { return broken(weights_, 0)(call); }},
      {"NURBS weights must be positive", -1, [&] { return broken(weights_, kNaN)(call); }},
      {"create_surface_nurbs: numbers must be finite", -1,
       [&] { return broken(weights_, kInfinity)(call); }},
      {"create_surface_nurbs: numbers must be finite", -1,
       [&] { return broken(points_, kNaN)(call); }},
      {"create_surface_nurbs: numbers must be finite", -1, [&] { return broken(v_, kNaN)(call); }},
      {"NURBS surface creation failed: Degree must be less than control point count", -4,
       [&] {
         return create_surface_nurbs(points_.data(), 2, 4, weights_.data(), u_.data(), 5, v_.data(),
                                     6, 2, 1);
       }},
  });
}

TEST_F(SurfaceNurbs, BoxesCopiesAndClosestParametersOfSurfaces) {
  double lower[3], upper[3], u = -1, v = -1;
  const int sphere = create_surface_sphere(1, 2, 3, 2);
  ASSERT_EQ(get_surface_bounding_box(sphere, lower, upper), 0);
  EXPECT_THAT(toPoint(lower), IsNear(Point3D(-1, 0, 1), 1e-9));
  EXPECT_THAT(toPoint(upper), IsNear(Point3D(3, 4, 5), 1e-9));
  ASSERT_EQ(get_surface_closest_parameter(sphere, 1, 12, 3, &u, &v), 0);
  EXPECT_THAT(pointOf(sphere, u, v), IsNear(Point3D(1, 4, 3), 1e-6));
  const int copy = copy_surface(unevenSpline());
  ASSERT_EQ(modify_surface_control_point(copy - 1, 0, 0, 9, 9, 9), 0);
  EXPECT_THAT(pointOf(copy, 0, 0), IsNear(Point3D(0, 0, 0), 1e-12));
  EXPECT_EQ(copy_surface(kNoHandle), -3);
  EXPECT_EQ(get_surface_bounding_box(kNoHandle, lower, upper), -3);
  EXPECT_EQ(get_surface_bounding_box(sphere, nullptr, upper), -1);
  EXPECT_EQ(get_surface_closest_parameter(sphere, kNaN, 0, 0, &u, &v), -1);
}

}  // namespace
}  // namespace morvel_test
