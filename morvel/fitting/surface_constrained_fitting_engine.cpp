#include "morvel/fitting/surface_constrained_fitting_engine.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "morvel/fitting/g1_constraint_builder.h"
#include "morvel/fitting/internal/constrained_solver.h"
#include "morvel/fitting/internal/hard_rows.h"
#include "morvel/fitting/internal/scattered_parameters.h"
#include "morvel/fitting/internal/stopwatch.h"
#include "morvel/fitting/internal/surface_normal_equations.h"
#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {

namespace status = foundation::status;
using foundation::progress::Cancelled;
using foundation::progress::Stage;
using Method = SurfaceEngine3ParameterizationMethod;

namespace {

constexpr int kFewestPoints = 4;
constexpr int kFewestControlPoints = 4;  // per side, where the count is automatic
constexpr double kMillisecondsPerSecond = 1000.0;

// What a fit may cost: entries of the band and operations of its factorisation, hard rows, and
// entries of the matrix that couples them to the control points.
constexpr double kMostBandEntries = 1.5e8;
constexpr double kMostOperations = 2e10;
constexpr int kMostHardRows = 2500;
constexpr double kMostCouplings = 5e7;

// Where the steps of a fit end, of its time.
constexpr double kUntilProjected = 0.1;
constexpr double kUntilBuilt = 0.4;
constexpr double kUntilSolved = 0.9;

/// Adds the time since it was made to a field of the result.
class Timed {
 public:
  explicit Timed(double& milliseconds) : milliseconds_(milliseconds) {}
  ~Timed() { milliseconds_ += kMillisecondsPerSecond * clock_.elapsed(); }
  Timed(const Timed&) = delete;
  Timed& operator=(const Timed&) = delete;

 private:
  double& milliseconds_;
  internal::Stopwatch clock_;
};

bool isOnBoundary(double u, double v) { return u == 0.0 || u == 1.0 || v == 0.0 || v == 1.0; }

int boundaryCount(const SurfaceConstraintSet& constraints, bool withG1) {
  int count = 0;
  for (const SurfacePointConstraint& point : constraints.point_constraints()) {
    const bool isHard = point.is_active && point.type == PointConstraintType::Interpolation;
    count += isHard && isOnBoundary(point.u, point.v);
  }
  if (!withG1) return count;
  for (const G1Constraint& g1 : constraints.g1_tangent_constraints())
    count += isOnBoundary(g1.u, g1.v);
  return count;
}

/// The knots given, or some that stand for knots not made yet.
std::vector<double> knotsOr(const std::vector<double>& knots, int degree) {
  return knots.empty() ? foundation::nurbs::generateUniformKnotVector(degree, degree + 1) : knots;
}

void append(std::vector<std::string>& all, const std::vector<std::string>& more) {
  all.insert(all.end(), more.begin(), more.end());
}

}  // namespace

/// The equations of one fit.
struct SurfaceConstrainedFittingEngine::System {
  internal::SurfaceNormalEquations equations;
  std::optional<internal::HardRows> rows;
  internal::SolverSettings settings;
  double ridge = 0.0;
};

SurfaceConstrainedFittingEngine::SurfaceConstrainedFittingEngine(std::vector<Point3D> points)
    : points_(std::move(points)) {}

SurfaceEngine3Result SurfaceConstrainedFittingEngine::create_constrained_surface(
    const std::vector<Point3D>& points, const SurfaceConstraintSet& constraints,
    const SurfaceEngine3Options& options) {
  return run(points, constraints, options);
}

namespace {

/// Adds a grid of points, row by row.
void addLattice(SurfaceConstraintSet& constraints, const std::vector<Point3D>& points,
                PointConstraintType type) {
  const SurfaceParameters lattice = compute_square_lattice_parameters(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    const double u = std::min(lattice[i].first, 1.0);
    const double v = std::min(lattice[i].second, 1.0);
    if (type == PointConstraintType::Interpolation)
      constraints.add_interpolation_point(points[i], u, v);
    else
      constraints.add_approximation_point(points[i], u, v);
  }
}

}  // namespace

SurfaceEngine3Result SurfaceConstrainedFittingEngine::fit_points_only(
    const std::vector<Point3D>& points, const SurfaceEngine3Options& options) {
  return fit_with_interpolation(points, {}, options);
}

SurfaceEngine3Result SurfaceConstrainedFittingEngine::interpolate_points_only(
    const std::vector<Point3D>& points, const SurfaceEngine3Options& options) {
  return fit_with_interpolation({}, points, options);
}

