// Surfaces derived from surfaces.

#include "morvel/api/c/surface_edit.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "morvel/api/internal/new_surface.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/spline_form.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/foundation/spline_rows.h"
#include "morvel/surfaces/bezier_surface.h"
#include "morvel/surfaces/to_nurbs.h"

using namespace trova_internal;
namespace tg = trova::geometry;
using SurfacePointer = std::unique_ptr<Surface>;

namespace {

constexpr int kPieces = 2;
constexpr int kExtensionTypes = 3;
constexpr double kConversionTolerance = 1e-6;  // model units
constexpr const char* kResultNotValid = "The resulting surface is not valid";

/// What the two functions of a pair say and log in their direction.
struct SplitTexts {
  Direction direction;
  const char* outside;
  const char* emptyHalf;
  const char* leftOperation;
  const char* rightOperation;
};
constexpr SplitTexts kSplitU{Direction::U, "U parameter must be between 0.0 and 1.0",
                             "At this u one half of the surface would be empty", "split_u_left",
                             "split_u_right"};
constexpr SplitTexts kSplitV{Direction::V, "V parameter must be between 0.0 and 1.0",
                             "At this v one half of the surface would be empty", "split_v_left",
                             "split_v_right"};

/// Both null where one of them would be empty.
struct Halves {
  SurfacePointer left;
  SurfacePointer right;
};

Halves halvesOf(const tg::BSplineSurface& surface, Direction direction, double fraction) {
  const auto [uMin, uMax] = storedRange(surface, Direction::U);
  const auto [vMin, vMax] = storedRange(surface, Direction::V);
  const bool isU = direction == Direction::U;
  const double start = isU ? uMin : vMin;
  const double end = isU ? uMax : vMax;
  const double at = start + fraction * (end - start);
  if (!(start < at && at < end)) return {};
  if (isU) return {surface.trim(uMin, at, vMin, vMax), surface.trim(at, uMax, vMin, vMax)};
  return {surface.trim(uMin, uMax, vMin, at), surface.trim(uMin, uMax, at, vMax)};
}

Halves halvesOf(const tg::BezierSurface& patch, Direction direction, double at) {
  if (!(0.0 < at && at < 1.0)) return {};
  auto pieces = direction == Direction::U ? patch.splitU(at) : patch.splitV(at);
  return {std::make_unique<tg::BezierSurface>(std::move(pieces.first)),
          std::make_unique<tg::BezierSurface>(std::move(pieces.second))};
}

/// Both halves are stored, or none.
int storeHalves(Halves halves, const SplitTexts& texts, int* left, int* right) {
  if (!halves.left || !halves.right) return refuse(kBadArgument, texts.emptyHalf);
  if (!isSound(*halves.left) || !isSound(*halves.right))
    return refuse(kExceptionCaught, kResultNotValid);
  StoredSurface storedLeft(std::move(halves.left), texts.leftOperation);
  StoredSurface storedRight(std::move(halves.right), texts.rightOperation);
  *left = storedLeft.keep();
  *right = storedRight.keep();
  return kPieces;
}

int split(int handle, double fraction, int* left, int* right, const SplitTexts& texts) {
  if (!(fraction >= 0.0 && fraction <= 1.0)) return refuse(kBadArgument, texts.outside);
  if (anyNull(left, right)) return refuse(kBadArgument, "Invalid output surface handles");
  return withSurface(handle, kBadArgument, [&](const Surface& surface) {
    if (const auto* spline = dynamic_cast<const tg::BSplineSurface*>(&surface))
      return storeHalves(halvesOf(*spline, texts.direction, fraction), texts, left, right);
    if (const auto* patch = dynamic_cast<const tg::BezierSurface*>(&surface))
      return storeHalves(halvesOf(*patch, texts.direction, fraction), texts, left, right);
    return refuse(kUnsupported,
                  "Surface splitting only supported for B-spline and Bezier surfaces");
  });
}

/// The patch at the side with the largest amount (the first of equal ones).
int storeExtension(const tg::BSplineSurface& surface, const std::array<double, 4>& amounts,
                   int type) {
  const auto largest = std::max_element(amounts.begin(), amounts.end());
  if (!(*largest > 0.0))
    return refuse(kBadArgument, "The largest extension amount must be above 0");
  auto patch = surface.extend(*largest, static_cast<int>(largest - amounts.begin()), type);
  if (!patch)
    return refuse(kBadArgument, "The surface cannot be extended at the side of the largest amount");
  return storeSound(std::move(patch), "extend", kExceptionCaught, kResultNotValid);
}

using Reversal = SurfacePointer (Surface::*)() const;

int reversed(int handle, Reversal reverse, const char* operation, const char* failure) {
  return withSurface(
      handle, kBadArgument,
      [&](const Surface& surface) {
        return storeSound((surface.*reverse)(), operation, kExceptionCaught, failure);
      },
      "Surface not found");
}

int elevated(int handle, int times, int* result, Direction direction) {
  if (times < 1) return refuse(kBadArgument, "times must be positive");
  if (!result) return refuse(kBadArgument, "Invalid output surface handle");
  return withSurface(handle, kBadArgument, [&](const Surface& surface) {
    constexpr const char* kNoBSpline = "result is not a B-spline";
    const bool isU = direction == Direction::U;
    const auto* spline = dynamic_cast<const tg::SplineSurface*>(&surface);
    if (!spline) return refuse(kUnsupported, kNoBSpline);
    if (times > trova::foundation::nurbs::kMaxElevatedDegree -
                    (isU ? spline->getUDegree() : spline->getVDegree()))
      return refuse(kBadArgument, "times must leave the degree at 1000 or below");
    SurfacePointer raised = isU ? spline->elevateUDegree(times) : spline->elevateVDegree(times);
    if (raised && !dynamic_cast<const tg::BSplineSurface*>(raised.get()))
      return refuse(kUnsupported, kNoBSpline);
    const int stored = storeSound(std::move(raised), isU ? "elevate_u_degree" : "elevate_v_degree",
                                  surface_codes::kElevationFailed, "elevation failed");
    if (stored < 0) return stored;
    *result = stored;
    return kSuccess;
  });
}

/// Stores what `convert` makes of the surface; -6 where it has no such form.
template <class Convert>
int converted(int handle, const char* operation, Convert convert) {
  return withSurface(handle, kBadArgument, [&](const Surface& surface) {
    return guardedAgainst<tg::ToNurbsException>(kUnsupported, kOwnMessage, [&] {
      return storeSound(convert(surface), operation, kExceptionCaught, kResultNotValid);
    });
  });
}

std::unique_ptr<tg::BSplineSurface> transposed(const tg::BSplineSurface& surface) {
  return std::make_unique<tg::BSplineSurface>(surface.controlNet().transposed(),
                                              surface.getVKnotVector(), surface.getUKnotVector(),
                                              surface.getVDegree(), surface.getUDegree());
}

struct MovedPoint {
  int i;
  int j;
  trova::foundation::Point3D point;
};

template <class NetSurface>
int moveControlPoint(int handle, NetSurface& surface, const MovedPoint& moved,
                     const char* outOfRange) {
  if (moved.i >= surface.getUControlPointCount() || moved.j >= surface.getVControlPointCount())
    return refuse(kBadArgument, outOfRange);
  surface.setControlPoint(moved.i, moved.j, moved.point);
  forgetSurfaceMesh(handle);
  return kSuccess;
}

}  // namespace

