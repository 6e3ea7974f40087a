// Surfaces trimmed by curves in space and by planes.

#include <algorithm>
#include <span>
#include <utility>

#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/trimmed_surface_lookup.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"
#include "morvel/query/unified_projection_engine.h"
#include "morvel/trimmed_surface/plane_snip.h"
#include "morvel/trimmed_surface/wire_chain.h"
#include "morvel/trimmed_surface/wire_trimmed_surface.h"

using namespace trova_internal;
namespace ts = trova::geometry::trimmed_surface;
namespace status = trova::foundation::status;
using trova::foundation::progress::Stage;
using trova::projection::UnifiedProjectionEngine;

namespace {

using trimmed_codes::kExceptions;

constexpr int kUnknownBase = -1;
constexpr int kNoOuterCurves = -2;
constexpr int kNoInnerCurves = -3;
constexpr int kNoCut = -3;
constexpr int kNoWire = -2;
constexpr int kWireMisses = -3;
// Two pieces whose ends are nearer than this part of the base's diagonal are joined.
constexpr double kJoiningShare = 1e-2;

using Pieces = std::vector<std::shared_ptr<CurveOnSurface>>;

template <class... Parts>
void printError(const Parts&... parts) {
  status::line(status::Level::Error, status::Stream::Error, status::Symbol::None, "[ERROR] ",
               parts...);
}

template <class... Parts>
void printWarning(const Parts&... parts) {
  status::line(status::Level::Warning, status::Stream::Error, status::Symbol::None, "[WARNING] ",
               parts...);
}

/// The base, and what is made on it.
class WireTrim {
 public:
  WireTrim(std::shared_ptr<trova::geometry::Surface> base, const TrimmedSurfaceOptions& settings)
      : surface_(std::make_unique<ts::WireTrimmedSurface>(base, settings)),
        base_(std::move(base)),
        joinDistance_(kJoiningShare * base_->getBoundingBox().diagonal().magnitude()) {}

  WireTrim(const WireTrim&) = delete;
  WireTrim& operator=(const WireTrim&) = delete;
  ~WireTrim() {
    for (const int handle : registered_)
      curveOnSurfaceTable().erase(handle);
  }

  /// How many curves there are to project, at most: each is that share of the whole.
  void expect(double curves) { share_ = 1.0 / std::max(curves, 1.0); }

  /// Appends the pieces of the projected curve; false where there are none. They are registered
  /// when the surface is stored.
  bool project(int handle, Pieces& pieces) {
    const Stage stage("projecting a curve", done_, done_ + share_);
    done_ = std::min(done_ + share_, 1.0);
    const auto* curve = curveTable().findAs<Curve>(handle);
    if (!curve) return false;
    auto projected =
        orNothing([&] { return UnifiedProjectionEngine::project_single_curve(*curve, base_, {}); });
    bool isAny = false;
    for (auto& piece : projected) {
      if (!piece.curve_on_surface) continue;
      pieces.emplace_back(std::move(piece.curve_on_surface));
      made_.push_back(pieces.back());
      isAny = true;
    }
    return isAny;
  }

  ts::TrimLoop loopOf(Pieces pieces, std::int32_t type) const {
    ts::TrimLoop loop = ts::chainedLoop(std::move(pieces), joinDistance_);
    loop.type = type;
    loop.isOuter = type == ts::kOuterBoundary;
    loop.tolerance = surface_->getOptions().boundaryTolerance;
    return loop;
  }

  void addWholeDomain() {
    const auto domain = base_->getParameterDomain();
    surface_->addOuterLoop(
        surface_->createRectangularLoop(domain.uMin, domain.uMax, domain.vMin, domain.vMax));
  }

  ts::WireTrimmedSurface& surface() { return *surface_; }

  int store() {
    for (std::size_t k = 0; k < surface_->getNumTrimLoops(); ++k)
      status::debug("[DEBUG] Trim loop ", k,
                    " validation: ", surface_->getTrimLoop(k).validate() ? "PASSED" : "FAILED");
    stage_.finish();
    registered_.reserve(made_.size());
    for (const auto& piece : made_)
      registered_.push_back(curveOnSurfaceTable().store(piece));
    const int handle = storeSurface(std::move(surface_));
    registered_.clear();
    return handle;
  }

 private:
  /// A curve that cannot be projected has no pieces; the text of the fault is not kept.
  template <class Work>
  static auto orNothing(Work&& work) -> decltype(work()) {
    constexpr FailureTexts kNoText{.keepsText = false};
    return guarded(decltype(work())(), kNoText, work);
  }

  Stage stage_{"trimming by wires"};
  double done_ = 0.0;
  double share_ = 1.0;
  Pieces made_;
  std::vector<int> registered_;  // erased again unless the surface is stored
  std::unique_ptr<ts::WireTrimmedSurface> surface_;
  std::shared_ptr<trova::geometry::Surface> base_;
  double joinDistance_;
};

void addOuterBoundary(WireTrim& trim, std::span<const int> curves) {
  Pieces pieces;
  for (const int curve : curves) {
    if (!trim.project(curve, pieces)) printError("Failed to project curve ", curve, " to surface");
  }
  if (pieces.empty())
    trim.addWholeDomain();
  else
    trim.surface().addOuterLoop(trim.loopOf(std::move(pieces), ts::kOuterBoundary));
}

struct InnerLoops {
  int count;
  const int* sizes;
  const int* curves;

