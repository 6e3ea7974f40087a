#pragma once

#include <cstdint>
#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/vector.h"

namespace trova::geometry {

/// What a surface tessellates into. `normals` and `parameters` run parallel to `vertices`.
struct MORVEL_API SurfaceMesh {
  std::vector<foundation::Point3D> vertices;
  std::vector<foundation::Vector3D> normals;
  std::vector<std::vector<std::int32_t>> faces;  ///< 3 or 4 vertex indices each
  std::vector<foundation::Point2D> parameters;   ///< (u, v) of each vertex

  void addTriangle(std::int32_t a, std::int32_t b, std::int32_t c);
  void addQuad(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d);
  bool isEmpty() const { return vertices.empty(); }

  /// Three indices per triangle: a quad (a, b, c, d) gives (a, b, c) and (a, c, d), a longer face a
  /// fan from its first index; faces of fewer than three indices are skipped.
  std::vector<std::int32_t> getTriangulatedIndices() const;
};

}  // namespace trova::geometry
