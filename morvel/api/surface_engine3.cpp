// Surfaces fitted under constraints, by engine id.

#include "morvel/api/c/surface_engine3.h"

#include "morvel/api/internal/engine_table.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/fitting/constraint_application.h"
#include "morvel/fitting/g1_constraint_builder.h"
#include "morvel/fitting/surface_constrained_fitting_engine.h"
#include "morvel/foundation/status_line.h"

using namespace trova_internal;
namespace tg = trova::geometry;
using trova::foundation::Point3D;
using trova::foundation::Vector3D;

namespace {

constexpr int kDoublesPerPair = 2;
constexpr int kSides = 4;
constexpr int kMostSamples = 500;

/// An engine with what became of its last fit.
struct Engine3 {
  tg::SurfaceConstrainedFittingEngine fitted;  // the last fit that succeeded
  tg::SurfaceConstraintSet constraints;        // as they are now
  bool isValid = true;
  std::string message;
};

EngineMap<Engine3> engines;
int nextEngine = 1;

HandleRegistry<EngineMap<Engine3>> engineTable() {
  static int restarts = 0;
  return {engines, nextEngine, 1, restarts};
}

template <class Work>
int withEngine3(const char* function, int id, Work&& work) {
  return withEngine(function, engines, id, kBadArgument, kBadArgument, std::forward<Work>(work));
}

template <class Read>
double numberOf(const char* function, int id, Read read) {
  const double refused = kBadArgument;
  return withEngine(function, engines, id, refused, refused,
                    [&](const Engine3& engine) -> double { return read(engine.fitted.result()); });
}

/// An array whose length is stated for one item; null stands for an array that is left out.
struct Given {
  const double* values;
  int count;
  int width;

