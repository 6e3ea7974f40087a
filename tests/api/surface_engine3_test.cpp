#include <gmock/gmock.h>

#include "tests/api/surface_interface.h"

namespace morvel_test {
namespace {

using testing::HasSubstr;

/// side x side points of a hill over the unit square, row by row.
std::vector<double> hillGrid(int side) {
  std::vector<double> points;
  for (int k = 0; k < side * side; ++k) {
    const double x = double(k % side) / (side - 1), y = double(k / side) / (side - 1);
    points.insert(points.end(), {x, y, 0.2 * std::sin(3 * x) * y});
  }
  return points;
}

class SurfaceEngine3Exports : public SurfaceInterface {
 protected:
  ~SurfaceEngine3Exports() override { cleanup_surface_engine3(); }

  const std::vector<double> points_ = hillGrid(20);
  int create(int method = 5) { return create_surface_engine3(points_.data(), 400, method); }
  int withConstraints(const double* uv, const double* weights, const double* interpolation,
                      const double* places, int count, double regularization = 0.0) {
    return create_surface_engine3_with_constraints(points_.data(), uv, weights, 400, interpolation,
                                                   places, count, 3, 3, 8, 9, 5, regularization);
  }
};

TEST_F(SurfaceEngine3Exports, RefuseWithTheirTexts) {
  const double bad[] = {NAN, 1.0};
  const double twice[] = {0, 0, 0, 0, 0, 1};
  const double samePlace[] = {0.5, 0.5, 0.5, 0.5};
  const double knots[] = {0, 0, 0, 0, 0.8, 0.2, 1, 1, 1, 1};
  const int engine = create();
  expectRefusals({
      {"Invalid points data", -1, [&] { return create_surface_engine3(nullptr, 400, 5); }},
      {"Invalid points data", -1, [&] { return create_surface_engine3(points_.data(), 0, 5); }},
      {"Invalid points data", -1, [&] { return create_surface_engine3(points_.data(), kMany, 5); }},
      {"Insufficient data points for surface fitting (need at least 4)", -1,
       [&] { return create_surface_engine3(points_.data(), 3, 5); }},
      {"Invalid options: Invalid options: Check degrees, control points, and tolerance values", -1,
       [&] { return create_surface_engine3_with_degrees(points_.data(), 400, 11, 3, 5); }},
      {"Invalid options: Invalid options: Check degrees, control points, and tolerance values", -1,
       [&] { return withConstraints(nullptr, nullptr, nullptr, nullptr, 0, bad[0]); }},
      {"Failed to initialize G1 constraint processor: Invalid U direction knot vector", -1,
       [&] {
         return create_surface_engine3_with_knots(points_.data(), 400, 3, 3, knots, 10, nullptr, 0,
                                                  5);
       }},
      {"Invalid constraints (Hard constraints at one place contradict each other)", -1,
       [&] { return withConstraints(nullptr, nullptr, twice, samePlace, 2); }},
      {"evaluate_surface_engine3: no engine has the handle 999", -1,
       [&] {
         double xyz[3];
         return evaluate_surface_engine3(999, 0.5, 0.5, xyz);
       }},
      {"Invalid G1 constraint: needs u and v in [0, 1], a weight above 0 and a tangent of non-zero "
       "length",
       -1,
       [&] {
         return surface_engine3_add_g1_tangent_constraint(engine, 0.5, 0.5, nullptr, nullptr, 1.0);
       }},
      {"Invalid surface handle", -1,
       [&] {
         int index[1];
         double weight[1];
         return generate_constraint_mask(kNoHandle, 0, index, 1, weight);
       }},
  });
}

TEST_F(SurfaceEngine3Exports, CountIdsFromOneAndFallBackOnTheMethod) {
  EXPECT_EQ(cleanup_surface_engine3(), 0);
  const int first = create(9);
  EXPECT_THAT(streams_.out(), HasSubstr("⚠️ WARNING: Invalid parameterization method 9, using "
                                        "LEAST_SQUARES_PLANE\n"));
  EXPECT_EQ(create(), first + 1);
  EXPECT_EQ(destroy_surface_engine3(first), 0);
  EXPECT_EQ(destroy_surface_engine3(first), -1);
  EXPECT_EQ(create(), first + 2);
  EXPECT_EQ(cleanup_surface_engine3(), 2);
}

TEST_F(SurfaceEngine3Exports, GiveWhatWasFitted) {
  const double pins[] = {0.25, 0.5, 0.3, 0.75, 0.5, -0.1};
  const int engine = withConstraints(nullptr, nullptr, pins, nullptr, 2);
  ASSERT_GT(engine, 0) << lastError();
  int a = 0, b = 0, count = 0;
  EXPECT_EQ(get_surface_engine3_degrees(engine, &a, &b), 0);
  EXPECT_EQ(a * 10 + b, 33);
  EXPECT_EQ(get_surface_engine3_control_point_counts(engine, &a, &b), 0);
  EXPECT_EQ(a * 10 + b, 89);
  std::vector<double> knots(13);
  EXPECT_EQ(get_surface_engine3_v_knots(engine, knots.data(), 12, &count), -5);
  EXPECT_EQ(count, 13);
  EXPECT_EQ(get_surface_engine3_v_knots(engine, knots.data(), 13, &count), 0);
  EXPECT_EQ(get_surface_engine3_point_count(engine), 402);
  EXPECT_EQ(is_surface_engine3_valid(engine), 1);
  char text[40];
  EXPECT_GT(get_surface_engine3_validation_message(engine, text, 40), 0);
  EXPECT_STREQ(text, "Options validated successfully");
  // The projection finds where the pins are.
  double uv[4], xyz[3];
  ASSERT_EQ(surface_engine3_project_points(engine, pins, 2, uv), 0);
  const int surface = create_surface_from_engine3(engine);
  ASSERT_GT(surface, 0);
  for (const int k : {0, 1}) {
    ASSERT_EQ(evaluate_surface_engine3(engine, uv[2 * k], uv[2 * k + 1], xyz), 0);
    EXPECT_THAT(toPoint(xyz), IsNear(toPoint(pins + 3 * k), 1e-9));
    EXPECT_THAT(pointOf(surface, uv[2 * k], uv[2 * k + 1]), IsNear(toPoint(xyz), 1e-12));
  }
  EXPECT_EQ(get_surface_engine3_constraint_satisfaction(engine), 1.0);
  EXPECT_GT(get_surface_engine3_max_deviation(engine), 0.05);
  EXPECT_GT(get_surface_engine3_condition_number(engine), 1.0);
  EXPECT_EQ(get_surface_engine3_rms_deviation(engine + 1), -1.0);
}

TEST_F(SurfaceEngine3Exports, RefitUnderG1Constraints) {
  const int engine = create_surface_engine3_with_control_counts(points_.data(), 400, 3, 3, 8, 8, 5);
  const double up[] = {0, 0, 1}, steep[] = {1, 0, 2};
  EXPECT_EQ(surface_engine3_add_g1_normal_constraint(engine, 0.5, 0.5, up, 1.0), 0);
  EXPECT_EQ(surface_engine3_get_g1_constraint_count(engine), 1);
  EXPECT_EQ(surface_engine3_validate_g1_constraints(engine), 1);
  EXPECT_EQ(surface_engine3_apply_g1_constraints(engine), 0);
  double before[3], after[3];
  EXPECT_EQ(evaluate_surface_engine3_normal(engine, 0.5, 0.5, before), 0);
  EXPECT_NEAR(std::abs(before[2]), 1.0, 1e-9);
  EXPECT_EQ(surface_engine3_add_g1_tangent_constraint(engine, 0.5, 0.5, steep, nullptr, 1.0), 0);
  EXPECT_EQ(surface_engine3_validate_g1_constraints(engine), 0);  // it contradicts the normal
  EXPECT_EQ(surface_engine3_apply_g1_constraints(engine), -1);
  EXPECT_THAT(lastError(), HasSubstr("Invalid constraints"));
  EXPECT_EQ(is_surface_engine3_valid(engine), 0);
  EXPECT_EQ(evaluate_surface_engine3_normal(engine, 0.5, 0.5, after), 0);  // the last good surface
  EXPECT_EQ(toPoint(after).eigen(), toPoint(before).eigen());
}

TEST_F(SurfaceEngine3Exports, ContinueANeighbourAcrossItsSide) {
  std::vector<double> moved = points_;
  for (std::size_t k = 0; k < moved.size(); k += 3)
    moved[k] += 1.0;
  const int neighbour = create_surface_from_engine3(create(0));
  const int engine = create_surface_engine3_with_control_counts(moved.data(), 400, 3, 3, 12, 12, 0);
  EXPECT_EQ(surface_engine3_extract_boundary_g1_constraints(engine, 0, neighbour, 1, 5, 1), 5);
  ASSERT_EQ(surface_engine3_apply_g1_constraints(engine), 0) << lastError();
  const int joined = create_surface_from_engine3(engine);
  for (const double v : {0.0, 0.25, 0.75, 1.0}) {
    EXPECT_THAT(pointOf(joined, 0, v), IsNear(pointOf(neighbour, 1, v), 1e-9));
    const Point3D there = toPoint(get_surface_normal_at_parameter(neighbour, 1, v));
    EXPECT_THAT(toPoint(get_surface_normal_at_parameter(joined, 0, v)), IsNear(there, 1e-9));
  }
}

TEST_F(SurfaceEngine3Exports, AdjustRegisteredSurfaces) {
  const int neighbour = wavyClamped(10, 10, 3, 3);
  const int edited = wavyClamped(10, 10, 3, 3);
  double errors[3];
  EXPECT_EQ(apply_complete_surface_constraints(edited, 0, neighbour, 1, 12, 1, 3, errors), 12)
      << lastError();
  EXPECT_LT(errors[0], 1e-6);
  EXPECT_LT(errors[1], 1e-6);
  EXPECT_THAT(pointOf(edited, 0, 0.37), IsNear(pointOf(neighbour, 1, 0.37), 1e-5));
  for (const char* line :
       {"✅ STEP 1: Extracted 12 constraints\n", "✅ MASK: Generated 100 adjustable points\n",
        "🎭 MASK: Generating constraint mask for surface type 3\n",
        "✅ STEP 2: Applied constraints successfully\n",
        "✅ STEP 3: Validation completed - 100% constraints satisfied\n"})
    EXPECT_THAT(streams_.out(), HasSubstr(line));
  const double constraint[] = {0.5, 0.5, 0.25, 0.5};
  const int other = sampleLoft();
  const auto apply = [&](int edit, int from, const double* array, int count, int level) {
    return apply_surface_g1g2_constraints(edit, from, array, count, level, nullptr, nullptr, 0,
                                          nullptr);
  };
  EXPECT_EQ(apply(edited, neighbour, constraint, 1, 2), 1);
  expectRefusals({
      {"Invalid constraint level (must be 1 or 2)", -1,
       [&] { return apply(edited, neighbour, constraint, 1, 3); }},
      {"Invalid edit surface handle", -1, [&] { return apply(0, neighbour, constraint, 1, 1); }},
      {"Invalid constraint surface handle", -1,
       [&] { return apply(edited, -4, constraint, 1, 1); }},
      {"Invalid constraints array", -1, [&] { return apply(edited, neighbour, nullptr, 1, 1); }},
      {"Invalid constraints array", -1, [&] { return apply(edited, neighbour, constraint, 0, 1); }},
      {"Edit surface not found in registry", -1,
       [&] { return apply(kNoHandle, neighbour, constraint, 1, 1); }},
      {"Constraint surface not found in registry", -1,
       [&] { return apply(edited, kNoHandle, constraint, 1, 1); }},
      {"Edit surface is not a B-spline surface", -1,
       [&] { return apply(other, neighbour, constraint, 1, 1); }},
  });
}

}  // namespace
}  // namespace morvel_test
