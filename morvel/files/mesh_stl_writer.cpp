// STL, binary: a header of 80 bytes, the number of triangles, and 50 bytes a triangle.

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>

#include "morvel/files/internal/byte_rows.h"
#include "morvel/files/internal/mesh_writers.h"
#include "morvel/files/internal/near_points.h"

namespace trova::files::internal {
namespace {

using foundation::Point3D;

constexpr std::size_t kCorners = 3;
constexpr std::size_t kHeaderBytes = 80;
// Does not begin with "solid", which would make it a text file to some readers.
constexpr std::string_view kHeader = "binary STL written by morvel";
// Rounding in the evaluation of a surface, relative to the size of the whole.
constexpr double kSamePlace = 1e-9;

/// A triangle in single precision.
struct Facet {
  Eigen::Vector3f corners[kCorners];

  bool hasThreeCorners() const {
    return corners[0] != corners[1] && corners[1] != corners[2] && corners[2] != corners[0];
  }

  /// The zero vector, which readers replace, where the corners are in line.
  Eigen::Vector3f normal() const {
    const Eigen::Vector3d a = (corners[1] - corners[0]).cast<double>();
    const Eigen::Vector3d b = (corners[2] - corners[0]).cast<double>();
    return a.cross(b).normalized().cast<float>();
  }
};

std::vector<Point3D> allVertices(const MeshObjects& objects) {
  std::vector<Point3D> vertices;
  for (const MeshObject& object : objects)
    vertices.insert(vertices.end(), object.vertices.begin(), object.vertices.end());
  return vertices;
}

/// The length of the diagonal of the box around all points.
double extentOf(const std::vector<Point3D>& points) {
  Eigen::Vector3d lower = points[0].eigen(), upper = lower;
  for (const Point3D& point : points) {
    lower = lower.cwiseMin(point.eigen());
    upper = upper.cwiseMax(point.eigen());
  }
  return (upper - lower).norm();
}

std::vector<Eigen::Vector3f> mergedVertices(const std::vector<Point3D>& vertices) {
  // Not 0 where all vertices are one.
  const double tolerance =
      std::max(kSamePlace * extentOf(vertices), std::numeric_limits<double>::min());
  std::vector<Eigen::Vector3f> merged;
  merged.reserve(vertices.size());
  for (const std::int32_t first : firstNear(vertices, tolerance))
    merged.emplace_back(vertices[static_cast<std::size_t>(first)].eigen().cast<float>());
  return merged;
}

std::vector<Facet> facetsOf(const MeshObjects& objects) {
  const std::vector<Eigen::Vector3f> vertices = mergedVertices(allVertices(objects));
  std::vector<Facet> facets;
  std::size_t first = 0;
  for (const MeshObject& object : objects) {
    for (std::size_t k = 0; k < object.triangles.size(); k += kCorners) {
      Facet facet;
      for (std::size_t c = 0; c < kCorners; ++c)
        facet.corners[c] = vertices[first + static_cast<std::size_t>(object.triangles[k + c])];
      if (facet.hasThreeCorners()) facets.push_back(facet);
    }
    first += object.vertices.size();
  }
  return facets;
}

void appendVector(const Eigen::Vector3f& vector, ByteRows& rows) {
  for (const float value : vector)
    rows.append(value);
}

}  // namespace

void writeStl(const MeshObjects& objects, std::ostream& out) {
  const std::vector<Facet> facets = facetsOf(objects);
  if (facets.size() > std::numeric_limits<std::uint32_t>::max())
    throw std::length_error("STL holds at most 4294967295 triangles");
  std::string header(kHeader);
  header.resize(kHeaderBytes, ' ');
  out << header;
  ByteRows rows(out);
  rows.append(static_cast<std::uint32_t>(facets.size()));
  for (const Facet& facet : facets) {
    appendVector(facet.normal(), rows);
    for (const Eigen::Vector3f& corner : facet.corners)
      appendVector(corner, rows);
    rows.append(std::uint16_t{0});  // attributes
  }
}

}  // namespace trova::files::internal
