#include "morvel/curves/curve.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/internal/speed_integral.h"
#include "morvel/curves/polyline.h"

namespace trova::geometry {
namespace {

// A first derivative shorter than this (model units per parameter unit) has no direction.
constexpr double kVanishingSpeed = 1e-12;

// A second derivative whose part across the tangent is below this share of it is only rounding.
constexpr double kStraightShare = 1e-12;

// A curve that bends less than this (1 / model units) is straight when continuity is judged.
constexpr double kNoCurvature = 1e-9;

// Several panels, so that a speed that repeats itself does not pass for a constant one.
constexpr int kFirstPanels = 5;

constexpr int kFewestUniformSegments = 8;
constexpr int kMostUniformSegments = 4096;

// First and second derivative at a parameter, the first in the direction of travel also where the
// interval runs downwards; zero vectors where the curve gives none.
struct Derivatives {
  Vector3D first;
  Vector3D second;

  Derivatives(const Curve& curve, double u) {
    const std::vector<Vector3D> all = curve.evaluateDerivatives(u, 2);
    if (all.size() > 1) first = curve.getParameterInterval().length() < 0 ? -all[1] : all[1];
    if (all.size() > 2) second = all[2];
  }

  bool hasTangent() const { return first.magnitude() > kVanishingSpeed; }
  Vector3D tangent() const { return first / first.magnitude(); }
  Vector3D secondAcrossTangent() const { return second - tangent() * second.dot(tangent()); }
  Vector3D curvatureVector() const { return secondAcrossTangent() / first.squaredMagnitude(); }
};

double angleBetween(const Vector3D& a, const Vector3D& b) {
  return std::atan2(a.cross(b).magnitude(), a.dot(b));
}

bool haveSameTangent(const Derivatives& a, const Derivatives& b, const ToleranceContext& t) {
  return a.hasTangent() && b.hasTangent() &&
         angleBetween(a.first, b.first) <= t.getAngularTolerance();
}

bool haveSameCurvature(const Derivatives& a, const Derivatives& b, const ToleranceContext& t) {
  const Vector3D ka = a.curvatureVector(), kb = b.curvatureVector();
  const double larger = std::max(ka.magnitude(), kb.magnitude());
  return larger <= kNoCurvature || (ka - kb).magnitude() <= t.getCurveTolerance() * larger;
}

std::vector<Point3D> pointsAtEqualSteps(const Curve& curve, int segments) {
  const ParameterInterval interval = curve.getParameterInterval();
  std::vector<Point3D> points;
  points.reserve(std::size_t(segments) + 1);
  for (int i = 0; i < segments; ++i)
    points.push_back(curve.evaluate(interval.start + interval.length() * i / segments));
  points.push_back(curve.evaluate(interval.end));
  return points;
}

// Whether the polyline through every second point passes the others within the tolerance.
bool coarserOneSuffices(const std::vector<Point3D>& points, double tolerance) {
  for (std::size_t i = 1; i + 1 < points.size(); i += 2) {
    if (distanceToSegment(points[i], points[i - 1], points[i + 1]) > tolerance) return false;
  }
  return true;
}

}  // namespace

Curve::~Curve() = default;

bool Curve::isValidParameter(double u) const { return getParameterInterval().contains(u); }

Vector3D Curve::getTangent(double u) const {
  const std::vector<Vector3D> derivatives = evaluateDerivatives(u, 1);
  return derivatives.size() > 1 ? derivatives[1].normalized() : Vector3D::zero();
}

Vector3D Curve::getNormal(double u) const {
  const Derivatives at(*this, u);
  if (!at.hasTangent()) return Vector3D::zero();
  const Vector3D across = at.secondAcrossTangent();
  const bool bends = across.magnitude() > kStraightShare * at.second.magnitude();
  return bends ? across / across.magnitude() : foundation::anyPerpendicular(at.tangent());
}

double Curve::getCurvature(double u) const {
  const Derivatives at(*this, u);
  return at.hasTangent() ? at.curvatureVector().magnitude() : 0.0;
}

double Curve::getArcLength(double u0, double u1) const {
  if (u0 > u1) std::swap(u0, u1);
  return internal::speedIntegral(*this, u0, u1, internal::kArcLengthTolerance, kFirstPanels);
}

double Curve::getTotalLength() const {
  const ParameterInterval interval = getParameterInterval();
  return getArcLength(interval.start, interval.end);
}

bool Curve::isG0ContinuousWith(const Curve& other, const ToleranceContext& tolerance) const {
  const Point3D end = evaluate(getParameterInterval().end);
  return end.isEqual(other.evaluate(other.getParameterInterval().start), tolerance);
}

bool Curve::isG1ContinuousWith(const Curve& other, const ToleranceContext& tolerance) const {
  if (!isG0ContinuousWith(other, tolerance)) return false;
  return haveSameTangent({*this, getParameterInterval().end},
                         {other, other.getParameterInterval().start}, tolerance);
}

bool Curve::isG2ContinuousWith(const Curve& other, const ToleranceContext& tolerance) const {
  if (!isG1ContinuousWith(other, tolerance)) return false;
  return haveSameCurvature({*this, getParameterInterval().end},
                           {other, other.getParameterInterval().start}, tolerance);
}

std::vector<Point3D> Curve::tessellate(double tolerance) const {
  internal::requireChordTolerance(tolerance);
  for (int segments = kFewestUniformSegments; segments <= kMostUniformSegments; segments *= 2) {
    std::vector<Point3D> points = pointsAtEqualSteps(*this, segments);
    if (coarserOneSuffices(points, tolerance)) return points;
  }
  return adaptiveTessellate(tolerance);
}

std::vector<Point3D> Curve::tessellateUniform(int count) const {
  if (count < 2 || count > kMaxUniformPoints)
    throw std::invalid_argument("Point count out of range");
  return pointsAtEqualSteps(*this, count - 1);
}

void Curve::setMatrix(const Transform3D& matrix) { pending_.set(matrix); }

const Transform3D& Curve::getMatrix() const { return pending_.get(); }

void Curve::applyMatrix() {
  pending_.applyWith([this](const Transform3D& matrix) { applyTransformToGeometry(matrix); });
}

bool Curve::hasPendingTransform() const { return pending_.isPending(); }

void Curve::resetMatrix() { pending_.reset(); }

}  // namespace trova::geometry
