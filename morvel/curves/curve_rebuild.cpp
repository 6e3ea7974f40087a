#include "morvel/curves/curve_rebuild.h"

#include <algorithm>
#include <stdexcept>

#include "morvel/curves/analytic_curve.h"
#include "morvel/curves/bezier_curve.h"
#include "morvel/curves/internal/curve_joints.h"
#include "morvel/curves/internal/least_squares_fit.h"
#include "morvel/curves/line_curve.h"
#include "morvel/curves/nurbs_curve.h"
#include "morvel/foundation/knot_vector.h"

namespace trova::geometry {
namespace {

using internal::CurveFit;
using internal::CurveJoint;
using internal::UpwardCurve;

constexpr int kFitDegree = 3;
constexpr double kSplineFormTolerance = 1e-6;  // model units

constexpr const char* kNotWithinTolerance = "Curve cannot be approximated to the tolerance";

void requireTolerance(double tolerance) {
  if (!(tolerance > 0.0)) throw std::invalid_argument("Fit tolerance must be positive");
}

CurveFit uniformFit(const UpwardCurve& curve, int count, int degree) {
  std::vector<double> knots = foundation::nurbs::clampedUniformKnots(count, degree);
  for (double& knot : knots)
    knot = knot < 1.0 ? curve.low() + knot * (curve.high() - curve.low()) : curve.high();
  return internal::fitOnKnots(curve, knots, degree);
}

// Three points fit a parabola at most, two a line.
CurveFit sparseFit(const UpwardCurve& curve, int count) {
  return uniformFit(curve, count, std::min(kFitDegree, count - 1));
}

std::unique_ptr<BSplineCurve> bezierAsBSpline(const BezierCurve& bezier) {
  const int count = bezier.getControlPointCount();
  const int degree = bezier.getDegree();
  return std::make_unique<BSplineCurve>(
      bezier.getControlPoints(), foundation::nurbs::clampedUniformKnots(count, degree), degree);
}

// Curves that are polynomial splines already; null for all others.
std::unique_ptr<BSplineCurve> polynomialForm(const Curve& curve) {
  if (!curve.isValid()) return nullptr;
  if (const auto* spline = dynamic_cast<const BSplineCurve*>(&curve))
    return std::make_unique<BSplineCurve>(spline->getControlPoints(), spline->getKnotVector(),
                                          spline->getDegree());
  if (const auto* nurbs = dynamic_cast<const NurbsCurve*>(&curve); nurbs && !nurbs->isRational())
    return std::make_unique<BSplineCurve>(nurbs->getControlPoints(), nurbs->getKnotVector(),
                                          nurbs->getDegree());
  if (const auto* bezier = dynamic_cast<const BezierCurve*>(&curve))
    return bezierAsBSpline(*bezier);
  if (const auto* line = dynamic_cast<const LineCurve*>(&curve))
    return BSplineCurve::createClamped({line->getStartPoint(), line->getEndPoint()}, 1);
  return nullptr;
}

// Every stretch between joints in `pieces` equal spans; at a joint as many knots as let the fit be
// no smoother than the curve.
std::vector<double> knotsAround(const UpwardCurve& curve, const std::vector<CurveJoint>& joints,
                                int pieces) {
  std::vector<double> knots(kFitDegree + 1, curve.low());
  const auto addStretchTo = [&](double end, int times) {
    const double from = knots.back();
    for (int i = 1; i < pieces; ++i)
      knots.push_back(from + (end - from) * i / pieces);
    knots.insert(knots.end(), times, end);
  };
  for (const CurveJoint& joint : joints)
    addStretchTo(joint.u, std::clamp(kFitDegree - joint.smoothness, 1, kFitDegree));
  addStretchTo(curve.high(), kFitDegree + 1);
  return knots;
}

// The fewest control points below `limit` that meet the tolerance, by doubling and bisection; null
// where none do. Deviations need not fall with every point, so this is a local answer.
CurveFit fewestPoints(const UpwardCurve& curve, double tolerance, int limit) {
  CurveFit best;
  int tooFew = 1;
  int enough = limit;
  while (enough - tooFew > 1) {
    const int count =
        best.spline ? tooFew + (enough - tooFew) / 2 : std::min(2 * tooFew, limit - 1);
    CurveFit fit = sparseFit(curve, count);
    const bool within = fit.deviation <= tolerance;
    if (within) best = std::move(fit);
    (within ? enough : tooFew) = count;
  }
  return best;
}

}  // namespace

std::unique_ptr<BSplineCurve> rebuildCurve(const Curve& curve, int controlPointCount, int degree,
                                           double* maxDeviation) {
  if (degree < 1 || degree > foundation::kMaxStackDegree)
    throw std::invalid_argument("Rebuild degree out of range");
  if (controlPointCount <= degree || controlPointCount > kMaxFitControlPoints)
    throw std::invalid_argument("Rebuild control point count out of range");
  CurveFit fit = uniformFit(UpwardCurve(curve), controlPointCount, degree);
  if (maxDeviation) *maxDeviation = fit.deviation;
  return std::move(fit.spline);
}

std::unique_ptr<BSplineCurve> simplifyCurve(const Curve& curve, double tolerance,
                                            double* achieved) {
  requireTolerance(tolerance);
  const UpwardCurve upward(curve);
  auto exact = polynomialForm(curve);
  const int limit = exact ? exact->getControlPointCount() : kMaxFitControlPoints + 1;
  CurveFit best = fewestPoints(upward, tolerance, limit);
  if (!best.spline && exact) best.spline = std::move(exact);
  if (!best.spline) throw std::runtime_error(kNotWithinTolerance);
  if (achieved) *achieved = best.deviation;
  return std::move(best.spline);
}

std::unique_ptr<BSplineCurve> approximateCurve(const Curve& curve, double tolerance) {
  requireTolerance(tolerance);
  if (auto exact = polynomialForm(curve)) return exact;
  const UpwardCurve upward(curve);
  const std::vector<CurveJoint> joints = internal::jointsOf(curve);
  for (int pieces = 1; pieces <= kMaxFitControlPoints; pieces *= 2) {
    const std::vector<double> knots = knotsAround(upward, joints, pieces);
    if (knots.size() > kMaxFitControlPoints + kFitDegree + 1) break;
    CurveFit fit = internal::fitOnKnots(upward, knots, kFitDegree);
    if (fit.deviation <= tolerance) return std::move(fit.spline);
  }
  throw std::runtime_error(kNotWithinTolerance);
}

std::unique_ptr<ParametricCurve> toSpline(const Curve& curve) {
  if (dynamic_cast<const ParametricCurve*>(&curve))
    return std::unique_ptr<ParametricCurve>(static_cast<ParametricCurve*>(curve.clone().release()));
  if (const auto* analytic = dynamic_cast<const AnalyticCurve*>(&curve)) return analytic->toNurbs();
  return approximateCurve(curve, kSplineFormTolerance);
}

}  // namespace trova::geometry
