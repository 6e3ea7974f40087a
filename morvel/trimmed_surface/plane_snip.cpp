#include "morvel/trimmed_surface/plane_snip.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <unordered_map>

#include "morvel/surfaces/grid_sampling.h"
#include "morvel/trimmed_surface/internal/polygon_winding.h"

namespace trova::geometry::trimmed_surface {
namespace {

constexpr int kNodes = 97;
constexpr int kBisections = 50;
constexpr int kHalvings = 2;
// A chord's middle is looked for on the cut within this part of the chord's length, on both sides.
constexpr double kSearchReach = 0.5;

/// The outline of the kept part, by marching squares over a grid with one more ring of nodes, which
/// are not kept and stand on the domain's edge: so the outline closes along that edge.
class PlaneCut {
 public:
  PlaneCut(const Surface& surface, const Point3D& point, const Vector3D& normal)
      : surface_(surface), point_(point), normal_(normal), domain_(surface.getParameterDomain()) {
    heights_.reserve(kSide * kSide);
    for (int i = 0; i < kSide; ++i) {
      for (int j = 0; j < kSide; ++j)
        heights_.push_back(isRing(i, j) ? -1.0 : height(at(i, j)));
    }
  }

  bool cuts() const {
    bool isKept = false, isCut = false;
    for (int i = 1; i + 1 < kSide; ++i) {
      for (int j = 1; j + 1 < kSide; ++j)
        (heightAt(i, j) >= 0.0 ? isKept : isCut) = true;
    }
    return isKept && isCut;
  }

  std::vector<std::vector<Point2D>> outlines() {
    for (int i = 0; i + 1 < kSide; ++i) {
      for (int j = 0; j + 1 < kSide; ++j)
        marchCell(i, j);
    }
    std::vector<std::vector<Point2D>> loops;
    while (!next_.empty())
      loops.push_back(refined(traced()));
    return loops;
  }

 private:
  static constexpr int kSide = kNodes + 2;

  /// A crossing on the grid edge from node (i, j) to the next in i or in j.
  using Key = int;
  static Key keyOf(int i, int j, bool isAlongI) { return 2 * (i * kSide + j) + (isAlongI ? 1 : 0); }

  static bool isRing(int i, int j) { return i == 0 || j == 0 || i == kSide - 1 || j == kSide - 1; }

  Point2D at(int i, int j) const {
    const auto node = [](int k) { return std::clamp(k - 1, 0, kNodes - 1); };
    return {gridParameter(domain_.uMin, domain_.uMax, node(i), kNodes),
            gridParameter(domain_.vMin, domain_.vMax, node(j), kNodes)};
  }

  double height(const Point2D& p) const {
    return (surface_.evaluate(p.x(), p.y()) - point_).dot(normal_);
  }
  double heightAt(int i, int j) const { return heights_[i * kSide + j]; }

  Point2D root(Point2D kept, Point2D cut) const {
    for (int k = 0; k < kBisections; ++k) {
      const Point2D middle = (kept + cut) * 0.5;
      (height(middle) >= 0.0 ? kept : cut) = middle;
    }
    return kept;
  }

  Point2D crossingOf(Key key) const {
    const int node = key / 2, i = node / kSide, j = node % kSide;
    const int di = key % 2, dj = 1 - di;
    const bool isFirstKept = heightAt(i, j) >= 0.0;
    // The ring's nodes stand where their neighbours do: the kept one is on the domain's edge.
    if (isRing(i, j) || isRing(i + di, j + dj)) return isFirstKept ? at(i, j) : at(i + di, j + dj);
    return isFirstKept ? root(at(i, j), at(i + di, j + dj)) : root(at(i + di, j + dj), at(i, j));
  }

