#include "morvel/nsided/boundary_constraints.h"

#include <Eigen/Core>
#include <cmath>
#include <stdexcept>

#include "morvel/curves/curve2d.h"
#include "morvel/foundation/status_line.h"
#include "morvel/nsided/internal/neighbour_surface.h"
#include "morvel/surfaces/curve_on_surface.h"

namespace trova::geometry {
namespace {

constexpr int kMaxSamples = 10'000;
constexpr double kMiddle = 0.5;     // the parameter of a box without width
constexpr double kThinBox = 1e-12;  // width over the larger one, below which there is none
constexpr double kSteepest = 1e-6;  // |n_z| below which a tangent plane gives no slopes

bool isInUnitSquare(double u, double v) { return u >= 0.0 && u <= 1.0 && v >= 0.0 && v <= 1.0; }

bool refused(std::string* message, const char* reason) {
  if (message) *message = reason;
  return false;
}

/// The box of the loop in x and y.
class Footprint {
 public:
  explicit Footprint(const std::vector<Point3D>& points) {
    for (const Point3D& point : points)
      box_.addPoint(point);
    const Vector3D size = box_.getMax() - box_.getMin();
    const double thin = kThinBox * std::max(size.x(), size.y());
    width_ = size.x() > thin ? size.x() : 0.0;
    depth_ = size.y() > thin ? size.y() : 0.0;
  }
  double u(const Point3D& p) const { return share(p.x() - box_.getMin().x(), width_); }
  double v(const Point3D& p) const { return share(p.y() - box_.getMin().y(), depth_); }
  double width() const { return width_; }
  double depth() const { return depth_; }

