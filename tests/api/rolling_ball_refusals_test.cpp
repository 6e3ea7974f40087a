#include <array>

#include "tests/api/surface_interface.h"

// Blends that cannot be: the text names the stage and the cause, and nothing is stored.

namespace morvel_test {
namespace {

using testing::HasSubstr;

int rectangle(const std::array<double, 3>& corner, const std::array<double, 3>& u,
              const std::array<double, 3>& v) {
  return create_surface_plane(corner.data(), u.data(), v.data());
}

class RollingBallRefusals : public SurfaceInterface {
 protected:
  int ground = rectangle({-4, -4, 0}, {8, 0, 0}, {0, 8, 0});
  int wall = rectangle({0, -3, 0}, {0, 6, 0}, {0, 0, 5});  // on the ground, normal to +x

  int withMethod(int first, int second, double radius, int method) {
    return create_rolling_ball_blend_with_method(first, second, radius, method, 0.01, 20, 20, 50,
                                                 20, 0, 1, sides, nullptr, nullptr, nullptr,
                                                 nullptr, 0, nullptr, warnings, sizeof warnings);
  }

  /// Whatever it was, the registries are as before.
  template <class Call>
  void expectFailure(const Call& call, int code, const std::string& text) {
    const int surfaces = get_surfaces_count(), curves = get_curve_count();
    EXPECT_EQ(call(), code) << text;
    EXPECT_THAT(lastError(), HasSubstr(text));
    EXPECT_EQ(get_surfaces_count(), surfaces) << text;
    EXPECT_EQ(get_curve_count(), curves) << text;
  }

