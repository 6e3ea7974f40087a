#include "morvel/api/internal/new_surface.h"

#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/tables.h"
#include "morvel/api/last_error.h"

namespace trova_internal {

bool isSound(const Surface& surface) {
  if (!surface.isValid() || !isFiniteSurface(surface)) return false;
  const trova::geometry::ParameterDomain domain = surface.getParameterDomain();
  return surface.evaluate((domain.uMin + domain.uMax) / 2.0, (domain.vMin + domain.vMax) / 2.0)
      .isFinite();
}

StoredSurface::StoredSurface(std::unique_ptr<Surface> surface, const char* operation)
    : handle_(storeSurface(std::move(surface))) {
  logSurfaceOperation(operation, handle_);
}

StoredSurface::~StoredSurface() {
  if (isKept_) return;
  surfaceTable().erase(handle_);
  forgetSurfaceRecords(handle_);
}

int StoredSurface::keep() {
  isKept_ = true;
  return handle_;
}

int storeSound(std::unique_ptr<Surface> surface, const char* operation, int refused,
               std::string_view fault) {
  if (!surface || !isSound(*surface)) return refuse(refused, fault);
  return StoredSurface(std::move(surface), operation).keep();
}

}  // namespace trova_internal
