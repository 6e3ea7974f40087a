#include "morvel/nsided/internal/space_fill.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>

#include "morvel/foundation/progress.h"
#include "morvel/nsided/internal/neighbour_surface.h"
#include "morvel/nsided/internal/space_net.h"

namespace trova::geometry::internal {
namespace {

using foundation::progress::Stage;

constexpr int kFewestSpans = 16;
constexpr int kMostSpans = 128;
constexpr int kMostSpansForAngle = 64;
constexpr double kAngleAimedAt = 0.01;  // radians, to the tangent planes beside the loop
constexpr int kCentersPerEdge = 32;
constexpr double kInset = 0.35;           // of the centres' distance, for those inside the edge
constexpr double kCornerClearance = 1.5;  // centres' distances without inside centres at a corner
constexpr double kToleranceShare = 0.5;   // of the boundary tolerance, which the solver aims at
constexpr int kDemandsPerSpan = 4;
constexpr int kMeasuresPerSpan = 7;
constexpr double kStiffness = 1e-5;      // of the rows beside the edges, times the tangent factor
constexpr double kSingularSine = 0.02;   // of the angle of Su and Sv, below which a normal is noise
constexpr double kSingularSpeed = 0.02;  // of the greatest |Su| |Sv|, likewise
// Where the steps of a net, and those of the whole, end, of their time.
constexpr double kUntilFollowed = 0.2;
constexpr double kUntilSmoothed = 0.5;
constexpr double kUntilTurned = 0.95;
constexpr double kUntilPlates = 0.1;
constexpr double kUntilSpans = 0.4;
constexpr double kLeastShare = 0.4;  // cos^2 of the angle up to which the whole way is kept

/// Three thin plates, one a coordinate.
class SpacePlates {
 public:
  void add(double u, double v, const Point3D& point, double weight) {
    for (int axis = 0; axis < 3; ++axis)
      plates_[axis].AddPositionConstraint(u, v, point[axis], weight);
  }
  void fit() {
    for (RBFThinPlateSpline& plate : plates_) {
      if (!plate.Fit(false, 0.0)) throw std::runtime_error("the thin plates cannot be fitted");
    }
  }
  Point3D at(double u, double v) const {
    return {plates_[0].EvaluateAt(u, v), plates_[1].EvaluateAt(u, v), plates_[2].EvaluateAt(u, v)};
  }
  double conditionNumber() const { return plates_[0].GetFittingQuality().conditionNumber; }

