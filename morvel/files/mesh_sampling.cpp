#include "morvel/files/mesh_sampling.h"

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <algorithm>
#include <stdexcept>
#include <utility>

#include "morvel/files/internal/grid_counts.h"
#include "morvel/surfaces/grid_sampling.h"
#include "morvel/trimmed_surface/visible_region.h"

namespace trova::files {
namespace {

using foundation::Point2D;
using foundation::Vector3D;
using geometry::Curve;
using geometry::ParameterDomain;
using geometry::Surface;
using geometry::SurfaceMesh;
using geometry::trimmed_surface::TrimmedSurface;
using Position = Eigen::Vector3d;

// Steps in shares of the domain. The error of the normals is about the square of the first, plus
// the rounding of points over it.
constexpr double kDifferenceStep = 1e-6;
constexpr double kStepFromPole = 1e-4;
// |Su x Sv| over |Su| |Sv|, below which there is no normal.
constexpr double kMinSine = 1e-8;
constexpr std::size_t kCorners = 3;

std::pair<int, int> checkedCounts(const MeshSampling& sampling) {
  const auto isCount = [](int count) { return 2 <= count && count <= kMaxSurfaceSamples; };
  if (isCount(sampling.uCount) && isCount(sampling.vCount))
    return {sampling.uCount, sampling.vCount};
  throw std::invalid_argument("The samples of a surface must number 2 to " +
                              std::to_string(kMaxSurfaceSamples) + " along u and v");
}

SurfaceMesh meshOf(const Surface& surface, int uCount, int vCount) {
  if (const auto* trimmed = dynamic_cast<const TrimmedSurface*>(&surface))
    return geometry::trimmed_surface::tessellateVisibleRegion(*trimmed, uCount, vCount);
  SurfaceMesh mesh = geometry::gridMesh(surface.getParameterDomain(), uCount, vCount);
  mesh.vertices = geometry::sampleGrid(surface, uCount, vCount);
  return mesh;
}

/// Normals by differences of points, for whatever surface.
class NormalFinder {
 public:
  explicit NormalFinder(const Surface& surface)
      : surface_(surface), domain_(surface.getParameterDomain()) {}

  /// The zero vector where there is none, nor further inside.
  Vector3D at(const Point2D& uv) const {
    const Position normal = crossAt(uv.x(), uv.y());
    if (!normal.isZero(0.0)) return Vector3D(normal);
    return Vector3D(crossAt(inward(uv.x(), domain_.uMin, domain_.uMax),
                            inward(uv.y(), domain_.vMin, domain_.vMax)));
  }

 private:
  static double inward(double at, double start, double end) {
    return at + kStepFromPole * (at < (start + end) / 2.0 ? end - start : start - end);
  }

  Position crossAt(double u, double v) const {
    const double uStep = kDifferenceStep * (domain_.uMax - domain_.uMin);
    const double vStep = kDifferenceStep * (domain_.vMax - domain_.vMin);
    // At the ends of the domain the step goes to one side only.
    const double u0 = std::max(u - uStep, domain_.uMin), u1 = std::min(u + uStep, domain_.uMax);
    const double v0 = std::max(v - vStep, domain_.vMin), v1 = std::min(v + vStep, domain_.vMax);
    const Position Su = (position(u1, v) - position(u0, v)) / (u1 - u0);
    const Position Sv = (position(u, v1) - position(u, v0)) / (v1 - v0);
    const Position cross = Su.cross(Sv);
    const bool hasNormal = cross.norm() > kMinSine * Su.norm() * Sv.norm();  // not with NaN
    return hasNormal ? Position(cross.normalized()) : Position(Position::Zero());
  }

  Position position(double u, double v) const { return surface_.evaluate(u, v).eigen(); }

  const Surface& surface_;
  ParameterDomain domain_;
};

Position crossOf(const MeshObject& object, std::size_t corner) {
  const auto at = [&](std::size_t k) {
    return object.vertices[static_cast<std::size_t>(object.triangles[corner + k])].eigen();
  };
  return (at(1) - at(0)).cross(at(2) - at(0));
}

/// What has no normal of its own gets that of the triangles around it; a vertex that even these
/// leave without one gets the z axis, since the formats want unit vectors.
void fillNormals(MeshObject& object) {
  std::vector<Position> sums(object.vertices.size(), Position::Zero());
  for (std::size_t corner = 0; corner < object.triangles.size(); corner += kCorners)
    for (std::size_t k = 0; k < kCorners; ++k)
      sums[static_cast<std::size_t>(object.triangles[corner + k])] += crossOf(object, corner);
  for (std::size_t k = 0; k < sums.size(); ++k) {
    if (!object.normals[k].eigen().isZero(0.0)) continue;
    const Position normal = sums[k].normalized();
    object.normals[k] = normal.norm() > 0.0 ? Vector3D(normal) : Vector3D::unitZ();
  }
}

/// Makes the triangles turn as the normals of their corners say, on the whole.
void turnWithNormals(MeshObject& object) {
  double agreement = 0.0;
  for (std::size_t corner = 0; corner < object.triangles.size(); corner += kCorners) {
    const auto first = static_cast<std::size_t>(object.triangles[corner]);
    agreement += crossOf(object, corner).dot(object.normals[first].eigen());
  }
  if (agreement >= 0.0) return;
  for (std::size_t corner = 0; corner < object.triangles.size(); corner += kCorners)
    std::swap(object.triangles[corner + 1], object.triangles[corner + 2]);
}

}  // namespace

MeshObject sampledSurface(const Surface& surface, std::string name, const MeshSampling& sampling) {
  const auto [uCount, vCount] = sampling.tolerance > 0.0
                                    ? internal::gridCountsWithin(surface, sampling.tolerance)
                                    : checkedCounts(sampling);
  SurfaceMesh mesh = meshOf(surface, uCount, vCount);
  MeshObject object;
  object.name = std::move(name);
  object.triangles = mesh.getTriangulatedIndices();
  object.vertices = std::move(mesh.vertices);
  object.parameters = std::move(mesh.parameters);
  const NormalFinder finder(surface);
  for (const Point2D& uv : object.parameters)
    object.normals.push_back(finder.at(uv));
  turnWithNormals(object);
  fillNormals(object);
  return object;
}

MeshObject sampledCurve(const Curve& curve, std::string name, const MeshSampling& sampling) {
  MeshObject object;
  object.name = std::move(name);
  object.isPolyline = true;
  object.vertices = sampling.tolerance > 0.0 ? curve.adaptiveTessellate(sampling.tolerance)
                                             : curve.tessellateUniform(sampling.curveCount);
  return object;
}

}  // namespace trova::files
