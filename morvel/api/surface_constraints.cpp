// Adjusting registered surfaces so that they meet others.

#include "morvel/api/c/surface_engine3.h"

#include <limits>

#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/fitting/constraint_application.h"
#include "morvel/foundation/status_line.h"

using namespace trova_internal;
namespace status = trova::foundation::status;
namespace tg = trova::geometry;

namespace {

constexpr int kDoublesPerConstraint = 4;
constexpr int kSides = 4;
constexpr int kMostConstraints = 200;
constexpr double kPercent = 100.0;

/// The two surfaces of a call, or a refusal.
struct Pair {
  tg::BSplineSurface* edited = nullptr;
  const Surface* other = nullptr;
};

int checkHandles(int edit, int constraint, int level) {
  if (level != 1 && level != 2)
    return refuse(kBadArgument, "Invalid constraint level (must be 1 or 2)");
  if (edit <= 0) return refuse(kBadArgument, "Invalid edit surface handle");
  if (constraint <= 0) return refuse(kBadArgument, "Invalid constraint surface handle");
  return kSuccess;
}

int findPair(int edit, int constraint, Pair& pair) {
  if (!findSurface(edit)) return refuse(kBadArgument, "Edit surface not found in registry");
  pair.other = findSurface(constraint);
  if (!pair.other) return refuse(kBadArgument, "Constraint surface not found in registry");
  pair.edited = surfaceTable().findAs<tg::BSplineSurface>(edit);
  return pair.edited ? kSuccess : refuse(kBadArgument, "Edit surface is not a B-spline surface");
}

void writeErrors(const tg::JoinErrors& left, double* errors) {
  if (!errors) return;
  errors[0] = left.position;
  errors[1] = left.angle;
  errors[2] = left.curvature;
}

/// Adjusts the surface and measures what is left.
tg::JoinReport adjust(int handle, tg::BSplineSurface& surface,
                      const std::vector<tg::JoinConstraint>& constraints, int level,
                      const std::vector<tg::MaskEntry>* mask) {
  const tg::JoinReport report = tg::applyJoinConstraints(surface, constraints, level, mask);
  forgetSurfaceMesh(handle);
  return report;
}

std::vector<tg::JoinConstraint> readConstraints(const Surface& other, const double* constraints,
                                                int count) {
  std::vector<tg::JoinConstraint> read;
  for (int k = 0; k < count; ++k) {
    const double* at = constraints + std::size_t(k) * kDoublesPerConstraint;
    read.push_back(tg::joinConstraintAt(other, at[2], at[3], at[0], at[1]));
  }
  return read;
}

bool isSide(int side) { return side >= 0 && side < kSides; }

}  // namespace

int generate_constraint_mask(int surface, int surface_type, int* out_indices, int capacity,
                             double* out_weights) {
  const char* function = __func__;
  return guarded(kBadArgument, kOwnMessage, [&] {
    if (!findSurface(surface)) return refuse(kBadArgument, kInvalidSurfaceHandle);
    if (anyNull(out_indices, out_weights) || capacity < 0)
      return refuseIn(function, "the outputs must not be null, nor the capacity below 0");
    const auto entries = tg::constraintMask(surface_type, std::size_t(capacity));
    for (std::size_t k = 0; k < entries.size(); ++k) {
      out_indices[k] = entries[k].index;
      out_weights[k] = entries[k].weight;
    }
    return int(entries.size());
  });
}

int apply_surface_g1g2_constraints(int edit_surface, int constraint_surface,
                                   const double* constraints, int count, int level,
                                   const int* mask_indices, const double* mask_weights,
                                   int mask_count, double* errors) {
  return guarded(kBadArgument, kOwnMessage, [&] {
    if (const int refused = checkHandles(edit_surface, constraint_surface, level)) return refused;
    if (!constraints || count < 1 || count > kMostConstraints ||
        !allFinite(constraints, std::int64_t{count} * kDoublesPerConstraint))
      return refuse(kBadArgument, "Invalid constraints array");
    const bool hasMask = mask_count != 0 || mask_indices || mask_weights;
    if (hasMask && (anyNull(mask_indices, mask_weights) || mask_count < 0))
      return refuse(kBadArgument, "Invalid constraint mask");
    Pair pair;
    if (const int refused = findPair(edit_surface, constraint_surface, pair)) return refused;
    std::vector<tg::MaskEntry> mask;
    mask.reserve(static_cast<std::size_t>(mask_count));
    for (int k = 0; k < mask_count; ++k)
      mask.push_back({mask_indices[k], mask_weights[k]});
    const auto read = readConstraints(*pair.other, constraints, count);
    const tg::JoinReport report =
        adjust(edit_surface, *pair.edited, read, level, hasMask ? &mask : nullptr);
    writeErrors(report.after, errors);
    return report.satisfied;
  });
}

int apply_complete_surface_constraints(int edit_surface, int edit_side, int constraint_surface,
                                       int constraint_side, int samples, int level,
                                       int surface_type, double* errors) {
  const char* function = __func__;
  return guarded(kBadArgument, kOwnMessage, [&] {
    if (const int refused = checkHandles(edit_surface, constraint_surface, level)) return refused;
    if (!isSide(edit_side) || !isSide(constraint_side))
      return refuseIn(function, "sides must be 0, 1, 2 or 3");
    if (samples < 2 || samples > kMostConstraints)
      return refuseIn(function, "samples must be 2 to 200");
    Pair pair;
    if (const int refused = findPair(edit_surface, constraint_surface, pair)) return refused;
    std::vector<tg::JoinConstraint> constraints;
    for (const tg::SidePair& at : tg::pairSides(*pair.other, tg::SurfaceSide(constraint_side),
                                                *pair.edited, tg::SurfaceSide(edit_side), samples))
      constraints.push_back(tg::joinConstraintAt(*pair.other, at.otherU, at.otherV, at.u, at.v));
    status::success("STEP 1: Extracted ", constraints.size(), " constraints");
    const auto mask = tg::constraintMask(surface_type, std::numeric_limits<int>::max());
    const tg::JoinReport report = adjust(edit_surface, *pair.edited, constraints, level, &mask);
    status::success("STEP 2: Applied constraints successfully");
    status::success("STEP 3: Validation completed - ",
                    kPercent * report.satisfied / double(constraints.size()),
                    "% constraints satisfied");
    writeErrors(report.after, errors);
    return report.satisfied;
  });
}
