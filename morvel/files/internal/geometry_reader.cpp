#include "morvel/files/internal/geometry_reader.h"

#include <algorithm>
#include <iterator>

#include "morvel/files/internal/geometry_types.h"
#include "morvel/files/internal/in_quotes.h"
#include "morvel/trimmed_surface/trimmed_surface.h"

namespace trova::files {
namespace {

constexpr EntityKind kKinds[] = {EntityKind::Point, EntityKind::Surface, EntityKind::Curve,
                                 EntityKind::CurveOnSurface};

std::optional<EntityKind> kindNamed(const std::string& name) {
  const auto* found = std::find_if(std::begin(kKinds), std::end(kKinds),
                                   [&](EntityKind kind) { return kindName(kind) == name; });
  return found == std::end(kKinds) ? std::nullopt : std::optional(*found);
}

EntityKind readKind(MemberReader& in) {
  const auto name = in.get<std::string>("kind");
  const auto kind = kindNamed(name);
  if (!kind) failAt(in.entity(), "kind", "is unknown: " + inQuotes(name));
  return *kind;
}

/// The object without what every record may say beside its own members. @param types  by name
template <class Object>
std::unique_ptr<Object> madeBy(const RecordType<Object>* (*types)(const std::string&),
                               MemberReader& in) {
  const auto name = in.get<std::string>("type");
  const auto* type = types(name);
  if (!type) failAt(in.entity(), "type", "is unknown: " + inQuotes(name));
  return madeFor(in.entity(), [&] { return type->read(in); });
}

/// What is not valid was written as such; a mistake in a document was not.
template <class Object>
void judge(const Object& object, MemberReader& in) {
  const bool saysValid = !in.has("valid") || in.get<bool>("valid");
  if (saysValid && !object.isValid()) {
    failAt(in.entity(), "",
           "its members make no valid " + object.getTypeIdentifier() +
               " (a size that is not above 0, or directions that coincide)");
  }
}

template <class Object>
void readPending(Object& object, MemberReader& in) {
  if (in.has("pending")) object.setMatrix(in.get<Transform3D>("pending"));
}

std::shared_ptr<Curve> readCurve(MemberReader& in) {
  std::shared_ptr<Curve> curve = madeBy<Curve>(curveRecordType, in);
  readPending(*curve, in);
  judge(*curve, in);
  return curve;
}

SurfacePointer readSurface(MemberReader& in) {
  SurfacePointer surface = madeBy<Surface>(surfaceRecordType, in);
  readPending(*surface, in);
  using geometry::trimmed_surface::TrimmedSurface;
  if (!dynamic_cast<const TrimmedSurface*>(surface.get())) judge(*surface, in);
  return surface;
}

Point3D readPoint(MemberReader& in) {
  const auto type = in.get<std::string>("type");
  if (type != "Point3D") failAt(in.entity(), "type", "is unknown: " + inQuotes(type));
  return in.get<Point3D>("coordinates");
}

std::string labelOf(EntityKind kind, int id) {
  return std::string(kindName(kind)) + " " + std::to_string(id);
}

}  // namespace

GeometryReader::GeometryReader(const Json::array_t& entities) {
  entities_.reserve(entities.size());
  for (const Json& record : entities)
    enter(record, entities_.size());
}

void GeometryReader::enter(const Json& record, std::size_t place) {
  MemberReader in("entity " + std::to_string(place), *this, record);
  const EntityKind kind = readKind(in);
  const int id = in.get<int>("id");
  if (id == 0) failAt(in.entity(), "id", "must not be 0");
  if (!places_.emplace(std::pair(kind, id), place).second)
    failAt(in.entity(), "id", "is that of another " + labelOf(kind, id));
  Entity& entity = entities_.emplace_back();
  entity.record = &record;
  entity.kind = kind;
  entity.id = id;
}

Geometry GeometryReader::readAll() {
  Geometry geometry;
  for (Entity& entity : entities_) {
    madeOnce(entity);
    if (entity.id < 0) continue;
    if (entity.kind == EntityKind::Point)
      geometry.points.emplace(entity.id, entity.point);
    else if (entity.kind == EntityKind::Surface)
      geometry.surfaces.emplace(entity.id, entity.surface);
    else if (entity.kind == EntityKind::Curve)
      geometry.curves.emplace(entity.id, entity.curve);
    else
      geometry.curvesOnSurfaces.emplace(entity.id,
                                        std::dynamic_pointer_cast<CurveOnSurface>(entity.curve));
  }
  return geometry;
}

const GeometryReader::Entity& GeometryReader::madeOnce(Entity& entity) {
  const std::string label = labelOf(entity.kind, entity.id);
  if (entity.isOpen) failAt(label, "", "refers to itself");
  if (entity.depth == 0) {
    if (open_ == kMaxReferenceDepth) failAt(label, "", "too many objects are built on each other");
    const int outside = std::exchange(deepest_, 0);
    entity.isOpen = true;
    ++open_;
    make(entity);
    --open_;
    entity.isOpen = false;
    entity.depth = deepest_ + 1;
    deepest_ = outside;
  }
  if (entity.depth > kMaxReferenceDepth)
    failAt(label, "", "too many objects are built on each other");
  deepest_ = std::max(deepest_, entity.depth);
  return entity;
}

void GeometryReader::make(Entity& entity) {
  MemberReader in(labelOf(entity.kind, entity.id), *this, *entity.record);
  in.get<int>("id");
  in.get<std::string>("kind");
  if (entity.kind == EntityKind::Point)
    entity.point = readPoint(in);
  else if (entity.kind == EntityKind::Surface)
    entity.surface = readSurface(in);
  else
    entity.curve = readCurve(in);
  const bool mustLieOnSurface = entity.kind == EntityKind::CurveOnSurface;
  if (mustLieOnSurface && !dynamic_cast<const CurveOnSurface*>(entity.curve.get()))
    failAt(in.entity(), "type", R"(must be "CurveOnSurface")");
  in.finish();
}

const GeometryReader::Entity& GeometryReader::referredTo(const Json& reference) {
  MemberReader in("reference", *this, reference);
  const EntityKind kind = readKind(in);
  const int id = in.get<int>("id");
  in.finish();
  const auto place = places_.find({kind, id});
  if (place == places_.end())
    throw std::invalid_argument("refers to " + labelOf(kind, id) + ", which is not there");
  return madeOnce(entities_[place->second]);
}

CurvePointer GeometryReader::curveAt(const Json& reference) {
  const Entity& entity = referredTo(reference);
  if (!entity.curve) throw std::invalid_argument("must refer to a curve");
  return entity.curve;
}

CurveOnSurfacePointer GeometryReader::curveOnSurfaceAt(const Json& reference) {
  const Entity& entity = referredTo(reference);
  auto curve = std::dynamic_pointer_cast<CurveOnSurface>(entity.curve);
  if (!curve) throw std::invalid_argument("must refer to a curve on a surface");
  return curve;
}

SurfacePointer GeometryReader::surfaceAt(const Json& reference) {
  const Entity& entity = referredTo(reference);
  if (!entity.surface) throw std::invalid_argument("must refer to a surface");
  return entity.surface;
}

}  // namespace trova::files
