#include "morvel/trimmed_surface/visible_region.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include "morvel/foundation/progress.h"
#include "morvel/trimmed_surface/internal/plane_triangulation.h"
#include "morvel/trimmed_surface/internal/polygon_winding.h"
#include "morvel/trimmed_surface/internal/sampled_loop.h"
#include "morvel/trimmed_surface/rectangular_trimmed_surface.h"
#include "morvel/trimmed_surface/wire_trimmed_surface.h"

namespace trova::geometry::trimmed_surface {
namespace {

using foundation::progress::Stage;
using internal::PlaneTriangulation;

constexpr int kAreaGrid = 40;  // vertices a side

// Where the steps of a mesh end, of its time; samples between two reports.
constexpr double kUntilGrid = 0.2;
constexpr double kUntilCut = 0.6;
constexpr double kUntilSorted = 0.7;
constexpr std::size_t kReported = 1024;

// ---- rings ----

/// The samples of a curve but for the last; lines and polylines by their corners.
std::vector<Point2D> chordsOf(const CurveOnSurface& curve) {
  const ParametricCurve2D& plane = curve.getParameterCurve();
  std::vector<Point2D> points;
  if (const auto* spline = dynamic_cast<const BSplineCurve2D*>(&plane);
      spline && spline->getDegree() == 1)
    points = spline->getControlPoints();
  else if (dynamic_cast<const LinearCurve2D*>(&plane) || dynamic_cast<const IsoCurve2D*>(&plane))
    points = internal::sampledCurve(curve, 1);
  else
    points = internal::sampledCurve(curve, internal::kBoundarySteps);
  return points;
}

/// The end of one curve is the start of the next, up to a gap that becomes a chord.
void append(std::vector<Point2D>& ring, const std::vector<Point2D>& points) {
  for (const Point2D& p : points) {
    if (ring.empty() || ring.back().x() != p.x() || ring.back().y() != p.y()) ring.push_back(p);
  }
}

std::vector<Point2D> ringOf(const TrimLoop& loop) {
  std::vector<Point2D> ring;
  for (const auto& curve : loop.curves) {
    if (curve) append(ring, chordsOf(*curve));
  }
  if (loop.curves.empty()) append(ring, loop.polygon);
  while (ring.size() > 1 && ring.back().distanceTo(ring.front()) == 0.0)
    ring.pop_back();
  return ring;
}

VisibleRegion::Ring rectangle(const RectangularTrimmedSurface& surface,
                              const ParameterDomain& domain) {
  const TrimBounds& bounds = surface.getTrimBounds();
  const double uMin = surface.isTrimmedU() ? bounds.uMin : domain.uMin;
  const double uMax = surface.isTrimmedU() ? bounds.uMax : domain.uMax;
  const double vMin = surface.isTrimmedV() ? bounds.vMin : domain.vMin;
  const double vMax = surface.isTrimmedV() ? bounds.vMax : domain.vMax;
  return {{{uMin, vMin}, {uMax, vMin}, {uMax, vMax}, {uMin, vMax}}, true, false};
}

// ---- triangles ----

struct Chord {
  Point2D a;
  Point2D b;
};

/// The part of a chord in the domain (Liang and Barsky, "A new concept and method for line
/// clipping", 1984); none for one that touches a corner at most.
std::optional<Chord> clipped(const Chord& chord, const ParameterDomain& domain) {
  const double dx = chord.b.x() - chord.a.x(), dy = chord.b.y() - chord.a.y();
  const double along[4] = {-dx, dx, -dy, dy};
  const double room[4] = {chord.a.x() - domain.uMin, domain.uMax - chord.a.x(),
                          chord.a.y() - domain.vMin, domain.vMax - chord.a.y()};
  double from = 0.0, to = 1.0;
  for (int k = 0; k < 4; ++k) {
    if (along[k] == 0.0 && room[k] < 0.0) return std::nullopt;
    if (along[k] < 0.0) from = std::max(from, room[k] / along[k]);
    if (along[k] > 0.0) to = std::min(to, room[k] / along[k]);
  }
  if (!(from <= to) || !std::isfinite(dx) || !std::isfinite(dy)) return std::nullopt;
  const auto at = [&](double share) {
    return Point2D(chord.a.x() + share * dx, chord.a.y() + share * dy);
  };
  return Chord{from > 0.0 ? at(from) : chord.a, to < 1.0 ? at(to) : chord.b};
}

/// Where a coordinate that runs from `from` to `to` passes the inner grid parameters, as shares.
void appendCrossings(double from, double to, double low, double high, int count,
                     std::vector<double>& shares) {
  const double perCell = (count - 1) / (high - low);
  const double first = (std::min(from, to) - low) * perCell;
  const double last = (std::max(from, to) - low) * perCell;
  for (double line = std::floor(first) + 1.0; line < last; ++line)
    shares.push_back((low + line / perCell - from) / (to - from));
}

/// The segments of a grid and of rings in its cells.
class RingWriter {
 public:
  RingWriter(PlaneTriangulation& plane, const ParameterDomain& domain, int uCount, int vCount)
      : plane_(plane), domain_(domain), uCount_(uCount), vCount_(vCount) {}