  bool fits() const { return countsFit({count, width}); }
  std::int64_t size() const { return std::int64_t{count} * width; }
  const double* at(int k) const { return values + std::size_t(k) * width; }
};

/// What an engine is made of. `parameters` and `weights` belong to the points, `places` to the
/// interpolation points.
struct Recipe {
  Given points;
  Given parameters{nullptr, 0, kDoublesPerPair};
  Given weights{nullptr, 0, 1};
  Given interpolation{nullptr, 0, kDoublesPerPoint};
  Given places{nullptr, 0, kDoublesPerPair};
  Given g1Places{nullptr, 0, kDoublesPerPair};
  Given g1TangentsU{nullptr, 0, kDoublesPerPoint};
  Given g1TangentsV{nullptr, 0, kDoublesPerPoint};
  Given g1Weights{nullptr, 0, 1};
  tg::SurfaceEngine3Options options;
};

Recipe recipeOf(const double* points, int n, int degree_u, int degree_v, int method) {
  Recipe recipe{.points = {points, n, kDoublesPerPoint}, .options = {}};
  recipe.options.degree_u = degree_u;
  recipe.options.degree_v = degree_v;
  recipe.options.parameterization_method = int(tg::int_to_param_method(method));
  return recipe;
}

int checkRecipe(const Recipe& recipe) {
  const bool needsPoints = recipe.interpolation.count < 1 || !recipe.places.values;
  const Given& points = recipe.points;
  const bool hasPoints = points.values && points.count >= 1;
  const bool hasNone = !points.values && points.count == 0;
  if (!hasPoints && (needsPoints || !hasNone)) return refuse(kBadArgument, "Invalid points data");
  if (!points.fits()) return refuse(kBadArgument, "Invalid points data");
  if (recipe.interpolation.count < 0 || !recipe.interpolation.fits() ||
      (recipe.interpolation.count > 0 && !recipe.interpolation.values))
    return refuse(kBadArgument, "Invalid interpolation points data");
  if (recipe.g1Places.count < 0 || !recipe.g1Places.fits() ||
      (recipe.g1Places.count > 0 && !recipe.g1Places.values))
    return refuse(kBadArgument, "Invalid G1 constraints data");
  return kSuccess;
}

Vector3D vectorOr(const Given& vectors, int k) {
  return vectors.values ? readVector(vectors.at(k)) : Vector3D();
}

void addInterpolation(const Recipe& recipe, const tg::SurfaceConstrainedFittingEngine& engine,
                      tg::SurfaceConstraintSet& constraints) {
  if (recipe.interpolation.count < 1) return;
  const std::vector<Point3D> points =
      pointsAsGiven(recipe.interpolation.values, std::size_t(recipe.interpolation.count));
  tg::SurfaceParameters projected;
  if (!recipe.places.values) projected = engine.project_points_to_parameter_space(points);
  for (int k = 0; k < recipe.interpolation.count; ++k) {
    const double* place = recipe.places.values ? recipe.places.at(k) : nullptr;
    constraints.add_interpolation_point(points[std::size_t(k)],
                                        place ? place[0] : projected[std::size_t(k)].first,
                                        place ? place[1] : projected[std::size_t(k)].second);
  }
}

/// The points as the engine's own, or, where they come with parameters or weights, as approximation
/// constraints.
std::vector<Point3D> takePoints(const Recipe& recipe, tg::SurfaceConstraintSet& constraints) {
  std::vector<Point3D> points =
      pointsAsGiven(recipe.points.values, std::size_t(recipe.points.count));
  if (!recipe.parameters.values && !recipe.weights.values) return points;
  tg::SurfaceParameters made;
  if (!recipe.parameters.values) {
    tg::SurfaceConstrainedFittingEngine engine(points);
    engine.options() = recipe.options;
    made = engine.compute_parameterization();
  }
  for (int k = 0; k < recipe.points.count; ++k) {
    const double* uv = recipe.parameters.values ? recipe.parameters.at(k) : nullptr;
    const auto at = std::size_t(k);
    constraints.add_approximation_point(points[at], uv ? uv[0] : made[at].first,
                                        uv ? uv[1] : made[at].second,
                                        recipe.weights.values ? *recipe.weights.at(k) : 1.0);
  }
  return {};
}

void addG1(const Recipe& recipe, tg::SurfaceConstraintSet& constraints) {
  for (int k = 0; k < recipe.g1Places.count; ++k) {
    const double* uv = recipe.g1Places.at(k);
    constraints.add_g1_tangent_constraint({{},
                                           vectorOr(recipe.g1TangentsU, k),
                                           vectorOr(recipe.g1TangentsV, k),
                                           uv[0],
                                           uv[1],
                                           recipe.g1Weights.values ? *recipe.g1Weights.at(k) : 1.0,
                                           recipe.g1TangentsU.values != nullptr,
                                           recipe.g1TangentsV.values != nullptr});
  }
}

/// Why a fit failed: its error, and what it noted on the way.
std::string reasonOf(const tg::SurfaceEngine3Result& result) {
  std::string text = result.error_message;
  if (!result.warnings.empty()) text += " (" + result.warnings.back() + ")";
  return text;
}

int createEngine(const Recipe& recipe) {
  return guarded(kBadArgument, FailureTexts{}, [&]() -> int {
    if (const int refused = checkRecipe(recipe)) return refused;
    tg::SurfaceConstraintSet constraints;
    // Projections need the points as they are, whether or not they become constraints.
    tg::SurfaceConstrainedFittingEngine projector(
        pointsAsGiven(recipe.points.values, std::size_t(recipe.points.count)));
    projector.options() = recipe.options;
    const std::vector<Point3D> points = takePoints(recipe, constraints);
    addInterpolation(recipe, projector, constraints);
    addG1(recipe, constraints);
    auto engine = std::make_unique<Engine3>();
    const tg::SurfaceEngine3Result result =
        engine->fitted.create_constrained_surface(points, constraints, recipe.options);
    if (!result.success) return refuse(kBadArgument, reasonOf(result));
    recipe.options.validate(engine->message);
    engine->constraints = std::move(constraints);
    return engineTable().store(std::move(engine));
  });
}

bool isSide(int side) { return side >= 0 && side < kSides; }

int addG1To(Engine3& engine, const tg::G1Constraint& constraint) {
  if (!tg::G1ConstraintBuilder::validate_individual_constraint(constraint))
    return refuse(
        kBadArgument,
        "Invalid G1 constraint: needs u and v in [0, 1], a weight above 0 and a tangent of "
        "non-zero length");
  engine.constraints.add_g1_tangent_constraint(constraint);
  return kSuccess;
}

}  // namespace

