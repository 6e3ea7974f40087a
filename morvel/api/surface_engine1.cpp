// Surfaces fitted to points, by engine id.

#include "morvel/fitting/surface_engine1.h"

#include "morvel/api/c/surface_engine1.h"
#include "morvel/api/internal/engine_table.h"

using namespace trova_internal;
namespace tg = trova::geometry;
using tg::SurfaceEngine1;
using tg::SurfaceEngine1Options;
using tg::SurfaceFittingMode;
using tg::SurfaceParameterizationMethod;

namespace {

constexpr int kLeastPoints = 4;

EngineMap<SurfaceEngine1> engines;

/// Ids come from the surface counter; nothing restarts it here.
HandleRegistry<EngineMap<SurfaceEngine1>> engineTable() {
  static int restarts = 0;
  return {engines, getNextSurfaceId(), kFirstSurfaceHandle, restarts};
}

struct Given {
  const double* points;
  int n;
  int degreeU;
  int degreeV;
  int controlU = 0;
  int controlV = 0;

  /// 0, or -1 with a text.
  int check(const char* function) const {
    if (!points) return refuseIn(function, "the points are null");
    if (n < kLeastPoints) return refuseIn(function, "at least 4 points are needed");
    if (!countsFit({n, kDoublesPerPoint})) return refuseIn(function, "point count out of range");
    if (degreeU < 1 || degreeV < 1) return refuseIn(function, "degrees must be at least 1");
    if (controlU < 0 || controlV < 0)
      return refuseIn(function, "control point counts must be at least 0");
    return kSuccess;
  }
};

/// configure(options) sets what the caller chose beyond degrees and counts.
template <class Configure>
int createEngine(const char* function, const Given& given, Configure configure) {
  return guarded(engine_codes::kCreationCaught, FailureTexts{}, [&]() -> int {
    if (const int refused = given.check(function)) return refused;
    SurfaceEngine1Options options;
    options.degree_u = given.degreeU;
    options.degree_v = given.degreeV;
    options.control_points_u = given.controlU;
    options.control_points_v = given.controlV;
    configure(options);
    return engineTable().store(
        std::make_unique<SurfaceEngine1>(pointsAsGiven(given.points, given.n), std::move(options)));
  });
}

void asTheyAre(SurfaceEngine1Options&) {}

template <class Work>
int withEngine1(const char* function, int id, Work&& work) {
  return onEngine(function, engines, id, std::forward<Work>(work));
}

/// Work on the record of the last fit, if that succeeded.
template <class Work>
int withResult(const char* function, int id, Work work) {
  return withEngine1(function, id, [&](const SurfaceEngine1& engine) -> int {
    if (!engine.has_surface())
      return refuseIn(function, "the engine has no surface", engine_codes::kNoSurface);
    return work(engine.get_last_result());
  });
}

bool fit(const char* function, SurfaceEngine1& engine, int method) {
  const tg::SurfaceFittingResult result = engine.fit_bspline_surface(method);
  if (!result.is_valid)
    refuseIn(function, result.warnings.empty() ? "the fit failed" : result.warnings.back().c_str());
  return result.is_valid;
}

}  // namespace

int create_surface_engine1(const double* points, int n) {
  const SurfaceEngine1Options defaults;
  return createEngine(__func__, {points, n, defaults.degree_u, defaults.degree_v}, asTheyAre);
}

int create_surface_engine1_with_degrees(const double* points, int n, int degree_u, int degree_v) {
  return createEngine(__func__, {points, n, degree_u, degree_v}, asTheyAre);
}

int create_surface_engine1_with_advanced_options(const double* points, int n, int degree_u,
                                                 int degree_v, int condition_analysis,
                                                 int force_regularization) {
  return createEngine(__func__, {points, n, degree_u, degree_v},
                      [&](SurfaceEngine1Options& options) {
                        options.condition_analysis = condition_analysis != 0;
                        options.force_regularization = force_regularization != 0;
                      });
}

int create_surface_engine1_with_control_points(const double* points, int n, int degree_u,
                                               int degree_v, int control_u, int control_v) {
  return createEngine(__func__, {points, n, degree_u, degree_v, control_u, control_v}, asTheyAre);
}

