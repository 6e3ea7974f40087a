#include "morvel/surfaces/internal/uniform_spline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "morvel/curves/bezier_curve.h"
#include "morvel/curves/line_curve.h"
#include "morvel/curves/nurbs_curve.h"
#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/spline_basis.h"
#include "morvel/foundation/tolerances.h"

namespace trova::geometry::internal {

namespace nurbs = foundation::nurbs;
using nurbs::SplineRows;

namespace {

/// Common knots beyond this many spans serve nobody: a fit is smaller.
constexpr int kMaxCommonSpans = 512;

constexpr int kMaxFitDegree = 3;
/// Bends at multiples of 1 / n are met up to this n.
constexpr int kMaxAlignment = 60;
constexpr double kAlignmentTolerance = 1e-9;  // of the stretch

SplineRows rowsOf(int degree, std::vector<double> knots, const std::vector<Point3D>& points) {
  SplineRows rows{degree, 3, std::move(knots), {}};
  rows.coords.reserve(3 * points.size());
  for (const Point3D& point : points) {
    for (int axis = 0; axis < 3; ++axis)
      rows.coords.push_back(point[axis]);
  }
  return rows;
}

std::optional<SplineRows> polynomialForm(const Curve& curve) {
  if (!curve.isValid()) return std::nullopt;
  if (dynamic_cast<const LineCurve*>(&curve))
    return rowsOf(1, nurbs::clampedUniformKnots(2, 1), {curve.evaluate(0.0), curve.evaluate(1.0)});
  if (const auto* bezier = dynamic_cast<const BezierCurve*>(&curve))
    return rowsOf(bezier->getDegree(),
                  nurbs::clampedUniformKnots(bezier->getControlPointCount(), bezier->getDegree()),
                  bezier->getControlPoints());
  const auto* rational = dynamic_cast<const NurbsCurve*>(&curve);
  const auto* spline = dynamic_cast<const SplineCurve*>(&curve);
  if (!spline || (rational && rational->isRational())) return std::nullopt;
  return rowsOf(spline->getDegree(), spline->getKnotVector(), spline->getControlPoints());
}

int spanCount(const UniformRows& spline) { return spline.count() - spline.degree; }

/// Inserts the knots of `spans` uniform spans, a multiple of those that the spline has.
void refineTo(int spans, UniformRows& spline) {
  const int step = spans / spanCount(spline);
  for (int k = 1; k < spans; ++k) {
    const double knot = static_cast<double>(k) / spans;
    if (k % step != 0) nurbs::insertKnot(spline, knot, 1, foundation::kKnotTolerance);
  }
  spline.knots = nurbs::clampedUniformKnots(spline.count(), spline.degree);
}

/// The collocation matrix of the basis at its own Greville abscissae, factored.
foundation::BandedSystem collocation(const nurbs::SplineBasis& basis) {
  foundation::BandedSystem system(basis.count(), basis.degree(), basis.degree());
  std::array<double, kMaxFitDegree + 1> values{};
  for (int row = 0; row < basis.count(); ++row) {
    const double at = grevilleAbscissa(basis.knots(), basis.degree(), row);
    const int span = basis.span(at);
    basis.values(at, span, values.data());
    for (int r = 0; r <= basis.degree(); ++r) {
      const int column = span - basis.degree() + r;
      if (values[r] != 0.0) system.add(row, column, values[r]);
    }
  }
  system.factor();
  return system;
}

/// A place, as a fraction of the stretch, where the curves are continuous to this order only.
struct Bend {
  double place = 0.0;
  int smoothness = 0;
};

/// The knots of a spline curve inside the stretch at which it is less than C2.
std::vector<Bend> bendsWithin(const UnitCurve& curve, const ParameterStretch& stretch) {
  std::vector<Bend> bends;
  const auto* spline = dynamic_cast<const SplineCurve*>(&curve.curve());
  if (!spline || !spline->isValid()) return bends;
  const ParameterInterval interval = spline->getParameterInterval();
  double last = interval.start;
  for (const double knot : spline->getKnotVector()) {
    const double place =
        ((knot - interval.start) / interval.length() - stretch.from) / stretch.length();
    const bool isInside = place > kAlignmentTolerance && place < 1.0 - kAlignmentTolerance;
    if (!isInside || knot == last) continue;
    last = knot;
    const int multiplicity =
        nurbs::knotMultiplicity(knot, spline->getKnotVector(), foundation::kKnotTolerance);
    const int smoothness = spline->getDegree() - multiplicity;
    if (smoothness < kMaxFitDegree - 1) bends.push_back({place, smoothness});
  }
  return bends;
}

bool isAligned(const std::vector<Bend>& bends, int count) {
  return std::all_of(bends.begin(), bends.end(), [count](const Bend& bend) {
    const double place = bend.place * count;
    return std::abs(place - std::round(place)) <= kAlignmentTolerance * count;
  });
}

}  // namespace

FitPlan fitPlan(const std::vector<const UnitCurve*>& curves, const ParameterStretch& stretch) {
  FitPlan plan;
  std::vector<Bend> bends;
  for (const UnitCurve* curve : curves) {
    const std::vector<Bend> more = bendsWithin(*curve, stretch);
    bends.insert(bends.end(), more.begin(), more.end());
  }
  int count = 1;
  while (count <= kMaxAlignment && !isAligned(bends, count))
    ++count;
  if (bends.empty() || count > kMaxAlignment) return plan;
  for (const Bend& bend : bends)
    plan.degree = std::clamp(bend.smoothness + 1, 1, plan.degree);
  plan.highestDegree = std::min(plan.degree + 1, kMaxFitDegree);
  const int atLeast = plan.spans;
  plan.spans = count;
  while (plan.spans < atLeast)
    plan.spans *= 2;
  return plan;
}

double grevilleAbscissa(const std::vector<double>& knots, int degree, int k) {
  const auto first = knots.begin() + k + 1;
  return std::accumulate(first, first + degree, 0.0) / degree;
}

std::optional<UniformRows> uniformPart(const SplineRows& spline, const ParameterStretch& stretch) {
  const double start = spline.knots[spline.degree];
  const double end = spline.knots[spline.count()];
  const auto [low, high] = std::minmax({stretch.from, stretch.to});
  SplineRows part = nurbs::trimmed(spline, std::lerp(start, end, low), std::lerp(start, end, high));
  nurbs::normalizeKnotVector(part.knots);
  const std::vector<double> uniform = nurbs::clampedUniformKnots(part.count(), part.degree);
  if (part.knots.size() != uniform.size()) return std::nullopt;
  for (std::size_t k = 0; k < uniform.size(); ++k) {
    if (!(std::abs(part.knots[k] - uniform[k]) <= foundation::kKnotTolerance)) return std::nullopt;
  }
  part.knots = uniform;
  return stretch.from <= stretch.to ? part : nurbs::reversed(part);
}

std::optional<UniformRows> exactUniformForm(const UnitCurve& curve,
                                            const ParameterStretch& stretch) {
  const std::optional<SplineRows> form = polynomialForm(curve.curve());
  if (!form || form->degree < 1) return std::nullopt;
  return uniformPart(*form, stretch);
}

bool makeCompatible(std::vector<UniformRows>& splines) {
  int degree = 0;
  for (const UniformRows& spline : splines)
    degree = std::max(degree, spline.degree);
  std::int64_t spans = 1;
  for (UniformRows& spline : splines) {
    // More than one span of a lower degree is less smooth at its knots than simple knots allow.
    if (spline.degree < degree && spanCount(spline) > 1) return false;
    spans = std::lcm(spans, static_cast<std::int64_t>(spanCount(spline)));
    if (spans > kMaxCommonSpans) return false;
  }
  for (UniformRows& spline : splines) {
    spline = nurbs::elevated(spline, degree - spline.degree);
    refineTo(static_cast<int>(spans), spline);
  }
  return true;
}

std::vector<UniformRows> interpolatedUniform(const std::vector<const UnitCurve*>& curves,
                                             const ParameterStretch& stretch, int degree,
                                             int spans) {
  const int count = spans + degree;
  const nurbs::SplineBasis basis = nurbs::SplineBasis::clampedUniform(count, degree);
  const foundation::BandedSystem system = collocation(basis);
  std::vector<UniformRows> splines;
  splines.reserve(curves.size());
  for (const UnitCurve* curve : curves) {
    std::vector<Point3D> points;
    points.reserve(count);
    for (int k = 0; k < count; ++k)
      points.push_back(curve->point(stretch.at(grevilleAbscissa(basis.knots(), degree, k))));
    splines.push_back(rowsOf(degree, basis.knots(), points));
    system.solve(splines.back().coords.data(), 3);
  }
  return splines;
}

}  // namespace trova::geometry::internal