int create_surface_engine3(const double* points, int n, int method) {
  const tg::SurfaceEngine3Options defaults;
  return create_surface_engine3_with_degrees(points, n, defaults.degree_u, defaults.degree_v,
                                             method);
}

int create_surface_engine3_with_degrees(const double* points, int n, int degree_u, int degree_v,
                                        int method) {
  return createEngine(recipeOf(points, n, degree_u, degree_v, method));
}

int create_surface_engine3_with_control_counts(const double* points, int n, int degree_u,
                                               int degree_v, int control_u, int control_v,
                                               int method) {
  Recipe recipe = recipeOf(points, n, degree_u, degree_v, method);
  recipe.options.control_points_u = control_u;
  recipe.options.control_points_v = control_v;
  return createEngine(recipe);
}

int create_surface_engine3_with_knots(const double* points, int n, int degree_u, int degree_v,
                                      const double* knots_u, int knot_count_u,
                                      const double* knots_v, int knot_count_v, int method) {
  const auto isArray = [](const double* knots, int count) {
    return knots ? count > 0 && countsFit({count}) : count == 0;
  };
  if (!isArray(knots_u, knot_count_u) || !isArray(knots_v, knot_count_v))
    return refuse(kBadArgument, "Invalid knots data");
  return guarded(kBadArgument, FailureTexts{}, [&] {
    Recipe recipe = recipeOf(points, n, degree_u, degree_v, method);
    recipe.options.knots_u.assign(knots_u, knots_u + knot_count_u);
    recipe.options.knots_v.assign(knots_v, knots_v + knot_count_v);
    return createEngine(recipe);
  });
}

int create_surface_engine3_with_constraints(const double* points, const double* uv,
                                            const double* weights, int n,
                                            const double* interpolation_points,
                                            const double* interpolation_uv, int interpolation_count,
                                            int degree_u, int degree_v, int control_u,
                                            int control_v, int method, double regularization) {
  return create_surface_engine3_with_g1_constraints(
      points, uv, weights, n, interpolation_points, interpolation_uv, interpolation_count, nullptr,
      nullptr, nullptr, nullptr, 0, degree_u, degree_v, control_u, control_v, method,
      regularization);
}

int create_surface_engine3_with_g1_constraints(
    const double* points, const double* uv, const double* weights, int n,
    const double* interpolation_points, const double* interpolation_uv, int interpolation_count,
    const double* g1_uv, const double* g1_tangents_u, const double* g1_tangents_v,
    const double* g1_weights, int g1_count, int degree_u, int degree_v, int control_u,
    int control_v, int method, double regularization) {
  Recipe recipe = recipeOf(points, n, degree_u, degree_v, method);
  recipe.options.control_points_u = control_u;
  recipe.options.control_points_v = control_v;
  if (regularization != 0.0) recipe.options.regularization_weight = regularization;
  recipe.parameters = {uv, n, kDoublesPerPair};
  recipe.weights = {weights, n, 1};
  recipe.interpolation = {interpolation_points, interpolation_count, kDoublesPerPoint};
  recipe.places = {interpolation_uv, interpolation_count, kDoublesPerPair};
  recipe.g1Places = {g1_uv, g1_count, kDoublesPerPair};
  recipe.g1TangentsU = {g1_tangents_u, g1_count, kDoublesPerPoint};
  recipe.g1TangentsV = {g1_tangents_v, g1_count, kDoublesPerPoint};
  recipe.g1Weights = {g1_weights, g1_count, 1};
  return createEngine(recipe);
}

int surface_engine3_add_g1_tangent_constraint(int engine, double u, double v,
                                              const double* tangent_u, const double* tangent_v,
                                              double weight) {
  return withEngine3(__func__, engine, [&](Engine3& found) {
    const Given first{tangent_u, 1, kDoublesPerPoint};
    const Given second{tangent_v, 1, kDoublesPerPoint};
    return addG1To(found, {{},
                           vectorOr(first, 0),
                           vectorOr(second, 0),
                           u,
                           v,
                           weight,
                           tangent_u != nullptr,
                           tangent_v != nullptr});
  });
}

