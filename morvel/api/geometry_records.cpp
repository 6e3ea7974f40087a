// The registries as JSON documents, and back.

#include "morvel/files/geometry_records.h"

#include <array>
#include <cstring>
#include <limits>
#include <sstream>
#include <vector>

#include "morvel/api/c/geometry_records.h"
#include "morvel/api/c/registry.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"

using namespace trova_internal;
namespace tf = trova::files;

namespace {

constexpr int kBufferTooSmall = -2;
constexpr std::size_t kMappingEntries = 3;

/// The pointer to a registered curve that the registry goes on owning.
std::shared_ptr<const Curve> viewOf(const Curve& curve) {
  return {std::shared_ptr<const Curve>(), &curve};
}

tf::Geometry registeredGeometry() {
  tf::Geometry geometry;
  for (const auto& [handle, point] : pointTable().map())
    geometry.points.emplace(handle, point);
  for (const auto& [handle, curve] : curveTable().map()) {
    if (curve) geometry.curves.emplace(handle, viewOf(*curve));
  }
  for (const auto& [handle, curve] : curveOnSurfaceTable().map()) {
    if (curve) geometry.curvesOnSurfaces.emplace(handle, curve);
  }
  for (const auto& [handle, surface] : surfaceTable().map()) {
    if (surface) geometry.surfaces.emplace(handle, surface);
  }
  return geometry;
}

/// New entries of the registries, which go again unless they are kept.
class NewEntries {
 public:
  struct Entry {
    int kind;
    int id;
    int handle;
  };

  explicit NewEntries(const tf::Geometry& geometry) { entries_.reserve(geometry.size()); }
  ~NewEntries() {
    for (const Entry& entry : entries_)
      erase(entry);
  }
  NewEntries(const NewEntries&) = delete;
  NewEntries& operator=(const NewEntries&) = delete;

  void add(int kind, int id, int handle) { entries_.push_back({kind, id, handle}); }
  std::vector<Entry> keep() { return std::exchange(entries_, {}); }

 private:
  static void erase(const Entry& entry) {
    switch (entry.kind) {
      case MORVEL_CURVES:
        curveTable().erase(entry.handle);
        break;
      case MORVEL_SURFACES:
        surfaceTable().erase(entry.handle);
        forgetSurfaceRecords(entry.handle);
        break;
      case MORVEL_POINTS:
        pointTable().erase(entry.handle);
        break;
      default:
        curveOnSurfaceTable().erase(entry.handle);
    }
  }

  std::vector<Entry> entries_;
};

void requireFiniteObject(bool isFinite, const char* kind, int id) {
  if (!isFinite)
    throw std::runtime_error(std::string(kind) + " " + std::to_string(id) +
                             ": has points that are not finite");
}

/// Shares ownership, unlike `storeSurface`.
int storeShared(const std::shared_ptr<Surface>& surface) {
  const int handle = surfaceTable().store(surface);
  if (keepTrimmedInStep(handle)) return handle;
  surfaceTable().erase(handle);
  throw std::bad_alloc();
}

std::vector<NewEntries::Entry> registered(const tf::Geometry& geometry) {
  NewEntries entries(geometry);
  for (const auto& [id, curve] : geometry.curves) {
    requireFiniteObject(isFiniteCurve(*curve), "curve", id);
    entries.add(MORVEL_CURVES, id, storeCurve(curve->clone()));
  }
  for (const auto& [id, surface] : geometry.surfaces) {
    requireFiniteObject(isFiniteSurface(*surface), "surface", id);
    entries.add(MORVEL_SURFACES, id, storeShared(surface));
  }
  for (const auto& [id, point] : geometry.points)
    entries.add(MORVEL_POINTS, id, pointTable().store(point));
  for (const auto& [id, curve] : geometry.curvesOnSurfaces) {
    requireFiniteObject(isFiniteCurve(*curve), "curveOnSurface", id);
    entries.add(MORVEL_CURVES_ON_SURFACES, id, curveOnSurfaceTable().store(curve));
  }
  return entries.keep();
}

/// -1 for a document that is refused, -4 for any other exception.
template <class Work>
int guardedRecords(Work&& work) {
  return guarded(kExceptionCaught, {}, [&] {
    return guardedAgainst<tf::RecordError>(kBadArgument, {}, std::forward<Work>(work));
  });
}

int written(int* count, int value) {
  if (count) *count = value;
  return kSuccess;
}

int writeText(const char* function, const tf::Geometry& geometry, char* buffer, int capacity,
              int* needed) {
  std::ostringstream out;
  tf::writeGeometry(geometry, out);
  const std::string text = std::move(out).str();
  const int size = static_cast<int>(text.size()) + 1;  // kMaxDocumentBytes is far below
  written(needed, size);
  if (size > capacity) return refuseIn(function, "the buffer is too small", kBufferTooSmall);
  std::memcpy(buffer, text.c_str(), static_cast<std::size_t>(size));
  return kSuccess;
}

/// One object to a document: `put(geometry)` enters it, or answers that there is none.
template <class Put>
int objectToJson(const char* function, const char* kind, int handle, char* buffer, int capacity,
                 int* needed, Put&& put) {
  if (capacity < 0 || (!buffer && capacity > 0))
    return refuseIn(function, "the buffer is null or the capacity below 0");
  return guarded(kExceptionCaught, {}, [&] {
    tf::Geometry geometry;
    if (!put(geometry)) return refuseHandle(function, kind, handle);
    return writeText(function, geometry, buffer, capacity, needed);
  });
}

/// One object from a document. @param count  how many objects of the kind a document registers
template <class Count>
int objectFromJson(const char* function, const char* kind, const char* text, int length,
                   Count&& count) {
  if (!text || length < 0) return refuseIn(function, "the text is null or its length below 0");
  return guardedRecords([&] {
    const tf::Geometry geometry = tf::readGeometry({text, static_cast<std::size_t>(length)});
    if (geometry.size() != 1 || count(geometry) != 1)
      throw tf::RecordError(std::string("The document must register one ") + kind +
                            " (an id above 0) and nothing else");
    return registered(geometry).front().handle;
  });
}

}  // namespace