int create_surface_engine1_with_fitting_mode(const double* points, int n, int degree_u,
                                             int degree_v, int control_u, int control_v, int mode) {
  return createEngine(
      __func__, {points, n, degree_u, degree_v, control_u, control_v},
      [&](SurfaceEngine1Options& options) { options.configure_from_fitting_mode(mode); });
}

int create_surface_engine1_with_expert_options(const double* points, int n, int degree_u,
                                               int degree_v, int control_u, int control_v,
                                               int parameterization, int condition_analysis,
                                               int force_regularization, double lambda,
                                               int advanced_parameterization, int shape_analysis,
                                               int boundary_analysis, double fitting_tolerance,
                                               double condition_threshold) {
  if (checkFinite(__func__, {lambda, fitting_tolerance})) return kBadArgument;
  if (!(lambda >= 0) || !(fitting_tolerance >= 0) || !(condition_threshold > 0))
    return refuseIn(__func__, "lambda, tolerance and threshold must not be negative");
  return createEngine(__func__, {points, n, degree_u, degree_v, control_u, control_v},
                      [&](SurfaceEngine1Options& options) {
                        using enum SurfaceParameterizationMethod;
                        options.configure_from_fitting_mode(int(SurfaceFittingMode::EXPERT));
                        options.parameterization_method =
                            int(parameterization == 0   ? LEAST_SQUARES_PLANE
                                : parameterization == 1 ? UNIFORM
                                                        : UNIVERSAL);
                        options.condition_analysis = condition_analysis != 0;
                        options.force_regularization = force_regularization != 0;
                        options.regularization_lambda = lambda;
                        options.advanced_parameterization = advanced_parameterization != 0;
                        options.shape_analysis = shape_analysis != 0;
                        options.boundary_analysis = boundary_analysis != 0;
                        options.fitting_tolerance = fitting_tolerance;
                        options.condition_threshold = condition_threshold;
                      });
}

int initialize_surface_engine1(int engine) {
  return withEngine1(__func__, engine, [](SurfaceEngine1& found) {
    const bool isDone = found.initialize();
    if (!isDone) setLastError(found.get_validation_message());
    return int(isDone);
  });
}

int fit_surface_engine1(int engine, int method) {
  const char* function = __func__;
  return withEngine1(function, engine,
                     [&](SurfaceEngine1& found) { return int(fit(function, found, method)); });
}

const void* api_create_bspline_surface_from_engine(int engine) {
  const char* function = __func__;
  const void* const none = nullptr;
  return withEngine(function, engines, engine, none, none,
                    [&](SurfaceEngine1& found) -> const void* {
                      fit(function, found, int(SurfaceParameterizationMethod::LEAST_SQUARES_PLANE));
                      return found.getBsplineSurface();
                    });
}

int register_surface_engine1_in_main_system(int engine) {
  const char* function = __func__;
  return withEngine1(function, engine, [&](const SurfaceEngine1& found) {
    return registerCopy(function, found.getBsplineSurface(), "surface_engine1");
  });
}

int evaluate_surface_engine1(int engine, double u, double v, double* xyz) {
  if (!xyz) return refuseIn(__func__, "the output is null");
  if (const int refused = checkFinite(__func__, {u, v})) return refused;
  return withEngine1(__func__, engine, [&](const SurfaceEngine1& found) {
    writeTriple(found.evaluate_surface(u, v), xyz);
    return kSuccess;
  });
}

int get_surface_engine1_report(int engine, double* max_deviation, double* rms_deviation,
                               double* condition_number, double* milliseconds) {
  if (anyNull(max_deviation, rms_deviation, condition_number, milliseconds))
    return refuseIn(__func__, "the outputs are null");
  return withResult(__func__, engine, [&](const tg::SurfaceFittingResult& result) {
    *max_deviation = result.max_deviation;
    *rms_deviation = result.rms_deviation;
    *condition_number = result.condition_number;
    milliseconds[0] = result.total_time_ms;
    milliseconds[1] = result.parameterization_time_ms;
    milliseconds[2] = result.solve_time_ms;
    return kSuccess;
  });
}

