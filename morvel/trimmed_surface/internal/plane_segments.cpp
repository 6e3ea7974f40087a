// Segments in a triangulation.

#include <algorithm>
#include <cmath>
#include <deque>
#include <stdexcept>

#include "morvel/trimmed_surface/internal/plane_triangulation.h"

namespace trova::geometry::trimmed_surface::internal {
namespace {

// Pieces a segment on average: what loops need that cross each other is far below.
constexpr std::size_t kPiecesPerSegment = 256;
constexpr std::size_t kPiecesInAnyCase = 100000;
// Flips for a segment that crosses n edges: n (n + 1) / 2 are enough in theory.
constexpr std::size_t kFlipsBeyondSquare = 1000;

}  // namespace

void PlaneTriangulation::addSegment(int from, int to) {
  ++asked_;
  std::vector<Segment> open{{from, to}};
  while (!open.empty()) {
    const Segment segment = open.back();
    open.pop_back();
    if (segment.from == segment.to) continue;
    if (++pieces_ > kPiecesPerSegment * asked_ + kPiecesInAnyCase)
      throw std::runtime_error("The loops cross each other too often to be triangulated");
    insertSegment(segment, open);
  }
}

void PlaneTriangulation::fix(Edge edge) {
  triangles_[edge.triangle].isFixed[edge.corner] = true;
  const int across = triangles_[edge.triangle].neighbor[edge.corner];
  if (across >= 0) triangles_[across].isFixed[cornerToward(across, edge.triangle)] = true;
}

// A segment that starts along an edge is that edge and the rest.
bool PlaneTriangulation::passesAlongEdge(Segment segment, std::vector<Segment>& open) {
  Edge along{-1, -1};
  int end = -1;
  const Site& a = sites_[segment.from];
  const Site& b = sites_[segment.to];
  const auto isAhead = [&](int vertex) {
    const Site& c = sites_[vertex];
    const bool isForward = (c.x - a.x > 0) == (b.x - a.x > 0) &&
                           (c.y - a.y > 0) == (b.y - a.y > 0) &&
                           (c.x - a.x < 0) == (b.x - a.x < 0) && (c.y - a.y < 0) == (b.y - a.y < 0);
    return isForward && orientation(a, b, c) == 0;
  };
  aroundVertex(segment.from, [&](int triangle, int corner) {
    const auto& corners = triangles_[triangle].vertex;
    if (isAhead(corners[after(corner)])) {
      along = {triangle, before(corner)};
      end = corners[after(corner)];
    } else if (isAhead(corners[before(corner)])) {
      along = {triangle, after(corner)};
      end = corners[before(corner)];
    }
    return end >= 0;
  });
  if (end < 0) return false;
  fix(along);
  open.push_back({end, segment.to});
  return true;
}

// The edge opposite the start that the segment leaves its first triangle through.
PlaneTriangulation::Edge PlaneTriangulation::firstCrossedEdge(Segment segment) const {
  Edge found{-1, -1};
  aroundVertex(segment.from, [&](int triangle, int corner) {
    const auto& corners = triangles_[triangle].vertex;
    const bool isBetween = orientation(segment.from, segment.to, corners[after(corner)]) < 0 &&
                           orientation(segment.from, segment.to, corners[before(corner)]) > 0 &&
                           orientation(segment.from, corners[after(corner)], segment.to) > 0;
    if (isBetween) found = {triangle, corner};
    return isBetween;
  });
  return found;
}

void PlaneTriangulation::insertSegment(Segment segment, std::vector<Segment>& open) {
  if (passesAlongEdge(segment, open)) return;
  Edge edge = firstCrossedEdge(segment);
  if (edge.triangle < 0) throw std::runtime_error("A segment leaves the triangulation");
  std::vector<Segment> crossed;
  for (;;) {
    const Triangle& own = triangles_[edge.triangle];
    if (own.isFixed[edge.corner]) return cutFixedEdge(segment, edge, open);
    const int right = own.vertex[after(edge.corner)], left = own.vertex[before(edge.corner)];
    crossed.push_back({right, left});
    const int across = own.neighbor[edge.corner];
    const int corner = cornerToward(across, edge.triangle);
    const int tip = triangles_[across].vertex[corner];
    if (tip == segment.to) break;
    const std::int64_t where = orientation(segment.from, segment.to, tip);
    if (where == 0) {
      open.push_back({tip, segment.to});
      segment.to = tip;
      break;
    }
    // The triangle across is tip, left, right: the way out is opposite the vertex left behind.
    edge = {across, where > 0 ? after(corner) : before(corner)};
  }
  flipCrossed(segment, std::move(crossed));
}

// Two segments cross: they and the edge continue through a common vertex, which rounding may put
// beside them.
void PlaneTriangulation::cutFixedEdge(Segment segment, Edge edge, std::vector<Segment>& open) {
  const int c = triangles_[edge.triangle].vertex[after(edge.corner)];
  const int d = triangles_[edge.triangle].vertex[before(edge.corner)];
  const double ofC = std::abs(double(orientation(segment.from, segment.to, c)));
  const double ofD = std::abs(double(orientation(segment.from, segment.to, d)));
  const double share = ofC / (ofC + ofD);
  const auto between = [&](std::int64_t from, std::int64_t to) {
    return from + std::llround(double(to - from) * share);
  };
  const Site site{between(sites_[c].x, sites_[d].x), between(sites_[c].y, sites_[d].y)};
  const int across = triangles_[edge.triangle].neighbor[edge.corner];
  triangles_[edge.triangle].isFixed[edge.corner] = false;
  triangles_[across].isFixed[cornerToward(across, edge.triangle)] = false;
  const int vertex = insert(site, parametersOf(site));
  for (const Segment& piece : {Segment{c, vertex}, Segment{vertex, d},
                               Segment{segment.from, vertex}, Segment{vertex, segment.to}})
    open.push_back(piece);
}

// Sloan's flips: an edge that cannot be flipped yet waits for its neighbors.
void PlaneTriangulation::flipCrossed(Segment segment, std::vector<Segment> crossed) {
  std::deque<Segment> waiting(crossed.begin(), crossed.end());
  std::vector<Segment> made;
  std::size_t budget = crossed.size() * crossed.size() + kFlipsBeyondSquare;
  while (!waiting.empty()) {
    if (budget-- == 0) throw std::runtime_error("A segment could not be inserted");
    const Segment next = waiting.front();
    waiting.pop_front();
    const Edge edge = findEdge(next.from, next.to);
    if (edge.triangle < 0) continue;
    if (!isConvex(edge)) {
      waiting.push_back(next);
      continue;
    }
    flip(edge);
    // The new edge runs from the first corner of both triangles.
    const Triangle& own = triangles_[edge.triangle];
    const Segment diagonal{own.vertex[0], own.vertex[2]};
    const std::int64_t from = orientation(segment.from, segment.to, diagonal.from);
    const std::int64_t to = orientation(segment.from, segment.to, diagonal.to);
    if ((from > 0 && to < 0) || (from < 0 && to > 0))
      waiting.push_back(diagonal);
    else
      made.push_back(diagonal);
  }
  fix(findEdge(segment.from, segment.to));
  for (const Segment& edge : made) {
    const Edge found = findEdge(edge.from, edge.to);
    if (found.triangle < 0 || triangles_[found.triangle].isFixed[found.corner]) continue;
    const int across = triangles_[found.triangle].neighbor[found.corner];
    if (across < 0) continue;
    const int opposite = triangles_[across].vertex[cornerToward(across, found.triangle)];
    if (isInCircle(triangles_[found.triangle], opposite)) flip(found);
  }
}

}  // namespace trova::geometry::trimmed_surface::internal