  // Segments with the kept side on their left. Corners counter-clockwise from (i, j).
  void marchCell(int i, int j) {
    const std::array<Key, 4> sides{keyOf(i, j, true), keyOf(i + 1, j, false), keyOf(i, j + 1, true),
                                   keyOf(i, j, false)};
    const std::array<bool, 4> kept{heightAt(i, j) >= 0.0, heightAt(i + 1, j) >= 0.0,
                                   heightAt(i + 1, j + 1) >= 0.0, heightAt(i, j + 1) >= 0.0};
    // Side k joins corner k and the next. The outline leaves the cell where a kept corner is
    // followed by one that is not, and has come in at the side before that stretch of kept corners.
    for (int k = 0; k < 4; ++k) {
      if (!kept[k] || kept[(k + 1) % 4]) continue;
      int first = k;
      while (kept[(first + 3) % 4] && first != (k + 1) % 4)
        first = (first + 3) % 4;
      next_[sides[k]] = sides[(first + 3) % 4];
    }
  }

  std::vector<Key> traced() {
    std::vector<Key> loop;
    auto at = next_.begin();
    while (at != next_.end()) {
      loop.push_back(at->first);
      const Key next = at->second;
      next_.erase(at);
      at = next_.find(next);
    }
    return loop;
  }

  bool isOnEdge(const Point2D& p) const {
    return p.x() == domain_.uMin || p.x() == domain_.uMax || p.y() == domain_.vMin ||
           p.y() == domain_.vMax;
  }

  /// The middle of a chord, brought onto the cut across the chord where it is near.
  Point2D middleOf(const Point2D& a, const Point2D& b) const {
    const Point2D middle = (a + b) * 0.5;
    const Point2D across = Point2D(a.y() - b.y(), b.x() - a.x()) * kSearchReach;
    const auto inDomain = [&](const Point2D& p) {
      return Point2D(std::clamp(p.x(), domain_.uMin, domain_.uMax),
                     std::clamp(p.y(), domain_.vMin, domain_.vMax));
    };
    const Point2D left = inDomain(middle + across), right = inDomain(middle - across);
    return height(left) >= 0.0 && height(right) < 0.0 ? root(left, right) : middle;
  }

  std::vector<Point2D> refined(const std::vector<Key>& keys) const {
    std::vector<Point2D> loop;
    for (const Key key : keys) {
      const Point2D p = crossingOf(key);
      if (loop.empty() || loop.back().distanceTo(p) > 0.0) loop.push_back(p);
    }
    while (loop.size() > 1 && loop.back().distanceTo(loop.front()) == 0.0)
      loop.pop_back();
    for (int k = 0; k < kHalvings; ++k)
      loop = halved(loop);
    return loop;
  }

  std::vector<Point2D> halved(const std::vector<Point2D>& loop) const {
    std::vector<Point2D> result;
    for (std::size_t k = 0; k < loop.size(); ++k) {
      const Point2D &a = loop[k], &b = loop[(k + 1) % loop.size()];
      result.push_back(a);
      if (!isOnEdge(a) || !isOnEdge(b)) result.push_back(middleOf(a, b));
    }
    return result;
  }

  const Surface& surface_;
  Point3D point_;
  Vector3D normal_;
  ParameterDomain domain_;
  std::vector<double> heights_;
  std::unordered_map<Key, Key> next_;
};

}  // namespace

std::unique_ptr<WireTrimmedSurface> snippedByPlane(std::shared_ptr<Surface> base,
                                                   const Point3D& point, const Vector3D& normal,
                                                   const TrimmedSurfaceOptions& settings) {
  if (!point.isFinite() || !normal.isFinite() || !(normal.magnitude() > 0.0))
    throw std::invalid_argument("The plane needs a point and a normal");
  auto result = std::make_unique<WireTrimmedSurface>(std::move(base), settings);
  PlaneCut cut(*result->getBaseSurface(), point, normal * (1.0 / normal.magnitude()));
  if (!cut.cuts()) return nullptr;
  for (std::vector<Point2D>& outline : cut.outlines()) {
    TrimLoop loop;
    loop.polygon = std::move(outline);
    if (loop.polygon.size() < 3) continue;
    const bool isHole = loop.computeSignedPolygonArea() < 0.0;
    loop.type = isHole ? kInnerHole : kOuterBoundary;
    isHole ? result->addInnerLoop(loop) : result->addOuterLoop(loop);
  }
  return result;
}

}  // namespace trova::geometry::trimmed_surface
