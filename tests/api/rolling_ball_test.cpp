#include "tests/api/surface_interface.h"

// Blends by handle: what is stored, refused, and written.

namespace morvel_test {
namespace {

constexpr double kGround[] = {-4, -4, 0}, kWall[] = {0, -3, -2};
constexpr double kX[] = {8, 0, 0}, kY[] = {0, 8, 0}, kAlong[] = {0, 6, 0}, kUp[] = {0, 0, 5};

Point3D curvePoint(int curve, double t) {
  double p[3] = {NAN, NAN, NAN};
  evaluate_curve_at_parameter(curve, t, p);
  return toPoint(p);
}

class RollingBall : public SurfaceInterface {
 protected:
  int ground = create_surface_plane(kGround, kX, kY);
  int wall = create_surface_plane(kWall, kAlong, kUp);

  int blend(double radius, int offsets = 20, int cells = 20, int first = 0, int second = 0) {
    return create_rolling_ball_blend(first ? first : ground, second ? second : wall, radius,
                                     offsets, cells, 50, 20, 1, 1, nullptr, nullptr, nullptr);
  }
};

TEST_F(RollingBall, IntermediateSurfacesAreStoredWhereTheyAreAskedFor) {
  const int alone = blend(0.5);
  EXPECT_EQ(get_surfaces_count(), 3);
  EXPECT_NEAR(std::hypot(pointOf(alone, 0.3, 0.4).x() - 0.5, pointOf(alone, 0.3, 0.4).z() - 0.5),
              0.5, 5e-4);
  int first = -1, second = -1, spine = -1;
  const int whole =
      create_rolling_ball_blend(ground, wall, 0.5, 20, 20, 50, 20, 0, 1, &first, &second, &spine);
  ASSERT_GT(whole, 0) << lastError();
  EXPECT_EQ(get_surfaces_count(), 6);
  EXPECT_NEAR(pointOf(first, 0.2, 0.9).z(), 0.5, 1e-9);
  EXPECT_NEAR(pointOf(second, 0.2, 0.9).x(), 0.5, 1e-9);
  EXPECT_EQ(get_curve_count(), 1);
  const int other = create_rolling_ball_blend_manual_directions(ground, wall, 0.5, -0.5, 20, 20, 50,
                                                                20, 1, 1, &first, &second, &spine);
  ASSERT_GT(other, 0) << lastError();
  EXPECT_LT(pointOf(other, 0.5, 0.5).x(), 0.0);
  EXPECT_EQ(first + second + spine, 0);
}

TEST_F(RollingBall, ChecksComeInTheirOrder) {
  const double t[] = {0, 1}, r[] = {0.2, 0.4}, far[] = {0, 2}, none[] = {0.2, 0};
  const int high = [] {
    const double corner[] = {-4, -4, 9};
    return create_surface_plane(corner, kX, kY);
  }();
  const auto offset = [&](const double* at, const double* radii, int count, int kind, int direction,
                          int resolution, int surface) {
    return create_variable_offset_surface(surface, at, radii, count, kind, direction, resolution);
  };
  expectRefusals({
      {"create_rolling_ball_blend: Invalid radius (must be > 0)", -1,
       [&] { return blend(0.0, 2, 4, 1, 1); }},
      {"create_rolling_ball_blend: Invalid radius (must be > 0)", -1, [&] { return blend(NAN); }},
      {"create_rolling_ball_blend: Invalid offset resolution (must be 3-200)", -1,
       [&] { return blend(1.0, 201, 4, 1, 1); }},
      {"create_rolling_ball_blend: Invalid offset resolution (must be 3-200)", -1,
       [&] { return blend(1.0, 2, 20); }},
      {"create_rolling_ball_blend: Invalid intersection resolution (must be 5-100)", -1,
       [&] { return blend(1.0, 3, 101, 1, 1); }},
      {"create_rolling_ball_blend: Invalid intersection resolution (must be 5-100)", -1,
       [&] { return blend(1.0, 200, 4); }},
      {"create_rolling_ball_blend: Surface 1 handle not found", -3,
       [&] { return blend(1.0, 20, 20, kNoHandle, kNoHandle); }},
      {"create_rolling_ball_blend: Surface 2 handle not found", -3,
       [&] { return blend(1.0, 20, 20, ground, kNoHandle); }},
      {"create_rolling_ball_blend: Module 2 failed: Could not compute spine curve | Errors: "
       "Surface intersection failed, The offset surfaces do not meet",
       -4, [&] { return blend(1.0, 20, 20, ground, high); }},
      {"create_rolling_ball_blend_manual_directions: Invalid offset distances (must be non-zero)",
       -1,
       [&] {
         return create_rolling_ball_blend_manual_directions(ground, wall, 0.0, 1.0, 2, 2, 2, 2, 1,
                                                            1, nullptr, nullptr, nullptr);
       }},
      {"create_variable_offset_surface: Need at least 2 control points", -1,
       [&] { return offset(nullptr, r, 1, 7, 7, 7, ground); }},
      {"create_variable_offset_surface: Null input arrays", -1,
       [&] { return offset(nullptr, r, 2, 7, 7, 7, ground); }},
      {"create_variable_offset_surface: Invalid interpolation type", -1,
       [&] { return offset(t, r, 2, 2, 7, 2, ground); }},
      {"create_variable_offset_surface: Invalid parameter direction", -1,
       [&] { return offset(t, r, 2, 1, 2, 2, ground); }},
      {"create_variable_offset_surface: Invalid resolution", -1,
       [&] { return offset(t, r, 2, 1, 1, 2, kNoHandle); }},
      {"create_variable_offset_surface: Surface not found", -3,
       [&] { return offset(far, r, 2, 1, 1, 20, kNoHandle); }},
      {"create_variable_offset_surface: Parameter out of range", -1,
       [&] { return offset(far, none, 2, 1, 1, 20, ground); }},
      {"create_variable_offset_surface: Invalid radius value", -1,
       [&] { return offset(t, none, 2, 1, 1, 20, ground); }},
  });
}

TEST_F(RollingBall, ChosenSidesContactsAndLawReachTheCaller) {
  int sides[2], contactCount = 0, spine = 0;
  double contacts[9 * 7];
  // The wall ends on the ground: the ball fits above it only, on either side.
  const double corner[] = {0, -3, 0};
  const int upright = create_surface_plane(corner, kAlong, kUp);
  const int made = create_rolling_ball_blend_with_method(ground, upright, 0.5, 4, 0.01, 20, 20, 50,
                                                         20, 0, 1, sides, nullptr, nullptr, &spine,
                                                         contacts, 7, &contactCount, nullptr, 0);
  ASSERT_GT(made, 0) << lastError();
  EXPECT_EQ(sides[0], 1);
  ASSERT_EQ(contactCount, 7);
  for (int k = 0; k < contactCount; ++k) {
    EXPECT_NEAR(toPoint(contacts + 9 * k).z(), 0.5, 1e-9);
    EXPECT_NEAR(toPoint(contacts + 9 * k + 3).z(), 0.0, 1e-9);
    EXPECT_NEAR(toPoint(contacts + 9 * k + 6).x(), 0.0, 1e-9);
  }
  const double t[] = {0, 1}, r[] = {0.2, 0.4};
  const int law = create_variable_rolling_ball_blend(ground, wall, t, r, 2, 0, 0, 20, 50, 20, sides,
                                                     &spine, nullptr, 0);
  ASSERT_GT(law, 0) << lastError();
  for (const double u : {0.0, 0.25, 1.0})
    EXPECT_NEAR(pointOf(law, u, 0).distanceTo(curvePoint(spine, u)), 0.2 + 0.2 * u, 2e-4);
}

TEST_F(RollingBall, StagesAloneAgreeWithClosedForms) {
  const int ball = create_surface_sphere(0, 0, 0.5, 1.0);
  int points = 0, branches = 0, touching = 0, coincide = 0;
  const auto count = [&](int a, int b) {
    return compute_surface_intersection(a, b, 1e-5, 40, nullptr, nullptr, nullptr, 0, nullptr,
                                        nullptr, nullptr, 0, nullptr, 0, &points, &branches,
                                        &touching, &coincide);
  };
  ASSERT_EQ(count(ground, ball), 0) << lastError();
  ASSERT_EQ(branches, 1);
  std::vector<double> xyz(3 * points), uv1(2 * points), uv2(2 * points);
  int end = 0, closed = 0, kinds[2] = {0, 0};
  ASSERT_EQ(compute_surface_intersection(ground, ball, 1e-5, 40, xyz.data(), uv1.data(), uv2.data(),
                                         points, &end, &closed, kinds, 1, nullptr, 0, &points,
                                         nullptr, nullptr, nullptr),
            0);
  EXPECT_EQ(end, points);
  EXPECT_EQ(closed, 1);
  EXPECT_EQ(kinds[1], 4);
  for (int k = 0; k < points; ++k) {
    EXPECT_NEAR(std::hypot(xyz[3 * k], xyz[3 * k + 1]), std::sqrt(0.75), 1e-8);
    EXPECT_THAT(pointOf(ball, uv2[2 * k], uv2[2 * k + 1]), IsNear(toPoint(&xyz[3 * k]), 1e-8));
  }
  EXPECT_EQ(compute_surface_intersection(ground, ball, 1e-5, 40, xyz.data(), nullptr, nullptr, 1,
                                         nullptr, nullptr, nullptr, 0, nullptr, 0, nullptr, nullptr,
                                         nullptr, nullptr),
            -2);
  ASSERT_EQ(count(ground, ground), 0);
  EXPECT_EQ(coincide, 1);

  const double centres[] = {0.5, 0.3, 0.5, 0.5, 0.9, 0.5};
  double contact[12], residuals[4];
  int converged[4];
  EXPECT_EQ(compute_contact_points(ground, wall, centres, 2, 0.5, contact, nullptr, nullptr,
                                   residuals, converged),
            2);
  EXPECT_THAT(toPoint(contact + 9), IsNear(Point3D(0, 0.9, 0.5), 1e-6));
  EXPECT_NEAR(residuals[3], 0.0, 1e-6);

  const double plane[] = {0, 1, 0, 0, 2, 0}, guess[] = {0.5, 0.5, 0.5, 0.5};
  double centre[3];
  ASSERT_EQ(solve_variable_spine_contact(ground, wall, 0.7, 0.7, plane, guess, centre, nullptr,
                                         nullptr, nullptr, nullptr),
            0)
      << lastError();
  EXPECT_THAT(toPoint(centre), IsNear(Point3D(0.7, 1, 0.7), 1e-7));

  const double along[] = {0, 0, 0, 0, 1, 0, 0, 2.5, 0}, left[] = {-1, 0, 0, -1, 1, 0, -1, 2.5, 0},
               below[] = {0, 0, -1, 0, 1, -1, 0, 2.5, -1}, radii[] = {1, 1.2, 1.5};
  const int canal = create_canal_surface(along, left, below, 3, 1.0, 10, 20);
  ASSERT_GT(canal, 0) << lastError();
  EXPECT_NEAR(std::hypot(pointOf(canal, 0.4, 0.3).x(), pointOf(canal, 0.4, 0.3).z()), 1.0, 1e-5);
  const int cone = create_variable_canal_surface(along, left, below, radii, 3, 10, 20);
  ASSERT_GT(cone, 0) << lastError();
  EXPECT_NEAR(pointOf(cone, 1, 0).distanceTo(Point3D(0, 2.5, 0)), 1.5, 1e-6);
  const double t[] = {0, 1}, rising[] = {0.2, 0.6};
  const int offset = create_variable_offset_surface(ground, t, rising, 2, 0, 0, 20);
  ASSERT_GT(offset, 0) << lastError();
  EXPECT_NEAR(pointOf(offset, 0.25, 0.7).z(), 0.3, 1e-9);
}

}  // namespace
}  // namespace morvel_test
