// Loops and hole patterns of wire-trimmed surfaces.

#include <array>
#include <cmath>
#include <numbers>
#include <stdexcept>

#include "morvel/foundation/knot_vector.h"
#include "morvel/trimmed_surface/internal/sampled_loop.h"
#include "morvel/trimmed_surface/wire_trimmed_surface.h"

namespace trova::geometry::trimmed_surface {
namespace {

constexpr int kCubic = 3;
// Cubic pieces a full turn: an arc's error falls with the sixth power of their number.
constexpr int kEllipsePieces = 32;

void requireRadius(double radius) {
  if (!(radius > 0.0) || !std::isfinite(radius))
    throw std::invalid_argument("Hole radius must be positive");
}

/// Cubic Bezier pieces of the unit circle as one spline: arms of 4/3 tan(angle / 4) (Goldapp,
/// "Approximation of circular arcs by cubic polynomials", 1991), under an affine map.
std::unique_ptr<BSplineCurve2D> ellipse(const Point2D& center, const Point2D& axisU,
                                        const Point2D& axisV) {
  const double step = 2.0 * std::numbers::pi / kEllipsePieces;
  const double arm = 4.0 / 3.0 * std::tan(step / 4.0);
  const auto at = [&](double x, double y) { return center + axisU * x + axisV * y; };
  std::vector<Point2D> points{at(1.0, 0.0)};
  std::vector<double> knots(kCubic + 1, 0.0);
  for (int k = 1; k <= kEllipsePieces; ++k) {
    const double from = step * (k - 1), to = step * k;
    points.push_back(
        at(std::cos(from) - arm * std::sin(from), std::sin(from) + arm * std::cos(from)));
    points.push_back(at(std::cos(to) + arm * std::sin(to), std::sin(to) - arm * std::cos(to)));
    points.push_back(k < kEllipsePieces ? at(std::cos(to), std::sin(to)) : points.front());
    knots.insert(knots.end(), kCubic, double(k) / kEllipsePieces);
  }
  knots.push_back(1.0);
  return std::make_unique<BSplineCurve2D>(points, knots, kCubic);
}

/// The samples of the curves as a ring.
std::vector<Point2D> polygonOf(const TrimLoop& loop) {
  const bool isRound = loop.curves.size() == 1;
  std::vector<Point2D> polygon;
  for (const auto& curve : loop.curves) {
    std::vector<Point2D> line =
        internal::sampledCurve(*curve, isRound ? internal::kBoundarySteps : 1);
    polygon.insert(polygon.end(), line.begin(), line.end() - 1);
  }
  return polygon;
}

}  // namespace

TrimLoop WireTrimmedSurface::loopOf(std::vector<std::unique_ptr<ParametricCurve2D>> curves,
                                    bool asOuter) const {
  TrimLoop loop;
  for (auto& curve : curves)
    loop.curves.push_back(std::make_shared<CurveOnSurface>(baseSurface, std::move(curve)));
  loop.type = asOuter ? kOuterBoundary : kInnerHole;
  loop.isOuter = asOuter;
  loop.isClosed = true;
  loop.tolerance = options.boundaryTolerance;
  loop.polygon = polygonOf(loop);
  loop.ensureCorrectOrientation();
  return loop;
}

TrimLoop WireTrimmedSurface::loopOf(std::unique_ptr<ParametricCurve2D> curve, bool asOuter) const {
  std::vector<std::unique_ptr<ParametricCurve2D>> curves;
  curves.push_back(std::move(curve));
  return loopOf(std::move(curves), asOuter);
}

TrimLoop WireTrimmedSurface::createRectangularLoop(double uMin, double uMax, double vMin,
                                                   double vMax) const {
  const std::array<Point2D, 4> corners{Point2D(uMin, vMin), Point2D(uMax, vMin),
                                       Point2D(uMax, vMax), Point2D(uMin, vMax)};
  std::vector<std::unique_ptr<ParametricCurve2D>> sides;
  for (std::size_t k = 0; k < corners.size(); ++k)
    sides.push_back(std::make_unique<LinearCurve2D>(corners[k], corners[(k + 1) % corners.size()]));
  return loopOf(std::move(sides), true);
}

TrimLoop WireTrimmedSurface::createCircularLoop(const Point2D& center, double radius,
                                                bool asOuter) const {
  requireRadius(radius);
  return loopOf(std::make_unique<CircularCurve2D>(center, radius), asOuter);
}

TrimLoop WireTrimmedSurface::createEllipticalLoop(const Point2D& center, double radiusU,
                                                  double radiusV, double rotation,
                                                  bool asOuter) const {
  requireRadius(radiusU);
  requireRadius(radiusV);
  const double c = std::cos(rotation), s = std::sin(rotation);
  return loopOf(ellipse(center, Point2D(c, s) * radiusU, Point2D(-s, c) * radiusV), asOuter);
}

void WireTrimmedSurface::addCircularHole(const Point2D& center, double radius) {
  addInnerLoop(createCircularLoop(center, radius, false));
}

void WireTrimmedSurface::addRectangularHole(double uMin, double uMax, double vMin, double vMax) {
  TrimLoop loop = createRectangularLoop(uMin, uMax, vMin, vMax);
  loop.type = kInnerHole;
  addInnerLoop(loop);
}

void WireTrimmedSurface::addMultipleCircularHoles(
    const std::vector<std::pair<Point2D, double>>& holes) {
  for (const auto& [center, radius] : holes)
    addCircularHole(center, radius);
}

void WireTrimmedSurface::addComplexMultiHolePattern(const std::vector<HoleDescription>& holes) {
  using enum HoleDescription::Shape;
  for (const HoleDescription& hole : holes) {
    const double u = hole.center.x(), v = hole.center.y();
    if (hole.shape == Circle)
      addCircularHole(hole.center, hole.radiusU);
    else if (hole.shape == Ellipse)
      addInnerLoop(createEllipticalLoop(hole.center, hole.radiusU, hole.radiusV, 0.0, false));
    else
      addRectangularHole(u - hole.radiusU, u + hole.radiusU, v - hole.radiusV, v + hole.radiusV);
  }
}

std::unique_ptr<WireTrimmedSurface> WireTrimmedSurface::createSurfaceWithMultipleHoles(
    std::shared_ptr<Surface> base, const std::vector<HoleDescription>& holes,
    const TrimmedSurfaceOptions& settings) {
  auto surface = std::make_unique<WireTrimmedSurface>(std::move(base), settings);
  const ParameterDomain domain = surface->getParameterDomain();
  surface->addOuterLoop(
      surface->createRectangularLoop(domain.uMin, domain.uMax, domain.vMin, domain.vMax));
  surface->addComplexMultiHolePattern(holes);
  return surface;
}

}  // namespace trova::geometry::trimmed_surface
