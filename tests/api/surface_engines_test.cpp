// The functions of the surface engines by id: codes, ids, ownership, streams.

#include <cmath>

#include "tests/api/surface_interface.h"

namespace {

using namespace morvel_test;
using testing::HasSubstr;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::vector<double> heights(int rows, int columns) {
  std::vector<double> xyz;
  for (int i = 0; i < rows; ++i)
    for (int j = 0; j < columns; ++j)
      xyz.insert(xyz.end(), {i + 0.2 * std::sin(j), double(j), std::sin(0.5 * i) * std::cos(j)});
  return xyz;
}

class SurfaceEngines : public SurfaceInterface {
 protected:
  SurfaceEngines() {
    cleanup_surface_engine1();
    cleanup_surface_engine2();
  }
  ~SurfaceEngines() override {
    cleanup_surface_engine1();
    cleanup_surface_engine2();
  }
  const CapturedStreams streams_;
};

TEST_F(SurfaceEngines, FittedSurfaceLivesInTheEngineUntilItIsRegistered) {
  const std::vector<double> xyz = heights(20, 20);
  const int engine = create_surface_engine1_with_expert_options(xyz.data(), 400, 3, 3, 0, 0, 2, 1,
                                                                0, 1e-6, 0, 0, 0, 1e-6, HUGE_VAL);
  EXPECT_EQ(engine, 40000);  // the surface counter's
  EXPECT_EQ(get_surfaces_count(), 0);
  EXPECT_EQ(register_surface_engine1_in_main_system(engine), -2);
  EXPECT_EQ(evaluate_surface_engine1(engine, 0, 0, std::vector<double>(3).data()), -2);
  EXPECT_EQ(is_surface_engine1_valid(engine), 0);
  EXPECT_EQ(initialize_surface_engine1(engine), 1);
  EXPECT_EQ(is_surface_engine1_valid(engine), 1);
  EXPECT_STREQ(get_surface_engine1_validation_message_simple(engine),
               "Initialization completed successfully");

  const auto* surface = static_cast<const trova::geometry::BSplineSurface*>(
      api_create_bspline_surface_from_engine(engine));
  ASSERT_NE(surface, nullptr);
  char method[64];
  EXPECT_GT(get_surface_engine1_method(engine, method, sizeof method), 0);
  EXPECT_STREQ(method, "Least Squares Plane Projection");  // though the options say universal
  double deviation, rms, condition, times[3], on[3], u[400];
  int count, nU, nV;
  EXPECT_EQ(get_surface_engine1_report(engine, &deviation, &rms, &condition, times), 0);
  EXPECT_GT(condition, 1.0);
  EXPECT_NE(condition, 1e6);
  EXPECT_LE(rms, deviation);
  EXPECT_EQ(evaluate_surface_engine1(engine, 0.3, 0.7, on), 0);
  EXPECT_THAT(toPoint(on), IsNear(surface->evaluate(0.3, 0.7), 0.0));
  EXPECT_EQ(get_surface_engine1_grid_dimensions(engine, &nU, &nV), 0);
  EXPECT_EQ(nU * nV, 25);  // floor(20 / 4)
  EXPECT_EQ(get_surface_engine1_u_parameters(engine, u, 399, &count), -5);
  EXPECT_EQ(get_surface_engine1_u_parameters(engine, u, 400, &count), 0);
  EXPECT_EQ(count, 400);
  EXPECT_EQ(print_surface_engine1_summary(engine), 0);
  EXPECT_THAT(streams_.out(), HasSubstr("Control grid: 5 x 5\n"));

  const int handle = register_surface_engine1_in_main_system(engine);
  EXPECT_EQ(handle, 40001);
  EXPECT_EQ(fit_surface_engine1(engine, 4), 1);  // the copy is its own
  EXPECT_EQ(destroy_surface_engine1(engine), 0);
  EXPECT_THAT(pointOf(handle, 0.3, 0.7), IsNear(toPoint(on), 0.0));
  EXPECT_EQ(get_surface_engine1_point_count(engine), -1);
}

TEST_F(SurfaceEngines, NewEngineReplacesAStaleOneOfItsNumber) {
  const std::vector<double> xyz = heights(5, 5);
  const int stale = create_surface_engine1(xyz.data(), 25);
  EXPECT_EQ(create_surface_engine1_with_degrees(xyz.data(), 20, 2, 1), stale + 1);
  cleanup_all_surfaces();
  EXPECT_EQ(create_surface_engine1(xyz.data(), 16), stale);
  EXPECT_EQ(get_surface_engine1_point_count(stale), 16);
  EXPECT_EQ(get_surface_engine1_degree_v(stale + 1), 1);
  EXPECT_EQ(cleanup_surface_engine1(), 2);
}

TEST_F(SurfaceEngines, GridEngineInterpolatesAndMeasures) {
  const std::vector<double> xyz = heights(9, 7);
  const int grid[] = {9, 7, 3, 2};
  const int first = create_surface_engine2(xyz.data(), 9, 7, 3, 3, 0);
  EXPECT_GE(first, 50000);
  EXPECT_EQ(destroy_surface_engine2(first), 0);
  const int engine = create_surface_engine2_with_grid(xyz.data(), 63, grid);
  EXPECT_EQ(engine, first + 1);  // numbers are not given twice
  EXPECT_EQ(create_surface_engine2_interpolated_surface(engine), 0);
  EXPECT_EQ(lastError(), "Engine not properly initialized");
  EXPECT_EQ(get_surface_engine2_max_deviation(engine), -2.0);
  EXPECT_EQ(register_surface_engine2_in_main_system(engine), -2);
  EXPECT_EQ(initialize_surface_engine2(engine), 1);
  EXPECT_NE(api_create_bspline_surface_from_engine2(engine), nullptr);
  EXPECT_EQ(surface_engine2_has_surface(engine), 1);
  EXPECT_LT(get_surface_engine2_max_deviation(engine), 1e-12);
  const int handle = register_surface_engine2_in_main_system(engine);
  EXPECT_EQ(cleanup_surface_engine2(), 1);
  double u[9], v[7], on[3];
  int count;
  EXPECT_EQ(get_surface_engine2_u_parameters(engine, u, 9, &count), -1);
  EXPECT_EQ(get_surface_engine2_max_deviation(engine), -1.0);
  const int again = create_surface_engine2_with_grid(xyz.data(), 63, grid);
  initialize_surface_engine2(again);
  EXPECT_EQ(get_surface_engine2_u_parameters(again, u, 9, &count), 0);
  EXPECT_EQ(get_surface_engine2_v_parameters(again, v, 7, &count), 0);
  const double at[] = {u[6], v[2]};
  EXPECT_EQ(evaluate_surface_exact_batch(handle, at, 1, 0, on), 0);
  EXPECT_THAT(toPoint(on), IsNear(toPoint(&xyz[3 * (6 * 7 + 2)]), 1e-12));
}

TEST_F(SurfaceEngines, BadArgumentsMakeNoEngine) {
  const std::vector<double> xyz = heights(8, 8);
  const double* p = xyz.data();
  const int grid[] = {8, 7, 3, 3};
  const int hugeGrid[] = {kMany, kMany, 3, 3};
  const struct {
    int result;
    int code;
  } calls[] = {
      {create_surface_engine1(nullptr, 64), -1},
      {create_surface_engine1(p, 3), -1},
      {create_surface_engine1(p, kMany), -1},
      {create_surface_engine1_with_degrees(p, 64, 0, 3), -1},
      {create_surface_engine1_with_advanced_options(p, 64, 3, -1, 1, 1), -1},
      {create_surface_engine1_with_control_points(p, 64, 3, 3, -4, 4), -1},
      {create_surface_engine1_with_fitting_mode(nullptr, 64, 3, 3, 0, 0, 1), -1},
      {create_surface_engine1_with_expert_options(p, 64, 3, 3, 0, 0, 2, 0, 0, kNaN, 0, 0, 0, 0, 1),
       -1},
      {create_surface_engine1_with_expert_options(p, 64, 3, 3, 0, 0, 2, 0, 0, -1, 0, 0, 0, 0, 1),
       -1},
      {create_surface_engine1_with_expert_options(p, 64, 3, 3, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, kNaN),
       -1},
      {create_surface_engine2(nullptr, 8, 8, 3, 3, 0), -1},
      {create_surface_engine2(p, 0, 8, 3, 3, 0), -1},
      {create_surface_engine2(p, kMany, kMany, 3, 3, 0), -1},
      {create_surface_engine2_with_grid(p, 64, nullptr), -1},
      {create_surface_engine2_with_grid(p, 64, grid), -1},
      {create_surface_engine2_with_grid(p, 1, hugeGrid), -1},
      {initialize_surface_engine1(kNoHandle), -1},
      {fit_surface_engine1(kNoHandle, 2), -1},
      {destroy_surface_engine1(kNoHandle), -1},
      {register_surface_engine1_in_main_system(kNoHandle), -1},
      {initialize_surface_engine2(kNoHandle), -1},
      {get_surface_engine2_degrees(kNoHandle, nullptr, nullptr), -1},
  };
  int index = 0;
  for (const auto& [result, code] : calls)
    EXPECT_EQ(result, code) << "call " << index++;
  EXPECT_EQ(api_create_bspline_surface_from_engine(kNoHandle), nullptr);
  EXPECT_EQ(get_surface_engine2_validation_message_simple(kNoHandle), nullptr);
  EXPECT_THAT(streams_.out(), HasSubstr("❌ C Interface: Invalid grid dimensions 0x8\n"));
  EXPECT_EQ(cleanup_surface_engine1(), 0);
  EXPECT_EQ(cleanup_surface_engine2(), 0);
}

TEST_F(SurfaceEngines, PointsThatCannotBeFittedRegisterNothing) {
  std::vector<double> xyz = heights(6, 6);
  xyz[50] = kNaN;
  const int fit = create_surface_engine1(xyz.data(), 36);
  EXPECT_EQ(initialize_surface_engine1(fit), 0);
  EXPECT_EQ(lastError(), "Point validation failed");
  EXPECT_EQ(api_create_bspline_surface_from_engine(fit), nullptr);
  EXPECT_EQ(register_surface_engine1_in_main_system(fit), -2);
  const int grid = create_surface_engine2(xyz.data(), 6, 6, 3, 3, 0);
  EXPECT_EQ(initialize_surface_engine2(grid), 0);
  EXPECT_STREQ(get_surface_engine2_validation_message_simple(grid), "Grid points must be finite");
  EXPECT_EQ(register_surface_engine2_in_main_system(grid), -2);
  EXPECT_EQ(get_surfaces_count(), 0);
}

}  // namespace
