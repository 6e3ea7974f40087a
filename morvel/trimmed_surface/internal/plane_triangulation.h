#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "morvel/surfaces/surface.h"

namespace trova::geometry::trimmed_surface::internal {

/// A triangulation of a parameter rectangle that starts as a regular grid and takes in points and
/// segments. Points are rounded to a lattice of 2^30 steps a side, on which every test is exact;
/// segments that cross share a point. It stays Delaunay but for the segments (Lawson, "Software for
/// C1 surface interpolation", 1977; Sloan, "A fast algorithm for generating constrained Delaunay
/// triangulations", 1993).
class PlaneTriangulation {
 public:
  /// uCount x vCount grid points, each count at least 2.
  PlaneTriangulation(const ParameterDomain& domain, int uCount, int vCount);

  /// The number of the vertex at p, which is taken to the rectangle; p becomes its parameters.
  int addPoint(const Point2D& p);
  /// Makes the segment between two vertices a chain of edges.
  /// @throws std::runtime_error where crossing segments make far too many pieces
  void addSegment(int from, int to);

  struct Triangle {
    std::array<int, 3> vertex;      // counter-clockwise
    std::array<int, 3> neighbor;    // across the edge opposite each vertex; -1 for none
    std::array<bool, 3> isFixed{};  // whether that edge is part of a segment
  };
  const std::vector<Triangle>& triangles() const { return triangles_; }
  const std::vector<Point2D>& vertices() const { return parameters_; }
  std::int64_t twiceArea(const Triangle& triangle) const;

 private:
  struct Site {
    std::int64_t x;
    std::int64_t y;
    bool operator==(const Site&) const = default;
  };
  struct Segment {
    int from;
    int to;
  };
  /// An edge, by a triangle and the vertex opposite.
  struct Edge {
    int triangle;
    int corner;
  };
  struct Location {
    int triangle;
    int onEdge = -1;    // corner opposite the edge that the point lies on
    int onVertex = -1;  // corner that the point is
  };

  void makeGrid(int uCount, int vCount);
  Site siteOf(const Point2D& p) const;
  Point2D parametersOf(const Site& site) const;
  std::int64_t orientation(const Site& a, const Site& b, const Site& c) const;
  std::int64_t orientation(int a, int b, int c) const;
  bool isInCircle(const Triangle& triangle, int vertex) const;

  Location locate(const Site& site) const;
  Location locationIn(int triangle, const Site& site) const;
  int insert(const Site& site, const Point2D& parameters);
  void splitTriangle(int triangle, int vertex);
  void splitEdge(Edge edge, int vertex);
  void legalize(int vertex, std::vector<int> triangles);
  void setTriangle(int at, const Triangle& triangle);
  void link(int triangle, int corner, int neighbor);
  static int after(int corner) { return corner == 2 ? 0 : corner + 1; }
  static int before(int corner) { return corner == 0 ? 2 : corner - 1; }
  static int cornerIn(const std::array<int, 3>& of, int value) {
    return of[0] == value ? 0 : of[1] == value ? 1 : 2;
  }
  int cornerToward(int triangle, int neighbor) const {
    return cornerIn(triangles_[triangle].neighbor, neighbor);
  }
  int cornerOf(int triangle, int vertex) const {
    return cornerIn(triangles_[triangle].vertex, vertex);
  }
  bool isConvex(Edge edge) const;
  void flip(Edge edge);
  Edge findEdge(int from, int to) const;  // triangle -1 where there is none
  template <class Visit>
  void aroundVertex(int vertex, Visit&& visit) const;

  void insertSegment(Segment segment, std::vector<Segment>& open);
  bool passesAlongEdge(Segment segment, std::vector<Segment>& open);
  Edge firstCrossedEdge(Segment segment) const;
  void cutFixedEdge(Segment segment, Edge edge, std::vector<Segment>& open);
  void flipCrossed(Segment segment, std::vector<Segment> crossed);
  void fix(Edge edge);

  ParameterDomain domain_;
  std::vector<Site> sites_;
  std::vector<Point2D> parameters_;
  std::vector<int> someTriangle_;  // by vertex
  std::vector<Triangle> triangles_;
  mutable int hint_ = 0;  // where the last walk ended
  std::size_t pieces_ = 0;
  std::size_t asked_ = 0;
};

// visit(triangle, corner of the vertex) for all triangles around a vertex until it returns true:
// one way round, and where that ends at the border, the other way.
template <class Visit>
void PlaneTriangulation::aroundVertex(int vertex, Visit&& visit) const {
  const int start = someTriangle_[vertex];
  int at = start;
  do {
    const int corner = cornerOf(at, vertex);
    if (visit(at, corner)) return;
    at = triangles_[at].neighbor[after(corner)];
  } while (at >= 0 && at != start);
  if (at == start) return;
  at = triangles_[start].neighbor[before(cornerOf(start, vertex))];
  while (at >= 0) {
    const int corner = cornerOf(at, vertex);
    if (visit(at, corner)) return;
    at = triangles_[at].neighbor[before(corner)];
  }
}

}  // namespace trova::geometry::trimmed_surface::internal
