// The transforms that wait at curves and surfaces. The two families differ in their codes only.

#include "morvel/api/c/registry.h"
#include "morvel/api/copy_arrays.h"
#include "morvel/api/exception_guard.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/tables.h"
#include "morvel/surfaces/parametric_surface.h"

using namespace trova_internal;

namespace {

struct Curves {
  static auto table() { return curveTable(); }
  static constexpr const char* kKind = "curve";
  static constexpr int kEmptyEntry = matrix_codes::kNotFound;
  static constexpr int kDone = matrix_codes::kCurveSuccess;
  static bool isFinite(const Curve& curve) { return isFiniteCurve(curve); }
};

struct Surfaces {
  static auto table() { return surfaceTable(); }
  static constexpr const char* kKind = "surface";
  static constexpr int kEmptyEntry = matrix_codes::kEmptyEntry;
  static constexpr int kDone = matrix_codes::kSurfaceSuccess;
  static bool isFinite(const Surface& surface) { return isFiniteSurface(surface); }
};

template <class Family, class Work>
int onTransformed(const char* function, int handle, Work&& work) {
  return guarded(kExceptionCaught, {}, [&]() -> int {
    const auto* entry = Family::table().find(handle);
    if (!entry) return refuseHandle(function, Family::kKind, handle, matrix_codes::kNotFound);
    if (!*entry) return refuseIn(function, "the entry holds no object", Family::kEmptyEntry);
    return work(**entry);
  });
}

template <class Family>
int setMatrix(const char* function, int handle, const double* m) {
  if (!m) return refuseIn(function, "the matrix is null");
  if (const int refused = checkFinite(function, m, kMatrixEntries)) return refused;
  return onTransformed<Family>(function, handle, [&](auto& object) {
    object.setMatrix(readTransform(m));
    return Family::kDone;
  });
}

template <class Family>
int getMatrix(const char* function, int handle, double* out) {
  if (!out) return refuseIn(function, "out is null");
  return onTransformed<Family>(function, handle, [&](const auto& object) {
    writeTransform(object.getMatrix(), out);
    return Family::kDone;
  });
}

template <class Family>
int hasPending(const char* function, int handle) {
  return onTransformed<Family>(
      function, handle, [](const auto& object) { return object.hasPendingTransform() ? 1 : 0; });
}

// A copy is moved first: an image that is not finite leaves the object and its transform as they
// are.
template <class Family>
int applyMatrix(const char* function, int handle) {
  return onTransformed<Family>(function, handle, [](auto& object) {
    if (object.hasPendingTransform()) {
      const auto trial = object.clone();
      trial->applyMatrix();
      requireFiniteResult(Family::isFinite(*trial));
    }
    object.applyMatrix();
    return Family::kDone;
  });
}

template <class Family>
int resetMatrix(const char* function, int handle) {
  return onTransformed<Family>(function, handle, [](auto& object) {
    object.resetMatrix();
    return Family::kDone;
  });
}

}  // namespace

int set_curve_matrix(int curve, const double* m) { return setMatrix<Curves>(__func__, curve, m); }
int get_curve_matrix(int curve, double* out) { return getMatrix<Curves>(__func__, curve, out); }
int curve_has_pending_transform(int curve) { return hasPending<Curves>(__func__, curve); }
int apply_curve_matrix(int curve) { return applyMatrix<Curves>(__func__, curve); }
int reset_curve_matrix(int curve) { return resetMatrix<Curves>(__func__, curve); }

int set_surface_matrix(int surface, const double* m) {
  return setMatrix<Surfaces>(__func__, surface, m);
}
int get_surface_matrix(int surface, double* out) {
  return getMatrix<Surfaces>(__func__, surface, out);
}
int surface_has_pending_transform(int surface) { return hasPending<Surfaces>(__func__, surface); }
int apply_surface_matrix(int surface) {
  const int result = applyMatrix<Surfaces>(__func__, surface);
  if (result == Surfaces::kDone) forgetSurfaceMesh(surface);
  return result;
}
int reset_surface_matrix(int surface) { return resetMatrix<Surfaces>(__func__, surface); }
