#include "morvel/files/internal/geometry_writer.h"

#include <algorithm>
#include <cstring>

#include "morvel/files/internal/geometry_types.h"
#include "morvel/trimmed_surface/trimmed_surface.h"

namespace trova::files {
namespace {

using geometry::trimmed_surface::TrimmedSurface;

std::string labelOf(EntityKind kind, int id) {
  return std::string(kindName(kind)) + " " + std::to_string(id);
}

const RecordType<Curve>* recordTypeOf(const Curve& curve) { return curveRecordType(curve); }
const RecordType<Surface>* recordTypeOf(const Surface& surface) {
  return surfaceRecordType(surface);
}

/// Whether the bits differ, not only whether the transform counts as pending.
bool differsFromIdentity(const Transform3D& matrix) {
  const Transform3D identity;
  return std::memcmp(matrix.getMatrix().data(), identity.getMatrix().data(),
                     sizeof(Transform3D::Matrix)) != 0;
}

/// Everything but trimmed surfaces, whose loops a host may still be working on.
bool saysWhetherValid(const Curve&) { return true; }
bool saysWhetherValid(const Surface& surface) {
  return dynamic_cast<const TrimmedSurface*>(&surface) == nullptr;
}

}  // namespace

const char* kindName(EntityKind kind) {
  switch (kind) {
    case EntityKind::Point:
      return "point";
    case EntityKind::Surface:
      return "surface";
    case EntityKind::Curve:
      return "curve";
    default:
      return "curveOnSurface";
  }
}

GeometryWriter::GeometryWriter(const Geometry& geometry, Emit emit)
    : geometry_(geometry), emit_(std::move(emit)) {
  const auto enter = [&](const auto& objects, EntityKind kind) {
    for (const auto& [id, object] : objects) {
      if (id <= 0 || !object) failAt(labelOf(kind, id), "", "has no object, or an id below 1");
      entries_.emplace(dynamic_cast<const void*>(object.get()), Entry{kind, id});
    }
  };
  enter(geometry.surfaces, EntityKind::Surface);
  enter(geometry.curves, EntityKind::Curve);
  enter(geometry.curvesOnSurfaces, EntityKind::CurveOnSurface);
}

void GeometryWriter::writeAll() {
  for (const auto& [id, point] : geometry_.points)
    writePoint(id, point);
  const auto writeEach = [&](const auto& objects) {
    for (const auto& [id, object] : objects)
      writeOnce(*object, entries_.at(dynamic_cast<const void*>(object.get())));
  };
  writeEach(geometry_.surfaces);
  writeEach(geometry_.curves);
  writeEach(geometry_.curvesOnSurfaces);
}

Json GeometryWriter::referenceTo(const Curve& curve) {
  const bool isOnSurface = dynamic_cast<const CurveOnSurface*>(&curve) != nullptr;
  return referenceToObject(curve, isOnSurface ? EntityKind::CurveOnSurface : EntityKind::Curve);
}

Json GeometryWriter::referenceTo(const Surface& surface) {
  return referenceToObject(surface, EntityKind::Surface);
}

template <class Object>
Json GeometryWriter::referenceToObject(const Object& object, EntityKind kind) {
  const auto [found, isNew] =
      entries_.try_emplace(dynamic_cast<const void*>(&object), Entry{kind, nextUnregistered_});
  if (isNew) --nextUnregistered_;
  Entry& entry = found->second;
  writeOnce(object, entry);
  return Json{{"kind", kindName(entry.kind)}, {"id", entry.id}};
}

template <class Object>
void GeometryWriter::writeOnce(const Object& object, Entry& entry) {
  const std::string label = labelOf(entry.kind, entry.id);
  if (entry.isOpen) failAt(label, "", "refers to itself");
  if (entry.depth == 0) {
    if (open_ == kMaxReferenceDepth) failAt(label, "", "too many objects are built on each other");
    const int outside = std::exchange(deepest_, 0);
    entry.isOpen = true;
    ++open_;
    write(object, entry);
    --open_;
    entry.isOpen = false;
    entry.depth = deepest_ + 1;
    deepest_ = outside;
  }
  if (entry.depth > kMaxReferenceDepth)
    failAt(label, "", "too many objects are built on each other");
  deepest_ = std::max(deepest_, entry.depth);
}

template <class Object>
void GeometryWriter::write(const Object& object, const Entry& entry) {
  Json record;
  MemberWriter out(labelOf(entry.kind, entry.id), *this, record);
  const auto* type = recordTypeOf(object);
  if (!type) failAt(out.entity(), "", "its class has no record: " + object.getTypeIdentifier());
  out.set("id", entry.id);
  out.set("kind", kindName(entry.kind));
  out.set("type", type->name);
  type->write(object, out);
  if (differsFromIdentity(object.getMatrix())) out.set("pending", object.getMatrix());
  if (saysWhetherValid(object) && !object.isValid()) out.set("valid", false);
  emit_(record);
}

void GeometryWriter::writePoint(int id, const Point3D& point) {
  Json record;
  MemberWriter out(labelOf(EntityKind::Point, id), *this, record);
  if (id <= 0) failAt(out.entity(), "", "has an id below 1");
  out.set("id", id);
  out.set("kind", kindName(EntityKind::Point));
  out.set("type", "Point3D");
  out.set("coordinates", point);
  emit_(record);
}

}  // namespace trova::files
