#pragma once

#include <array>
#include <memory>
#include <vector>

#include "morvel/nsided/boundary_constraints.h"

// A loop of curves laid around the unit square.

namespace trova::geometry::internal {

inline constexpr int kSquareEdges = 4;

/// The place (u, v) at the share x of an edge, and the direction into the square. The edges run
/// around: v = 0, u = 1, v = 1 backwards, u = 0 backwards.
struct SquarePlace {
  double u;
  double v;
  double inwardU;
  double inwardV;
};
SquarePlace squarePlace(int edge, double x);

/// Parameters by arc length: Gauss quadrature over equal parameter steps, Newton in between.
class ArcLengthTable {
 public:
  explicit ArcLengthTable(const Curve& curve);
  double total() const { return lengths_.back(); }
  double parameterAt(double length) const;

 private:
  double lengthBetween(double t0, double t1) const;

  const Curve* curve_;
  std::vector<double> parameters_;
  std::vector<double> lengths_;
};

/// A point of the loop.
struct LoopPoint {
  int curve = 0;
  double t = 0.0;  ///< the curve's own parameter
  Point3D point;
};

/// Which point of the loop lies where on the square's boundary. Of four curves each takes an edge;
/// otherwise the loop is cut by arc length into four parts, where a corner of the loop that is
/// close to a cut becomes the cut. Along an edge points follow arc length, except that they come to
/// rest at a corner of the loop: the corner is then no obstacle to a smooth spline. It is put on a
/// knot.
class LoopLayout {
 public:
  /// @param spansU  of the surface, which say where knots are; so spansV. At least those of
  ///                `spansFor`
  LoopLayout(const BoundaryCurves& curves, int spansU, int spansV);

  /// Spans that leave room for the corners of so many curves.
  static int spansFor(int curveCount);

  LoopPoint at(int edge, double x) const;
  double length() const { return starts_.back(); }

 private:
  /// A stretch of an edge with the stretch of the loop that lies there.
  struct Piece {
    int knot0, knot1;
    double s0, s1;
    bool stopsAtStart, stopsAtEnd;
  };

  bool isKink(std::size_t joint) const;
  void cutLoop();
  void layEdge(int edge, int spans);

  BoundaryCurves curves_;
  std::vector<ArcLengthTable> tables_;
  std::vector<double> starts_;  // of each curve on the loop, and the loop's length
  std::vector<bool> kinks_;     // at the start of each curve
  std::array<double, kSquareEdges + 1> cuts_{};
  std::array<std::vector<Piece>, kSquareEdges> pieces_;
};

}  // namespace trova::geometry::internal
