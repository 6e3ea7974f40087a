// Projection of points and curves onto surfaces.

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "morvel/api/c/projection.h"
#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/api/internal/trimmed_surface_lookup.h"
#include "morvel/query/unified_projection_engine.h"
#include "morvel/trimmed_surface/trimmed_surface.h"

using namespace trova_internal;
namespace tp = trova::projection;

using tp::ProjectionQuality;
using tp::UnifiedProjectionEngine;
using tp::UnifiedProjectionParams;
using trova::foundation::Point3D;

namespace {

// Results of the functions that say 1 and 0.
constexpr int kDone = 1;
constexpr int kFailed = 0;

constexpr FailureTexts kTexts{.stored = "Exception: ", .unknown = "Unknown exception occurred"};

constexpr std::string_view kInvalidInput = "Invalid input parameters";
constexpr std::string_view kInvalidParameters = "Invalid projection parameters";

int fail(std::string_view text) { return refuse(kFailed, text); }

std::string_view textOf(const char* text) { return text ? std::string_view(text) : ""; }

template <class Value>
void writeUnlessNull(Value* out, Value value) {
  if (out) *out = value;
}

UnifiedProjectionParams paramsOf(const char* type, const Point3D& direction) {
  UnifiedProjectionParams params;
  params.projection_type = tp::utils::string_to_projection_type(textOf(type));
  params.direction = direction;
  return params;
}

// ---- what was measured --------------------------------------------------------------------------

struct Measured {
  std::weak_ptr<const Surface> surface;  ///< whose handle may have been given to another
  int pieces = 0;
  ProjectionQuality quality;
};

std::unordered_map<int, Measured>& measurements() {
  static std::unordered_map<int, Measured> bySurface;
  return bySurface;
}

using SharedSurface = std::shared_ptr<const Surface>;

void remember(int handle, const SharedSurface& surface, int pieces,
              const ProjectionQuality& quality) {
  std::erase_if(measurements(), [](const auto& entry) { return entry.second.surface.expired(); });
  measurements()[handle] = {surface, pieces, quality};
}

// ---- curves -------------------------------------------------------------------------------------

/// Handles with their objects.
struct ProjectionInputs {
  std::vector<const Curve*> curves;
  std::vector<SharedSurface> surfaces;    ///< to project onto
  std::vector<SharedSurface> registered;  ///< under the handles

  /// 1, or 0 with the text of the first unknown handle; surfaces are looked up first.
  int lookUp(const int* curveHandles, int curveCount, const int* surfaceHandles, int surfaceCount) {
    for (int k = 0; k < surfaceCount; ++k) {
      registered.push_back(sharedSurface(surfaceHandles[k]));
      surfaces.push_back(untrimmed(registered.back()));
      if (!surfaces.back())
        return fail("Invalid surface handle: " + std::to_string(surfaceHandles[k]));
    }
    for (int k = 0; k < curveCount; ++k) {
      curves.push_back(curveTable().findAs<Curve>(curveHandles[k]));
      if (!curves.back()) return fail("Invalid curve handle: " + std::to_string(curveHandles[k]));
    }
    return kDone;
  }
};

bool areGiven(const int* handles, int count) { return handles && count > 0; }

/// Curves that are taken out of the registry again unless they are kept.
template <class Table, class Object>
class StoredCurves {
 public:
  explicit StoredCurves(Table table) : table_(table) {}
  StoredCurves(const StoredCurves&) = delete;
  StoredCurves& operator=(const StoredCurves&) = delete;
  ~StoredCurves() {
    for (const int handle : handles_)
      table_.erase(handle);
  }

  void store(std::unique_ptr<Object> curve) {
    requireFiniteResult(isFiniteCurve(*curve));
    handles_.reserve(handles_.size() + 1);
    handles_.push_back(table_.store(std::move(curve)));
  }

  void keep(int* out) {
    std::copy(handles_.begin(), handles_.end(), out);
    handles_.clear();
  }

 private:
  Table table_;
  std::vector<int> handles_;
};

/// Where the handles of one kind go; not wanted for a result type without it.
struct HandleOutput {
  bool isWanted;
  int* handles;
  int* count;

  bool canHold(std::size_t needed, int capacity) const {
    return !isWanted || (handles && std::cmp_less_equal(needed, capacity));
  }
  void writeCount(std::size_t pieces) const {
    writeUnlessNull(count, isWanted ? static_cast<int>(pieces) : 0);
  }
};

struct CurveOutputs {
  HandleOutput onSurface;
  HandleOutput inSpace;
  int capacity;