 private:
  std::array<RBFThinPlateSpline, 3> plates_;
};

/// The surface beside the loop, where its continuity was asked for.
std::optional<SurfaceEvaluation> neighbour(const SpaceFillRequest& request, const LoopPoint& at,
                                           int level) {
  const auto* curve = dynamic_cast<const CurveOnSurface*>(request.curves[at.curve].get());
  if (!curve || request.levels[at.curve] < level) return std::nullopt;
  const SurfaceEvaluation found = neighbourAt(*curve, at.t);
  if (trueNormal(found).squaredMagnitude() == 0.0) return std::nullopt;
  return found;
}

double weightOf(const SpaceFillRequest& request, int curve) {
  return request.weights.empty() ? 1.0 : request.weights[curve];
}

void addBoundary(const SpaceFillRequest& request, const LoopLayout& layout, SpacePlates& plates) {
  for (int edge = 0; edge < kSquareEdges; ++edge) {
    for (int k = 0; k < kCentersPerEdge; ++k) {
      const double x = double(k) / kCentersPerEdge;
      const SquarePlace place = squarePlace(edge, x);
      const LoopPoint at = layout.at(edge, x);
      plates.add(place.u, place.v, at.point, weightOf(request, at.curve));
    }
  }
}

/// A derivative across the boundary turned into a tangent plane, so that it goes as far in its old
/// direction as before; one that stands too upright on the plane keeps its part there, lengthened.
Vector3D turnedInto(const Vector3D& across, const Vector3D& normal) {
  const Vector3D flat = across - normal * normal.dot(across);
  const double share = flat.squaredMagnitude() / across.squaredMagnitude();
  return flat / std::max(share, kLeastShare);
}

/// The derivative of the net's surface into the square, on clamped knots of width h
/// 3 (row 1 - row 0) / h.
Vector3D acrossEdge(const SpaceNet& net, int edge, double x) {
  const auto rows = net.rowsAt(edge, x);
  return (rows[1] - rows[0]) * double(SpaceNet::kDegree * net.spans((edge + 1) % kSquareEdges));
}

/// Centres a little inside the edges, on the tangent planes and parabolas that are asked for there.
/// Returns whether there are any.
bool addInside(const SpaceFillRequest& request, const LoopLayout& layout, const SpaceNet& net,
               SpacePlates& plates) {
  bool hasAny = false;
  const double inset = kInset / kCentersPerEdge;
  for (int edge = 0; edge < kSquareEdges; ++edge) {
    for (int k = 0; k < kCentersPerEdge; ++k) {
      const double x = (k + 0.5) / kCentersPerEdge;
      if (std::min(x, 1.0 - x) < kCornerClearance / kCentersPerEdge) continue;
      const LoopPoint at = layout.at(edge, x);
      const auto beside = neighbour(request, at, kTangentContinuity);
      if (!beside) continue;
      const SquarePlace place = squarePlace(edge, x);
      const Vector3D normal = trueNormal(*beside);
      const Vector3D inward = turnedInto(acrossEdge(net, edge, x), normal);
      Point3D point = at.point + inward * inset;
      if (request.levels[at.curve] >= kCurvatureContinuity)
        point = point + normal * (0.5 * inset * inset * normalBend(*beside, inward));
      plates.add(place.u + inset * place.inwardU, place.v + inset * place.inwardV, point,
                 weightOf(request, at.curve));
      hasAny = true;
    }
  }
  return hasAny;
}

/// The loop on the boundary of the square, the plates inside.
Point3D mapped(const LoopLayout& layout, const SpacePlates& plates, double u, double v) {
  if (v == 0.0) return layout.at(0, u).point;
  if (u == 1.0) return layout.at(1, v).point;
  if (v == 1.0) return layout.at(2, 1.0 - u).point;
  if (u == 0.0) return layout.at(3, 1.0 - v).point;
  return plates.at(u, v);
}

/// Row 1 lies in the tangent planes: N . (row 1 - row 0) = 0. Less strictly it goes as far as the
/// net did before.
std::vector<RingDemand> tangentDemands(const SpaceFillRequest& request, const LoopLayout& layout,
                                       const SpaceNet& net) {
  std::vector<RingDemand> demands;
  for (int edge = 0; edge < kSquareEdges; ++edge) {
    const int count = kDemandsPerSpan * net.spans(edge);
    for (int k = 0; k < count; ++k) {
      const double x = (k + 0.5) / count;
      const auto beside = neighbour(request, layout.at(edge, x), kTangentContinuity);
      if (!beside) continue;
      const Vector3D normal = trueNormal(*beside);
      const auto rows = net.rowsAt(edge, x);
      const Vector3D wanted = rows[0] + turnedInto(rows[1] - rows[0], normal);
      demands.push_back({edge, x, normal, normal.dot(rows[0]), 1.0});
      const Vector3D along = foundation::anyPerpendicular(normal);
      for (const Vector3D& axis : {along, normal.cross(along)})
        demands.push_back({edge, x, axis, axis.dot(wanted), request.tangentFactor});
    }
  }
  return demands;
}

/// Row 2 gives the neighbour's bend. On clamped knots of width h the second derivative across the
/// edge is (6 row 0 - 9 row 1 + 3 row 2) / h^2, the first 3 (row 1 - row 0) / h.
std::vector<RingDemand> bendDemands(const SpaceFillRequest& request, const LoopLayout& layout,
                                    const SpaceNet& net) {
  std::vector<RingDemand> demands;
  for (int edge = 0; edge < kSquareEdges; ++edge) {
    const int count = kDemandsPerSpan * net.spans(edge);
    const double h = 1.0 / net.spans((edge + 1) % kSquareEdges);
    for (int k = 0; k < count; ++k) {
      const double x = (k + 0.5) / count;
      const auto beside = neighbour(request, layout.at(edge, x), kCurvatureContinuity);
      if (!beside) continue;
      const Vector3D normal = trueNormal(*beside);
      const auto rows = net.rowsAt(edge, x);
      const Vector3D across = acrossEdge(net, edge, x);
      const double bend = normalBend(*beside, across) * h * h / 3.0;
      demands.push_back(
          {edge, x, normal, bend + 3.0 * normal.dot(rows[1]) - 2.0 * normal.dot(rows[0]), 1.0});
    }
  }
  return demands;
}

std::unique_ptr<BSplineSurface> surfaceOf(const SpaceNet& net) {
  return BSplineSurface::createClamped(net.net(), SpaceNet::kDegree, SpaceNet::kDegree);
}

int enoughSpans(int spans, int fewest) {
  while (spans < fewest)
    spans *= 2;
  return spans;
}

struct Spans {
  int u;
  int v;
  bool canDouble(int most) const { return 2 * std::max(u, v) <= most; }
  void makeDouble() {
    u *= 2;
    v *= 2;
  }
};

double edgeDeviation(const SpaceFillRequest& request, const LoopLayout& layout,
                     const SpacePlates& plates, Spans spans) {
  SpaceNet net(spans.u, spans.v);
  net.interpolate([&](double u, double v) { return mapped(layout, plates, u, v); });
  return measureBoundary(*surfaceOf(net), layout, request).maxDeviation;
}

/// A net that follows the loop, smoothed; then the rows beside the edges turned to what is asked of
/// them, and the inside smoothed again.
SpaceFill filledNet(const SpaceFillRequest& request, const LoopLayout& layout, SpacePlates plates,
                    Spans spans) {
  const auto map = [&](double u, double v) { return mapped(layout, plates, u, v); };
  SpaceNet net(spans.u, spans.v);
  {
    const Stage step(nullptr, 0.0, kUntilFollowed);
    net.interpolate(map);
  }
  {
    const Stage step(nullptr, kUntilFollowed, kUntilSmoothed);
    net.smooth(map, request.plateFactor);
  }
  if (addInside(request, layout, net, plates)) {
    const Stage step(nullptr, kUntilSmoothed, kUntilTurned);
    plates.fit();
    net.meetDemands(tangentDemands(request, layout, net), 1, kStiffness);
    net.meetDemands(bendDemands(request, layout, net), 2, kStiffness);
    net.smooth(map, request.plateFactor);
  }
  if (!net.net().isFinite()) throw std::runtime_error("the net is not finite");
  SpaceFill fill;
  fill.surface = surfaceOf(net);
  fill.measure = measureBoundary(*fill.surface, layout, request);
  fill.conditionNumber = plates.conditionNumber();
  return fill;
}

}  // namespace

BoundaryMeasure measureBoundary(const BSplineSurface& surface, const LoopLayout& layout,
                                const SpaceFillRequest& request) {
  struct Meeting {
    Vector3D cross;
    Vector3D normal;
    double speed;
    double sine;
  };
  BoundaryMeasure measure;
  std::vector<Meeting> meetings;
  double squares = 0.0, greatest = 0.0;
  long places = 0;
  for (int edge = 0; edge < kSquareEdges; ++edge) {
    const int points =
        edge % 2 == 0 ? surface.getUControlPointCount() : surface.getVControlPointCount();
    const int count = kMeasuresPerSpan * (points - SpaceNet::kDegree);
    for (int k = 0; k <= count; ++k) {
      const double x = double(k) / count;
      const SquarePlace place = squarePlace(edge, x);
      const LoopPoint at = layout.at(edge, x);
      const SurfaceEvaluation here = surface.evaluateDerivatives(place.u, place.v, 1);
      const double deviation = here.point.distanceTo(at.point);
      measure.maxDeviation = std::max(measure.maxDeviation, deviation);
      squares += deviation * deviation;
      ++places;
      const auto beside = neighbour(request, at, kTangentContinuity);
      const Vector3D cross = here.Su.cross(here.Sv);
      const double speed = here.Su.magnitude() * here.Sv.magnitude();
      greatest = std::max(greatest, speed);
      if (beside)
        meetings.push_back({cross, trueNormal(*beside), speed, cross.magnitude() / speed});
    }
  }
  measure.rmsDeviation = std::sqrt(squares / static_cast<double>(places));
  for (const Meeting& meeting : meetings) {
    if (!(meeting.speed > kSingularSpeed * greatest && meeting.sine > kSingularSine)) continue;
    const double angle = std::atan2(meeting.cross.cross(meeting.normal).magnitude(),
                                    std::abs(meeting.cross.dot(meeting.normal)));
    measure.maxAngle = std::max(measure.maxAngle, angle);
  }
  return measure;
}

SpaceFill fillLoopInSpace(const SpaceFillRequest& request) {
  const int fewest = std::max(kFewestSpans, LoopLayout::spansFor(int(request.curves.size())));
  Spans spans{enoughSpans(request.spansU, fewest), enoughSpans(request.spansV, fewest)};
  const LoopLayout layout(request.curves, spans.u, spans.v);
  SpacePlates plates;
  const Stage stage("filling in space");
  {
    const Stage step("fitting thin plates", 0.0, kUntilPlates);
    addBoundary(request, layout, plates);
    plates.fit();
  }
  const double wanted = kToleranceShare * request.boundaryTolerance;
  {
    const Stage step("choosing spans", kUntilPlates, kUntilSpans);
    while (!(edgeDeviation(request, layout, plates, spans) <= wanted) &&
           spans.canDouble(kMostSpans))
      spans.makeDouble();
  }
  double left = 1.0 - kUntilSpans;
  const auto fillNet = [&] {
    left /= 2;  // for the next one, if there is one
    const Stage step("smoothing the net", 1.0 - 2 * left, 1.0 - left);
    return filledNet(request, layout, plates, spans);
  };
  SpaceFill fill = fillNet();
  while (fill.measure.maxAngle > kAngleAimedAt && spans.canDouble(kMostSpansForAngle)) {
    spans.makeDouble();
    fill = fillNet();
  }
  return fill;
}

}  // namespace trova::geometry::internal
