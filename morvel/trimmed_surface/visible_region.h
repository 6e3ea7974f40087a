#pragma once

#include "morvel/trimmed_surface/trimmed_surface.h"

// The visible part of a trimmed surface as rings, as a mesh, as an area.

namespace trova::geometry::trimmed_surface {

/// The boundary polylines of a surface's loops, and which points between them are visible.
struct MORVEL_API VisibleRegion {
  /// The first point is not repeated at the end.
  struct Ring {
    std::vector<Point2D> points;
    bool isOuterLike = true;
    bool isHoleLike = false;
  };

  ParameterDomain domain;
  std::vector<Ring> rings;
  bool isEverything = false;     ///< no loops
  bool countsCrossings = false;  ///< the sum of all winding numbers decides, not the roles

  bool holds(const Point2D& p) const;
};

/// Curves as 100 chords, lines and polylines as they are; loops that do not close are closed by
/// chords. Of a rectangular trimmed surface the rectangle.
MORVEL_API VisibleRegion visibleRegionOf(const TrimmedSurface& surface);

/// The visible part over a grid of uCount x vCount vertices, both at least 2, in triangles. Cells
/// that loops cross are cut along them; every point of a ring inside the domain is a vertex, and
/// where two rings cross there is one. No vertex lies on an edge of a triangle it is not part of.
/// Vertices of the visible part only; `parameters` and `normals` go with them.
/// @throws std::invalid_argument, std::length_error for the counts; std::runtime_error for loops
///   that cross each other beyond measure
MORVEL_API SurfaceMesh tessellateVisibleRegion(const TrimmedSurface& surface, int uCount,
                                               int vCount);

/// The area in space of the visible part, from the mesh of 40 x 40 and its midpoints (Richardson).
MORVEL_API double visibleArea(const TrimmedSurface& surface);

}  // namespace trova::geometry::trimmed_surface
