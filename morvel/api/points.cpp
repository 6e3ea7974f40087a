// Points by handle.

#include "morvel/api/c/registry.h"
#include "morvel/api/exception_guard.h"
#include "morvel/api/internal/listing.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/tables.h"
#include "morvel/foundation/status_line.h"

using namespace trova_internal;
namespace status = trova::foundation::status;

namespace {

constexpr FailureTexts kCreation{.printed = "create_point error: "};
constexpr FailureTexts kReading{.printed = "get_point_coordinates error: "};

int refusePoint(const char* function, int point) { return refuseHandle(function, "point", point); }

}  // namespace

int create_point(double x, double y, double z) {
  if (const int refused = checkFinite(__func__, {x, y, z})) return refused;
  return guarded(kExceptionCaught, kCreation, [&] {
    const int handle = pointTable().store({x, y, z});
    status::success("Created point: (", x, ", ", y, ", ", z, ") with handle ", handle);
    return handle;
  });
}

int get_point_coordinates(int point, double* x, double* y, double* z) {
  if (anyNull(x, y, z)) return refuseIn(__func__, "x, y and z must not be null");
  const char* const function = __func__;
  return guarded(kExceptionCaught, kReading, [&] {
    const auto* found = pointTable().find(point);
    if (!found) return refusePoint(function, point);
    *x = found->x();
    *y = found->y();
    *z = found->z();
    return kSuccess;
  });
}

int delete_point(int point) {
  if (!pointTable().erase(point)) return refusePoint(__func__, point);
  status::success("Deleted point ", point);
  return kSuccess;
}

int get_point_count() { return pointTable().count(); }
int get_all_points(int* out, int max) { return listHandles(__func__, pointTable(), out, max); }

int clear_all_points() {
  const int removed = pointTable().clearAndRestart();
  status::success("Cleared ", removed, " points");
  return removed;
}
