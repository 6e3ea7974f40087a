// Binary glTF 2.0 (Khronos Group, 2021): a node and a mesh for every object, all numbers in one
// buffer.

#include <tiny_gltf.h>

#include <Eigen/Core>
#include <algorithm>
#include <limits>
#include <ostream>
#include <span>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "morvel/files/internal/byte_rows.h"
#include "morvel/files/internal/mesh_writers.h"

namespace trova::files::internal {
namespace {

using foundation::Point2D;
using foundation::Point3D;
using foundation::Vector3D;

constexpr std::size_t kMaxBytes = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t kRoomForText = 1 << 28;  // the part in JSON: some hundred bytes an object
constexpr double kRoughness = 0.6;
// Vectors shorter than this have no direction.
constexpr double kMinNormalLength = 1e-12;

/// Only its length is looked at: in the file a normal is a unit vector, or the validators complain.
Vector3D unitNormal(const Vector3D& normal) {
  const double length = normal.eigen().norm();
  return length > kMinNormalLength ? Vector3D(normal.eigen() / length) : Vector3D::unitZ();
}

class GlbModel {
 public:
  explicit GlbModel(std::size_t bytes) {
    model_.asset.version = "2.0";
    model_.asset.generator = "morvel";
    model_.defaultScene = 0;
    model_.scenes.resize(1);
    model_.buffers.resize(1);
    model_.buffers[0].data.reserve(bytes);
    model_.materials.push_back(bothSides());
  }

  void add(const MeshObject& object) {
    tinygltf::Primitive primitive;
    primitive.attributes["POSITION"] = addPositions(object.vertices);
    if (!object.normals.empty())
      primitive.attributes["NORMAL"] = addVectors<3>(object.normals, unitNormal);
    if (!object.parameters.empty())
      primitive.attributes["TEXCOORD_0"] =
          addVectors<2>(object.parameters, [](const Point2D& uv) { return uv; });
    primitive.mode = object.isPolyline ? TINYGLTF_MODE_LINE_STRIP : TINYGLTF_MODE_TRIANGLES;
    primitive.material = 0;
    if (!object.isPolyline) primitive.indices = addIndices(object.triangles);
    addNode(object.name, std::move(primitive));
  }

  void write(std::ostream& out) {
    tinygltf::TinyGLTF writer;
    constexpr bool isPretty = false, isBinary = true;
    writer.WriteGltfSceneToStream(&model_, out, isPretty, isBinary);
  }

 private:
  /// A patch shows its back as well.
  static tinygltf::Material bothSides() {
    tinygltf::Material material;
    material.name = "surface";
    material.doubleSided = true;
    material.pbrMetallicRoughness.metallicFactor = 0.0;
    material.pbrMetallicRoughness.roughnessFactor = kRoughness;
    return material;
  }

  void addNode(const std::string& name, tinygltf::Primitive primitive) {
    tinygltf::Mesh mesh;
    mesh.name = name;
    mesh.primitives.push_back(std::move(primitive));
    model_.meshes.push_back(std::move(mesh));
    tinygltf::Node node;
    node.name = name;
    node.mesh = lastOf(model_.meshes);
    model_.nodes.push_back(std::move(node));
    model_.scenes[0].nodes.push_back(lastOf(model_.nodes));
  }

  template <class Entries>
  static int lastOf(const Entries& entries) {
    return static_cast<int>(entries.size()) - 1;
  }

  /// The least and the greatest corner are those of the rounded positions.
  int addPositions(const std::vector<Point3D>& points) {
    const int number = addVectors<3>(points, [](const Point3D& point) { return point; });
    Eigen::Vector3f lower = points[0].eigen().cast<float>(), upper = lower;
    for (const Point3D& point : points) {
      lower = lower.cwiseMin(point.eigen().cast<float>());
      upper = upper.cwiseMax(point.eigen().cast<float>());
    }
    model_.accessors.back().minValues.assign(lower.begin(), lower.end());
    model_.accessors.back().maxValues.assign(upper.begin(), upper.end());
    return number;
  }

  template <int Dimension, class Vectors, class Map>
  int addVectors(const Vectors& vectors, Map&& map) {
    beginView(TINYGLTF_TARGET_ARRAY_BUFFER);
    for (const auto& vector : vectors) {
      const auto mapped = map(vector);
      for (const double value : mapped.eigen())
        appendBytes(static_cast<float>(value));
    }
    return endView(vectors.size(), Dimension == 2 ? TINYGLTF_TYPE_VEC2 : TINYGLTF_TYPE_VEC3,
                   TINYGLTF_COMPONENT_TYPE_FLOAT);
  }

  int addIndices(const std::vector<std::int32_t>& indices) {
    beginView(TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER);
    for (const std::int32_t index : indices)
      appendBytes(static_cast<std::uint32_t>(index));
    return endView(indices.size(), TINYGLTF_TYPE_SCALAR, TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT);
  }

  template <class Value>
  void appendBytes(Value value) {
    const auto bytes = littleEndian(value);
    auto& data = model_.buffers[0].data;
    data.insert(data.end(), bytes.begin(), bytes.end());
  }

  void beginView(int target) {
    tinygltf::BufferView view;
    view.buffer = 0;
    view.byteOffset = model_.buffers[0].data.size();
    view.target = target;
    model_.bufferViews.push_back(std::move(view));
  }

  int endView(std::size_t count, int type, int componentType) {
    tinygltf::BufferView& view = model_.bufferViews.back();
    view.byteLength = model_.buffers[0].data.size() - view.byteOffset;
    tinygltf::Accessor accessor;
    accessor.bufferView = lastOf(model_.bufferViews);
    accessor.count = count;
    accessor.type = type;
    accessor.componentType = componentType;
    model_.accessors.push_back(std::move(accessor));
    return lastOf(model_.accessors);
  }

  tinygltf::Model model_;
};

/// What the buffer of a file takes.
std::size_t bufferBytes(const MeshObjects& objects) {
  std::size_t bytes = 0;
  for (const MeshObject& object : objects)
    bytes += sizeof(float) * (3 * object.vertices.size() + 3 * object.normals.size() +
                              2 * object.parameters.size()) +
             sizeof(std::uint32_t) * object.triangles.size();
  return bytes;
}

}  // namespace

void writeGlb(const MeshObjects& objects, std::ostream& out) {
  const std::size_t bytes = bufferBytes(objects);
  if (bytes > kMaxBytes - kRoomForText)
    throw std::length_error("GLB holds at most 4 GiB; these meshes need more");
  GlbModel model(bytes);
  for (const MeshObject& object : objects)
    model.add(object);
  model.write(out);
}

}  // namespace trova::files::internal