SurfaceEngine3Result SurfaceConstrainedFittingEngine::fit_with_interpolation(
    const std::vector<Point3D>& fit_points, const std::vector<Point3D>& interpolation_points,
    const SurfaceEngine3Options& options) {
  SurfaceConstraintSet constraints;
  addLattice(constraints, fit_points, PointConstraintType::Approximation);
  addLattice(constraints, interpolation_points, PointConstraintType::Interpolation);
  return run({}, std::move(constraints), options);
}

std::shared_ptr<BSplineSurface> SurfaceConstrainedFittingEngine::fit_surface_points(
    const std::vector<Point3D>& points, int degree_u, int degree_v) {
  SurfaceEngine3Options options;
  options.degree_u = degree_u;
  options.degree_v = degree_v;
  return SurfaceConstrainedFittingEngine().fit_points_only(points, options).surface;
}

std::shared_ptr<BSplineSurface> SurfaceConstrainedFittingEngine::interpolate_surface_points(
    const std::vector<Point3D>& points, int degree_u, int degree_v) {
  SurfaceEngine3Options options;
  options.degree_u = degree_u;
  options.degree_v = degree_v;
  return SurfaceConstrainedFittingEngine().interpolate_points_only(points, options).surface;
}

SurfaceEngine3Result SurfaceConstrainedFittingEngine::run(std::vector<Point3D> points,
                                                          SurfaceConstraintSet constraints,
                                                          const SurfaceEngine3Options& options) {
  points_ = std::move(points);
  constraints_ = std::move(constraints);
  options_ = options;
  return fit();
}

SurfaceEngine3Result SurfaceConstrainedFittingEngine::fit() {
  status::progress(status::Symbol::Working, "Surface Engine3: fitting ", get_point_count(),
                   " points");
  result_ = {};
  parameters_.clear();
  basis_.reset();
  double total = 0.0;
  bool isFitted = false;
  try {
    const Timed clock(total);
    Stage stage("fitting a constrained surface");
    isFitted = runSteps();
    if (isFitted) stage.finish();
  } catch (const Cancelled&) {
    result_ = {};
    throw;
  } catch (const std::exception& e) {
    fail(std::string("Exception during surface fitting: ") + e.what());
  }
  result_.success = isFitted;
  result_.total_time_ms = total;
  if (!isFitted) {
    result_.surface.reset();
    status::failure("Surface Engine3: ", result_.error_message);
  }
  return result_;
}

bool SurfaceConstrainedFittingEngine::fail(std::string text) {
  result_.error_message = std::move(text);
  return false;
}

bool SurfaceConstrainedFittingEngine::runSteps() {
  if (!validate_inputs() || !initialize_g1_constraint_processor() || !setup_parameterization() ||
      !setup_degrees() || !setup_knot_vectors() || !setup_control_point_grid())
    return false;
  System system{{basis_->uBasis(), basis_->vBasis()}, std::nullopt, {}, 0.0};
  const bool isBuilt =
      hasG1() ? build_enhanced_constraint_system(system) : build_constraint_system(system);
  return isBuilt && solve_constrained_system(system) && assess_solution_quality();
}

int SurfaceConstrainedFittingEngine::get_point_count() const {
  return static_cast<int>(points_.size()) + constraints_.get_interpolation_constraint_count() +
         constraints_.get_approximation_constraint_count();
}

bool SurfaceConstrainedFittingEngine::hasG1() const {
  return options_.g1_processing && !constraints_.g1_tangent_constraints().empty();
}

int SurfaceConstrainedFittingEngine::hardRowCount() const {
  return hasG1() ? constraints_.count_hard_constraints()
                 : constraints_.get_interpolation_constraint_count();
}

bool SurfaceConstrainedFittingEngine::validate_inputs() {
  const int count = get_point_count();
  if (count == 0) return fail("No input data provided");
  std::string message;
  if (!options_.validate(message)) return fail("Invalid options: " + message);
  if (count < kFewestPoints)
    return fail("Insufficient data points for surface fitting (need at least 4)");
  for (std::size_t k = 0; k < points_.size(); ++k) {
    if (!points_[k].isFinite())
      return fail(status::join("Data point ", k, " has a coordinate that is not finite"));
  }
  if (!constraints_.validate_all_constraints()) {
    append(result_.warnings, constraints_.get_validation_warnings());
    append(result_.warnings, constraints_.get_validation_messages());
    return fail("Invalid constraints");
  }
  if (options_.validation && constraints_.has_conflicting_constraints(options_.g1_tolerance)) {
    result_.warnings.push_back("Hard constraints at one place contradict each other");
    return fail("Invalid constraints");
  }
  return true;
}

