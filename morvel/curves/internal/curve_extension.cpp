#include "morvel/curves/internal/curve_extension.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/internal/degree_elevation.h"
#include "morvel/curves/internal/speed_integral.h"
#include "morvel/curves/internal/spline_conversion.h"
#include "morvel/foundation/status_line.h"
#include "morvel/foundation/tolerances.h"

namespace trova::geometry::internal {
namespace {

namespace status = foundation::status;

// An end slower than this (model units per parameter unit) has its direction from the points.
constexpr double kVanishingSpeed = 1e-12;

// The new stretch of knots: longer than what counts as one knot, and for a line, whose speed is
// free, never so short against the curve's own that the two are hard to tell apart.
constexpr double kLeastStretch = 2.0 * foundation::kKnotTolerance;
constexpr double kLeastLinearShare = 1e-9;

// The search for a natural extension of the wanted length.
constexpr double kLengthShare = 1e-9;
constexpr int kMaxDoublings = 40;
constexpr int kMaxIterations = 100;
constexpr int kPanels = 2;

// Into so many pieces a rational segment is cut until all its weights are positive.
constexpr int kMaxPieces = 64;

constexpr int kHomogeneousDim = 4;

std::unique_ptr<ParametricCurve> curveFrom(const SplineRows& rows) {
  if (rows.dim == kHomogeneousDim) return nurbsFrom(rows);
  return bsplineFrom(rows);
}

std::vector<double> bezierKnots(int degree, double a, double b) {
  std::vector<double> knots(2 * (static_cast<std::size_t>(degree) + 1), a);
  std::fill(knots.begin() + degree + 1, knots.end(), b);
  return knots;
}

void requireReach(double start, double end) {
  if (!(end - start > kLeastStretch))
    throw std::invalid_argument("Extension is too short for the curve's parameters");
}

// The clamped spline's polynomial beyond one end.
class Continuation {
 public:
  Continuation(const SplineRows& spline, CurveEnd end)
      : end_(end), piece_(endPiece(spline, end)), curve_(curveFrom(piece_)) {
    const ParameterInterval interval = curve_->getParameterInterval();
    origin_ = end == CurveEnd::End ? interval.end : interval.start;
    unit_ = interval.length();
  }

  /// The parameter at which the continuation is `length` long.
  double parameterAt(double length) const {
    const double far = bracket(length);
    const double reach = refinedReach(length, far);
    const double u = parameter(reach);
    requireReach(std::min(u, origin_), std::max(u, origin_));
    return u;
  }

  /// As one segment, its knots ascending.
  SplineRows segmentTo(double u) const {
    auto [left, right] = subdivided(piece_, u);
    SplineRows segment = end_ == CurveEnd::End ? std::move(right) : std::move(left);
    // Outside the piece this part runs backwards, from the far end to the piece's own.
    std::vector<double> coords;
    coords.reserve(segment.coords.size());
    for (int i = segment.count() - 1; i >= 0; --i) {
      const auto row = segment.coords.begin() + static_cast<std::ptrdiff_t>(i) * segment.dim;
      coords.insert(coords.end(), row, row + segment.dim);
    }
    segment.coords = std::move(coords);
    segment.knots = bezierKnots(segment.degree, std::min(u, origin_), std::max(u, origin_));
    return segment;
  }

 private:
  static SplineRows endPiece(const SplineRows& spline, CurveEnd end) {
    const std::vector<double>& U = spline.knots;
    if (end == CurveEnd::End) {
      const double knot = *(std::lower_bound(U.begin(), U.end(), U.back() - kLeastStretch) - 1);
      return foundation::nurbs::trimmed(spline, knot, U.back());
    }
    const double knot = *std::upper_bound(U.begin(), U.end(), U.front() + kLeastStretch);
    return foundation::nurbs::trimmed(spline, U.front(), knot);
  }

  double parameter(double reach) const {
    return end_ == CurveEnd::End ? origin_ + reach : origin_ - reach;
  }

  double speedAt(double reach) const {
    return curve_->evaluateDerivatives(parameter(reach), 1)[1].magnitude();
  }

  double lengthBetween(double reach0, double reach1, double length) const {
    const double u0 = parameter(reach0), u1 = parameter(reach1);
    return speedIntegral(*curve_, std::min(u0, u1), std::max(u0, u1), kLengthShare * length,
                         kPanels);
  }

