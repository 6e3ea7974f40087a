#include <tiny_obj_loader.h>

#include <algorithm>
#include <cstdint>
#include <istream>
#include <limits>
#include <stdexcept>
#include <utility>

#include "morvel/files/internal/atomic_file.h"
#include "morvel/files/internal/obj_lines.h"
#include "morvel/files/internal/polygon_ears.h"
#include "morvel/files/mesh_file.h"

namespace trova::files {
namespace {

using foundation::Point2D;
using foundation::Point3D;
using foundation::Vector3D;
using internal::kMaxPolygonCorners;
using internal::ObjLines;

constexpr std::int32_t kNone = -1;
constexpr std::size_t kTriangle = 3;

/// One of the three kinds of things that corners name, and what they name of it.
class Named {
 public:
  explicit Named(const char* kind) : kind_(kind) {}

  std::int32_t count = 0;             // so far
  std::vector<std::int32_t> corners;  // from 0, kNone for a corner without; empty where all are

  /// Takes an index as it stands in the file (0 for none) for the corner of that number.
  void append(std::int32_t index, std::size_t corner, const ObjLines& lines) {
    if (index < -count) refuse(index, lines.line(), lines);
    if (index == 0 && corners.empty()) return;
    corners.resize(corner, kNone);
    corners.push_back(index > 0 ? index - 1 : index < 0 ? count + index : kNone);
    if (index <= greatest_) return;
    greatest_ = index;
    greatestLine_ = lines.line();
  }

  /// At the end of the text, because an index may name what follows it.
  void checkGreatest(const ObjLines& lines) const {
    if (greatest_ > count) refuse(greatest_, greatestLine_, lines);
  }

  bool isNamedBy(std::size_t cornerCount) const {
    return cornerCount > 0 && corners.size() == cornerCount &&
           std::find(corners.begin(), corners.end(), kNone) == corners.end();
  }

 private:
  [[noreturn]] void refuse(std::int32_t index, std::int64_t line, const ObjLines& lines) const {
    std::string reason = "There is no ";
    reason += kind_;
    reason += ' ' + std::to_string(index) + ", only " + std::to_string(count);
    lines.fail(line, reason);
  }

  const char* kind_;
  std::int32_t greatest_ = 0;
  std::int64_t greatestLine_ = 0;
};

/// What the statements of a file make.
struct ObjContent {
  explicit ObjContent(const ObjLines& from) : lines(from) {}

  const ObjLines& lines;
  std::vector<Point3D> points;
  std::vector<Vector3D> normals;
  std::vector<Point2D> parameters;
  Named vertexNames{"vertex"};
  Named normalNames{"normal"};
  Named parameterNames{"texture coordinate"};
  std::vector<std::size_t> faceEnds;  // in corners

  void addVertex() {
    const auto& n = lines.numbers();
    points.emplace_back(n[0], n[1], n[2]);
    countOne(vertexNames);
  }

  void addNormal() {
    const auto& n = lines.numbers();
    normals.emplace_back(n[0], n[1], n[2]);
    normals.back() = normals.back().normalized();
    countOne(normalNames);
  }

  void addParameters() {
    parameters.emplace_back(lines.numbers()[0], lines.numbers()[1]);
    countOne(parameterNames);
  }

  void addFace(std::span<const tinyobj::index_t> corners) {
    if (corners.size() > kMaxPolygonCorners)
      lines.fail(lines.line(), "A face has at most " + std::to_string(kMaxPolygonCorners) +
                                   " corners, not " + std::to_string(corners.size()));
    std::size_t corner = faceEnds.empty() ? 0 : faceEnds.back();
    for (const tinyobj::index_t& index : corners) {
      vertexNames.append(index.vertex_index, corner, lines);
      normalNames.append(index.normal_index, corner, lines);
      parameterNames.append(index.texcoord_index, corner, lines);
      ++corner;
    }
    faceEnds.push_back(corner);
  }

