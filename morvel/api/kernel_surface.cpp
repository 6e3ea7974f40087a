// The surfaces of the kernel object. Their failures are printed and leave the last error alone.

#include "morvel/api/c/kernel_surface.h"

#include "morvel/api/exception_guard.h"
#include "morvel/api/kernel_object.h"
#include "morvel/api/registries.h"
#include "morvel/api/result_codes.h"
#include "morvel/foundation/status_line.h"

using namespace trova_internal;
namespace status = trova::foundation::status;

namespace {

constexpr FailureTexts kCreation{.printed = "Error creating NURBS surface: ", .keepsText = false};
constexpr FailureTexts kMeshing{.printed = "Error generating mesh: ", .keepsText = false};

bool hasKernel() {
  if (g_kernel) return true;
  status::failure("Kernel not initialized");
  return false;
}

}  // namespace

int create_nurbs_surface(const double* points, int nU, int nV, const double* uKnots, int uKnotCount,
                         const double* vKnots, int vKnotCount, int degreeU, int degreeV) {
  if (!hasKernel()) return kBadArgument;
  return guarded(kBadArgument, kCreation, [&] {
    const int id = g_kernel->createNURBSSurface(points, nU, nV, uKnots, uKnotCount, vKnots,
                                                vKnotCount, degreeU, degreeV);
    status::success("Created NURBS surface ", id);
    return id;
  });
}

MorvelSurfaceData* get_surface_mesh(int id, int resolution) {
  if (!hasKernel()) return nullptr;
  if (!g_kernel->hasSurface(id)) {
    status::failure("Surface ", id, " not found");
    return nullptr;
  }
  return guarded<MorvelSurfaceData*>(nullptr, kMeshing,
                                     [&] { return g_kernel->getSurfaceMesh(id, resolution); });
}

void free_surface_data(MorvelSurfaceData* record) {
  if (hasKernel()) PythonSurfaceKernel::freeSurfaceData(record);
}

int get_kernel_surface_count() { return g_kernel ? g_kernel->getSurfaceCount() : 0; }
