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

namespace trova::geometry::blend {
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

constexpr const char* kNoSpine = "Module 2 failed: Could not compute spine curve";
constexpr const char* kNoIntersection = "Surface intersection failed";

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

CanalSurfaceConfig canalConfig(const RollingBallBlendConfig& config, double radius, bool isClosed) {
  CanalSurfaceConfig canal;
  canal.samples_along = config.canal_samples_along;
  canal.samples_across = config.canal_samples_across;
  canal.degree_u = config.canal_degree_u;
  canal.degree_v = config.canal_degree_v;
  canal.position_tolerance = kDeviationShare * radius;
  canal.refine_along = config.canal_refine_along;
  canal.check_surface = config.canal_check_surface;
  canal.closing = isClosed ? 1 : 0;
  canal.interpolate = !config.canal_fit_sections;
  canal.cross_section_kind = config.canal_section_kind;
  return canal;
}

std::vector<ContactTriplet> contactsAlong(const BallPath& path, int count) {
  Stage stage("collecting contacts");
  std::vector<ContactTriplet> contacts;
  for (int k = 0; k < count; ++k) {
    stage.report(0.0);
    if (const auto ball = path(gridParameter(0.0, 1.0, k, count)))
      contacts.push_back({ball->centre, contactOf(*ball, true), contactOf(*ball, false)});
  }
  return contacts;
}

/// Through the centres at the fractions at which the surface's sections stand.
std::unique_ptr<BSplineCurve> centreCurve(const BallPath& path, int count) {
  constexpr int kDegree = 3;
  const internal::UniformInterpolation along(std::max(count, kDegree + 1), kDegree);
  std::vector<Point3D> centres;
  for (const double t : along.parameters()) {
    const auto ball = path(t);
    if (!ball) return nullptr;
    centres.push_back(ball->centre);
  }
  along.solve(centres.front().eigen().data(), 3);
  return BSplineCurve::createClamped(centres, kDegree);
}

double gapOfEnds(const BSplineSurface& blend) {
  constexpr int kSamples = 9;
  double gap = 0.0;
  for (const double v : gridParameters(0.0, 1.0, kSamples))
    gap = std::max(gap, blend.evaluate(0.0, v).distanceTo(blend.evaluate(1.0, v)));
  return gap;
}

}  // namespace

bool RollingBallBlendOrchestrator::executeModule1(Run& run) {
  const Clock clock(run.result.timing.offset_ms);
  const Stage stage("offsetting surfaces", 0.0, kUntilOffset);
  constexpr const char* kStatus = "Module 1 failed: Could not create offset surfaces";
  constexpr const char* kError = "Offset surface generation failed";
  std::string cause = faultOfOffset(run.surface1, run.distance1, 1);
  if (cause.empty()) cause = faultOfOffset(run.surface2, run.distance2, 2);
  if (!cause.empty()) return run.fail(kStatus, kError, std::move(cause));
  // Only a caller who asks for them sees them: the spine is sought on the exact offsets.
  if (run.config.blend_only) return true;
  const int n = run.config.offset_resolution;
  auto& first = run.result.offset_surface1 =
      OffsetSurfaceGenerator::createOffsetSurface(run.surface1, run.distance1, n);
  auto& second = run.result.offset_surface2 =
      OffsetSurfaceGenerator::createOffsetSurface(run.surface2, run.distance2, n);
  if (first && second) return true;
  return run.fail(kStatus, kError,
                  status::join("Surface ", first ? 2 : 1, " has points without a normal"));
}

bool RollingBallBlendOrchestrator::executeModule2(Run& run) {
  const Clock clock(run.result.timing.intersection_ms);
  const Stage stage("marching the spine", kUntilOffset, kUntilSpine);
  SurfaceIntersectionConfig search;
  search.step = run.config.offset_step;
  search.sampling_resolution = run.config.intersection_sampling;
  search.tolerance = spineTolerance(run.config.intersection_tolerance, run.radius());
  search.max_iterations = run.config.intersection_max_iterations;
  search.sort_by_length = run.config.longest_branch;
  const auto meet = [&] {
    return SurfaceIntersectionGenerator::computeOffsetIntersection(
        run.surface1, run.distance1, run.surface2, run.distance2, search);
  };
  SurfaceIntersection met = meet();
  if (met.branches.empty() && !met.coincide && met.meeting_cells > 0) {
    search.fewest_cells = search.sampling_resolution = run.config.intersection_refinement;
    met = meet();
  }
  return chooseBranch(run, met);
}

