// Trimmed surfaces by handle: polygons, batches, loops, meshes.

#include <algorithm>
#include <cstdint>
#include <numeric>

#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/api/internal/trimmed_surface_lookup.h"
#include "morvel/trimmed_surface/trimmed_surface_factory.h"
#include "morvel/trimmed_surface/visible_region.h"

using namespace trova_internal;
namespace ts = trova::geometry::trimmed_surface;
using trova::foundation::Point2D;

namespace {

constexpr int kPair = 2;  // u v
constexpr int kContradiction = -2;
constexpr int kTooSmall = -5;
constexpr int kIndicesTooSmall = -6;
constexpr int kMinResolution = 2;
constexpr int kMaxResolution = 2000;
constexpr int kUnknownSurface = -2;
constexpr ExceptionCodes kMeshExceptions{-4, -4};
// Classifications pass through a buffer on the stack.
constexpr int kPiece = 1024;

/// The out values of the classifications: not those of the enumeration.
int outValue(ts::PointClassification classification) {
  const int value = static_cast<int>(classification);
  return value < 2 ? 1 - value : value;
}

/// work(surface) in the guard; -3 where the handle names no trimmed surface.
template <class Work>
int onTrimmed(const char* function, int handle, Work&& work) {
  return guarded(kExceptionCaught, {}, [&]() -> int {
    const auto* found = surfaceTable().findAs<TrimmedSurface>(handle);
    return found ? work(*found) : refuseHandle(function, "trimmed surface", handle);
  });
}

struct PolygonArguments {
  const double* uv;
  int pointCount;
  const int* sizes;
  const int* types;
  const int* roles;
  int loopCount;

  bool areSizesSound() const {
    std::int64_t sum = 0;
    for (int k = 0; k < loopCount; ++k) {
      if (sizes[k] < 1) return false;
      sum += sizes[k];
    }
    return sum == pointCount;
  }

  std::vector<ts::TrimLoop> loops(double tolerance) const {
    std::vector<ts::TrimLoop> result(static_cast<std::size_t>(loopCount));
    const double* at = uv;
    for (int k = 0; k < loopCount; ++k) {
      ts::TrimLoop& loop = result[k];
      loop.type = types[k];
      loop.isOuter = roles[k] != 0;
      loop.isClosed = true;
      loop.tolerance = tolerance;
      for (int i = 0; i < sizes[k]; ++i, at += kPair)
        loop.polygon.emplace_back(at[0], at[1]);
    }
    return result;
  }
};

bool isIndexOf(const TrimmedSurface& surface, int index) {
  return index >= 0 && static_cast<std::size_t>(index) < surface.getNumTrimLoops();
}

struct MeshRoom {
  double* vertices;
  int vertexCapacity;
  int* vertexCount;
  int* indices;
  int indexCapacity;
  int* indexCount;
};

int copyMesh(const trova::geometry::SurfaceMesh& mesh, const MeshRoom& room) {
  finiteResult(mesh.vertices);
  const std::vector<std::int32_t> indices = mesh.getTriangulatedIndices();
  *room.vertexCount = static_cast<int>(mesh.vertices.size());
  *room.indexCount = static_cast<int>(indices.size());
  if (*room.vertexCount > room.vertexCapacity)
    return refuseTrimmed(kTooSmall, "Insufficient vertex buffer size");
  if (*room.indexCount > room.indexCapacity)
    return refuseTrimmed(kIndicesTooSmall, "Insufficient index buffer size");
  writePoints(mesh.vertices, room.vertices);
  std::copy(indices.begin(), indices.end(), room.indices);
  return kSuccess;
}

bool isResolution(int count) { return count >= kMinResolution && count <= kMaxResolution; }

}  // namespace

int create_trimmed_surface_from_polygons(int surface, const double* uv, int pointCount,
                                         const int* loopSizes, const int* loopTypes,
                                         const int* isOuter, int loopCount,
                                         const MorvelTrimOptions* options) {
  if (anyNull(uv, loopSizes, loopTypes, isOuter)) return refuseIn(__func__, "an array is null");
  if (loopCount < 0 || !countsFit({pointCount, kPair}))
    return refuseIn(__func__, "count out of range");
  if (const int refused = checkFinite(__func__, uv, std::int64_t(kPair) * pointCount))
    return refused;
  const PolygonArguments polygons{uv, pointCount, loopSizes, loopTypes, isOuter, loopCount};
  if (!polygons.areSizesSound())
    return refuseIn(__func__, "the loop sizes do not sum up to the points", kContradiction);
  return guarded(kExceptionCaught, {}, [&] {
    auto base = sharedSurface(surface);
    if (!base) return refuse(kNotFound, kInvalidSurfaceHandle);
    const TrimmedSurfaceOptions settings = optionsOf(options);
    return storeSurface(ts::TrimmedSurfaceFactory::createWireTrimmed(
        std::move(base), polygons.loops(settings.boundaryTolerance), settings));
  });
}