int get_surface_engine1_method(int engine, char* buffer, int size) {
  return withEngine1(__func__, engine, [&](const SurfaceEngine1& found) {
    return copyText(found.get_last_result().method_used, buffer, size);
  });
}

int get_surface_engine1_warnings(int engine, char* buffer, int size) {
  return withEngine1(__func__, engine, [&](const SurfaceEngine1& found) {
    std::string lines;
    for (const std::string& warning : found.get_last_result().warnings)
      lines += warning + '\n';
    return copyText(lines, buffer, size);
  });
}

int print_surface_engine1_summary(int engine) {
  return withEngine1(__func__, engine, [](const SurfaceEngine1& found) {
    found.get_last_result().print_summary();
    return kSuccess;
  });
}

int get_surface_engine1_point_count(int engine) {
  return withEngine1(__func__, engine,
                     [](const SurfaceEngine1& found) { return found.get_point_count(); });
}

int get_surface_engine1_degree_u(int engine) {
  return withEngine1(__func__, engine,
                     [](const SurfaceEngine1& found) { return found.get_degree_u(); });
}

int get_surface_engine1_degree_v(int engine) {
  return withEngine1(__func__, engine,
                     [](const SurfaceEngine1& found) { return found.get_degree_v(); });
}

int get_surface_engine1_control_count_u(int engine) {
  return withEngine1(__func__, engine,
                     [](const SurfaceEngine1& found) { return found.get_control_count_u(); });
}

int get_surface_engine1_control_count_v(int engine) {
  return withEngine1(__func__, engine,
                     [](const SurfaceEngine1& found) { return found.get_control_count_v(); });
}

int get_surface_engine1_degrees(int engine, int* degree_u, int* degree_v) {
  const char* function = __func__;
  return withEngine1(function, engine, [&](const SurfaceEngine1& found) {
    return writePair(function, found.get_degree_u(), found.get_degree_v(), degree_u, degree_v);
  });
}

int get_surface_engine1_control_point_counts(int engine, int* count_u, int* count_v) {
  const char* function = __func__;
  return withEngine1(function, engine, [&](const SurfaceEngine1& found) {
    return writePair(function, found.get_control_count_u(), found.get_control_count_v(), count_u,
                     count_v);
  });
}

int get_surface_engine1_grid_dimensions(int engine, int* count_u, int* count_v) {
  return get_surface_engine1_control_point_counts(engine, count_u, count_v);
}

int get_surface_engine1_u_parameters(int engine, double* out, int capacity, int* out_count) {
  const char* function = __func__;
  return withEngine1(function, engine, [&](const SurfaceEngine1& found) {
    return writeValues(function, found.get_u_parameters(), out, capacity, out_count);
  });
}

int get_surface_engine1_v_parameters(int engine, double* out, int capacity, int* out_count) {
  const char* function = __func__;
  return withEngine1(function, engine, [&](const SurfaceEngine1& found) {
    return writeValues(function, found.get_v_parameters(), out, capacity, out_count);
  });
}

int get_surface_engine1_validation_message(int engine, char* buffer, int size) {
  return withEngine1(__func__, engine, [&](const SurfaceEngine1& found) {
    return copyText(found.get_validation_message(), buffer, size);
  });
}

const char* get_surface_engine1_validation_message_simple(int engine) {
  const char* const none = nullptr;
  return withEngine(__func__, engines, engine, none, none, [](const SurfaceEngine1& found) {
    return found.get_validation_message().c_str();
  });
}

int is_surface_engine1_valid(int engine) {
  return withEngine1(__func__, engine,
                     [](const SurfaceEngine1& found) { return int(found.is_valid()); });
}

int surface_engine1_has_surface(int engine) {
  return withEngine1(__func__, engine,
                     [](const SurfaceEngine1& found) { return int(found.has_surface()); });
}

int destroy_surface_engine1(int engine) {
  const int refused = withEngine1(__func__, engine, [](const SurfaceEngine1&) { return kSuccess; });
  if (refused == kSuccess) engineTable().erase(engine);
  return refused;
}

int cleanup_surface_engine1(void) { return destroyAll(engines); }
