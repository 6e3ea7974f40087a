// The kernel object's life, and what the library says about itself.

#include <Eigen/Core>

#include "morvel/api/c/registry.h"
#include "morvel/api/exception_guard.h"
#include "morvel/api/internal/tables.h"
#include "morvel/api/kernel_object.h"
#include "morvel/api/last_error.h"
#include "morvel/foundation/status_line.h"

using namespace trova_internal;
namespace status = trova::foundation::status;

namespace {

constexpr int kKernelReady = 1;
constexpr int kKernelFailed = 0;
constexpr FailureTexts kInitialization{.printed = "Failed to initialize kernel: "};

constexpr const char* kVersionBanner = "morvel, the TROVA surface and curve kernel, v1.0";

// A line of the block below its heading.
constexpr auto kPlain = status::Symbol::None;

void printKernelStatus() {
  if (!g_kernel) {
    status::progress(kPlain,
                     "  Surface kernel status: ", status::symbolText(status::Symbol::Failure),
                     "Not initialized");
    return;
  }
  status::progress(kPlain, "  Surface kernel status: ", status::symbolText(status::Symbol::Success),
                   "Initialized");
  status::progress(kPlain, "  Surfaces: ", g_kernel->getSurfaceCount());
}

}  // namespace

int initialize_kernel() {
  return guarded(kKernelFailed, kInitialization, [] {
    g_kernel = std::make_unique<PythonSurfaceKernel>();
    return kKernelReady;
  });
}

void cleanup_kernel() { g_kernel.reset(); }

int get_version_info(char* buffer, int size) { return copyText(kVersionBanner, buffer, size); }

void print_kernel_info() {
  status::progress(status::Symbol::Report, "TROVA Surface & Curve Kernel Information:");
  status::progress(kPlain, "  Version: ", kVersionBanner);
  status::progress(kPlain, "  Dependencies: Eigen ", EIGEN_WORLD_VERSION, ".", EIGEN_MAJOR_VERSION,
                   ".", EIGEN_MINOR_VERSION);
  printKernelStatus();
  status::progress(kPlain, "  TROVA Curves: ", curveTable().count());
}