  bool isMissing() const {
    return (onSurface.isWanted && !onSurface.handles) || (inSpace.isWanted && !inSpace.handles) ||
           capacity < 0;
  }

  int store(tp::ProjectionReport& report) const {
    const std::size_t pieces = report.pieceCount();
    onSurface.writeCount(pieces);
    inSpace.writeCount(pieces);
    if (pieces == 0) return fail("The projections miss the surfaces");
    if (!onSurface.canHold(pieces, capacity) || !inSpace.canHold(pieces, capacity))
      return fail("The output arrays are too small");
    StoredCurves<decltype(curveOnSurfaceTable()), CurveOnSurface> onSurfaces(curveOnSurfaceTable());
    StoredCurves<decltype(curveTable()), Curve> inSpaces(curveTable());
    for (tp::ProjectionOutcome& outcome : report.outcomes) {
      for (tp::ProjectionResult& piece : outcome.pieces) {
        if (onSurface.isWanted) onSurfaces.store(std::move(piece.curve_on_surface));
        if (inSpace.isWanted) inSpaces.store(std::move(piece.curve_3d));
      }
    }
    if (onSurface.isWanted) onSurfaces.keep(onSurface.handles);
    if (inSpace.isWanted) inSpaces.keep(inSpace.handles);
    return kDone;
  }
};

/// The outcomes of one surface only.
tp::ProjectionReport partOf(const tp::ProjectionReport& report, int surface) {
  tp::ProjectionReport part;
  for (const tp::ProjectionOutcome& outcome : report.outcomes) {
    if (outcome.surface != surface) continue;
    tp::ProjectionOutcome& copy = part.outcomes.emplace_back();
    for (const tp::ProjectionResult& piece : outcome.pieces)
      copy.pieces.emplace_back().quality = piece.quality;
  }
  return part;
}

void rememberAll(const tp::ProjectionReport& report, const int* handles,
                 const ProjectionInputs& inputs) {
  for (std::size_t s = 0; s < inputs.surfaces.size(); ++s) {
    const tp::ProjectionReport part = partOf(report, static_cast<int>(s));
    if (part.succeeded())
      remember(handles[s], inputs.registered[s], static_cast<int>(part.pieceCount()),
               part.quality());
  }
}

// ---- points -------------------------------------------------------------------------------------

struct PointOutputs {
  int capacity;
  double* points;
  double* uv;
  double* distances;
  int* converged;
  int* hitCount;

  bool areMissing() const {
    return capacity < 0 || (!points && !uv && !distances && !converged && !hitCount);
  }

  void write(const std::vector<tp::ProjectedPoint>& hits) const {
    writeUnlessNull(hitCount, static_cast<int>(hits.size()));
    const std::size_t written = std::min(hits.size(), static_cast<std::size_t>(capacity));
    for (std::size_t k = 0; k < written; ++k) {
      if (points) writeTriple(hits[k].point, points + kDoublesPerPoint * k);
      if (uv) uv[2 * k] = hits[k].u, uv[2 * k + 1] = hits[k].v;
      if (distances) distances[k] = hits[k].distance;
      if (converged) converged[k] = hits[k].converged;
    }
  }
};

ProjectionQuality qualityOf(const std::vector<tp::ProjectedPoint>& hits) {
  constexpr double kFullScore = 100.0;
  ProjectionQuality quality;
  quality.sample_count = 1;
  quality.quality_score = kFullScore;
  for (const tp::ProjectedPoint& hit : hits) {
    quality.iterations += hit.iterations;
    quality.max_distance = std::max(quality.max_distance, hit.distance);
  }
  return quality;
}

int projectPoint(const Point3D& point, int handle, const UnifiedProjectionParams& params,
                 const PointOutputs& out) {
  const SharedSurface surface = sharedSurface(handle);
  if (!surface) return fail("Invalid surface handle: " + std::to_string(handle));
  const SharedSurface base = untrimmed(surface);
  const tp::SurfaceSearch search(*base);
  if (!search.isFinite()) return fail("Surface is not finite");
  const auto hits = UnifiedProjectionEngine::project_point(point, search, params);
  for (const tp::ProjectedPoint& hit : hits)
    requireFiniteResult(hit.point.isFinite() && std::isfinite(hit.distance));
  out.write(hits);
  if (hits.empty()) return fail("The projection misses the surface");
  remember(handle, surface, static_cast<int>(hits.size()), qualityOf(hits));
  return kDone;
}

void writePreview(const std::vector<std::vector<Point3D>>& lines, double* points, int* lineEnds) {
  std::size_t end = 0;
  for (std::size_t k = 0; k < lines.size(); ++k) {
    if (points) writePoints(lines[k], points + kDoublesPerPoint * end);
    end += lines[k].size();
    if (lineEnds) lineEnds[k] = static_cast<int>(end);
  }
}

std::span<double> spanOrNone(double* out, std::size_t size) {
  return out ? std::span<double>(out, size) : std::span<double>();
}

}  // namespace

