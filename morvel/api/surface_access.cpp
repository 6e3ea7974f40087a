// What can be asked about a whole surface, and its copy.

#include <cmath>

#include "morvel/api/c/surface_query.h"
#include "morvel/api/internal/boxes.h"
#include "morvel/api/internal/new_surface.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/surfaces/nurbs_surface.h"

using namespace trova_internal;
namespace tg = trova::geometry;

int get_surface_weights(int surface, double* out, int capacity, int* outCount) {
  if (!out || !outCount) return refuse(kBadArgument, "Output buffers cannot be null");
  return withSurface(surface, kNotFound, [&](const Surface& found) {
    const auto* rational = dynamic_cast<const tg::NurbsSurface*>(&found);
    if (!rational) return refuse(kUnsupported, "Surface type does not have weights");
    std::vector<double> weights;
    for (const std::vector<double>& row : rational->getWeights())
      weights.insert(weights.end(), row.begin(), row.end());
    return writeValues(weights, out, capacity, outCount, surface_codes::kBufferTooSmall);
  });
}

int get_surface_bounding_box(int surface, double* lower, double* upper) {
  if (anyNull(lower, upper)) return refuse(kBadArgument, "Invalid output parameters");
  return withSurface(surface, kNotFound, [&](const Surface& found) {
    writeBox(found.getBoundingBox(), lower, upper);
    return kSuccess;
  });
}

int get_surface_closest_parameter(int surface, double x, double y, double z, double* u, double* v) {
  if (anyNull(u, v)) return refuse(kBadArgument, "Invalid output parameters");
  if (const int refused = checkFinite(__func__, {x, y, z})) return refused;
  return withSurface(surface, kNotFound, [&](const Surface& found) {
    const auto closest = found.getClosestParameter({x, y, z});
    requireFiniteResult(std::isfinite(closest.first) && std::isfinite(closest.second));
    *u = closest.first;
    *v = closest.second;
    return kSuccess;
  });
}

int copy_surface(int surface) {
  return withSurface(surface, kNotFound, [](const Surface& found) {
    return StoredSurface(found.clone(), "copy").keep();
  });
}