  double curveCount() const {
    double sum = 0.0;
    for (int k = 0; k < count; ++k)
      sum += std::max(sizes[k], 0);
    return sum;
  }
};

/// The pieces of loop k, whose curves start at `index`, which moves on. Empty where the loop is
/// abandoned.
Pieces innerPieces(WireTrim& trim, const InnerLoops& loops, int k, std::int64_t& index) {
  Pieces pieces;
  for (int i = 0; i < loops.sizes[k]; ++i, ++index) {
    // By contract: the bound is computed from the size of the current loop.
    if (index >= std::int64_t{loops.count} * loops.sizes[k]) {
      printError("Inner curve index ", index, " exceeds available curves");
      return {};
    }
    const int curve = loops.curves[index];
    if (!trim.project(curve, pieces))
      printError("Failed to project inner curve ", curve, " to surface");
  }
  return pieces;
}

void addInnerLoops(WireTrim& trim, const InnerLoops& loops) {
  std::int64_t index = 0;
  for (int k = 0; k < loops.count; ++k) {
    if (loops.sizes[k] < 1) {
      printWarning("Skipping inner loop ", k, " with invalid size ", loops.sizes[k]);
      continue;
    }
    Pieces pieces = innerPieces(trim, loops, k, index);
    if (pieces.empty())
      printWarning("Failed to create inner loop ", k, " - skipping");
    else
      trim.surface().addInnerLoop(trim.loopOf(std::move(pieces), ts::kInnerHole));
  }
}

int refuseBase() { return refuseTrimmed(kUnknownBase, "Invalid base surface handle"); }

}  // namespace

int create_wire_trimmed_surface(int surface, int numOuterCurves, const int* outerCurves,
                                int numInnerLoops, const int* innerLoopSizes,
                                const int* innerCurves, const MorvelTrimOptions* options) {
  return guardedTrimmed(__func__, kExceptions, [&] {
    auto base = sharedSurface(surface);
    if (!base) return refuseBase();
    if (numOuterCurves > 0 && !outerCurves)
      return refuseTrimmed(kNoOuterCurves,
                           "outer_curve_handles cannot be NULL when num_outer_curves > 0");
    if (numInnerLoops > 0 && (!innerLoopSizes || !innerCurves))
      return refuseTrimmed(
          kNoInnerCurves,
          "inner_loop_sizes and inner_curve_handles cannot be NULL when num_inner_loops > 0");
    WireTrim trim(std::move(base), optionsOf(options));
    const std::size_t outerCount = numOuterCurves > 0 ? std::size_t(numOuterCurves) : 0;
    const InnerLoops inner{numInnerLoops, innerLoopSizes, innerCurves};
    trim.expect(double(outerCount) + inner.curveCount());
    addOuterBoundary(trim, {outerCurves, outerCount});
    addInnerLoops(trim, inner);
    return trim.store();
  });
}

int snip_surface_with_wire_3d(int surface, const int* curves, int count, int keepsInside,
                              const MorvelTrimOptions* options) {
  return guardedTrimmed(__func__, kExceptions, [&] {
    auto base = sharedSurface(surface);
    if (!base) return refuseBase();
    if (!curves || count < 1) return refuseTrimmed(kNoWire, "The wire has no curves");
    WireTrim trim(std::move(base), optionsOf(options));
    Pieces pieces;
    trim.expect(count);
    for (int k = 0; k < count; ++k) {
      if (!trim.project(curves[k], pieces))
        printError("Failed to project curve ", curves[k], " to surface");
    }
    if (pieces.empty()) return refuseTrimmed(kWireMisses, "The wire misses the surface");
    if (keepsInside == 0) trim.addWholeDomain();
    if (keepsInside != 0)
      trim.surface().addOuterLoop(trim.loopOf(std::move(pieces), ts::kOuterBoundary));
    else
      trim.surface().addInnerLoop(trim.loopOf(std::move(pieces), ts::kInnerHole));
    return trim.store();
  });
}

int snip_surface_with_plane(int surface, double pointX, double pointY, double pointZ,
                            double normalX, double normalY, double normalZ,
                            const MorvelTrimOptions* options) {
  return guardedTrimmed(__func__, kExceptions, [&] {
    auto base = sharedSurface(surface);
    if (!base) return refuseBase();
    auto snipped = ts::snippedByPlane(std::move(base), {pointX, pointY, pointZ},
                                      {normalX, normalY, normalZ}, optionsOf(options));
    if (!snipped) return refuseTrimmed(kNoCut, "The plane does not cut the surface");
    return storeSurface(std::move(snipped));
  });
}