int write_geometry_json(const char* path, int* count) {
  if (!path) return refuseIn(__func__, "the path is null");
  return guarded(kExceptionCaught, {}, [&] {
    const tf::Geometry geometry = registeredGeometry();
    tf::writeGeometryFile(geometry, path);
    return written(count, static_cast<int>(geometry.size()));
  });
}

int read_geometry_json(const char* path, int* mapping, int capacity, int* count) {
  if (!path) return refuseIn(__func__, "the path is null");
  if (capacity < 0 || (!mapping && capacity > 0))
    return refuseIn(__func__, "the mapping is null or the capacity below 0");
  const char* const function = __func__;
  return guardedRecords([&] {
    const tf::Geometry geometry = tf::readGeometryFile(path);
    written(count, static_cast<int>(geometry.size()));
    if (geometry.size() > static_cast<std::size_t>(capacity))
      return refuseIn(function, "the mapping is too small", kBufferTooSmall);
    for (const NewEntries::Entry& entry : registered(geometry)) {
      const std::array triple{entry.kind, entry.id, entry.handle};
      mapping = std::copy(triple.begin(), triple.end(), mapping);
    }
    return kSuccess;
  });
}

int point_to_json(int point, char* buffer, int capacity, int* needed) {
  return objectToJson(__func__, "point", point, buffer, capacity, needed,
                      [&](tf::Geometry& geometry) {
                        const auto* found = pointTable().find(point);
                        return found && geometry.points.emplace(point, *found).second;
                      });
}

int curve_to_json(int curve, char* buffer, int capacity, int* needed) {
  return objectToJson(__func__, "curve", curve, buffer, capacity, needed,
                      [&](tf::Geometry& geometry) {
                        const auto* found = curveTable().findAs<Curve>(curve);
                        return found && geometry.curves.emplace(curve, viewOf(*found)).second;
                      });
}

int curve_on_surface_to_json(int curveOnSurface, char* buffer, int capacity, int* needed) {
  return objectToJson(__func__, "curve on surface", curveOnSurface, buffer, capacity, needed,
                      [&](tf::Geometry& geometry) {
                        const auto* found = curveOnSurfaceTable().find(curveOnSurface);
                        return found && *found &&
                               geometry.curvesOnSurfaces.emplace(curveOnSurface, *found).second;
                      });
}

int surface_to_json(int surface, char* buffer, int capacity, int* needed) {
  return objectToJson(__func__, "surface", surface, buffer, capacity, needed,
                      [&](tf::Geometry& geometry) {
                        const auto* found = surfaceTable().find(surface);
                        return found && *found && geometry.surfaces.emplace(surface, *found).second;
                      });
}

int create_point_from_json(const char* text, int length) {
  return objectFromJson(__func__, "point", text, length,
                        [](const tf::Geometry& geometry) { return geometry.points.size(); });
}

int create_curve_from_json(const char* text, int length) {
  return objectFromJson(__func__, "curve", text, length,
                        [](const tf::Geometry& geometry) { return geometry.curves.size(); });
}

int create_curve_on_surface_from_json(const char* text, int length) {
  return objectFromJson(
      __func__, "curve on a surface", text, length,
      [](const tf::Geometry& geometry) { return geometry.curvesOnSurfaces.size(); });
}

int create_surface_from_json(const char* text, int length) {
  return objectFromJson(__func__, "surface", text, length,
                        [](const tf::Geometry& geometry) { return geometry.surfaces.size(); });
}