  void add(const VisibleRegion::Ring& ring) {
    const std::size_t count = ring.points.size();
    Stage stage("cutting");
    for (std::size_t k = 0; count > 1 && k < count; ++k) {
      stage.report(double(k), double(count));
      const auto chord = clipped({ring.points[k], ring.points[(k + 1) % count]}, domain_);
      if (chord) addChord(*chord);
    }
  }

 private:
  /// In pieces that end at the grid lines: a chord as long as a cell at most follows the surface.
  void addChord(const Chord& chord) {
    std::vector<double> shares;
    appendCrossings(chord.a.x(), chord.b.x(), domain_.uMin, domain_.uMax, uCount_, shares);
    appendCrossings(chord.a.y(), chord.b.y(), domain_.vMin, domain_.vMax, vCount_, shares);
    std::sort(shares.begin(), shares.end());
    int from = plane_.addPoint(chord.a);
    for (const double share : shares) {
      const int next = plane_.addPoint(chord.a + (chord.b - chord.a) * share);
      plane_.addSegment(from, next);
      from = next;
    }
    plane_.addSegment(from, plane_.addPoint(chord.b));
  }

  PlaneTriangulation& plane_;
  ParameterDomain domain_;
  int uCount_;
  int vCount_;
};

Point2D centroid(const PlaneTriangulation& plane, const PlaneTriangulation::Triangle& triangle) {
  const auto& points = plane.vertices();
  return (points[triangle.vertex[0]] + points[triangle.vertex[1]] + points[triangle.vertex[2]]) *
         (1.0 / 3.0);
}

/// Whether each triangle is visible: asked once for every part that rings enclose, at its largest
/// triangle.
class VisibleTriangles {
 public:
  VisibleTriangles(const PlaneTriangulation& plane, const VisibleRegion& region)
      : plane_(plane), isVisible_(plane.triangles().size(), false) {
    std::vector<bool> isSeen(isVisible_.size(), false);
    Stage stage("sorting triangles", kUntilCut, kUntilSorted);
    for (std::size_t start = 0; start < isSeen.size(); ++start) {
      if (isSeen[start]) continue;
      stage.report(double(start), double(isSeen.size()));
      const std::vector<int> part = partAround(static_cast<int>(start), isSeen, stage);
      const int largest = *std::max_element(part.begin(), part.end(), [&](int a, int b) {
        return plane.twiceArea(plane.triangles()[a]) < plane.twiceArea(plane.triangles()[b]);
      });
      if (!region.holds(centroid(plane, plane.triangles()[largest]))) continue;
      for (int triangle : part)
        isVisible_[triangle] = true;
    }
  }

  bool operator[](std::size_t triangle) const { return isVisible_[triangle]; }

 private:
  std::vector<int> partAround(int start, std::vector<bool>& isSeen, Stage& stage) const {
    std::vector<int> part{start};
    isSeen[start] = true;
    for (std::size_t next = 0; next < part.size(); ++next) {
      if (next % kReported == 0) stage.report(double(next), double(isSeen.size()));
      const PlaneTriangulation::Triangle& triangle = plane_.triangles()[part[next]];
      for (int k = 0; k < 3; ++k) {
        const int across = triangle.neighbor[k];
        if (across < 0 || triangle.isFixed[k] || isSeen[across]) continue;
        isSeen[across] = true;
        part.push_back(across);
      }
    }
    return part;
  }

