// PLY, binary little-endian: one body, in which curves are edges (Turk, "The PLY polygon file
// format", 1994).

#include <algorithm>
#include <ostream>

#include "morvel/files/internal/byte_rows.h"
#include "morvel/files/internal/mesh_writers.h"

namespace trova::files::internal {
namespace {

constexpr std::uint8_t kCorners = 3;

/// What the body of a file has, over all objects.
struct Body {
  std::size_t vertices = 0;
  std::size_t triangles = 0;
  std::size_t edges = 0;
  bool hasNormals = false;
  bool hasParameters = false;
};

Body bodyOf(const MeshObjects& objects) {
  Body body;
  for (const MeshObject& object : objects) {
    body.vertices += object.vertices.size();
    body.triangles += object.triangleCount();
    body.edges += object.isPolyline ? object.vertices.size() - 1 : 0;
    body.hasNormals = body.hasNormals || !object.normals.empty();
    body.hasParameters = body.hasParameters || !object.parameters.empty();
  }
  return body;
}

void writeHeader(const Body& body, std::ostream& out) {
  out << "ply\nformat binary_little_endian 1.0\ncomment written by morvel\n"
      << "element vertex " << body.vertices
      << "\nproperty double x\nproperty double y\nproperty double z\n";
  if (body.hasNormals) out << "property float nx\nproperty float ny\nproperty float nz\n";
  if (body.hasParameters) out << "property double u\nproperty double v\n";
  if (body.triangles > 0)
    out << "element face " << body.triangles << "\nproperty list uchar int vertex_indices\n";
  if (body.edges > 0)
    out << "element edge " << body.edges << "\nproperty int vertex1\nproperty int vertex2\n";
  out << "end_header\n";
}

/// Objects without normals or parameters have zeros where others have some.
void writeVertices(const MeshObject& object, const Body& body, ByteRows& rows) {
  for (std::size_t k = 0; k < object.vertices.size(); ++k) {
    rows.appendAs<double>(object.vertices[k]);
    if (body.hasNormals)
      rows.appendAs<float>(object.normals.empty() ? foundation::Vector3D() : object.normals[k]);
    if (body.hasParameters)
      rows.appendAs<double>(object.parameters.empty() ? foundation::Point2D()
                                                      : object.parameters[k]);
  }
}

void writeFaces(const MeshObject& object, std::int32_t first, ByteRows& rows) {
  for (std::size_t k = 0; k < object.triangles.size(); ++k) {
    if (k % kCorners == 0) rows.append(kCorners);
    rows.append(first + object.triangles[k]);
  }
}

void writeEdges(const MeshObject& object, std::int32_t first, ByteRows& rows) {
  const auto last = first + static_cast<std::int32_t>(object.vertices.size()) - 1;
  for (std::int32_t k = first; object.isPolyline && k < last; ++k) {
    rows.append(k);
    rows.append(k + 1);
  }
}

template <class Write>
void writeIndices(const MeshObjects& objects, Write&& write) {
  std::int32_t first = 0;
  for (const MeshObject& object : objects) {
    write(object, first);
    first += static_cast<std::int32_t>(object.vertices.size());
  }
}

}  // namespace

void writePly(const MeshObjects& objects, std::ostream& out) {
  const Body body = bodyOf(objects);
  writeHeader(body, out);
  ByteRows rows(out);
  for (const MeshObject& object : objects)
    writeVertices(object, body, rows);
  writeIndices(objects, [&](const auto& object, auto first) { writeFaces(object, first, rows); });
  writeIndices(objects, [&](const auto& object, auto first) { writeEdges(object, first, rows); });
}

}  // namespace trova::files::internal