  int sides[2] = {0, 0};
  char warnings[500] = "";
};

TEST_F(RollingBallRefusals, SurfacesThatAllowNoBall) {
  const double flat[48] = {};  // a point
  const struct {
    const char* text;
    int first, second;
    double radius;
  } cases[] = {
      {"Module 2 failed: Could not compute spine curve | Errors: Surface intersection failed, "
       "The offset surfaces do not meet",
       ground, rectangle({-4, -4, 9}, {8, 0, 0}, {0, 8, 0}), 1.0},
      {"The offset surfaces coincide", ground, ground, 1.0},
      {"The offset surfaces coincide", ground, rectangle({-1, -1, 0}, {3, 0, 0}, {0, 3, 0}), 0.2},
      {"Module 1 failed: Could not create offset surfaces | Errors: Offset surface generation "
       "failed, Surface 2 has no normals",
       ground, create_surface_bezier(flat, 4, 4), 0.5},
      {"The radius exceeds the radius of curvature of surface 1",
       create_surface_sphere(0, 0, 0, 1.0), ground, 1.5},
      {"do not meet", ground, wall, 50.0},
      {"touch without crossing", create_surface_sphere(0, 0, 2.5, 2.0), ground, 0.25},
  };
  for (const auto& c : cases) {
    // On the inside of a ball as on its outside: one side at least is refused for this reason.
    int refused = 0;
    for (int method = 0; method < 4; ++method) {
      const int surfaces = get_surfaces_count();
      const int made = withMethod(c.first, c.second, c.radius, method);
      if (made > 0) continue;
      EXPECT_EQ(made, -4) << c.text;
      EXPECT_EQ(get_surfaces_count(), surfaces) << c.text;
      refused += lastError().find(c.text) != std::string::npos;
    }
    EXPECT_GT(refused, 0) << c.text << ", last: " << lastError();
  }
}

TEST_F(RollingBallRefusals, ArgumentsOfEveryFunction) {
  const double t[] = {0, 1}, r[] = {0.2, 0.4}, falling[] = {1, 0}, none[] = {0.2, -0.1};
  const double points[] = {0, 0, 0, 0, 1, 0}, left[] = {-1, 0, 0, -1, 1, 0};
  const double below[] = {0, 0, -1, 0, 1, -1}, same[6] = {}, wild[] = {0, 0, 0, 0, NAN, 0};
  const double huge[] = {-1e308, 0, 0, 1e308, 1e308, 0};
  const double plane[] = {0, 1, 0, 0, 1, 0}, noPlane[] = {0, 1, 0, 0, 0, 0};
  const double guess[] = {0.5, 0.5, 0.5, 0.5};
  const int gone = rectangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  delete_surface(gone);
  const double flat[48] = {};
  const int degenerate = create_surface_bezier(flat, 4, 4);
  const double inf = std::numeric_limits<double>::infinity();
  const auto manual = [&](double a, double b, int offsets, int cells) {
    return create_rolling_ball_blend_manual_directions(ground, wall, a, b, offsets, cells, 50, 20,
                                                       1, 1, nullptr, nullptr, nullptr);
  };
  const auto law = [&](const double* at, const double* radii, int count, int kind, int method) {
    return create_variable_rolling_ball_blend(ground, wall, at, radii, count, kind, method, 20, 50,
                                              20, nullptr, nullptr, nullptr, 0);
  };
  const auto contacts = [&](const double* centres, int count, double radius) {
    return compute_contact_points(ground, wall, centres, count, radius, nullptr, nullptr, nullptr,
                                  nullptr, nullptr);
  };
  const auto meet = [&](double tolerance, int cells, int room) {
    return compute_surface_intersection(ground, wall, tolerance, cells, nullptr, nullptr, nullptr,
                                        room, nullptr, nullptr, nullptr, 0, nullptr, 0, nullptr,
                                        nullptr, nullptr, nullptr);
  };
  const auto spine = [&](double a, double b, const double* on, const double* from) {
    return solve_variable_spine_contact(ground, wall, a, b, on, from, nullptr, nullptr, nullptr,
                                        nullptr, nullptr);
  };
  const auto canal = [&](const double* a, const double* b, int count, double radius, int along) {
    return create_canal_surface(points, a, b, count, radius, along, 20);
  };
  const struct {
    const char* text;
    int code;
    std::function<int()> call;
  } cases[] = {
      {"Invalid radius (must be > 0)", -1, [&] { return withMethod(ground, wall, -1.0, 9); }},
      {"Invalid radius (must be > 0)", -1, [&] { return withMethod(ground, wall, inf, 9); }},
      {"Invalid method (must be 0-4)", -1, [&] { return withMethod(ground, wall, 1.0, 5); }},
      {"Surface 1 handle not found", -3, [&] { return withMethod(gone, wall, 1.0, 0); }},
      {"Surface 2 handle not found", -3, [&] { return withMethod(ground, gone, 1.0, 0); }},
      {"Invalid offset distances (must be non-zero)", -1, [&] { return manual(1, NAN, 2, 2); }},
      {"Invalid offset resolution (must be 3-200)", -1, [&] { return manual(1, 1, 2, 2); }},
      {"Invalid intersection resolution (must be 5-100)", -1, [&] { return manual(1, 1, 3, 4); }},
      {"Offset distances must be equal in size", -1, [&] { return manual(1, 2, 20, 20); }},
      {"Need at least 2 control points", -1, [&] { return law(t, r, 1, 0, 0); }},
      {"Null input arrays", -1, [&] { return law(t, nullptr, 2, 7, 7); }},
      {"Invalid interpolation type", -1, [&] { return law(t, r, 2, 2, 7); }},
      {"Invalid method (must be 0-4)", -1, [&] { return law(t, r, 2, 1, -1); }},
      {"Parameter out of range", -1, [&] { return law(falling, none, 2, 1, 0); }},
      {"Invalid radius value", -1, [&] { return law(t, none, 2, 1, 0); }},
      {"Invalid radius (must be > 0)", -1, [&] { return contacts(points, 2, 0.0); }},
      {"compute_contact_points: ", -1, [&] { return contacts(nullptr, 2, 1.0); }},
      {"compute_contact_points: ", -1, [&] { return contacts(wild, 2, 1.0); }},
      {"Invalid tolerance (must be > 0)", -1, [&] { return meet(0.0, 2, -1); }},
      {"Invalid intersection resolution (must be 5-100)", -1, [&] { return meet(1, 101, -1); }},
      {"Invalid capacity", -1, [&] { return meet(1, 100, -1); }},
      {"Null input arrays", -1, [&] { return spine(1, 1, nullptr, guess); }},
      {"Offset distances must be non-zero and equal in size", -1,
       [&] { return spine(1, 2, plane, guess); }},
      {"The plane has no normal", -1, [&] { return spine(1, 1, noPlane, guess); }},
      {"No ball touches both surfaces on the plane", -4, [&] { return spine(7, 7, plane, guess); }},
      {"Need at least 2 centres", -1, [&] { return canal(left, below, 1, 1.0, 10); }},
      {"Null input arrays", -1, [&] { return canal(nullptr, below, 2, 1.0, 10); }},
      {"Invalid sample counts", -1, [&] { return canal(left, below, 2, 1.0, 1001); }},
      {"create_canal_surface: ", -1, [&] { return canal(left, wild, 2, 1.0, 10); }},
      {"neighbours coincide", -4,
       [&] { return create_canal_surface(same, left, below, 2, 1.0, 10, 20); }},
      {"The contacts leave no arc", -4, [&] { return canal(left, left, 2, 1.0, 10); }},
      {"create_canal_surface: ", -4,
       [&] { return create_canal_surface(huge, left, below, 2, 1.0, 10, 20); }},
      {"B-spline creation failed", -4,
       [&] { return create_variable_offset_surface(degenerate, t, r, 2, 0, 0, 20); }},
  };
  for (const auto& c : cases)
    expectFailure(c.call, c.code, c.text);
}

TEST_F(RollingBallRefusals, TheAutomaticSideNeedsNoNormals) {
  // The wall stands on the ground: whichever way the normals point, the ball fits above only.
  for (const bool isGroundTurned : {false, true})
    for (const bool isWallTurned : {false, true}) {
      const int floor = isGroundTurned ? rectangle({-4, -4, 0}, {0, 8, 0}, {8, 0, 0}) : ground;
      const int upright = isWallTurned ? rectangle({0, -3, 0}, {0, 0, 5}, {0, 6, 0}) : wall;
      const int made = withMethod(floor, upright, 0.5, 4);
      ASSERT_GT(made, 0) << lastError();
      EXPECT_EQ(sides[0], isGroundTurned ? -1 : 1);
      const Point3D middle = pointOf(made, 0.5, 0.5);
      const double x = sides[1] * (isWallTurned ? -1 : 1) * 0.5;
      EXPECT_NEAR(std::hypot(middle.x() - x, middle.z() - 0.5), 0.5, 5e-4);
      EXPECT_STREQ(warnings, "");
    }
  const int high = rectangle({-4, -4, 9}, {8, 0, 0}, {0, 8, 0});
  expectFailure([&] { return withMethod(ground, high, 0.5, 4); }, -4,
                "create_rolling_ball_blend_with_method: No sides of the surfaces give a blend | "
                "Errors: along both normals: Module 2 failed");
  EXPECT_THAT(lastError(), HasSubstr("against the first normal, along the second: Module 2"));
}

TEST_F(RollingBallRefusals, SpinesThatEndInATangencyWarn) {
  // Offsets of equal size make the cylinders equal: they cross where they are tangent.
  const int upright = create_surface_cylinder(0, 0, -3, 0.8, 0, 0, 1, 6);
  const int lying = create_surface_cylinder(-3, 0, 0, 0.4, 1, 0, 0, 6);
  int warned = 0;
  for (int method = 0; method < 4; ++method)
    if (withMethod(upright, lying, 0.2, method) > 0 && warnings[0] != 0) {
      ++warned;
      EXPECT_STREQ(warnings, "The spine ends where the offset surfaces are tangent");
    }
  EXPECT_GT(warned, 0);
  // The automatic choice takes sides whose spine is complete.
  ASSERT_GT(withMethod(upright, lying, 0.2, 4), 0);
  EXPECT_STREQ(warnings, "");
}

}  // namespace
}  // namespace morvel_test
