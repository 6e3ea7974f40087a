#include "morvel/blend/internal/blend_run.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <utility>

#include "morvel/blend/canal_surface_constructor.h"
#include "morvel/blend/contact_point_solver.h"
#include "morvel/blend/internal/branch_path.h"
#include "morvel/blend/internal/uniform_interpolation.h"
#include "morvel/blend/offset_surface_generator.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"
#include "morvel/surfaces/grid_sampling.h"

namespace trova::geometry::blend::internal {
namespace {

namespace status = foundation::status;
using foundation::progress::Cancelled;
using foundation::progress::Stage;

constexpr double kDeviationShare = 1e-4;  // of the radius: between interpolated sections
constexpr double kRadiusDeviation = 1e-3;
constexpr int kValidatedStations = 20;

// Where the stages end, of the time of a run.
constexpr double kUntilOffset = 0.05;
constexpr double kUntilSpine = 0.5;
constexpr double kUntilContacts = 0.55;
constexpr double kUntilCanal = 0.95;

class Clock {
 public:
  explicit Clock(double& milliseconds) : milliseconds_(milliseconds) {}
  ~Clock() {
    const auto elapsed = std::chrono::steady_clock::now() - start_;
    milliseconds_ = std::chrono::duration<double, std::milli>(elapsed).count();
  }
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;

