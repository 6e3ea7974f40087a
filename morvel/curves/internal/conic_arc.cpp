#include "morvel/curves/internal/conic_arc.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

#include "morvel/curves/circle_curve.h"
#include "morvel/curves/nurbs_curve.h"

namespace trova::geometry::internal {
namespace {

constexpr double kQuarterTurn = std::numbers::pi / 2.0;

// A span that exceeds whole quarter turns by rounding only needs no further piece.
constexpr double kSpanSlack = 1e-9;

int pieceCount(double span) {
  const double quarters = std::abs(span) / kQuarterTurn;
  return std::max(1, static_cast<int>(std::ceil(quarters - kSpanSlack)));
}

std::vector<double> quadraticKnots(const ParameterInterval& interval, int pieces) {
  std::vector<double> knots(3, interval.start);
  for (int i = 1; i < pieces; ++i) {
    const double knot = interval.start + interval.length() * i / pieces;
    knots.insert(knots.end(), 2, knot);
  }
  knots.insert(knots.end(), 3, interval.end);
  return knots;
}

}  // namespace

Point3D ConicArc::point(double w) const {
  return center + (cosAxis * std::cos(w) + sinAxis * std::sin(w));
}

Vector3D ConicArc::derivative(double w, int k) const {
  const double c = std::cos(w);
  const double s = std::sin(w);
  switch (k % 4) {
    case 1:
      return sinAxis * c - cosAxis * s;
    case 2:
      return -(cosAxis * c + sinAxis * s);
    case 3:
      return cosAxis * s - sinAxis * c;
    default:
      return cosAxis * c + sinAxis * s;
  }
}

BoundingBox ConicArc::box() const {
  BoundingBox box(point(start), point(end));
  for (int axis = 0; axis < 3; ++axis) {
    const double extreme = std::atan2(sinAxis[axis], cosAxis[axis]);
    for (const double w : {extreme, extreme + std::numbers::pi})
      if (const auto onThis = onArc(w)) box.addPoint(point(*onThis));
  }
  return box;
}

std::optional<double> ConicArc::onArc(double w) const {
  const auto [low, high] = std::minmax(start, end);
  const double candidate = w + kFullTurn * std::ceil((low - w) / kFullTurn);
  if (!(candidate <= high)) return std::nullopt;
  return std::max(candidate, low);
}

// Each piece is the tangent triangle of its arc; the weight of its tip is the cosine of half its
// angle (Piegl and Tiller, The NURBS Book, 7.5). Any affine image of a circle arc has the same
// weights.
std::unique_ptr<NurbsCurve> ConicArc::toNurbs(const ParameterInterval& interval) const {
  if (!(interval.length() > 0.0)) throw std::invalid_argument("Arc has no extent");
  const int pieces = pieceCount(end - start);
  const double step = (end - start) / pieces;
  const double tipWeight = std::cos(step / 2.0);
  std::vector<Point3D> points{point(start)};
  std::vector<double> weights{1.0};
  for (int i = 0; i < pieces; ++i) {
    const double middle = start + (i + 0.5) * step;
    points.push_back(center + (point(middle) - center) / tipWeight);
    points.push_back(i + 1 == pieces ? point(end) : point(start + (i + 1) * step));
    weights.insert(weights.end(), {tipWeight, 1.0});
  }
  return std::make_unique<NurbsCurve>(std::move(points), std::move(weights),
                                      quadraticKnots(interval, pieces), 2);
}

void requireArcAngles(double start, double end) {
  if (!std::isfinite(start) || !std::isfinite(end))
    throw std::invalid_argument("Arc angles must be finite");
  if (!(std::abs(end - start) <= kMaxArcTurns * kFullTurn))
    throw std::invalid_argument("Arc has too many turns");
}

Vector3D cofactorImage(const Transform3D& transform, const Vector3D& v) {
  const Vector3D x = transform.transform(Vector3D::unitX());
  const Vector3D y = transform.transform(Vector3D::unitY());
  const Vector3D z = transform.transform(Vector3D::unitZ());
  return y.cross(z) * v.x() + z.cross(x) * v.y() + x.cross(y) * v.z();
}

}  // namespace trova::geometry::internal
