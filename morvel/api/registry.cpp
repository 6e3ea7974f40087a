// Curves and surfaces in their registries: counting, listing, removal, replacement, reservation.

#include <ostream>

#include "morvel/api/c/registry.h"
#include "morvel/api/exception_guard.h"
#include "morvel/api/internal/listing.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/tables.h"
#include "morvel/foundation/status_line.h"

using namespace trova_internal;
namespace status = trova::foundation::status;

namespace {

/// Prints as every surface handle with a blank behind it.
struct SurfaceHandles {};

std::ostream& operator<<(std::ostream& out, SurfaceHandles) {
  for (const auto& entry : surfaceTable().map())
    out << entry.first << ' ';
  return out;
}

constexpr auto kPlain = status::Symbol::None;

/// The new handle is judged before the old one. `tag` opens every line.
template <class Table>
bool replaceEntry(Table table, const char* tag, int oldHandle, int newHandle) {
  status::progress(status::Symbol::Working, tag, ": Replacing ", oldHandle, " with ", newHandle);
  if (!table.contains(newHandle)) {
    status::failure(tag, ": new_handle ", newHandle, " not found");
    return false;
  }
  if (!table.contains(oldHandle)) {
    status::failure(tag, ": old_handle ", oldHandle, " not found");
    return false;
  }
  table.replace(oldHandle, newHandle);
  status::success(tag, ": Successfully replaced handle ", oldHandle, " with geometry from ",
                  newHandle);
  return true;
}

int reserveSurfaceHandle() {
  return guarded(kExceptionCaught, {}, [] { return surfaceTable().reserve(); });
}

}  // namespace

int get_curve_count() { return curveTable().count(); }
int get_curves_count() { return get_curve_count(); }
int get_surfaces_count() { return surfaceTable().count(); }

int get_all_curves(int* out, int max) { return listHandles(__func__, curveTable(), out, max); }
int get_all_surfaces(int* out, int max) { return listHandles(__func__, surfaceTable(), out, max); }

int delete_curve(int curve) {
  return curveTable().erase(curve) ? kSuccess : refuseHandle(__func__, "curve", curve);
}

void delete_surface(int surface) {
  if (!surfaceTable().erase(surface)) return;
  forgetSurfaceRecords(surface);
  logSurfaceOperation("delete", surface);
}

int clear_all_curves() { return curveTable().clearAndRestart(); }
int cleanup_all_curves() { return clear_all_curves(); }

void cleanup_all_surfaces() {
  surfaceTable().clearAndRestart();
  forgetAllSurfaceRecords();
}

bool replace_curve_handle(int old_handle, int new_handle) {
  return replaceEntry(curveTable(), "REPLACE_CURVE_HANDLE", old_handle, new_handle);
}

bool replace_surface_handle(int old_handle, int new_handle) {
  if (!replaceEntry(surfaceTable(), "REPLACE_SURFACE_HANDLE", old_handle, new_handle)) return false;
  if (old_handle == new_handle) return true;
  forgetSurfaceRecords(old_handle);
  forgetSurfaceRecords(new_handle);
  return true;
}

int get_next_surface_handle() { return reserveSurfaceHandle(); }
int storeSurface_get_next_handle() { return reserveSurfaceHandle(); }
int get_unified_surface_handle() { return reserveSurfaceHandle(); }

int debug_get_surface_start_id() { return getNextSurfaceId(); }
int debug_get_macro_value() { return kFirstSurfaceHandle; }

bool ensure_surface_in_registry(int surface) {
  using enum status::Symbol;
  status::progress(Check, "REGISTRY CHECK: Looking for surface handle ", surface);
  if (isValidSurfaceId(surface)) {
    status::success("Surface ", surface, " found in registry");
    return true;
  }
  // An answer to a question, not a failure of the call: it goes to standard output.
  status::progress(Failure, "Surface ", surface, " NOT found in registry");
  status::progress(kPlain, "   Registry contains ", get_surfaces_count(),
                   " surfaces: ", SurfaceHandles{});
  return false;
}

void debug_print_registry_status() {
  status::progress(status::Symbol::Chart, "REGISTRY STATUS:");
  status::progress(kPlain, "   Total surfaces: ", get_surfaces_count());
  status::progress(kPlain, "   Handles: ", SurfaceHandles{});
}