int project_geometry_unified(const int* curves, int count, const int* surfaces, int targets,
                             const char* projectionType, double directionX, double directionY,
                             double directionZ, const char* resultType, const char* fittingMethod,
                             double tolerance, int forwardOnly, int longestPieceOnly,
                             const char* multipleIntersections, int tangentContinuity,
                             int* onSurface, int* onSurfaceCount, int* inSpace, int* inSpaceCount,
                             int capacity, double* maxDeviation, char* message, int messageSize) {
  const int result = guarded(kFailed, kTexts, [&] {
    writeUnlessNull(onSurfaceCount, 0);
    writeUnlessNull(inSpaceCount, 0);
    if (!areGiven(curves, count) || !areGiven(surfaces, targets)) return fail(kInvalidInput);
    UnifiedProjectionParams params = paramsOf(projectionType, {directionX, directionY, directionZ});
    params.result_type = tp::utils::string_to_result_type(textOf(resultType));
    params.fitting_method = tp::utils::string_to_fitting_method(textOf(fittingMethod));
    params.tolerance = tolerance;
    params.forward_only = forwardOnly != 0;
    params.longest_piece_only = longestPieceOnly != 0;
    params.multiple_intersections =
        tp::utils::string_to_multiple_intersections(textOf(multipleIntersections));
    params.tangent_continuity = tangentContinuity != 0;
    if (!params.validate()) return fail(kInvalidParameters);
    const CurveOutputs out{
        {params.result_type != tp::ProjectionResultType::Curve3D, onSurface, onSurfaceCount},
        {params.result_type != tp::ProjectionResultType::CurveOnSurface, inSpace, inSpaceCount},
        capacity};
    if (out.isMissing()) return fail("Output arrays must not be null");
    ProjectionInputs inputs;
    if (!inputs.lookUp(curves, count, surfaces, targets)) return kFailed;
    auto report = UnifiedProjectionEngine::project_geometry(inputs.curves, inputs.surfaces, params);
    if (!out.store(report)) return kFailed;
    rememberAll(report, surfaces, inputs);
    const ProjectionQuality quality = report.quality();
    writeUnlessNull(maxDeviation, std::max(quality.max_deviation, quality.max_fit_deviation));
    return kDone;
  });
  if (message) copyText(result == kDone ? std::string_view() : g_last_error, message, messageSize);
  return result;
}

int project_point_to_surface_unified(double x, double y, double z, int surface,
                                     const char* projectionType, double directionX,
                                     double directionY, double directionZ,
                                     const char* multipleIntersections, int capacity,
                                     double* points, double* uv, double* distances, int* converged,
                                     int* hitCount) {
  return guarded(kFailed, kTexts, [&] {
    writeUnlessNull(hitCount, 0);
    const PointOutputs out{capacity, points, uv, distances, converged, hitCount};
    if (out.areMissing()) return fail(kInvalidInput);
    UnifiedProjectionParams params = paramsOf(projectionType, {directionX, directionY, directionZ});
    params.multiple_intersections =
        tp::utils::string_to_multiple_intersections(textOf(multipleIntersections));
    if (!params.validate()) return fail(kInvalidParameters);
    return projectPoint({x, y, z}, surface, params, out);
  });
}

int generate_projection_preview(const int* curves, int count, const int* surfaces, int targets,
                                const char* projectionType, double directionX, double directionY,
                                double directionZ, double* points, int capacity, int* pointCount,
                                int* lineEnds, int lineCapacity, int* lineCount) {
  return guarded(kFailed, kTexts, [&] {
    writeUnlessNull(pointCount, 0);
    writeUnlessNull(lineCount, 0);
    if (!areGiven(curves, count) || !areGiven(surfaces, targets)) return fail(kInvalidInput);
    const auto params = paramsOf(projectionType, {directionX, directionY, directionZ});
    if (!params.validate()) return fail(kInvalidParameters);
    ProjectionInputs inputs;
    if (!inputs.lookUp(curves, count, surfaces, targets)) return kFailed;
    const auto lines =
        UnifiedProjectionEngine::generate_preview(inputs.curves, inputs.surfaces, params);
    std::size_t total = 0;
    for (const std::vector<Point3D>& line : lines)
      total += line.size();
    writeUnlessNull(pointCount, static_cast<int>(total));
    writeUnlessNull(lineCount, static_cast<int>(lines.size()));
    if (lines.empty()) return fail("The projections miss the surfaces");
    if ((points && std::cmp_greater(total, capacity)) ||
        (lineEnds && std::cmp_greater(lines.size(), lineCapacity)))
      return fail("The output arrays are too small");
    writePreview(lines, points, lineEnds);
    return kDone;
  });
}

