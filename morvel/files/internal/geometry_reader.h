#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "morvel/files/geometry_records.h"
#include "morvel/files/internal/geometry_writer.h"
#include "morvel/files/internal/record_members.h"

namespace trova::files {

/// Makes the objects of a list of entities, each once, those that it refers to first.
class GeometryReader : private ReferenceSource {
 public:
  /// @param entities  outlives the reader
  explicit GeometryReader(const Json::array_t& entities);

  Geometry readAll();

 private:
  struct Entity {
    const Json* record;
    EntityKind kind;
    int id;
    int depth = 0;  // 0 until it is made
    bool isOpen = false;
    Point3D point;
    std::shared_ptr<Curve> curve;  // also of a curve on a surface
    SurfacePointer surface;
  };

  CurvePointer curveAt(const Json& reference) override;
  CurveOnSurfacePointer curveOnSurfaceAt(const Json& reference) override;
  SurfacePointer surfaceAt(const Json& reference) override;
  const Entity& referredTo(const Json& reference);
  void enter(const Json& record, std::size_t place);
  const Entity& madeOnce(Entity& entity);
  void make(Entity& entity);

  std::vector<Entity> entities_;
  std::map<std::pair<EntityKind, int>, std::size_t> places_;
  int deepest_ = 0;  // of the entities that the one being made refers to
  int open_ = 0;
};

}  // namespace trova::files
