#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/vector.h"

namespace trova::geometry {

/// The faces of a mesh: a sequence of sequences of vertex indices that lies in two arrays, so that
/// a grid of many small faces costs no memory block each.
class MORVEL_API MeshFaces {
 public:
  class Iterator;

  /// Four indices a face. @param corners  a multiple of four of them
  static MeshFaces fromQuads(std::vector<std::int32_t> corners);

  void push_back(std::span<const std::int32_t> face);
  void push_back(std::initializer_list<std::int32_t> face) {
    push_back(std::span(face.begin(), face.size()));
  }
  std::size_t size() const { return ends_.size(); }
  bool empty() const { return ends_.empty(); }
  /// The indices of face k < size(); valid until the faces change.
  std::span<const std::int32_t> operator[](std::size_t k) const {
    const std::size_t start = k == 0 ? 0 : ends_[k - 1];
    return std::span(indices_).subspan(start, ends_[k] - start);
  }
  Iterator begin() const;
  Iterator end() const;

 private:
  std::vector<std::int32_t> indices_;
  std::vector<std::size_t> ends_;  // where each face ends
};

/// As far as a loop over all faces needs one.
class MeshFaces::Iterator {
 public:
  Iterator(const MeshFaces& faces, std::size_t k) : faces_(&faces), k_(k) {}
  std::span<const std::int32_t> operator*() const { return (*faces_)[k_]; }
  Iterator& operator++() {
    ++k_;
    return *this;
  }
  bool operator==(const Iterator& other) const { return k_ == other.k_; }

 private:
  const MeshFaces* faces_;
  std::size_t k_;
};

inline MeshFaces::Iterator MeshFaces::begin() const { return {*this, 0}; }
inline MeshFaces::Iterator MeshFaces::end() const { return {*this, size()}; }

/// What a surface tessellates into. `normals` and `parameters` run parallel to `vertices`.
struct MORVEL_API SurfaceMesh {
  std::vector<foundation::Point3D> vertices;
  std::vector<foundation::Vector3D> normals;
  MeshFaces faces;                              ///< 3 or 4 vertex indices each
  std::vector<foundation::Point2D> parameters;  ///< (u, v) of each vertex

  void addTriangle(std::int32_t a, std::int32_t b, std::int32_t c);
  void addQuad(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d);
  bool isEmpty() const { return vertices.empty(); }

  /// Three indices per triangle: a quad (a, b, c, d) gives (a, b, c) and (a, c, d), a longer face a
  /// fan from its first index; faces of fewer than three indices are skipped.
  std::vector<std::int32_t> getTriangulatedIndices() const;
};

}  // namespace trova::geometry