int surface_engine3_add_g1_normal_constraint(int engine, double u, double v, const double* normal,
                                             double weight) {
  const char* function = __func__;
  if (!normal) return refuseIn(function, "the normal is null");
  return withEngine3(function, engine, [&](Engine3& found) {
    tg::SurfaceConstraintSet extended = found.constraints;
    extended.add_g1_normal_constraint({}, u, v, readVector(normal), weight);
    if (!extended.validate_derivative_constraints())
      return refuseIn(function,
                      "the normal must not be zero, u and v lie in [0, 1], the weight above 0");
    found.constraints = std::move(extended);
    return kSuccess;
  });
}

int surface_engine3_validate_g1_constraints(int engine) {
  return withEngine3(__func__, engine, [](const Engine3& found) {
    tg::SurfaceConstrainedFittingEngine checked = found.fitted;
    checked.constraints() = found.constraints;
    std::vector<std::string> faults;
    const bool areCompatible = checked.validate_g1_constraint_compatibility(&faults);
    return areCompatible ? 1 : refuse(0, faults.front());
  });
}

int surface_engine3_get_g1_constraint_count(int engine) {
  return withEngine3(__func__, engine, [](const Engine3& found) {
    return int(found.constraints.g1_tangent_constraints().size());
  });
}

int surface_engine3_apply_g1_constraints(int engine) {
  return withEngine3(__func__, engine, [](Engine3& found) {
    tg::SurfaceConstrainedFittingEngine next = found.fitted;
    next.constraints() = found.constraints;
    const tg::SurfaceEngine3Result result = next.fit();
    found.isValid = result.success;
    if (!result.success) {
      found.message = reasonOf(result);
      return refuse(kBadArgument, found.message);
    }
    next.options().validate(found.message);
    found.fitted = std::move(next);
    return kSuccess;
  });
}

int surface_engine3_extract_boundary_g1_constraints(int engine, int engine_side, int surface,
                                                    int surface_side, int samples,
                                                    int with_positions) {
  const char* function = __func__;
  if (!isSide(engine_side) || !isSide(surface_side))
    return refuseIn(function, "sides must be 0, 1, 2 or 3");
  if (samples < 2 || samples > kMostSamples) return refuseIn(function, "samples must be 2 to 500");
  return withEngine3(function, engine, [&](Engine3& found) {
    const Surface* other = findSurface(surface);
    if (!other) return refuse(kBadArgument, kInvalidSurfaceHandle);
    const auto added = tg::boundaryG1Constraints(*other, tg::SurfaceSide(surface_side),
                                                 *found.fitted.result().surface,
                                                 tg::SurfaceSide(engine_side), samples);
    for (const tg::G1Constraint& g1 : added) {
      if (!tg::G1ConstraintBuilder::validate_individual_constraint(g1))
        return refuseIn(function, "the surface has no tangents along its side");
    }
    tg::SurfaceConstraintSet extended = found.constraints;
    for (const tg::G1Constraint& g1 : added) {
      extended.add_g1_tangent_constraint(g1);
      if (with_positions) extended.add_interpolation_point(g1.position, g1.u, g1.v);
    }
    found.constraints = std::move(extended);
    return samples;
  });
}

int get_surface_engine3_point_count(int engine) {
  return withEngine3(__func__, engine,
                     [](const Engine3& found) { return found.fitted.get_point_count(); });
}

int is_surface_engine3_valid(int engine) {
  return withEngine3(__func__, engine, [](const Engine3& found) { return int(found.isValid); });
}

int get_surface_engine3_validation_message(int engine, char* buffer, int size) {
  return withEngine3(__func__, engine,
                     [&](const Engine3& found) { return copyText(found.message, buffer, size); });
}

int get_surface_engine3_degrees(int engine, int* degree_u, int* degree_v) {
  const char* function = __func__;
  return withEngine3(function, engine, [&](const Engine3& found) {
    const tg::SurfaceEngine3Result& result = found.fitted.result();
    return writePair(function, result.degree_u, result.degree_v, degree_u, degree_v);
  });
}

