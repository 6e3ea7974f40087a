#include "morvel/trimmed_surface/internal/plane_triangulation.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "morvel/foundation/progress.h"
#include "morvel/surfaces/grid_sampling.h"

namespace trova::geometry::trimmed_surface::internal {
namespace {

// Differences of lattice coordinates have 31 bits, so that an orientation fits into 64 bits and an
// in-circle determinant into 128.
constexpr double kLatticeSteps = 1 << 30;

__extension__ typedef __int128 Wide;

std::int64_t latticeStep(double value, double low, double high) {
  const double share = (value - low) / (high - low);
  return share > 0.0 ? std::llround(std::min(share, 1.0) * kLatticeSteps) : 0;
}

}  // namespace

PlaneTriangulation::PlaneTriangulation(const ParameterDomain& domain, int uCount, int vCount)
    : domain_(domain) {
  requireGrid(uCount, vCount);
  makeGrid(uCount, vCount);
}

// Two triangles a cell, linked by their places in the list.
void PlaneTriangulation::makeGrid(int uCount, int vCount) {
  foundation::progress::Stage stage(nullptr);
  for (int i = 0; i < uCount; ++i) {
    stage.report(i, 2.0 * uCount);
    for (int j = 0; j < vCount; ++j) {
      parameters_.emplace_back(gridParameter(domain_.uMin, domain_.uMax, i, uCount),
                               gridParameter(domain_.vMin, domain_.vMax, j, vCount));
      sites_.push_back(siteOf(parameters_.back()));
    }
  }
  someTriangle_.resize(sites_.size());
  const int columns = vCount - 1;
  const auto lower = [&](int i, int j) { return 2 * (i * columns + j); };
  for (int i = 0; i + 1 < uCount; ++i) {
    stage.report(uCount + i, 2.0 * uCount);
    for (int j = 0; j < columns; ++j) {
      const int a = i * vCount + j, b = a + vCount, c = b + 1, d = a + 1, own = lower(i, j);
      const int right = i + 2 < uCount ? lower(i + 1, j) + 1 : -1;
      const int left = i > 0 ? lower(i - 1, j) : -1;
      const int below = j > 0 ? lower(i, j - 1) + 1 : -1;
      const int above = j + 1 < columns ? lower(i, j + 1) : -1;
      triangles_.push_back({{a, b, c}, {right, own + 1, below}});
      triangles_.push_back({{a, c, d}, {above, left, own}});
      for (int vertex : {a, b, c})
        someTriangle_[vertex] = own;
      someTriangle_[d] = own + 1;
    }
  }
}

PlaneTriangulation::Site PlaneTriangulation::siteOf(const Point2D& p) const {
  return {latticeStep(p.x(), domain_.uMin, domain_.uMax),
          latticeStep(p.y(), domain_.vMin, domain_.vMax)};
}

Point2D PlaneTriangulation::parametersOf(const Site& site) const {
  return {domain_.uMin + (domain_.uMax - domain_.uMin) * (double(site.x) / kLatticeSteps),
          domain_.vMin + (domain_.vMax - domain_.vMin) * (double(site.y) / kLatticeSteps)};
}

std::int64_t PlaneTriangulation::orientation(const Site& a, const Site& b, const Site& c) const {
  return (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
}

std::int64_t PlaneTriangulation::orientation(int a, int b, int c) const {
  return orientation(sites_[a], sites_[b], sites_[c]);
}

std::int64_t PlaneTriangulation::twiceArea(const Triangle& triangle) const {
  return orientation(triangle.vertex[0], triangle.vertex[1], triangle.vertex[2]);
}

// Strictly inside the circle through the triangle's corners.
bool PlaneTriangulation::isInCircle(const Triangle& triangle, int vertex) const {
  Wide x[3], y[3], squared[3];
  for (int k = 0; k < 3; ++k) {
    x[k] = sites_[triangle.vertex[k]].x - sites_[vertex].x;
    y[k] = sites_[triangle.vertex[k]].y - sites_[vertex].y;
    squared[k] = x[k] * x[k] + y[k] * y[k];
  }
  return squared[0] * (x[1] * y[2] - x[2] * y[1]) + squared[1] * (x[2] * y[0] - x[0] * y[2]) +
             squared[2] * (x[0] * y[1] - x[1] * y[0]) >
         0;
}

// ---- finding ----

PlaneTriangulation::Location PlaneTriangulation::locationIn(int triangle, const Site& site) const {
  const Triangle& t = triangles_[triangle];
  Location location{triangle};
  for (int k = 0; k < 3; ++k) {
    if (sites_[t.vertex[k]] == site) location.onVertex = k;
    if (orientation(sites_[t.vertex[after(k)]], sites_[t.vertex[before(k)]], site) == 0)
      location.onEdge = k;
  }
  return location;
}

// A walk toward the site. In a triangulation with segments it can turn in circles: then all
// triangles are looked at.
PlaneTriangulation::Location PlaneTriangulation::locate(const Site& site) const {
  const auto exitOf = [&](int triangle) {
    const Triangle& t = triangles_[triangle];
    for (int k = 0; k < 3; ++k) {
      if (orientation(sites_[t.vertex[after(k)]], sites_[t.vertex[before(k)]], site) < 0) return k;
    }
    return -1;
  };
  for (std::size_t step = 0; step < triangles_.size(); ++step) {
    const int exit = exitOf(hint_);
    if (exit < 0) return locationIn(hint_, site);
    hint_ = triangles_[hint_].neighbor[exit];
  }
  hint_ = 0;
  while (exitOf(hint_) >= 0)
    ++hint_;
  return locationIn(hint_, site);
}

PlaneTriangulation::Edge PlaneTriangulation::findEdge(int from, int to) const {
  Edge found{-1, -1};
  aroundVertex(from, [&](int triangle, int corner) {
    const auto& corners = triangles_[triangle].vertex;
    if (corners[after(corner)] == to) found = {triangle, before(corner)};
    if (corners[before(corner)] == to) found = {triangle, after(corner)};
    return found.triangle >= 0;
  });
  return found;
}

// ---- points ----

int PlaneTriangulation::addPoint(const Point2D& p) {
  const Site site = siteOf(p);
  const int vertex = insert(site, p);
  parameters_[vertex] = p;
  return vertex;
}

int PlaneTriangulation::insert(const Site& site, const Point2D& parameters) {
  const Location location = locate(site);
  if (location.onVertex >= 0) return triangles_[location.triangle].vertex[location.onVertex];
  const int vertex = static_cast<int>(sites_.size());
  sites_.push_back(site);
  parameters_.push_back(parameters);
  someTriangle_.push_back(location.triangle);
  if (location.onEdge >= 0)
    splitEdge({location.triangle, location.onEdge}, vertex);
  else
    splitTriangle(location.triangle, vertex);
  return vertex;
}

void PlaneTriangulation::setTriangle(int at, const Triangle& triangle) {
  if (at == static_cast<int>(triangles_.size()))
    triangles_.push_back(triangle);
  else
    triangles_[at] = triangle;
  for (int vertex : triangle.vertex)
    someTriangle_[vertex] = at;
}

// Tells the neighbor across an edge who stands there now.
void PlaneTriangulation::link(int triangle, int corner, int formerOwner) {
  const int across = triangles_[triangle].neighbor[corner];
  if (across >= 0) triangles_[across].neighbor[cornerToward(across, formerOwner)] = triangle;
}

void PlaneTriangulation::splitTriangle(int triangle, int vertex) {
  const Triangle old = triangles_[triangle];
  const int next = static_cast<int>(triangles_.size());
  const int at[3] = {triangle, next, next + 1};
  for (int k = 0; k < 3; ++k) {
    const int a = old.vertex[after(k)], b = old.vertex[before(k)];
    setTriangle(at[k], {{vertex, a, b},
                        {old.neighbor[k], at[after(k)], at[before(k)]},
                        {old.isFixed[k], false, false}});
  }
  for (int k = 1; k < 3; ++k)
    link(at[k], 0, triangle);
  legalize(vertex, {at[0], at[1], at[2]});
}

// Each of the one or two triangles at the edge becomes two.
void PlaneTriangulation::splitEdge(Edge edge, int vertex) {
  const Triangle own = triangles_[edge.triangle];
  const int k = edge.corner, across = own.neighbor[k];
  const int top = own.vertex[k], a = own.vertex[after(k)], b = own.vertex[before(k)];
  const bool isFixed = own.isFixed[k];
  const int second = static_cast<int>(triangles_.size());
  const int third = across >= 0 ? second + 1 : -1;
  setTriangle(edge.triangle, {{vertex, top, a},
                              {own.neighbor[before(k)], across, second},
                              {own.isFixed[before(k)], isFixed, false}});
  setTriangle(second, {{vertex, b, top},
                       {own.neighbor[after(k)], edge.triangle, third},
                       {own.isFixed[after(k)], false, isFixed}});
  link(second, 0, edge.triangle);
  std::vector<int> changed{edge.triangle, second};
  if (across >= 0) {
    const Triangle other = triangles_[across];
    const int m = cornerToward(across, edge.triangle);
    const int bottom = other.vertex[m];  // other is bottom, b, a
    setTriangle(across, {{vertex, a, bottom},
                         {other.neighbor[after(m)], third, edge.triangle},
                         {other.isFixed[after(m)], false, isFixed}});
    setTriangle(third, {{vertex, bottom, b},
                        {other.neighbor[before(m)], second, across},
                        {other.isFixed[before(m)], isFixed, false}});
    link(third, 0, across);
    changed.insert(changed.end(), {across, third});
  }
  legalize(vertex, std::move(changed));
}

// Lawson's flips outward from a new vertex.
void PlaneTriangulation::legalize(int vertex, std::vector<int> triangles) {
  while (!triangles.empty()) {
    const int at = triangles.back();
    triangles.pop_back();
    const int corner = cornerOf(at, vertex);
    const int across = triangles_[at].neighbor[corner];
    if (across < 0 || triangles_[at].isFixed[corner]) continue;
    const int opposite = triangles_[across].vertex[cornerToward(across, at)];
    if (!isInCircle(triangles_[at], opposite)) continue;
    flip({at, corner});
    triangles.insert(triangles.end(), {at, across});
  }
}

bool PlaneTriangulation::isConvex(Edge edge) const {
  const Triangle& own = triangles_[edge.triangle];
  const int across = own.neighbor[edge.corner];
  const int p = own.vertex[edge.corner];
  const int q = triangles_[across].vertex[cornerToward(across, edge.triangle)];
  return orientation(p, own.vertex[after(edge.corner)], q) > 0 &&
         orientation(p, q, own.vertex[before(edge.corner)]) > 0;
}

// The two triangles p a b and q b a of an edge become p a q and p q b, in the same places.
void PlaneTriangulation::flip(Edge edge) {
  const Triangle own = triangles_[edge.triangle];
  const int k = edge.corner, across = own.neighbor[k];
  const Triangle other = triangles_[across];
  const int m = cornerToward(across, edge.triangle);
  const int p = own.vertex[k], a = own.vertex[after(k)], b = own.vertex[before(k)];
  const int q = other.vertex[m];
  setTriangle(edge.triangle, {{p, a, q},
                              {other.neighbor[after(m)], across, own.neighbor[before(k)]},
                              {other.isFixed[after(m)], false, own.isFixed[before(k)]}});
  setTriangle(across, {{p, q, b},
                       {other.neighbor[before(m)], own.neighbor[after(k)], edge.triangle},
                       {other.isFixed[before(m)], own.isFixed[after(k)], false}});
  link(edge.triangle, 0, across);
  link(across, 1, edge.triangle);
}

}  // namespace trova::geometry::trimmed_surface::internal