  // Whether the curve stays finite up to there: a rational one may run to infinity before.
  bool isFiniteTo(double reach) const;

  // A reach that is long enough or too far.
  double bracket(double length) const {
    const double speed = speedAt(0.0);
    double reach = speed > kVanishingSpeed ? length / speed : unit_;
    for (int i = 0; i < kMaxDoublings; ++i) {
      // Written so that a length that is not a number counts as too far.
      if (!isFiniteTo(reach) || !(lengthBetween(0.0, reach, length) < length)) return reach;
      reach *= 2.0;
    }
    throw std::invalid_argument("The curve's own shape does not reach that length");
  }

  // Newton's method, kept inside the bracket by bisection.
  double refinedReach(double length, double high) const {
    double low = 0.0, lengthToLow = 0.0;
    double reach = high / 2.0;
    for (int i = 0; i < kMaxIterations && low < reach && reach < high; ++i) {
      const double upTo = isFiniteTo(reach) ? lengthToLow + lengthBetween(low, reach, length)
                                            : std::numeric_limits<double>::infinity();
      if (std::abs(upTo - length) <= kLengthShare * length) break;
      const double next = reach + (length - upTo) / speedAt(reach);
      if (upTo < length) {
        low = reach;
        lengthToLow = upTo;
      } else {
        high = reach;
      }
      reach = low < next && next < high ? next : low + (high - low) / 2.0;
    }
    return reach;
  }

