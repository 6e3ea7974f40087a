#include "morvel/nsided/rbf_thin_plate_spline.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"
#include "morvel/nsided/internal/fitted_thin_plate.h"

namespace trova::geometry {
namespace {

constexpr double kOnOneLine = 1e-12;  // the lesser over the greater spread of positions
constexpr std::size_t kFewestPoints = 3;
constexpr int kMaxResolution = 5000;

using foundation::Point2D;
using foundation::status::join;

[[noreturn]] void failConversion(const char* reason) {
  throw std::runtime_error(join("B-spline conversion failed: ", reason));
}

/// The spreads of points along their principal directions, least first.
std::array<double, 2> spreads(const std::vector<Point2D>& points) {
  Point2D middle;
  for (const Point2D& p : points)
    middle = middle + p * (1.0 / static_cast<double>(points.size()));
  double xx = 0.0, xy = 0.0, yy = 0.0;
  for (const Point2D& p : points) {
    const Point2D d = p - middle;
    xx += d.x() * d.x();
    xy += d.x() * d.y();
    yy += d.y() * d.y();
  }
  const double half = 0.5 * (xx + yy);
  const double radius = std::hypot(0.5 * (xx - yy), xy);
  return {half - radius, half + radius};
}

}  // namespace

void RBFThinPlateSpline::add(const Constraint& c) {
  const bool isFinite = std::isfinite(c.u) && std::isfinite(c.v) && std::isfinite(c.weight) &&
                        std::all_of(c.target.begin(), c.target.end(),
                                    [](double value) { return std::isfinite(value); });
  if (!isFinite || !(c.weight > 0.0))
    throw std::invalid_argument("RBF constraint must be finite, with a weight above 0");
  constraints_.push_back(c);
  fitted_ = false;
  fit_.reset();
}

void RBFThinPlateSpline::AddPositionConstraint(double u, double v, double height, double weight) {
  add({ConstraintType::Position, u, v, {height}, weight});
}

void RBFThinPlateSpline::AddTangentConstraint(double u, double v, double slopeU, double slopeV,
                                              double weight) {
  add({ConstraintType::Tangent, u, v, {slopeU, slopeV}, weight});
}

void RBFThinPlateSpline::AddNormalConstraint(double u, double v, const Vector3D& normal,
                                             double weight) {
  const double length = normal.magnitude();
  if (!(length > 0.0)) throw std::invalid_argument("RBF normal constraint needs a normal");
  const Vector3D n = normal / length;
  add({ConstraintType::Normal, u, v, {n.x(), n.y(), n.z()}, weight});
}

void RBFThinPlateSpline::AddCurvatureConstraint(double u, double v, double bendUU, double bendUV,
                                                double bendVV, double weight) {
  add({ConstraintType::Curvature, u, v, {bendUU, bendUV, bendVV}, weight});
}

void RBFThinPlateSpline::AddBoundaryConstraints(const BoundaryConstraints& constraints) {
  for (const nsided::G0Constraint& c : constraints.positions)
    AddPositionConstraint(c.u, c.v, c.target.z(), c.weight);
  for (const nsided::G1Constraint& c : constraints.tangents) {
    if (c.normal.squaredMagnitude() > 0.0)
      AddNormalConstraint(c.u, c.v, c.normal, c.weight);
    else
      AddTangentConstraint(c.u, c.v, c.slopeU, c.slopeV, c.weight);
  }
  for (const nsided::G2Constraint& c : constraints.curvatures)
    AddCurvatureConstraint(c.u, c.v, c.bendUU, c.bendUV, c.bendVV, c.weight);
}

void RBFThinPlateSpline::ClearConstraints() {
  constraints_.clear();
  fitted_ = false;
  fit_.reset();
}

void RBFThinPlateSpline::requireFitted() const {
  if (!fitted_) throw std::runtime_error("RBF surface not fitted yet");
}

bool RBFThinPlateSpline::hasPositionsOnly() const {
  return std::all_of(constraints_.begin(), constraints_.end(),
                     [](const Constraint& c) { return c.type == ConstraintType::Position; });
}

std::vector<Point2D> RBFThinPlateSpline::centers() const {
  std::vector<Point2D> found;
  for (const Constraint& c : constraints_) {
    if (c.type == ConstraintType::Position) found.emplace_back(c.u, c.v);
  }
  return found;
}

double RBFThinPlateSpline::EvaluateAt(double u, double v) const {
  requireFitted();
  return fit_->at(u, v, 0).value;
}

void RBFThinPlateSpline::EvaluateWithDerivatives(double u, double v, double& height, double& slopeU,
                                                 double& slopeV) const {
  requireFitted();
  const internal::ThinPlateSums sums = fit_->at(u, v, 1);
  height = sums.value;
  slopeU = sums.u;
  slopeV = sums.v;
}

void RBFThinPlateSpline::EvaluateWithSecondDerivatives(double u, double v, double& height,
                                                       double& slopeU, double& slopeV,
                                                       double& bendUU, double& bendUV,
                                                       double& bendVV) const {
  requireFitted();
  const internal::ThinPlateSums sums = fit_->at(u, v, 2);
  height = sums.value;
  slopeU = sums.u;
  slopeV = sums.v;
  bendUU = sums.uu;
  bendUV = sums.uv;
  bendVV = sums.vv;
}

void RBFThinPlateSpline::EvaluateBatch(std::span<const double> uv, double* heights) const {
  requireFitted();
  for (std::size_t k = 0; k + 1 < uv.size(); k += 2)
    heights[k / 2] = fit_->at(uv[k], uv[k + 1], 0).value;
}

void RBFThinPlateSpline::ConvertToBSpline(std::unique_ptr<BSplineSurface>& surface, int degree_u,
                                          int degree_v, [[maybe_unused]] int control_u,
                                          [[maybe_unused]] int control_v, int resolution) const {
  if (!fitted_) throw std::runtime_error("RBF surface must be fitted before B-spline conversion");
  if (degree_u < 1 || degree_v < 1) failConversion("degrees must be at least 1");
  if (resolution <= std::max(degree_u, degree_v) || resolution > kMaxResolution)
    failConversion("resolution must be above the degrees and at most 5000");
  ControlNet net(resolution, resolution);
  foundation::progress::Stage stage("evaluating");
  for (int i = 0; i < resolution; ++i) {
    stage.report(i, resolution);
    const double u = domain_.uMin + double(i) / (resolution - 1) * (domain_.uMax - domain_.uMin);
    for (int j = 0; j < resolution; ++j) {
      const double v = domain_.vMin + double(j) / (resolution - 1) * (domain_.vMax - domain_.vMin);
      net(i, j) = {u, v, fit_->at(u, v, 0).value};
    }
  }
  if (!net.isFinite()) failConversion("a sample is not finite");
  surface = BSplineSurface::createClamped(std::move(net), degree_u, degree_v);
}

bool RBFThinPlateSpline::FillNSidedBoundary(const BoundaryCurves& curves,
                                            const std::vector<int>& continuityLevels,
                                            int samplesPerCurve) {
  const BoundaryConstraints constraints =
      BoundaryConstraintExtractor::extractFromCurves(curves, continuityLevels, samplesPerCurve);
  ClearConstraints();
  AddBoundaryConstraints(constraints);
  return Fit(true, 0.0);
}

bool RBFThinPlateSpline::ValidateConstraintSystem(std::string* message) const {
  const std::vector<Point2D> at = centers();
  const char* fault = nullptr;
  if (at.size() < kFewestPoints)
    fault = "At least 3 position constraints are needed";
  else if (const auto [least, greatest] = spreads(at); !(least > kOnOneLine * greatest))
    fault = "Position constraints lie on one line";
  if (fault && message) *message = fault;
  return fault == nullptr;
}

RBFThinPlateSpline::FittingQuality RBFThinPlateSpline::GetFittingQuality() const {
  FittingQuality quality;
  if (!fitted_) return quality;
  double squares = 0.0;
  int count = 0;
  for (const Constraint& c : constraints_) {
    if (c.type != ConstraintType::Position) continue;
    const double deviation = std::abs(fit_->at(c.u, c.v, 0).value - c.target[0]);
    quality.maxDeviation = std::max(quality.maxDeviation, deviation);
    squares += deviation * deviation;
    ++count;
  }
  quality.rmsDeviation = std::sqrt(squares / count);
  quality.conditionNumber = fit_->condition;
  return quality;
}

std::array<int, 4> RBFThinPlateSpline::GetConstraintCounts() const {
  std::array<int, 4> counts{};
  for (const Constraint& c : constraints_)
    ++counts[static_cast<std::size_t>(c.type)];
  return counts;
}

void RBFThinPlateSpline::SetUsePolynomialTerms(bool use) {
  usePolynomialTerms_ = use;
  fitted_ = false;
  fit_.reset();
}

void RBFThinPlateSpline::SetNumericalParameters(double regularization, double maxConditionNumber) {
  if (!(regularization >= 0.0) || !std::isfinite(regularization) || !(maxConditionNumber > 1.0))
    throw std::invalid_argument("RBF regularization must be at least 0, the condition above 1");
  lambda_ = regularization;
  maxCondition_ = maxConditionNumber;
}

void RBFThinPlateSpline::SetDomainBounds(double uMin, double uMax, double vMin, double vMax) {
  if (!(uMin < uMax && vMin < vMax) || !std::isfinite(uMax - uMin) || !std::isfinite(vMax - vMin))
    throw std::invalid_argument("RBF domain must have width in u and v");
  domain_ = {uMin, uMax, vMin, vMax};
}

std::unique_ptr<RBFThinPlateSpline> CreateRBFFromPoints(const std::vector<Point3D>& points,
                                                        double regularization) {
  if (points.size() < kFewestPoints)
    throw std::invalid_argument("At least 3 points are needed for an RBF surface");
  auto spline = std::make_unique<RBFThinPlateSpline>();
  BoundingBox box;
  for (const Point3D& p : points) {
    spline->AddPositionConstraint(p.x(), p.y(), p.z());
    box.addPoint(p);
  }
  spline->SetDomainBounds(box.getMin().x(), box.getMax().x(), box.getMin().y(), box.getMax().y());
  if (!spline->Fit(regularization > 0.0, regularization)) return nullptr;
  return spline;
}

std::unique_ptr<RBFThinPlateSpline> CreateRBFForNSidedPatch(
    const BoundaryCurves& curves, const std::vector<int>& continuityLevels, int samplesPerCurve) {
  auto spline = std::make_unique<RBFThinPlateSpline>();
  if (!spline->FillNSidedBoundary(curves, continuityLevels, samplesPerCurve)) return nullptr;
  return spline;
}

}  // namespace trova::geometry