bool SurfaceConstrainedFittingEngine::initialize_g1_constraint_processor() {
  const bool hasKnots = !options_.knots_u.empty() || !options_.knots_v.empty();
  if (!hasKnots) return true;  // the knots made later on are sound
  try {
    const BasisDerivativeEvaluator check(knotsOr(options_.knots_u, options_.degree_u),
                                         knotsOr(options_.knots_v, options_.degree_v),
                                         options_.degree_u, options_.degree_v);
  } catch (const std::invalid_argument& e) {
    status::failure("Failed to initialize G1 constraint processor: ", e.what());
    return fail(std::string("Failed to initialize G1 constraint processor: ") + e.what());
  }
  return true;
}

bool SurfaceConstrainedFittingEngine::setup_parameterization() {
  const Timed clock(result_.parameterization_time_ms);
  if (points_.empty()) return true;
  const Stage stage("projecting points", 0.0, kUntilProjected);
  try {
    internal::ScatteredParameters found = internal::scatteredParameters(
        points_, int_to_param_method(options_.parameterization_method));
    parameters_ = std::move(found.parameters);
    append(result_.warnings, found.warnings);
  } catch (const std::invalid_argument& e) {
    return fail(e.what());
  }
  return true;
}

int SurfaceConstrainedFittingEngine::automaticCount() const {
  const int stability = std::max(options_.degree_u, options_.degree_v) + 1;
  const double side = std::sqrt(double(get_point_count()));
  const int freedom = std::max(static_cast<int>(side / stability), kFewestControlPoints);
  // Fewer control points than hard rows could not satisfy them.
  const int needed = static_cast<int>(std::ceil(std::sqrt(double(hardRowCount()))));
  return std::max(freedom, needed);
}

bool SurfaceConstrainedFittingEngine::setup_degrees() {
  const auto settle = [&](const std::vector<double>& knots, int asked, int degree, int& count,
                          int& used) {
    const auto given = static_cast<int>(knots.size()) - degree - 1;
    count = !knots.empty() ? given : asked > 0 ? asked : automaticCount();
    used = std::min(degree, count - 1);
    if (used < degree)
      result_.warnings.push_back(status::join("Degree ", degree, " reduced to ", used));
  };
  settle(options_.knots_u, options_.control_points_u, options_.degree_u, result_.control_points_u,
         result_.degree_u);
  settle(options_.knots_v, options_.control_points_v, options_.degree_v, result_.control_points_v,
         result_.degree_v);
  if (result_.degree_u >= 1 && result_.degree_v >= 1) return true;
  return fail("A surface needs at least 2 x 2 control points");
}

bool SurfaceConstrainedFittingEngine::isAffordable() const {
  const double nU = result_.control_points_u;
  const double nV = result_.control_points_v;
  const double band =
      std::min(nU * result_.degree_v + result_.degree_u, nV * result_.degree_u + result_.degree_v);
  return nU * nV * band <= kMostBandEntries && nU * nV * band * band <= kMostOperations &&
         hardRowCount() <= kMostHardRows && nU * nV * hardRowCount() <= kMostCouplings;
}

bool SurfaceConstrainedFittingEngine::setup_knot_vectors() {
  if (!isAffordable()) {
    return fail(status::join("A control grid of ", result_.control_points_u, " x ",
                             result_.control_points_v, " with ", hardRowCount(),
                             " hard constraints is too large to be solved"));
  }
  const auto settle = [&](const std::vector<double>& given, int count, int degree,
                          std::vector<double>& knots) {
    knots = given.empty() ? create_clamped_knot_vector(count, degree) : given;
    foundation::nurbs::normalizeKnotVector(knots);
    return validate_knot_vector(knots, count, degree);
  };
  if (!settle(options_.knots_u, result_.control_points_u, result_.degree_u, result_.knots_u))
    return fail("Invalid U direction knot vector");
  if (!settle(options_.knots_v, result_.control_points_v, result_.degree_v, result_.knots_v))
    return fail("Invalid V direction knot vector");
  return true;
}

bool SurfaceConstrainedFittingEngine::setup_control_point_grid() {
  basis_ = std::make_shared<const BasisDerivativeEvaluator>(result_.knots_u, result_.knots_v,
                                                            result_.degree_u, result_.degree_v);
  if (hardRowCount() <= basis_->control_point_count()) return true;
  return fail(status::join("More hard constraints (", hardRowCount(), ") than control points (",
                           basis_->control_point_count(), ")"));
}

bool SurfaceConstrainedFittingEngine::buildRows(System& system, bool withG1) {
  const Timed clock(result_.constraint_building_time_ms);
  Stage stage("assembling", kUntilProjected, kUntilBuilt);
  system.equations.add(parameters_, points_);
  for (const SurfacePointConstraint& point : constraints_.point_constraints()) {
    stage.report(0.0);
    if (point.is_active && point.type == PointConstraintType::Approximation)
      system.equations.add(point.u, point.v, point.position, point.weight);
  }
  std::string error;
  system.rows = internal::hardRowsOf(constraints_, basis_, withG1, error);
  if (!system.rows) return fail(std::move(error));
  system.settings.lambda = options_.regularization_weight;
  system.settings.isAdaptive = options_.regularization;
  system.settings.analyse = options_.condition_analysis;
  system.settings.conditionThreshold = options_.condition_threshold;
  system.settings.maxRefinements = options_.max_iterations;
  if (system.rows->rows() > 0)
    system.ridge = internal::augmentedRidge(system.equations, *system.rows, system.settings);
  return true;
}