  CurveEnd end_;
  SplineRows piece_;
  std::unique_ptr<ParametricCurve> curve_;
  double origin_ = 0.0;
  double unit_ = 1.0;
};

bool hasPositiveWeights(const SplineRows& rows) {
  for (std::size_t i = kHomogeneousDim - 1; i < rows.coords.size(); i += kHomogeneousDim) {
    if (!(rows.coords[i] > 0.0)) return false;
  }
  return true;
}

// The segment cut at inner knots until its weights are positive; none where that does not help.
std::optional<SplineRows> withPositiveWeights(const SplineRows& segment) {
  if (segment.dim != kHomogeneousDim || hasPositiveWeights(segment)) return segment;
  const double a = segment.knots.front(), b = segment.knots.back();
  for (int pieces = 2; pieces <= kMaxPieces; pieces *= 2) {
    SplineRows cut = segment;
    for (int i = 1; i < pieces; ++i)
      foundation::nurbs::insertKnot(cut, a + (b - a) * i / pieces, cut.degree,
                                    foundation::kKnotTolerance);
    if (hasPositiveWeights(cut)) return cut;
  }
  return std::nullopt;
}

bool Continuation::isFiniteTo(double reach) const {
  return piece_.dim != kHomogeneousDim ||
         withPositiveWeights(segmentTo(parameter(reach))).has_value();
}

SplineRows naturalSegment(const SplineRows& curve, double length, CurveEnd end) {
  const Continuation continuation(curve, end);
  const double u = continuation.parameterAt(length);
  const std::optional<SplineRows> segment = withPositiveWeights(continuation.segmentTo(u));
  if (!segment) throw std::invalid_argument("The curve's own shape does not reach that length");
  return *segment;
}

// The unit direction in which the curve leaves its end.
Vector3D outwardDirection(const ParametricCurve& curve, const Vector3D& velocity, CurveEnd end) {
  const double sign = end == CurveEnd::End ? 1.0 : -1.0;
  const double speed = velocity.eigen().stableNorm();
  if (speed > kVanishingSpeed) return velocity * (sign / speed);
  std::vector<Point3D> points = curve.getControlPoints();
  if (end == CurveEnd::End) std::reverse(points.begin(), points.end());
  for (const Point3D& point : points) {
    const Vector3D outward = points.front() - point;
    if (outward.magnitude() > kVanishingSpeed) return outward / outward.magnitude();
  }
  throw std::invalid_argument("The curve has no direction at its end");
}

SplineRows linearSegment(const SplineRows& rows, double length, CurveEnd end) {
  const std::unique_ptr<ParametricCurve> curve = curveFrom(rows);
  const ParameterInterval interval = curve->getParameterInterval();
  const bool atEnd = end == CurveEnd::End;
  const double origin = atEnd ? interval.end : interval.start;
  const Vector3D velocity = curve->evaluateDerivatives(origin, 1)[1];
  const Vector3D outward = outwardDirection(*curve, velocity, end) * length;
  const double speed = velocity.eigen().stableNorm();
  const double ownStretch = speed > kVanishingSpeed ? length / speed : interval.length();
  const double stretch = std::max(ownStretch, kLeastLinearShare * interval.length());
  const double a = atEnd ? origin : origin - stretch;
  const double b = atEnd ? origin + stretch : origin;
  requireReach(a, b);

  const auto last = rows.coords.end() - rows.dim;
  const auto from = atEnd ? last : rows.coords.begin();
  const double weight = rows.dim == kHomogeneousDim ? from[kHomogeneousDim - 1] : 1.0;
  std::vector<double> inner(from, from + rows.dim), outer = inner;
  for (int axis = 0; axis < 3; ++axis)
    outer[axis] += weight * outward[axis];
  SplineRows segment{1, rows.dim, {a, a, b, b}, atEnd ? inner : outer};
  const std::vector<double>& second = atEnd ? outer : inner;
  segment.coords.insert(segment.coords.end(), second.begin(), second.end());
  return segment;
}

void requireExtensible(const SplineRows& curve, double length) {
  requireExtensionLength(length);
  if (curve.degree < 1) throw std::invalid_argument("A curve of degree 0 cannot be extended");
}

SplineRows appended(SplineRows first, const SplineRows& second) {
  first.knots.pop_back();
  first.knots.insert(first.knots.end(), second.knots.begin() + second.degree + 1,
                     second.knots.end());
  first.coords.insert(first.coords.end(), second.coords.begin() + second.dim, second.coords.end());
  return first;
}

// The other way round: the shared point and knot are those of the second.
SplineRows prepended(SplineRows first, const SplineRows& second) {
  first.knots.resize(first.knots.size() - first.degree - 1);
  first.knots.insert(first.knots.end(), second.knots.begin() + 1, second.knots.end());
  first.coords.resize(first.coords.size() - first.dim);
  first.coords.insert(first.coords.end(), second.coords.begin(), second.coords.end());
  return first;
}

}  // namespace

std::pair<SplineRows, SplineRows> subdivided(const SplineRows& bezier, double u) {
  const double a = bezier.knots.front(), b = bezier.knots.back();
  const double s = (u - a) / (b - a);
  const int p = bezier.degree;
  const std::ptrdiff_t dim = bezier.dim;
  SplineRows left{p, bezier.dim, bezierKnots(p, a, u), bezier.coords};
  SplineRows right{p, bezier.dim, bezierKnots(p, u, b), bezier.coords};
  std::vector<double>& row = right.coords;
  for (int level = 1; level <= p; ++level) {
    for (std::ptrdiff_t c = 0; c < (p + 1 - level) * dim; ++c)
      row[c] = (1.0 - s) * row[c] + s * row[c + dim];
    std::copy_n(row.begin(), dim, left.coords.begin() + level * dim);
  }
  return {std::move(left), std::move(right)};
}

SplineRows extended(const SplineRows& curve, double length, CurveEnd end, ExtensionMode mode) {
  requireExtensible(curve, length);
  SplineRows base = foundation::nurbs::clamped(curve);
  SplineRows segment = mode == ExtensionMode::Linear ? linearSegment(base, length, end)
                                                     : naturalSegment(base, length, end);
  return joined(std::move(base), std::move(segment), end);
}

SplineRows extendedBezier(const SplineRows& bezier, double length, CurveEnd end) {
  requireExtensible(bezier, length);
  const double u = Continuation(bezier, end).parameterAt(length);
  auto [left, right] = subdivided(bezier, u);
  return end == CurveEnd::End ? std::move(left) : std::move(right);
}

SplineRows joined(SplineRows curve, SplineRows segment, CurveEnd end) {
  if (curve.degree < segment.degree) {
    status::progress(status::Symbol::Step, "Elevating original curve from degree ", curve.degree,
                     " to degree ", segment.degree);
    curve = elevatedWithReport(curve, segment.degree - curve.degree);
  } else {
    segment = foundation::nurbs::elevated(segment, curve.degree - segment.degree);
    status::progress(status::Symbol::None,
                     "    ✅ No degree elevation needed - both curves already have degree ",
                     curve.degree);
  }
  return end == CurveEnd::End ? appended(std::move(curve), segment)
                              : prepended(std::move(segment), curve);
}

}  // namespace trova::geometry::internal