int classify_points_in_trimmed_surface(int surface, const double* uv, int count,
                                       int* classification) {
  if (anyNull(uv, classification)) return refuseIn(__func__, "an array is null");
  if (!countsFit({count, kPair})) return refuseIn(__func__, "count out of range");
  return onTrimmed(__func__, surface, [&](const TrimmedSurface& found) {
    ts::PointClassification piece[kPiece];
    for (std::int64_t first = 0; first < count; first += kPiece) {
      const std::int64_t size = std::min<std::int64_t>(kPiece, count - first);
      ts::classifyPoints(found, {uv + kPair * first, static_cast<std::size_t>(kPair * size)},
                         piece);
      for (std::int64_t k = 0; k < size; ++k)
        classification[first + k] = outValue(piece[k]);
    }
    return kSuccess;
  });
}

int get_trim_loop_count(int surface) {
  return onTrimmed(__func__, surface, [](const TrimmedSurface& found) {
    return static_cast<int>(found.getNumTrimLoops());
  });
}

int get_trim_loop_info(int surface, int index, int* type, int* isOuter, int* pointCount,
                       int* curveCount) {
  if (anyNull(type, isOuter, pointCount, curveCount))
    return refuseIn(__func__, "no output may be null");
  return onTrimmed(__func__, surface, [&](const TrimmedSurface& found) {
    if (!isIndexOf(found, index)) return refuse(kContradiction, "Trim loop index out of range");
    const ts::TrimLoop& loop = found.getTrimLoop(static_cast<std::size_t>(index));
    *type = loop.type;
    *isOuter = loop.isOuter ? 1 : 0;
    *pointCount = static_cast<int>(loop.polygon.size());
    *curveCount = static_cast<int>(loop.curves.size());
    return kSuccess;
  });
}

int get_trim_loop_polygon(int surface, int index, double* uv, int pointCapacity, int* count) {
  if (anyNull(uv, count)) return refuseIn(__func__, "no output may be null");
  return onTrimmed(__func__, surface, [&](const TrimmedSurface& found) {
    if (!isIndexOf(found, index)) return refuse(kContradiction, "Trim loop index out of range");
    const std::vector<Point2D>& polygon =
        found.getTrimLoop(static_cast<std::size_t>(index)).polygon;
    *count = static_cast<int>(polygon.size());
    if (*count > pointCapacity) return refuse(kTooSmall, "Buffer too small");
    for (std::size_t k = 0; k < polygon.size(); ++k) {
      uv[kPair * k] = polygon[k].x();
      uv[kPair * k + 1] = polygon[k].y();
    }
    return kSuccess;
  });
}

int tessellate_trimmed_surface_visible_region(int surface, int resolutionU, int resolutionV,
                                              double* vertices, int vertexCapacity,
                                              int* vertexCount, int* indices, int indexCapacity,
                                              int* indexCount) {
  if (anyNull(vertices, vertexCount, indices, indexCount))
    return refuseTrimmed(kBadArgument, "Output buffers cannot be NULL");
  if (!isResolution(resolutionU) || !isResolution(resolutionV))
    return refuseTrimmed(kBadArgument, "Resolutions must be between 2 and 2000");
  const MeshRoom room{vertices, vertexCapacity, vertexCount, indices, indexCapacity, indexCount};
  return guardedTrimmed(__func__, kMeshExceptions, [&] {
    const TrimmedSurface* trimmed = trimmedSurfaceTable().findAs<TrimmedSurface>(surface);
    if (trimmed)
      return copyMesh(ts::tessellateVisibleRegion(*trimmed, resolutionU, resolutionV), room);
    const auto* whole = surfaceTable().findAs<trova::geometry::Surface>(surface);
    if (!whole)
      return refuseTrimmed(kUnknownSurface,
                           "Invalid trimmed surface handle - not found in any registry");
    return copyMesh(whole->tessellateUniform(resolutionU, resolutionV), room);
  });
}