int validate_projection_parameters(const char* projectionType, double directionX, double directionY,
                                   double directionZ, const char* resultType,
                                   const char* fittingMethod, double tolerance, char* message,
                                   int size) {
  return guarded(kFailed, kTexts, [&] {
    auto params = paramsOf(projectionType, {directionX, directionY, directionZ});
    params.result_type = tp::utils::string_to_result_type(textOf(resultType));
    params.fitting_method = tp::utils::string_to_fitting_method(textOf(fittingMethod));
    params.tolerance = tolerance;
    if (params.validate()) return kDone;
    copyText("Invalid parameters", message, size);
    return kFailed;
  });
}

int get_projection_quality_metrics(int /*handle*/, double* maxDeviation, double* meanDeviation,
                                   int* sampleCount, int* iterations, double* qualityScore) {
  // By contract: placeholders, whatever the handle.
  constexpr double kMaxDeviation = 0.001, kMeanDeviation = 0.0005, kQualityScore = 50.0;
  constexpr int kSampleCount = 10, kIterations = 3;
  writeUnlessNull(maxDeviation, kMaxDeviation);
  writeUnlessNull(meanDeviation, kMeanDeviation);
  writeUnlessNull(sampleCount, kSampleCount);
  writeUnlessNull(iterations, kIterations);
  writeUnlessNull(qualityScore, kQualityScore);
  return kDone;
}

int set_projection_advanced_options(int iterationLimit, double tolerance, int /*flag*/) {
  return iterationLimit >= 1 && tolerance > 0.0 ? kDone : kFailed;
}

int clear_projection_cache() {
  return guarded(kFailed, kTexts, [] {
    UnifiedProjectionEngine::clear_cache();
    return kDone;
  });
}

int get_projection_cache_stats(int* entries, int* hits) {
  writeUnlessNull(entries, 0);
  writeUnlessNull(hits, 0);
  return kDone;
}

int project_points_to_surface_batch(int surface, const double* xyz, int count, double* uv,
                                    double* points, double* distances) {
  if (const int refused = checkPoints(__func__, xyz, count)) return refused;
  return guarded(kExceptionCaught, {}, [&]() -> int {
    const SharedSurface registered = sharedSurface(surface);
    const SharedSurface base = untrimmed(registered);
    if (!base) return refuseHandle(__func__, "surface", surface);
    const tp::SurfaceSearch search(*base);
    const auto size = static_cast<std::size_t>(count);
    std::vector<double> own(distances ? 0 : size);
    const std::span<double> measured(distances ? distances : own.data(), size);
    search.closestBatch({xyz, kDoublesPerPoint * size}, spanOrNone(uv, 2 * size),
                        spanOrNone(points, kDoublesPerPoint * size), measured);
    ProjectionQuality quality = qualityOf({});
    quality.sample_count = count;
    if (count > 0) quality.max_distance = *std::max_element(measured.begin(), measured.end());
    remember(surface, registered, count, quality);
    return kSuccess;
  });
}

int get_projection_report(int surface, double* maxDeviation, double* meanDeviation,
                          double* maxFitDeviation, int* pieceCount, int* sampleCount,
                          int* iterations, double* maxDistance, double* qualityScore) {
  return guarded(kExceptionCaught, {}, [&]() -> int {
    const SharedSurface registered = sharedSurface(surface);
    if (!registered) return refuseHandle(__func__, "surface", surface);
    const auto entry = measurements().find(surface);
    if (entry == measurements().end() || entry->second.surface.lock() != registered)
      return refuseIn(__func__, "nothing was projected onto the surface", kNotFound);
    const ProjectionQuality& quality = entry->second.quality;
    writeUnlessNull(maxDeviation, quality.max_deviation);
    writeUnlessNull(meanDeviation, quality.mean_deviation);
    writeUnlessNull(maxFitDeviation, quality.max_fit_deviation);
    writeUnlessNull(pieceCount, entry->second.pieces);
    writeUnlessNull(sampleCount, quality.sample_count);
    writeUnlessNull(iterations, quality.iterations);
    writeUnlessNull(maxDistance, quality.max_distance);
    writeUnlessNull(qualityScore, quality.quality_score);
    return kSuccess;
  });
}
