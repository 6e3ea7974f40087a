#pragma once

#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>

#include "morvel/files/geometry_records.h"
#include "morvel/files/internal/record_members.h"

namespace trova::files {

/// The kinds of entities, in the order in which documents list registered objects.
enum class EntityKind { Point, Surface, Curve, CurveOnSurface };

/// "point", "surface", "curve", "curveOnSurface"
const char* kindName(EntityKind kind);

/// The entities of a document one by one, each behind those that it refers to.
class GeometryWriter : private ReferenceSink {
 public:
  using Emit = std::function<void(const Json& entity)>;

  GeometryWriter(const Geometry& geometry, Emit emit);

  void writeAll();

 private:
  struct Entry {
    EntityKind kind;
    int id;
    int depth = 0;  // 0 until it is written
    bool isOpen = false;
  };

  Json referenceTo(const Curve& curve) override;
  Json referenceTo(const Surface& surface) override;
  template <class Object>
  Json referenceToObject(const Object& object, EntityKind kind);
  template <class Object>
  void writeOnce(const Object& object, Entry& entry);
  template <class Object>
  void write(const Object& object, const Entry& entry);
  void writePoint(int id, const Point3D& point);

  const Geometry& geometry_;
  Emit emit_;
  // By the address of the whole object; references to elements stay valid.
  std::unordered_map<const void*, Entry> entries_;
  int nextUnregistered_ = -1;
  int deepest_ = 0;  // of the entities that the one being written refers to
  int open_ = 0;
};

}  // namespace trova::files