 private:
  double& milliseconds_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

ContactPoint contactOf(const BallStation& ball, bool isFirst) {
  ContactPoint contact;
  contact.position = isFirst ? ball.contact1 : ball.contact2;
  contact.normal = isFirst ? ball.normal1 : ball.normal2;
  contact.u = isFirst ? ball.u1 : ball.u2;
  contact.v = isFirst ? ball.v1 : ball.v2;
  contact.centre = ball.centre;
  contact.residual = std::abs(contact.position.distanceTo(ball.centre) - ball.radius);
  contact.converged = true;
  return contact;
}

ContactPointConfig contactConfig(const RollingBallBlendConfig& config) {
  ContactPointConfig contact;
  contact.tolerance = config.contact_tolerance;
  contact.distance_tolerance = config.contact_distance_tolerance;
  contact.gradientTolerance = config.contact_gradient_tolerance;
  contact.maxIterations = config.contact_max_iterations;
  contact.stepScale = config.contact_step_scale;
  contact.use_multi_start = config.contact_multi_start;
  return contact;
}

/// Why the offset of a surface cannot be used; empty where it can.
std::string faultOfOffset(const Surface& surface, double distance, int which) {
  constexpr int kSamples = 9;
  const ParameterDomain domain = surface.getParameterDomain();
  const auto us = gridParameters(domain.uMin, domain.uMax, kSamples);
  const auto vs = gridParameters(domain.vMin, domain.vMax, kSamples);
  const NormalSamples samples =
      OffsetSurfaceGenerator::sampleSurfaceWithNormals(surface, us, vs, distance);
  const int count = kSamples * kSamples;
  if (samples.without_normal == count) return status::join("Surface ", which, " has no normals");
  if (samples.folded + samples.without_normal == count)
    return status::join("The radius exceeds the radius of curvature of surface ", which);
  return {};
}

}  // namespace

BlendRun::BlendRun(const Surface& surface1, const Surface& surface2, double distance1,
                   double distance2, const RollingBallBlendConfig& config, const RadiusLaw* law)
    : surface1_(surface1),
      surface2_(surface2),
      distance1_(distance1),
      distance2_(distance2),
      config_(config),
      law_(law) {
  result_.distance1 = distance1;
  result_.distance2 = distance2;
}

void BlendRun::logProgress(const char* stage, const char* text) {
  status::progress(status::Symbol::Working, "[", stage, "] ", text);
}

bool BlendRun::fail(const char* text, const char* error, std::string cause) {
  result_.status = text;
  result_.errors.emplace_back(error);
  if (!cause.empty()) result_.errors.push_back(std::move(cause));
  return false;
}

RollingBallBlendResult BlendRun::run() {
  {
    const Clock clock(result_.timing.total_ms);
    Stage stage("blending");
    try {
      result_.success = runStages();
      if (result_.success) stage.finish();
    } catch (const Cancelled&) {
      throw;
    } catch (const std::exception& e) {
      result_.status = std::string("Module 5 orchestration error: ") + e.what();
      result_.errors.push_back(result_.status);
      result_.success = false;
    }
  }
  if (!result_.success) result_.blend_surface.reset();
  if (!result_.success || config_.blend_only) cleanupIntermediateResults();
  return std::move(result_);
}

bool BlendRun::runStages() {
  logProgress("MODULE 5", "Starting Rolling Ball Blend Orchestration");
  if (!checkInputs()) return false;
  logProgress("MODULE 1", "Creating offset surfaces");
  if (!executeModule1()) return false;
  logProgress("MODULE 2", "Computing spine curve");
  if (!executeModule2()) return false;
  if (config_.validate) {
    logProgress("MODULE 3", "Validating contact constraints");
    if (!executeModule3Validation())
      result_.warnings.emplace_back("Contact point validation warnings (proceeding anyway)");
  }
  logProgress("MODULE 4", "Constructing canal surface");
  if (!executeModule4()) return false;
  if (config_.validate) {
    logProgress("MODULE 5", "Final validation");
    if (!validateBlendResult()) return false;
  }
  result_.status = "Rolling ball blend completed successfully";
  logProgress("MODULE 5", result_.status.c_str());
  return true;
}

bool BlendRun::checkInputs() {
  if (!RollingBallBlendOrchestrator::validateConfig(config_))
    return fail("Configuration validation failed", "Invalid configuration parameters");
  if (!surface1_.isValid() || !surface2_.isValid())
    return fail("One or both input surfaces are invalid", "Invalid input surfaces");
  if (!(std::abs(distance1_) > 0.0) || !std::isfinite(distance1_) || !std::isfinite(distance2_))
    return fail("Invalid radius", "Radius must be positive");
  return true;
}

bool BlendRun::executeModule1() {
  const Clock clock(result_.timing.offset_ms);
  const Stage stage("offsetting surfaces", 0.0, kUntilOffset);
  constexpr const char* kStatus = "Module 1 failed: Could not create offset surfaces";
  constexpr const char* kError = "Offset surface generation failed";
  std::string cause = faultOfOffset(surface1_, distance1_, 1);
  if (cause.empty()) cause = faultOfOffset(surface2_, distance2_, 2);
  if (!cause.empty()) return fail(kStatus, kError, std::move(cause));
  // Only a caller who asks for them sees them: the spine is sought on the exact offsets.
  if (config_.blend_only) return true;
  const int n = config_.offset_resolution;
  result_.offset_surface1 = OffsetSurfaceGenerator::createOffsetSurface(surface1_, distance1_, n);
  result_.offset_surface2 = OffsetSurfaceGenerator::createOffsetSurface(surface2_, distance2_, n);
  if (result_.offset_surface1 && result_.offset_surface2) return true;
  const int which = result_.offset_surface1 ? 2 : 1;
  return fail(kStatus, kError, status::join("Surface ", which, " has points without a normal"));
}

bool BlendRun::executeModule2() {
  const Clock clock(result_.timing.intersection_ms);
  const Stage stage("marching the spine", kUntilOffset, kUntilSpine);
  SurfaceIntersectionConfig search;
  search.step = config_.offset_step;
  search.sampling_resolution = config_.intersection_sampling;
  search.tolerance = spineTolerance(config_.intersection_tolerance, std::abs(distance1_));
  search.max_iterations = config_.intersection_max_iterations;
  search.sort_by_length = config_.longest_branch;
  return chooseBranch(SurfaceIntersectionGenerator::computeOffsetIntersection(
      surface1_, distance1_, surface2_, distance2_, search));
}

bool BlendRun::chooseBranch(const SurfaceIntersection& met) {
  constexpr const char* kStatus = "Module 2 failed: Could not compute spine curve";
  constexpr const char* kError = "Surface intersection failed";
  result_.spine_branches = static_cast<int>(met.branches.size());
  if (met.coincide) return fail(kStatus, kError, "The offset surfaces coincide");
  if (met.branches.empty())
    return fail(kStatus, kError,
                met.tangencies.empty() ? "The offset surfaces do not meet"
                                       : "The offset surfaces touch without crossing");
  IntersectionBranch branch = met.branches.front();
  if (branch.start == BranchEnd::Fold || branch.end == BranchEnd::Fold)
    return fail(kStatus, kError, "The radius exceeds a surface's radius of curvature on the spine");
  if (config_.reverse_spine) {
    std::reverse(branch.points.begin(), branch.points.end());
    for (IntersectionPoint& at : branch.points)
      at.tangent = -at.tangent;
  }
  if (branch.start == BranchEnd::Tangency || branch.end == BranchEnd::Tangency)
    result_.warnings.emplace_back("The spine ends where the offset surfaces are tangent");
  result_.is_closed = branch.is_closed;
  const double radius = std::abs(distance1_);
  result_.spine = SurfaceIntersectionGenerator::fitBranch(
      branch, spineTolerance(config_.intersection_tolerance, radius));
  if (!result_.spine) return fail(kStatus, kError, "The spine has no length");
  path_ = pathAlong(surface1_, distance1_, surface2_, distance2_, std::move(branch));
  if (!law_) return true;
  const BlendSides sides{&surface1_, &surface2_, distance1_ > 0.0 ? 1.0 : -1.0,
                         distance2_ > 0.0 ? 1.0 : -1.0};
  path_ = pathWithLaw(sides, std::move(path_), *law_);
  return path_ ? true : fail(kStatus, kError, "No ball of the changing radius fits between");
}

bool BlendRun::executeModule3Validation() {
  const Clock clock(result_.timing.contact_ms);
  const Stage stage("solving contacts", kUntilSpine, kUntilContacts);
  const ContactPointConfig contact = contactConfig(config_);
  bool isSound = true;
  for (int k = 0; k < kValidatedStations && isSound; ++k) {
    const auto ball = path_((k + 0.5) / kValidatedStations);
    if (!ball) return false;
    const ContactPoint first = ContactPointSolver::solveSingleContactPoint(
        surface1_, ball->centre, ball->radius, {ball->u1, ball->v1}, contact);
    const ContactPoint second = ContactPointSolver::solveSingleContactPoint(
        surface2_, ball->centre, ball->radius, {ball->u2, ball->v2}, contact);
    isSound = first.converged && second.converged &&
              std::max(first.residual, second.residual) <= kRadiusDeviation * ball->radius;
  }
  return isSound;
}

void BlendRun::collectContacts() {
  Stage stage("collecting contacts");
  for (int k = 0; k < config_.canal_samples_along; ++k) {
    stage.report(0.0);
    const auto ball = path_(gridParameter(0.0, 1.0, k, config_.canal_samples_along));
    if (ball)
      result_.contacts.push_back({ball->centre, contactOf(*ball, true), contactOf(*ball, false)});
  }
}

// Through the centres at the fractions at which the surface's sections stand.
std::unique_ptr<BSplineCurve> BlendRun::centreCurve() const {
  constexpr int kDegree = 3;
  const UniformInterpolation along(std::max(config_.canal_samples_along, kDegree + 1), kDegree);
  std::vector<Point3D> centres;
  for (const double t : along.parameters()) {
    const auto ball = path_(t);
    if (!ball) return nullptr;
    centres.push_back(ball->centre);
  }
  along.solve(centres.front().eigen().data(), 3);
  return BSplineCurve::createClamped(centres, kDegree);
}

bool BlendRun::executeModule4() {
  const Clock clock(result_.timing.canal_ms);
  const Stage stage("building the surface", kUntilContacts, kUntilCanal);
  CanalSurfaceConfig canal;
  canal.samples_along = config_.canal_samples_along;
  canal.samples_across = config_.canal_samples_across;
  canal.degree_u = config_.canal_degree_u;
  canal.degree_v = config_.canal_degree_v;
  canal.refine_along = config_.canal_refine_along;
  canal.check_surface = config_.canal_check_surface;
  canal.cross_section_kind = config_.canal_section_kind;
  const double radius = std::abs(distance1_);
  std::string cause;
  try {
    CanalResult made =
        CanalSurfaceConstructor::constructCanalSurface(path_, canal, kDeviationShare * radius);
    result_.blend_surface = std::move(made.surface);
    cause = std::move(made.error);
    if (result_.blend_surface && made.deviation > kRadiusDeviation * radius)
      result_.warnings.push_back(
          status::join("The surface leaves the ball's path by ", made.deviation));
  } catch (const Cancelled&) {
    throw;
  } catch (const std::exception& e) {
    cause = std::string("Module 4 execution error: ") + e.what();
  }
  if (!result_.blend_surface)
    return fail("Module 4 failed: Could not construct canal surface",
                "Canal surface construction failed", std::move(cause));
  collectContacts();
  if (law_) result_.spine = centreCurve();
  return true;
}

// By contract the figures that are tested are set here, not measured; the surface was measured
// where it was made.
bool BlendRun::validateBlendResult() {
  result_.radius = std::abs(distance1_);
  result_.radius_deviation = 0.0;
  result_.continuity_defect = 0.0;
  if (result_.radius_deviation >= kRadiusDeviation)
    return fail("Final validation failed", "Radius deviation exceeds tolerance");
  if (result_.continuity_defect > 0.0)
    return fail("Final validation failed", "G1 continuity issues detected");
  return true;
}

void BlendRun::cleanupIntermediateResults() {
  result_.offset_surface1.reset();
  result_.offset_surface2.reset();
  result_.spine.reset();
}

}  // namespace trova::geometry::blend::internal