bool SurfaceConstrainedFittingEngine::build_constraint_system(System& system) {
  return buildRows(system, false);
}

bool SurfaceConstrainedFittingEngine::build_enhanced_constraint_system(System& system) {
  return buildRows(system, true);
}

bool SurfaceConstrainedFittingEngine::solve_constrained_system(System& system) {
  const Timed clock(result_.solving_time_ms);
  const Stage stage("solving", kUntilBuilt, kUntilSolved);
  const bool isAugmented = system.rows->rows() > 0;
  status::progress(status::Symbol::Step, "Solver Analysis:");
  status::progress(status::Symbol::None, "   System type: ",
                   isAugmented ? "Lagrange multiplier (augmented)" : "Least squares");
  status::progress(status::Symbol::None, isAugmented
                                             ? "   Using direct solver for augmented system"
                                             : "   Using normal equations for least squares");
  try {
    const internal::ConstrainedSolution solution =
        isAugmented ? internal::solveAugmented(system.equations, *system.rows, system.ridge,
                                               system.settings)
                    : internal::solveLeastSquaresFit(system.equations, system.settings);
    result_.condition_number = solution.condition;
    append(result_.warnings, solution.warnings);
    if (!solution.controlPoints || !makeSurface(*solution.controlPoints)) {
      return fail(isAugmented ? "Failed to solve augmented constraint system"
                              : "Failed to solve constraint system");
    }
  } catch (const Cancelled&) {
    throw;
  } catch (const std::exception& e) {
    return fail(std::string("Exception during system solving: ") + e.what());
  }
  if (isAugmented) {
    status::progress(status::Symbol::None, "   ✅ Augmented system solved, extracted ",
                     system.equations.size(), " control points");
  }
  return true;
}

bool SurfaceConstrainedFittingEngine::makeSurface(const Eigen::MatrixXd& controlPoints) {
  if (!controlPoints.allFinite()) return false;
  ControlNet net(result_.control_points_u, result_.control_points_v);
  for (int j = 0; j < net.vCount(); ++j) {
    for (int i = 0; i < net.uCount(); ++i)
      net(i, j) = Point3D(Eigen::Vector3d(controlPoints.row(j * net.uCount() + i)));
  }
  result_.surface = std::make_shared<BSplineSurface>(
      std::move(net), result_.knots_u, result_.knots_v, result_.degree_u, result_.degree_v);
  return result_.surface->isValid();
}

bool SurfaceConstrainedFittingEngine::assess_solution_quality() {
  const Stage stage("measuring", kUntilSolved);
  const auto [largest, rms] = measuredDeviations();
  result_.max_deviation = largest;
  result_.rms_deviation = rms;
  result_.constraint_satisfaction = compute_constraint_satisfaction_score();
  result_.interpolation_constraints = constraints_.get_interpolation_constraint_count();
  result_.approximation_constraints =
      static_cast<int>(points_.size()) + constraints_.get_approximation_constraint_count();
  result_.derivative_constraints = constraints_.get_derivative_constraint_count();
  result_.boundary_constraints = boundaryCount(constraints_, hasG1());
  const bool isFinite = std::isfinite(largest) && std::isfinite(rms);
  return isFinite ? true : fail("The fitted surface is not finite at its points");
}

bool SurfaceConstrainedFittingEngine::validate_g1_constraint_compatibility(
    std::vector<std::string>* messages) const {
  std::vector<std::string> faults;
  const std::vector<G1Constraint>& tangents = constraints_.g1_tangent_constraints();
  for (std::size_t k = 0; k < tangents.size(); ++k) {
    if (!G1ConstraintBuilder::validate_individual_constraint(tangents[k]))
      faults.push_back(status::join("Invalid constraint at index ", k));
  }
  if (faults.empty() && constraints_.has_conflicting_constraints(options_.g1_tolerance))
    faults.push_back("Hard constraints at one place contradict each other");
  const int freedom = basis_ ? basis_->control_point_count() : 0;
  if (basis_ && constraints_.count_hard_constraints() > freedom) {
    faults.push_back(status::join("More hard constraints (", constraints_.count_hard_constraints(),
                                  ") than control points (", freedom, ")"));
  }
  const bool areCompatible = faults.empty();
  if (messages) *messages = std::move(faults);
  return areCompatible;
}

}  // namespace trova::geometry