 private:
  static double share(double offset, double width) {
    return width > 0.0 ? std::min(std::max(offset / width, 0.0), 1.0) : kMiddle;
  }
  BoundingBox box_;
  double width_ = 0.0;
  double depth_ = 0.0;
};

/// The second derivatives of z by x and y, from those of the surface by its own parameters.
bool heightBends(const SurfaceEvaluation& at, Eigen::Matrix2d& bends) {
  Eigen::Matrix2d jacobian;  // d(x, y) / d(a, b)
  jacobian << at.Su.x(), at.Sv.x(), at.Su.y(), at.Sv.y();
  const double scale = at.Su.magnitude() * at.Sv.magnitude();
  const double determinant = jacobian(0, 0) * jacobian(1, 1) - jacobian(0, 1) * jacobian(1, 0);
  if (!(std::abs(determinant) > kSteepest * scale)) return false;
  Eigen::Matrix2d inverse;
  inverse << jacobian(1, 1), -jacobian(0, 1), -jacobian(1, 0), jacobian(0, 0);
  inverse /= determinant;
  const Eigen::Vector2d slope = inverse.transpose() * Eigen::Vector2d(at.Su.z(), at.Sv.z());
  const auto offPlane = [&](const Vector3D& d) {
    return d.z() - slope.x() * d.x() - slope.y() * d.y();
  };
  Eigen::Matrix2d second;
  second << offPlane(at.Suu), offPlane(at.Suv), offPlane(at.Suv), offPlane(at.Svv);
  bends = inverse.transpose() * second * inverse;
  return bends.allFinite();
}

/// A sample on a curve, and on the surface that the curve lies on.
struct Sample {
  Point3D point;
  bool hasNeighbour = false;
  SurfaceEvaluation neighbour;
};

void addTangentPlane(const Footprint& footprint, const nsided::G0Constraint& at,
                     const Sample& sample, BoundaryConstraints& found) {
  const Vector3D n = sample.neighbour.Su.cross(sample.neighbour.Sv);
  if (!(std::abs(n.z()) > kSteepest * n.magnitude())) return;
  nsided::G1Constraint plane;
  plane.u = at.u;
  plane.v = at.v;
  plane.weight = at.weight;
  plane.slopeU = -n.x() / n.z() * footprint.width();
  plane.slopeV = -n.y() / n.z() * footprint.depth();
  plane.normal = Vector3D(-plane.slopeU, -plane.slopeV, 1.0);
  plane.normal = plane.normal / plane.normal.magnitude();
  plane.constrainU = footprint.width() > 0.0;
  plane.constrainV = footprint.depth() > 0.0;
  if (plane.isValid()) found.tangents.push_back(plane);
}

void addBends(const Footprint& footprint, const nsided::G0Constraint& at, const Sample& sample,
              BoundaryConstraints& found) {
  Eigen::Matrix2d bends;
  if (!heightBends(sample.neighbour, bends)) return;
  const double width = footprint.width();
  const double depth = footprint.depth();
  found.curvatures.push_back({at.u, at.v, bends(0, 0) * width * width, bends(0, 1) * width * depth,
                              bends(1, 1) * depth * depth, at.weight});
}

std::vector<Sample> samplesAlong(const Curve& curve, int count) {
  const auto* onSurface = dynamic_cast<const CurveOnSurface*>(&curve);
  const ParameterInterval interval = curve.getParameterInterval();
  std::vector<Sample> samples(static_cast<std::size_t>(count));
  for (int k = 0; k < count; ++k) {
    const double t = interval.start + interval.length() * k / count;
    Sample& sample = samples[k];
    sample.point = curve.evaluate(t);
    if (!sample.point.isFinite()) throw std::runtime_error("a boundary curve is not finite");
    sample.hasNeighbour = onSurface != nullptr;
    if (onSurface) sample.neighbour = internal::neighbourAt(*onSurface, t);
  }
  return samples;
}

void requireInput(const BoundaryCurves& curves, int samplesPerCurve,
                  const std::vector<double>& weights) {
  if (samplesPerCurve < 1 || samplesPerCurve > kMaxSamples)
    throw std::invalid_argument("samples per curve out of range");
  if (!weights.empty() && weights.size() != curves.size())
    throw std::invalid_argument("boundary curves and weights differ in number");
  for (const auto& curve : curves) {
    if (!curve) throw std::invalid_argument("a boundary curve is missing");
  }
}

BoundaryConstraints extracted(const BoundaryCurves& curves, const std::vector<int>& levels,
                              int samplesPerCurve, const std::vector<double>& weights) {
  requireInput(curves, samplesPerCurve, weights);
  BoundaryConstraints found;
  std::vector<std::vector<Sample>> samples;
  std::vector<Point3D> points;
  for (const auto& curve : curves) {
    found.kinds.push_back(BoundaryConstraintExtractor::kindOf(*curve));
    samples.push_back(samplesAlong(*curve, samplesPerCurve));
    for (const Sample& sample : samples.back())
      points.push_back(sample.point);
  }
  const Footprint footprint(points);
  for (std::size_t k = 0; k < curves.size(); ++k) {
    const double weight = weights.empty() ? 1.0 : weights[k];
    for (const Sample& sample : samples[k]) {
      const nsided::G0Constraint at{footprint.u(sample.point), footprint.v(sample.point),
                                    sample.point, weight};
      std::string fault;
      if (!at.isValid(&fault)) throw std::invalid_argument(fault);
      found.positions.push_back(at);
      if (!sample.hasNeighbour) continue;
      if (levels[k] >= kTangentContinuity) addTangentPlane(footprint, at, sample, found);
      if (levels[k] >= kCurvatureContinuity) addBends(footprint, at, sample, found);
    }
  }
  return found;
}

}  // namespace

bool nsided::G0Constraint::isValid(std::string* message) const {
  if (isInUnitSquare(u, v) && weight > 0.0 && std::isfinite(weight) && target.isFinite())
    return true;
  return refused(message, "G0 constraint has invalid parameters: u,v must be in [0,1], weight > 0");
}

bool nsided::G1Constraint::isValid(std::string* message) const {
  if (!isInUnitSquare(u, v))
    return refused(message, "G1 constraint: u,v parameters must be in [0,1]");
  if (!(weight > 0.0) || !std::isfinite(weight))
    return refused(message, "G1 constraint: weight must be positive");
  if (!constrainU && !constrainV)
    return refused(message, "G1 constraint: at least one direction must be constrained");
  return true;
}

bool nsided::G2Constraint::isValid(std::string* message) const {
  if (!isInUnitSquare(u, v))
    return refused(message, "G2 constraint: u,v parameters must be in [0,1]");
  if (!(weight > 0.0) || !std::isfinite(weight))
    return refused(message, "G2 constraint: weight must be positive");
  return true;
}

bool isOnSurface(const Curve& curve) {
  return curve.getTypeIdentifier().find("CurveOnSurface") != std::string::npos;
}

BoundaryKind BoundaryConstraintExtractor::kindOf(const Curve& curve) {
  std::string name = curve.getTypeIdentifier();
  if (const auto* onSurface = dynamic_cast<const CurveOnSurface*>(&curve))
    (name += " ") += onSurface->getParameterCurve().getTypeIdentifier();
  if (name.find("IsoCurve2D_u") != std::string::npos) return BoundaryKind::IsoU;
  if (name.find("IsoCurve2D_v") != std::string::npos) return BoundaryKind::IsoV;
  return isOnSurface(curve) ? BoundaryKind::OnSurface : BoundaryKind::Free;
}

BoundaryConstraints BoundaryConstraintExtractor::extractFromCurves(
    const BoundaryCurves& curves, const std::vector<int>& continuityLevels, int samplesPerCurve,
    const std::vector<double>& weights) {
  if (curves.size() != continuityLevels.size())
    throw std::invalid_argument("Boundary curves and continuity levels size mismatch");
  try {
    return extracted(curves, continuityLevels, samplesPerCurve, weights);
  } catch (const std::exception& fault) {
    throw std::invalid_argument(
        foundation::status::join("Constraint extraction failed: ", fault.what()));
  }
}

}  // namespace trova::geometry