  const PlaneTriangulation& plane_;
  std::vector<bool> isVisible_;
};

/// The visible triangles over the parameter plane; `vertices` and `normals` stay empty.
SurfaceMesh planeMesh(const TrimmedSurface& surface, int uCount, int vCount) {
  const VisibleRegion region = visibleRegionOf(surface);
  std::optional<Stage> layingOut(std::in_place, "laying out a grid", 0.0, kUntilGrid);
  PlaneTriangulation plane(region.domain, uCount, vCount);
  layingOut.reset();
  RingWriter writer(plane, region.domain, uCount, vCount);
  const double each = (kUntilCut - kUntilGrid) / std::max(double(region.rings.size()), 1.0);
  for (std::size_t k = 0; k < region.rings.size(); ++k) {
    const double from = kUntilGrid + double(k) * each;
    const Stage stage("cutting", from, from + each);
    writer.add(region.rings[k]);
  }
  const VisibleTriangles isVisible(plane, region);
  SurfaceMesh mesh;
  std::vector<std::int32_t> numbers(plane.vertices().size(), -1);
  for (std::size_t k = 0; k < plane.triangles().size(); ++k) {
    if (!isVisible[k]) continue;
    std::array<std::int32_t, 3> corners;
    for (int c = 0; c < 3; ++c) {
      std::int32_t& number = numbers[plane.triangles()[k].vertex[c]];
      if (number < 0) {
        number = static_cast<std::int32_t>(mesh.parameters.size());
        mesh.parameters.push_back(plane.vertices()[plane.triangles()[k].vertex[c]]);
      }
      corners[c] = number;
    }
    mesh.addTriangle(corners[0], corners[1], corners[2]);
  }
  return mesh;
}

double triangleArea(const Point3D& a, const Point3D& b, const Point3D& c) {
  return 0.5 * (b - a).cross(c - a).magnitude();
}

}  // namespace

bool VisibleRegion::holds(const Point2D& p) const {
  if (isEverything) return true;
  int sum = 0;
  bool isInOuter = false, isInHole = false;
  for (const Ring& ring : rings) {
    const int winding = internal::windingNumber(ring.points, p);
    sum += winding;
    isInOuter = isInOuter || (ring.isOuterLike && winding != 0);
    isInHole = isInHole || (ring.isHoleLike && winding != 0);
  }
  return countsCrossings ? sum != 0 : isInOuter && !isInHole;
}

VisibleRegion visibleRegionOf(const TrimmedSurface& surface) {
  VisibleRegion region;
  region.domain = surface.getParameterDomain();
  if (const auto* rectangular = dynamic_cast<const RectangularTrimmedSurface*>(&surface)) {
    region.rings.push_back(rectangle(*rectangular, region.domain));
    return region;
  }
  region.isEverything = surface.getNumTrimLoops() == 0;
  region.countsCrossings = !dynamic_cast<const WireTrimmedSurface*>(&surface);
  for (const TrimLoop& loop : surface.getTrimLoops()) {
    std::vector<Point2D> points = region.countsCrossings ? loop.polygon : ringOf(loop);
    region.rings.push_back(
        {std::move(points), internal::isOuterLike(loop), internal::isHoleLike(loop)});
  }
  return region;
}

SurfaceMesh tessellateVisibleRegion(const TrimmedSurface& surface, int uCount, int vCount) {
  Stage stage("meshing the visible part");
  SurfaceMesh mesh = planeMesh(surface, uCount, vCount);
  mesh.vertices.reserve(mesh.parameters.size());
  mesh.normals.reserve(mesh.parameters.size());
  Stage evaluating("evaluating", kUntilSorted);
  for (const Point2D& p : mesh.parameters) {
    if (mesh.vertices.size() % kReported == 0)
      evaluating.report(double(mesh.vertices.size()), double(mesh.parameters.size()));
    mesh.vertices.push_back(surface.evaluate(p.x(), p.y()));
    mesh.normals.push_back(surface.getBaseSurface()->getNormal(p.x(), p.y()));
  }
  stage.finish();
  return mesh;
}

double visibleArea(const TrimmedSurface& surface) {
  Stage stage("measuring the visible part");
  const SurfaceMesh mesh = planeMesh(surface, kAreaGrid, kAreaGrid);
  const auto at = [&](const Point2D& p) { return surface.evaluate(p.x(), p.y()); };
  double whole = 0.0, quarters = 0.0;
  Stage evaluating("evaluating", kUntilSorted);
  for (const auto& face : mesh.faces) {
    evaluating.report(0.0);
    const Point2D &a = mesh.parameters[face[0]], &b = mesh.parameters[face[1]],
                  &c = mesh.parameters[face[2]];
    const Point3D pa = at(a), pb = at(b), pc = at(c);
    const Point3D ab = at((a + b) * 0.5), bc = at((b + c) * 0.5), ca = at((c + a) * 0.5);
    whole += triangleArea(pa, pb, pc);
    quarters += triangleArea(pa, ab, ca) + triangleArea(ab, pb, bc) + triangleArea(ca, bc, pc) +
                triangleArea(ab, bc, ca);
  }
  stage.finish();
  // The error of flat triangles falls by 4 with the quarters.
  return (4.0 * quarters - whole) / 3.0;
}

}  // namespace trova::geometry::trimmed_surface