int split_surface_at_u(int surface, double u, int* left, int* right) {
  return split(surface, u, left, right, kSplitU);
}

int split_surface_at_v(int surface, double v, int* left, int* right) {
  return split(surface, v, left, right, kSplitV);
}

int extend_surface(int surface, double uMinAmount, double uMaxAmount, double vMinAmount,
                   double vMaxAmount, int type) {
  if (type < 0 || type >= kExtensionTypes)
    return refuse(kBadArgument, "Invalid extension type (0=natural, 1=linear, 2=reflect)");
  if (const int code = checkFinite(__func__, {uMinAmount, uMaxAmount, vMinAmount, vMaxAmount}))
    return code;
  return withSurface(surface, kBadArgument, [&](const Surface& found) {
    if (const auto* spline = dynamic_cast<const tg::BSplineSurface*>(&found))
      return storeExtension(*spline, {uMinAmount, uMaxAmount, vMinAmount, vMaxAmount}, type);
    return storeSound(found.clone(), "extend", kExceptionCaught, kResultNotValid);
  });
}

int reverse_surface_u(int surface) {
  return reversed(surface, &Surface::reverseU, "reverse_u",
                  "Failed to reverse surface in U direction");
}

int reverse_surface_v(int surface) {
  return reversed(surface, &Surface::reverseV, "reverse_v",
                  "Failed to reverse surface in V direction");
}

int transpose_bspline_surface(int surface) {
  return converted(surface, "transpose",
                   [](const Surface& found) { return transposed(*splineFormOf(found)); });
}

int elevate_surface_u_degree(int surface, int times, int* result) {
  return elevated(surface, times, result, Direction::U);
}

int elevate_surface_v_degree(int surface, int times, int* result) {
  return elevated(surface, times, result, Direction::V);
}

int convert_surface_to_bspline(int surface) {
  return converted(surface, "convert_to_bspline", splineFormOf);
}

int convert_surface_to_nurbs(int surface) {
  return converted(surface, "convert_to_nurbs", [](const Surface& found) {
    return std::make_unique<tg::BSplineSurface>(*found.toNurbs(kConversionTolerance));
  });
}

int modify_surface_control_point(int surface, int i, int j, double x, double y, double z) {
  if (i < 0 || j < 0) return refuse(kBadArgument, "Control point indices must be non-negative");
  if (const int code = checkFinite(__func__, {x, y, z})) return code;
  return withSurface(surface, kBadArgument, [&](Surface& found) {
    const MovedPoint moved{i, j, {x, y, z}};
    if (auto* spline = dynamic_cast<tg::BSplineSurface*>(&found))
      return moveControlPoint(surface, *spline, moved,
                              "Control point indices out of range for B-spline surface");
    if (auto* patch = dynamic_cast<tg::BezierSurface*>(&found))
      return moveControlPoint(surface, *patch, moved,
                              "Control point indices out of range for Bezier surface");
    return refuse(kUnsupported, "Surface type does not support control point modification");
  });
}
