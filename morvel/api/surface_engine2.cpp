// Surfaces through grids of points, by engine id.

#include "morvel/fitting/surface_engine2.h"

#include "morvel/api/c/surface_engine2.h"
#include "morvel/api/internal/engine_table.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/foundation/status_line.h"

using namespace trova_internal;
namespace status = trova::foundation::status;
using trova::foundation::Point3D;
using trova::geometry::SurfaceEngine2;

namespace {

constexpr int kFirstEngine = 50000;

EngineMap<SurfaceEngine2> engines;
int nextEngine = kFirstEngine;  // only grows

HandleRegistry<EngineMap<SurfaceEngine2>> engineTable() {
  static int restarts = 0;
  return {engines, nextEngine, kFirstEngine, restarts};
}

struct Given {
  const double* points;
  int rows;
  int columns;
  int degreeU;
  int degreeV;
};

int refuseGrid(const char* function, int rows, int columns) {
  status::line(status::Level::Error, status::Stream::Output, status::Symbol::Failure,
               "C Interface: Invalid grid dimensions ", rows, "x", columns);
  return refuseIn(function, "Invalid grid dimensions");
}

int createEngine(const char* function, const Given& given) {
  return guarded(engine_codes::kCreationCaught, FailureTexts{}, [&]() -> int {
    if (!given.points) return refuseIn(function, "the points are null");
    if (given.rows < 1 || given.columns < 1 ||
        !countsFit({given.rows, given.columns, kDoublesPerPoint}))
      return refuseGrid(function, given.rows, given.columns);
    std::vector<std::vector<Point3D>> grid;
    grid.reserve(given.rows);
    const std::size_t width = std::size_t(given.columns) * kDoublesPerPoint;
    for (int row = 0; row < given.rows; ++row)
      grid.push_back(pointsAsGiven(given.points + row * width, given.columns));
    return engineTable().store(std::make_unique<SurfaceEngine2>(
        std::move(grid), given.rows, given.columns, given.degreeU, given.degreeV));
  });
}

template <class Work>
int withEngine2(const char* function, int id, Work&& work) {
  return onEngine(function, engines, id, std::forward<Work>(work));
}

/// Hands on the success of a step, whose message becomes the last error where it failed.
bool told(const SurfaceEngine2& engine, bool isDone) {
  if (!isDone) setLastError(engine.get_validation_message());
  return isDone;
}

}  // namespace

int create_surface_engine2(const double* points, int rows, int columns, int degree_u, int degree_v,
                           int /*reserved*/) {
  return createEngine(__func__, {points, rows, columns, degree_u, degree_v});
}

int create_surface_engine2_with_grid(const double* points, int count, const int* grid) {
  if (!grid) return refuseIn(__func__, "the grid is null");
  const Given given{points, grid[0], grid[1], grid[2], grid[3]};
  if (std::int64_t(given.rows) * given.columns != count || given.rows < 1)
    return refuseGrid(__func__, given.rows, given.columns);
  return createEngine(__func__, given);
}

int initialize_surface_engine2(int engine) {
  return withEngine2(__func__, engine,
                     [](SurfaceEngine2& found) { return int(told(found, found.initialize())); });
}

int create_surface_engine2_interpolated_surface(int engine) {
  return withEngine2(__func__, engine, [](SurfaceEngine2& found) {
    return int(told(found, found.create_interpolated_surface()));
  });
}

const void* api_create_bspline_surface_from_engine2(int engine) {
  const void* const none = nullptr;
  return withEngine(__func__, engines, engine, none, none,
                    [](SurfaceEngine2& found) -> const void* {
                      told(found, found.create_interpolated_surface());
                      return found.getBsplineSurface();
                    });
}

int register_surface_engine2_in_main_system(int engine) {
  const char* function = __func__;
  return withEngine2(function, engine, [&](const SurfaceEngine2& found) {
    return registerCopy(function, found.getBsplineSurface(), "surface_engine2");
  });
}

double get_surface_engine2_max_deviation(int engine) {
  return withEngine(
      __func__, engines, engine, double(engine_codes::kUnknownId), double(engine_codes::kCaught),
      [](const SurfaceEngine2& found) { return finiteResult(found.get_max_deviation()); });
}

int get_surface_engine2_degrees(int engine, int* degree_u, int* degree_v) {
  const char* function = __func__;
  return withEngine2(function, engine, [&](const SurfaceEngine2& found) {
    return writePair(function, found.get_degree_u(), found.get_degree_v(), degree_u, degree_v);
  });
}

int get_surface_engine2_grid_dimensions(int engine, int* rows, int* columns) {
  const char* function = __func__;
  return withEngine2(function, engine, [&](const SurfaceEngine2& found) {
    return writePair(function, found.get_rows(), found.get_columns(), rows, columns);
  });
}

int get_surface_engine2_u_parameters(int engine, double* out, int capacity, int* out_count) {
  const char* function = __func__;
  return withEngine2(function, engine, [&](const SurfaceEngine2& found) {
    return writeValues(function, found.get_u_parameters(), out, capacity, out_count);
  });
}

int get_surface_engine2_v_parameters(int engine, double* out, int capacity, int* out_count) {
  const char* function = __func__;
  return withEngine2(function, engine, [&](const SurfaceEngine2& found) {
    return writeValues(function, found.get_v_parameters(), out, capacity, out_count);
  });
}

const char* get_surface_engine2_validation_message_simple(int engine) {
  const char* const none = nullptr;
  return withEngine(__func__, engines, engine, none, none, [](const SurfaceEngine2& found) {
    return found.get_validation_message().c_str();
  });
}

int is_surface_engine2_valid(int engine) {
  return withEngine2(__func__, engine,
                     [](const SurfaceEngine2& found) { return int(found.is_valid()); });
}

int surface_engine2_has_surface(int engine) {
  return withEngine2(__func__, engine,
                     [](const SurfaceEngine2& found) { return int(found.has_surface()); });
}

int destroy_surface_engine2(int engine) {
  const int refused = withEngine2(__func__, engine, [](const SurfaceEngine2&) { return kSuccess; });
  if (refused == kSuccess) engineTable().erase(engine);
  return refused;
}

int cleanup_surface_engine2(void) { return destroyAll(engines); }
