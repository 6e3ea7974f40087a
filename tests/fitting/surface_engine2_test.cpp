#include "morvel/fitting/surface_engine2.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>

#include "morvel/fitting/global_interpolation.h"
#include "tests/support/captured_streams.h"
#include "tests/support/near.h"

namespace {

using namespace trova::geometry;
using morvel_test::CapturedStreams;
using morvel_test::IsNear;
using Grid = std::vector<std::vector<Point3D>>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Grid unevenGrid(int rows, int columns) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> shift(-0.3, 0.3);
  Grid grid(rows, std::vector<Point3D>(columns));
  for (int i = 0; i < rows; ++i)
    for (int j = 0; j < columns; ++j)
      grid[i][j] = Point3D(i + shift(random), 2 * j + shift(random), std::sin(i) * std::cos(j));
  return grid;
}

SurfaceEngine2 made(Grid grid, int degreeU, int degreeV) {
  const int rows = int(grid.size()), columns = int(grid.front().size());
  return SurfaceEngine2(std::move(grid), rows, columns, degreeU, degreeV);
}

TEST(SurfaceEngine2, PassesThroughTheGridOnItsStoredKnots) {
  const struct {
    int rows, columns, degreeU, degreeV;
  } cases[] = {{4, 4, 3, 3}, {7, 23, 3, 2}, {45, 6, 1, 5}, {2, 2, 1, 1}, {41, 40, 3, 3}};
  for (const auto& [rows, columns, degreeU, degreeV] : cases) {
    const Grid grid = unevenGrid(rows, columns);
    SurfaceEngine2 engine = made(grid, degreeU, degreeV);
    const CapturedStreams streams;
    ASSERT_TRUE(engine.initialize()) << engine.get_validation_message();
    ASSERT_TRUE(engine.create_interpolated_surface());
    const std::vector<double>& u = engine.get_u_parameters();
    const std::vector<double>& v = engine.get_v_parameters();
    for (int i = 0; i < rows; ++i) {
      for (int j = 0; j < columns; ++j) {
        double on[3];
        engine.getBsplineSurface()->evaluateExactBatch(std::vector<double>{u[i], v[j]}, 0, on);
        EXPECT_THAT(Point3D(on[0], on[1], on[2]), IsNear(grid[i][j], 1e-11));
      }
    }
    EXPECT_LT(engine.get_max_deviation(), 1e-11);
  }
}

TEST(SurfaceEngine2, ParametersAreAveragedChordLengths) {
  Grid grid = unevenGrid(6, 5);
  for (auto& row : grid)
    row[4] = row[0];  // still a length along the rows
  for (int i = 0; i < 6; ++i)
    grid[i][2] = Point3D(9, 9, 9);  // a column without a length counts as even
  SurfaceEngine2 engine = made(grid, 2, 2);
  ASSERT_TRUE(engine.initialize());
  std::vector<double> u(6), v(5);
  for (int j = 0; j < 5; ++j) {
    std::vector<Point3D> column;
    for (const auto& row : grid)
      column.push_back(row[j]);
    const std::vector<double> chords = getChordParameterization(column);
    for (int i = 0; i < 6; ++i)
      u[i] += chords[i] / 5;
  }
  for (const auto& row : grid) {
    const std::vector<double> chords = getChordParameterization(row);
    for (int j = 0; j < 5; ++j)
      v[j] += chords[j] / 6;
  }
  EXPECT_THAT(engine.get_u_parameters(), testing::Pointwise(testing::DoubleNear(1e-14), u));
  EXPECT_THAT(engine.get_v_parameters(), testing::Pointwise(testing::DoubleNear(1e-14), v));
  const CapturedStreams streams;
  ASSERT_TRUE(engine.create_interpolated_surface());
  EXPECT_EQ(engine.getBsplineSurface()->getUKnotVector(),
            generateAverageKnotVector(engine.get_u_parameters(), 2));
  EXPECT_EQ(streams.out(),
            "🔄 Step 1: Interpolating along columns (U direction)\n"
            "🔄 Step 2: Interpolating along rows (V direction)\n");
}

TEST(SurfaceEngine2, SaysWhatItCannotInterpolate) {
  const Grid good = unevenGrid(5, 5);
  Grid ragged = good, broken = good, stuck = good;
  ragged[2].pop_back();
  broken[4][1] = Point3D(0, kNaN, 0);
  for (auto& row : stuck)
    row[3] = row[2] = row[1];  // two parameters of the rows coincide
  const struct {
    Grid grid;
    int rows, columns, degreeU, degreeV;
    bool isInitialized;
    const char* message;
  } cases[] = {
      {good, 0, 5, 3, 3, false, "Invalid grid dimensions"},
      {good, 5, -1, 3, 3, false, "Invalid grid dimensions"},
      {good, 4, 5, 3, 3, false, "Point grid row count mismatch"},
      {ragged, 5, 5, 3, 3, false, "Point grid column count mismatch"},
      {good, 5, 5, 0, 3, false, "Degrees must be >= 1"},
      {unevenGrid(3, 3), 3, 3, 3, 3, false, "Not enough rows for U degree 3 (need > 3)"},
      {good, 5, 5, 3, 5, false, "Not enough columns for V degree 5 (need > 5)"},
      {broken, 5, 5, 3, 3, false, "Grid points must be finite"},
      {stuck, 5, 5, 3, 1, true, "Failed to interpolate row 0"},
  };
  for (const auto& c : cases) {
    SurfaceEngine2 engine(c.grid, c.rows, c.columns, c.degreeU, c.degreeV);
    const CapturedStreams streams;
    EXPECT_EQ(engine.initialize(), c.isInitialized) << c.message;
    if (!c.isInitialized) {
      EXPECT_EQ(engine.get_validation_message(), c.message);
    }
    EXPECT_FALSE(engine.create_interpolated_surface());
    EXPECT_EQ(engine.get_validation_message(),
              c.isInitialized ? c.message : "Engine not properly initialized");
    EXPECT_FALSE(engine.has_surface());
    EXPECT_THROW(engine.get_max_deviation(), std::runtime_error);
  }
}

}  // namespace