int get_surface_engine3_control_point_counts(int engine, int* count_u, int* count_v) {
  const char* function = __func__;
  return withEngine3(function, engine, [&](const Engine3& found) {
    const tg::SurfaceEngine3Result& result = found.fitted.result();
    return writePair(function, result.control_points_u, result.control_points_v, count_u, count_v);
  });
}

int get_surface_engine3_u_knots(int engine, double* out, int capacity, int* out_count) {
  const char* function = __func__;
  return withEngine3(function, engine, [&](const Engine3& found) {
    return writeValues(function, found.fitted.result().knots_u, out, capacity, out_count);
  });
}

int get_surface_engine3_v_knots(int engine, double* out, int capacity, int* out_count) {
  const char* function = __func__;
  return withEngine3(function, engine, [&](const Engine3& found) {
    return writeValues(function, found.fitted.result().knots_v, out, capacity, out_count);
  });
}

double get_surface_engine3_max_deviation(int engine) {
  return numberOf(__func__, engine, [](const auto& result) { return result.max_deviation; });
}

double get_surface_engine3_rms_deviation(int engine) {
  return numberOf(__func__, engine, [](const auto& result) { return result.rms_deviation; });
}

double get_surface_engine3_condition_number(int engine) {
  return numberOf(__func__, engine, [](const auto& result) { return result.condition_number; });
}

double get_surface_engine3_constraint_satisfaction(int engine) {
  return numberOf(__func__, engine,
                  [](const auto& result) { return result.constraint_satisfaction; });
}

int get_surface_engine3_timings(int engine, double* milliseconds) {
  const char* function = __func__;
  if (!milliseconds) return refuseIn(function, "the output is null");
  return withEngine3(function, engine, [&](const Engine3& found) {
    const tg::SurfaceEngine3Result& result = found.fitted.result();
    const double times[] = {result.parameterization_time_ms, result.constraint_building_time_ms,
                            result.solving_time_ms, result.total_time_ms};
    std::copy(std::begin(times), std::end(times), milliseconds);
    return kSuccess;
  });
}

int surface_engine3_project_points(int engine, const double* points, int count, double* uv) {
  const char* function = __func__;
  if (!uv) return refuseIn(function, "the output is null");
  if (const int refused = checkPoints(function, points, count)) return refused;
  return withEngine3(function, engine, [&](const Engine3& found) {
    double* next = uv;
    for (const auto& [u, v] :
         found.fitted.project_points_to_parameter_space(copyPoints(points, count))) {
      *next++ = u;
      *next++ = v;
    }
    return kSuccess;
  });
}

int evaluate_surface_engine3(int engine, double u, double v, double* xyz) {
  if (!xyz) return refuseIn(__func__, "the output is null");
  if (const int refused = checkFinite(__func__, {u, v})) return refused;
  return withEngine3(__func__, engine, [&](const Engine3& found) {
    writeTriple(found.fitted.evaluate_surface(u, v), xyz);
    return kSuccess;
  });
}

int evaluate_surface_engine3_normal(int engine, double u, double v, double* xyz) {
  if (!xyz) return refuseIn(__func__, "the output is null");
  if (const int refused = checkFinite(__func__, {u, v})) return refused;
  return withEngine3(__func__, engine, [&](const Engine3& found) {
    writeTriple(found.fitted.evaluate_surface_normal(u, v), xyz);
    return kSuccess;
  });
}

int create_surface_from_engine3(int engine) {
  return withEngine3(__func__, engine, [](const Engine3& found) {
    return storeSound(found.fitted.result().surface->clone(), "surface_engine3", kBadArgument,
                      "The engine's surface is not finite");
  });
}

int destroy_surface_engine3(int engine) {
  const int refused = withEngine3(__func__, engine, [](const Engine3&) { return kSuccess; });
  if (refused == kSuccess) engineTable().erase(engine);
  return refused;
}

int cleanup_surface_engine3(void) { return destroyAll(engines); }
