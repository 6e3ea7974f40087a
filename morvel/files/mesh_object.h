#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "morvel/foundation/point.h"
#include "morvel/foundation/vector.h"

namespace trova::files {

/// One named thing in a mesh file: triangles over vertices, or a polyline.
struct MeshObject {
  std::string name;
  std::vector<foundation::Point3D> vertices;
  std::vector<foundation::Vector3D> normals;    ///< one for each vertex, or none at all
  std::vector<foundation::Point2D> parameters;  ///< (u, v) of each vertex, or none at all
  std::vector<std::int32_t> triangles;          ///< three indices each
  bool isPolyline = false;                      ///< the vertices in their order, no triangles

  std::size_t triangleCount() const { return triangles.size() / 3; }
};

}  // namespace trova::files
