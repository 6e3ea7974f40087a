// Making an N-sided patch: the steps, and what they find.

#include "morvel/nsided/rbf_nsided_patch.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"
#include "morvel/nsided/internal/space_fill.h"

namespace trova::geometry {
namespace {

namespace status = foundation::status;
using foundation::progress::Stage;

constexpr int kDegree = 3;
constexpr int kResolution = 50;
constexpr int kManySamples = 5;  // a curve on a surface takes fewer than these
constexpr int kSurfaceCurveSamples = 4;
constexpr int kFewestSpans = 6;
constexpr int kMostSpans = 12;
constexpr int kFineSpans = 4;
constexpr int kMostFineSpans = 20;
constexpr double kFineTolerance = 0.001;  // model units
constexpr double kGoodShare = 10.0;       // of the boundary tolerance
constexpr double kFairShare = 100.0;
// Where the steps of a height field end, of its time.
constexpr double kUntilSampled = 0.1;
constexpr double kUntilSolved = 0.6;
constexpr double kUntilEvaluated = 0.9;
constexpr const char* kTooFew = "Minimum 3 boundary curves required";
constexpr const char* kTooMany =
    "Too many boundary curves (>20) may result in poor surface quality";

bool areLevels(const std::vector<int>& levels) {
  return std::all_of(levels.begin(), levels.end(), [](int level) {
    return level >= kPositionContinuity && level <= kCurvatureContinuity;
  });
}

bool areWeights(const std::vector<double>& weights) {
  return std::all_of(weights.begin(), weights.end(),
                     [](double weight) { return weight > 0.0 && std::isfinite(weight); });
}

}  // namespace

RBFNSidedPatch::RBFNSidedPatch(BoundaryCurves curves, NSidedPatchParameters parameters)
    : BoundarySurface(std::move(curves)), parameters_(std::move(parameters)) {}

RBFNSidedPatch::RBFNSidedPatch(const RBFNSidedPatch& other) = default;

std::unique_ptr<RBFNSidedPatch> RBFNSidedPatch::createFromBoundaries(
    const BoundaryCurves& curves, const NSidedPatchParameters& parameters,
    ValidationResults* results) {
  auto patch = std::make_unique<RBFNSidedPatch>(curves, parameters);
  patch->parameters_.boundaryCurves = curves;
  if (parameters.autoUpdate) patch->parameters_.updateRBFParameters();
  ValidationResults found;
  const bool isUsable = patch->validateBoundaryConfiguration(found);
  if (results) *results = found;
  if (!found.errors.empty()) patch->message_ = found.errors.front();
  if (!isUsable) return patch;
  Stage stage("filling a hole");
  if (parameters.optimizeSpans)
    calculateOptimalSpans(patch->parameters_, patch->parameters_.spansU, patch->parameters_.spansV);
  if (parameters.fillInSpace)
    patch->makeInSpace();
  else
    patch->makeHeightField();
  if (patch->surface_) stage.finish();
  if (patch->prints() && patch->surface_)
    status::success("N-sided patch of ", curves.size(), " curves created");
  return patch;
}

void RBFNSidedPatch::makeHeightField() {
  {
    const Stage step("sampling the boundary", 0.0, kUntilSampled);
    extractBoundaryConstraints(chosenSamplesPerCurve());
  }
  {
    const Stage step("solving", kUntilSampled, kUntilSolved);
    buildConstraintSystem();
    if (!fitRBFSurface()) throw std::runtime_error("the RBF system has no finite solution");
  }
  {
    const Stage step("evaluating", kUntilSolved, kUntilEvaluated);
    if (parameters_.useHermite)
      convertHRBFToBSpline();
    else
      convertToBSpline();
  }
  if (parameters_.measureQuality) computeQualityMetrics();
}

void RBFNSidedPatch::makeInSpace() {
  internal::SpaceFill fill = internal::fillLoopInSpace(
      {getBoundaryCurves(), parameters_.continuityLevels, parameters_.curveWeights,
       parameters_.spansU, parameters_.spansV, parameters_.boundaryTolerance,
       parameters_.tangentFactor, parameters_.plateFactor});
  surface_ = std::move(fill.surface);
  quality_ = {fill.measure.maxDeviation, fill.measure.rmsDeviation, fill.conditionNumber,
              fill.measure.maxAngle};
}

int RBFNSidedPatch::chosenSamplesPerCurve() const {
  const int wanted = parameters_.samplesPerCurve;
  const bool anyOnSurface = std::any_of(getBoundaryCurves().begin(), getBoundaryCurves().end(),
                                        [](const auto& curve) { return isOnSurface(*curve); });
  return anyOnSurface && wanted >= kManySamples ? kSurfaceCurveSamples : wanted;
}

bool RBFNSidedPatch::validateBoundaryLoop() {
  message_.clear();
  if (getBoundaryCurveCount() < kFewestBoundaryCurves) {
    message_ = "Minimum 3 boundary curves required for N-sided patch";
    return false;
  }
  if (getBoundaryCurveCount() > kManyBoundaryCurves) message_ = kTooMany;
  if (!validateCurvesCompatibility()) {
    message_ = "Invalid boundary curves detected";
    return false;
  }
  double gap = 0.0;
  const bool isClosed = checkBoundaryClosure(gap);
  if (!isClosed)
    message_ = status::join("Boundary gap (", gap, ") exceeds tolerance (",
                            parameters_.boundaryTolerance, ")");
  return isClosed;
}

bool RBFNSidedPatch::validateBoundaryConfiguration(ValidationResults& results) const {
  const BoundaryCurves& curves = getBoundaryCurves();
  results = {};
  results.curveCount = getBoundaryCurveCount();
  const auto refuse = [&](std::string text) {
    results.errors.push_back(std::move(text));
    return false;
  };
  if (results.curveCount < kFewestBoundaryCurves) return refuse(kTooFew);
  if (results.curveCount > kManyBoundaryCurves) results.warnings.emplace_back(kTooMany);
  if (!areUsableCurves(curves)) return refuse("Invalid boundary curves detected");
  const std::size_t weights = parameters_.curveWeights.size();
  if (parameters_.continuityLevels.size() != curves.size() ||
      (weights != 0 && weights != curves.size()))
    refuse("Parameter arrays size mismatch with boundary curves");
  else if (!areLevels(parameters_.continuityLevels))
    refuse("Continuity levels must be 0, 1 or 2");
  else if (!areWeights(parameters_.curveWeights))
    refuse("Boundary weights must be above 0");
  results.gaps = boundaryGaps(curves);
  results.isClosed = checkBoundaryClosure(results.maxGap);
  results.tolerance = closureTolerance(curves, results.maxGap, parameters_.boundaryTolerance);
  if (!results.isClosed)
    refuse(status::join("Boundary gap (", results.maxGap, ") exceeds tolerance (",
                        results.tolerance, ")"));
  results.hasIntersections = detectCurveIntersections();
  if (results.hasIntersections) refuse("Boundary curves have intersections");
  results.isValid = results.errors.empty();
  return results.isValid;
}

bool RBFNSidedPatch::checkBoundaryClosure(double& max_gap) const {
  max_gap = 0.0;
  for (const double gap : analyzeBoundaryGaps())
    max_gap = std::max(max_gap, gap);
  return closureTolerance(getBoundaryCurves(), max_gap, parameters_.boundaryTolerance) >= max_gap;
}

bool RBFNSidedPatch::detectCurveIntersections() const {
  return boundaryCurvesCross(getBoundaryCurves(), parameters_.boundaryTolerance);
}

std::vector<double> RBFNSidedPatch::analyzeBoundaryGaps() const {
  return boundaryGaps(getBoundaryCurves());
}

bool RBFNSidedPatch::validateCurvesCompatibility() const {
  return areUsableCurves(getBoundaryCurves());
}

Point3D RBFNSidedPatch::getCurveEndpoint(int index, bool atEnd) const {
  const auto curve = getBoundaryCurve(index);
  const ParameterInterval interval = curve->getParameterInterval();
  return curve->evaluate(atEnd ? interval.end : interval.start);
}

void RBFNSidedPatch::extractBoundaryConstraints(int samples_per_curve) {
  constraints_ = BoundaryConstraintExtractor::extractFromCurves(
      getBoundaryCurves(), parameters_.continuityLevels, samples_per_curve,
      parameters_.curveWeights);
}

void RBFNSidedPatch::buildConstraintSystem() {
  if (!parameters_.useHermite) buildThinPlateSplineConstraints();
}

void RBFNSidedPatch::buildThinPlateSplineConstraints() {
  plate_ = RBFThinPlateSpline();
  plate_.SetUsePolynomialTerms(parameters_.usePolynomialTerms);
  plate_.AddBoundaryConstraints(constraints_);
}

bool RBFNSidedPatch::fitRBFSurface() {
  if (parameters_.useHermite) return fitHRBFSurface();
  return plate_.Fit(true, parameters_.rbfRegularization);
}

void RBFNSidedPatch::convertToBSpline() {
  std::unique_ptr<BSplineSurface> surface;
  plate_.ConvertToBSpline(surface, kDegree, kDegree, parameters_.spansU + kDegree,
                          parameters_.spansV + kDegree, kResolution);
  surface_ = std::move(surface);
}

// The surface against what it was made for: of a height field the heights at the samples' (u, v),
// else the distances of the samples.
void RBFNSidedPatch::computeQualityMetrics() {
  const BSplineSurface& surface = requireSurface();
  quality_ = {0.0, 0.0, 0.0, 0.0};
  double squares = 0.0;
  Stage stage("measuring", kUntilEvaluated);
  for (const nsided::G0Constraint& sample : constraints_.positions) {
    stage.report(double(&sample - constraints_.positions.data()),
                 double(constraints_.positions.size()));
    double deviation = 0.0;
    if (parameters_.useHermite) {
      const auto [u, v] = surface.getClosestParameter(sample.target);
      deviation = surface.evaluate(u, v).distanceTo(sample.target);
    } else {
      deviation = std::abs(surface.evaluate(sample.u, sample.v).z() - sample.target.z());
    }
    quality_.maxDeviation = std::max(quality_.maxDeviation, deviation);
    squares += deviation * deviation;
  }
  const auto count = static_cast<double>(std::max<std::size_t>(constraints_.positions.size(), 1));
  quality_.rmsDeviation = std::sqrt(squares / count);
  if (!parameters_.useHermite)
    quality_.conditionNumber = plate_.GetFittingQuality().conditionNumber;
  for (const nsided::G1Constraint& plane : constraints_.tangents) {
    if (parameters_.useHermite) break;
    const SurfaceEvaluation at = surface.evaluateDerivatives(plane.u, plane.v, 1);
    const double cosine = std::abs(at.normal.dot(plane.normal));
    quality_.maxAngle = std::max(quality_.maxAngle, std::acos(std::min(cosine, 1.0)));
  }
}

std::string RBFNSidedPatch::getQualityRating() const {
  const double share = quality_.maxDeviation / parameters_.boundaryTolerance;
  if (share <= 1.0) return "Excellent";
  if (share <= kGoodShare) return "Good";
  return share <= kFairShare ? "Fair" : "Poor";
}

NSidedQuality RBFNSidedPatch::analyzeSurfaceQuality() const {
  using status::Symbol;
  status::progress(Symbol::None, "Surface Quality Analysis:");
  status::progress(Symbol::None, "  Max Deviation: ", quality_.maxDeviation);
  status::progress(Symbol::None, "  RMS Deviation: ", quality_.rmsDeviation);
  status::progress(Symbol::None, "  Condition Number: ", quality_.conditionNumber);
  status::progress(Symbol::None, "  Quality Rating: ", getQualityRating());
  return quality_;
}

void RBFNSidedPatch::calculateOptimalSpans(const NSidedPatchParameters& params, int& spans_u,
                                           int& spans_v) {
  const auto count =
      static_cast<int>(std::min<std::size_t>(params.boundaryCurves.size(), kMostSpans));
  int spans = std::max(kFewestSpans, std::min(2 * count, kMostSpans));
  if (params.boundaryTolerance < kFineTolerance)
    spans = std::min(spans + kFineSpans, kMostFineSpans);
  spans_u = spans;
  spans_v = spans;
}

}  // namespace trova::geometry