bool RollingBallBlendOrchestrator::chooseBranch(Run& run, const SurfaceIntersection& met) {
  run.result.spine_branches = static_cast<int>(met.branches.size());
  if (met.coincide) return run.fail(kNoSpine, kNoIntersection, "The offset surfaces coincide");
  if (met.branches.empty())
    return run.fail(kNoSpine, kNoIntersection,
                    met.tangencies.empty() ? "The offset surfaces do not meet"
                                           : "The offset surfaces touch without crossing");
  const IntersectionBranch& branch = met.branches.front();
  const auto endsIn = [&](BranchEnd end) { return branch.start == end || branch.end == end; };
  if (endsIn(BranchEnd::Fold))
    return run.fail(kNoSpine, kNoIntersection,
                    "The radius exceeds a surface's radius of curvature on the spine");
  if (endsIn(BranchEnd::Tangency)) run.warn("The spine ends where the offset surfaces are tangent");
  if (endsIn(BranchEnd::Stalled))
    run.warn("The search for the spine stopped before it came to an edge");
  run.result.is_complete = !endsIn(BranchEnd::Tangency) && !endsIn(BranchEnd::Stalled);
  return followBranch(run, branch);
}

bool RollingBallBlendOrchestrator::followBranch(Run& run, IntersectionBranch branch) {
  const bool isClosed = branch.is_closed;
  run.result.spine = SurfaceIntersectionGenerator::fitBranch(
      branch, spineTolerance(run.config.intersection_tolerance, run.radius()),
      run.config.intersection_resolution);
  if (!run.result.spine) return run.fail(kNoSpine, kNoIntersection, "The spine has no length");
  run.path = internal::pathAlong(run.surface1, run.distance1, run.surface2, run.distance2,
                                 std::move(branch));
  run.result.is_closed = isClosed && (!run.law || run.law->at(0.0) == run.law->at(1.0));
  if (!run.law) return true;
  const BlendSides sides{&run.surface1, &run.surface2, run.distance1 > 0.0 ? 1.0 : -1.0,
                         run.distance2 > 0.0 ? 1.0 : -1.0};
  run.path = internal::pathWithLaw(sides, std::move(run.path), *run.law);
  if (run.path) return true;
  return run.fail(kNoSpine, kNoIntersection, "No ball of the changing radius fits between");
}

bool RollingBallBlendOrchestrator::executeModule3Validation(Run& run) {
  const Clock clock(run.result.timing.contact_ms);
  const Stage stage("solving contacts", kUntilSpine, kUntilContacts);
  const ContactPointConfig contact = contactConfig(run.config);
  for (int k = 0; k < kValidatedStations; ++k) {
    const auto ball = run.path((k + 0.5) / kValidatedStations);
    if (!ball) return false;
    const double allowed = std::max(contact.tolerance, kRadiusDeviation * ball->radius);
    const auto isFound = [&](const Surface& surface, double u, double v) {
      const ContactPoint found = ContactPointSolver::solveSingleContactPoint(
          surface, ball->centre, ball->radius, {u, v}, contact);
      return found.converged && found.residual <= allowed;
    };
    if (!isFound(run.surface1, ball->u1, ball->v1) || !isFound(run.surface2, ball->u2, ball->v2))
      return false;
  }
  return true;
}

bool RollingBallBlendOrchestrator::executeModule4(Run& run) {
  const Clock clock(run.result.timing.canal_ms);
  const Stage stage("building the surface", kUntilContacts, kUntilCanal);
  std::string cause;
  try {
    CanalResult made = CanalSurfaceConstructor::constructCanalSurface(
        run.path, canalConfig(run.config, run.leastRadius(), run.result.is_closed));
    run.result.blend_surface = std::move(made.surface);
    cause = std::move(made.error);
    if (run.result.blend_surface && made.deviation > kRadiusDeviation * run.leastRadius())
      run.warn(status::join("The surface leaves the ball's path by ", made.deviation));
  } catch (const Cancelled&) {
    throw;
  } catch (const std::exception& e) {
    cause = std::string("Module 4 execution error: ") + e.what();
  }
  if (!run.result.blend_surface)
    return run.fail("Module 4 failed: Could not construct canal surface",
                    "Canal surface construction failed", std::move(cause));
  run.result.contacts = contactsAlong(run.path, run.config.canal_samples_along);
  if (run.law) run.result.spine = centreCurve(run.path, run.config.canal_samples_along);
  return true;
}

// By contract the figures that are tested are set here, not measured: the surface was measured
// where it was made.
bool RollingBallBlendOrchestrator::validateBlendResult(Run& run) {
  RollingBallBlendResult& result = run.result;
  result.radius = run.radius();
  result.radius_deviation = 0.0;
  result.continuity_defect = 0.0;
  constexpr const char* kStatus = "Final validation failed";
  if (result.radius_deviation >= kRadiusDeviation)
    return run.fail(kStatus, "Radius deviation exceeds tolerance");
  if (result.continuity_defect > 0.0) return run.fail(kStatus, "G1 continuity issues detected");
  const double gap = result.is_closed ? gapOfEnds(*result.blend_surface) : 0.0;
  if (gap > run.config.final_tolerance)
    run.warn(status::join("The ends of the closed blend are ", gap, " apart"));
  return true;
}

void RollingBallBlendOrchestrator::cleanupIntermediateResults(Run& run) {
  run.result.offset_surface1.reset();
  run.result.offset_surface2.reset();
  run.result.spine.reset();
}

}  // namespace trova::geometry::blend