  void countOne(Named& names) const {
    if (names.count == std::numeric_limits<std::int32_t>::max())
      lines.fail(lines.line(), "More than 2147483647 of a kind");
    ++names.count;
  }
};

ObjContent& contentOf(void* user) { return *static_cast<ObjContent*>(user); }

tinyobj::callback_t callbacks() {
  tinyobj::callback_t result;
  result.vertex_cb = [](void* user, double, double, double, double) {
    contentOf(user).addVertex();
  };
  result.normal_cb = [](void* user, double, double, double) { contentOf(user).addNormal(); };
  result.texcoord_cb = [](void* user, double, double, double) { contentOf(user).addParameters(); };
  result.index_cb = [](void* user, tinyobj::index_t* indices, int count) {
    contentOf(user).addFace({indices, static_cast<std::size_t>(count)});
  };
  return result;
}

void readStatements(ObjLines& lines, ObjContent& content) {
  std::istream stream(&lines);
  stream.exceptions(std::ios::badbit);  // what the lines throw passes through
  tinyobj::LoadObjWithCallback(stream, callbacks(), &content);
  if (content.points.empty()) lines.fail("It holds no vertices");
  for (const Named* names : {&content.vertexNames, &content.normalNames, &content.parameterNames})
    names->checkGreatest(lines);
}

/// Gives each vertex the normal and the parameters that its corners name, and to corners that name
/// others a copy of it.
class CornerMerge {
 public:
  CornerMerge(ObjContent& content, MeshObject& mesh)
      : content_(content), mesh_(mesh), corners_(content.vertexNames.corners) {
    hasNormals_ = content.normalNames.isNamedBy(corners_.size());
    hasParameters_ = content.parameterNames.isNamedBy(corners_.size());
    const std::size_t count = mesh.vertices.size();
    if (hasNormals_) mesh.normals.resize(count);
    if (hasParameters_) mesh.parameters.resize(count);
    if (hasNormals_ || hasParameters_) variants_.resize(count);
  }

  void run() {
    if (variants_.empty()) return;
    for (std::size_t k = 0; k < corners_.size(); ++k)
      corners_[k] = vertexFor(corners_[k], named(hasNormals_, content_.normalNames, k),
                              named(hasParameters_, content_.parameterNames, k));
  }

 private:
  /// What a vertex got, and the next copy of it.
  struct Variant {
    std::int32_t normal = kNone;
    std::int32_t parameters = kNone;
    std::int32_t next = kNone;
  };

  static std::int32_t named(bool isUsed, const Named& names, std::size_t corner) {
    return isUsed ? names.corners[corner] : 0;
  }

  std::int32_t vertexFor(std::int32_t vertex, std::int32_t normal, std::int32_t parameters) {
    for (std::int32_t at = vertex;; at = variant(at).next) {
      if (variant(at).normal == kNone) return set(at, normal, parameters);
      if (variant(at).normal == normal && variant(at).parameters == parameters) return at;
      if (variant(at).next == kNone) return set(copyAfter(at), normal, parameters);
    }
  }

  Variant& variant(std::int32_t vertex) { return variants_[static_cast<std::size_t>(vertex)]; }

  std::int32_t set(std::int32_t vertex, std::int32_t normal, std::int32_t parameters) {
    const auto at = static_cast<std::size_t>(vertex);
    variants_[at] = {normal, parameters, kNone};
    if (hasNormals_) mesh_.normals[at] = content_.normals[static_cast<std::size_t>(normal)];
    if (hasParameters_)
      mesh_.parameters[at] = content_.parameters[static_cast<std::size_t>(parameters)];
    return vertex;
  }

  std::int32_t copyAfter(std::int32_t vertex) {
    if (mesh_.vertices.size() >= std::numeric_limits<std::int32_t>::max())
      throw std::length_error("More than 2147483647 vertices");
    const auto copy = static_cast<std::int32_t>(mesh_.vertices.size());
    mesh_.vertices.push_back(mesh_.vertices[static_cast<std::size_t>(vertex)]);
    if (hasNormals_) mesh_.normals.emplace_back();
    if (hasParameters_) mesh_.parameters.emplace_back();
    variants_.emplace_back();
    variant(vertex).next = copy;
    return copy;
  }

  ObjContent& content_;
  MeshObject& mesh_;
  std::vector<std::int32_t>& corners_;
  bool hasNormals_ = false;
  bool hasParameters_ = false;
  std::vector<Variant> variants_;
};

void cutFaces(ObjContent& content, MeshObject& mesh) {
  std::vector<std::int32_t>& corners = content.vertexNames.corners;
  if (corners.size() == kTriangle * content.faceEnds.size()) {
    mesh.triangles = std::move(corners);
    return;
  }
  mesh.triangles.reserve(kTriangle * (corners.size() - 2 * content.faceEnds.size()));
  std::size_t start = 0;
  for (const std::size_t end : content.faceEnds) {
    internal::appendEars(mesh.vertices, std::span(corners).subspan(start, end - start),
                         mesh.triangles);
    start = end;
  }
}

}  // namespace

MeshObject readObjMesh(const std::string& path, std::int64_t maxBytes) {
  ObjLines lines(readWholeFile(path, maxBytes), path);
  ObjContent content(lines);
  readStatements(lines, content);
  MeshObject mesh;
  mesh.vertices = std::move(content.points);
  CornerMerge(content, mesh).run();
  cutFaces(content, mesh);
  return mesh;
}

}  // namespace trova::files
