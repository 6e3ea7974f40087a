#include "morvel/files/internal/mesh_checks.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace trova::files::internal {
namespace {

constexpr std::size_t kMaxVertices = std::numeric_limits<std::int32_t>::max();
constexpr double kDoubleRange = std::numeric_limits<double>::max();
constexpr double kSingleRange = std::numeric_limits<float>::max();

[[noreturn]] void refuse(const MeshObject& object, const std::string& reason) {
  throw std::invalid_argument("'" + object.name + "' " + reason);
}

/// @param range  the largest size of a number in the file
template <class Values>
void requireWithin(double range, const MeshObject& object, const Values& values, const char* what) {
  for (std::size_t k = 0; k < values.size(); ++k) {
    // Written so that NaN fails.
    if (values[k].eigen().array().abs().maxCoeff() <= range && values[k].isFinite()) continue;
    std::string reason = "has the ";
    reason += what;
    reason += ' ' + std::to_string(k);
    refuse(object, reason + (values[k].isFinite() ? ", which is too large for single precision"
                                                  : ", which is not finite"));
  }
}

void requireCounts(const MeshObject& object) {
  const std::size_t count = object.vertices.size();
  if (object.isPolyline && count < 2) refuse(object, "has fewer than two points");
  if (!object.isPolyline && object.triangles.empty()) refuse(object, "has no triangles");
  if ((!object.normals.empty() && object.normals.size() != count) ||
      (!object.parameters.empty() && object.parameters.size() != count))
    refuse(object, "has normals or parameters for other than its vertices");
}

void requireIndices(const MeshObject& object) {
  const auto count = static_cast<std::int32_t>(object.vertices.size());
  const auto isOutside = [&](std::int32_t index) { return index < 0 || index >= count; };
  const auto wrong = std::find_if(object.triangles.begin(), object.triangles.end(), isOutside);
  if (wrong == object.triangles.end()) return;
  const std::size_t triangle = static_cast<std::size_t>(wrong - object.triangles.begin()) / 3;
  refuse(object, "has the triangle " + std::to_string(triangle) + " with the index " +
                     std::to_string(*wrong) + ", but its vertices are 0 to " +
                     std::to_string(count - 1));
}

}  // namespace

void requireSound(const MeshObjects& objects, MeshFormat format) {
  const bool isSingle = format == MeshFormat::Stl || format == MeshFormat::Glb;
  const double range = isSingle ? kSingleRange : kDoubleRange;
  std::size_t vertices = 0;
  for (const MeshObject& object : objects) {
    if (object.isPolyline && format == MeshFormat::Stl)
      refuse(object, "is a curve, and STL holds triangles only; OBJ, PLY and GLB hold curves");
    requireCounts(object);
    vertices += object.vertices.size();
    if (vertices > kMaxVertices) throw std::length_error("More than 2147483647 vertices");
    requireIndices(object);
    requireWithin(range, object, object.vertices, "vertex");
    requireWithin(range, object, object.normals, "normal");
    requireWithin(range, object, object.parameters, "pair of parameters");
  }
  if (objects.empty()) throw std::invalid_argument("There is nothing to write");
}

}  // namespace trova::files::internal
