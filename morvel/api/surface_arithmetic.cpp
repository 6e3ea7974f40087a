// Sums and differences of B-spline surfaces, on common degrees and knots.

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "morvel/api/c/surface_edit.h"
#include "morvel/api/internal/new_surface.h"
#include "morvel/api/internal/spline_form.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"
#include "morvel/foundation/tolerances.h"
#include "morvel/surfaces/to_nurbs.h"

using namespace trova_internal;
namespace tg = trova::geometry;
namespace progress = trova::foundation::progress;
namespace status = trova::foundation::status;
using tg::BSplineSurface;
using trova::foundation::Point3D;
using SurfacePointer = std::unique_ptr<BSplineSurface>;
using Operands = std::vector<SurfacePointer>;  // S1, S2 and, for the third operation, S3
using Knots = std::vector<double>;

namespace {

enum Operation { kAdd = 0, kSubtract = 1, kAddThenSubtract = 2 };

constexpr int kMaxTargetDegree = trova::foundation::kMaxStackDegree;
// Knots of two operands closer than this are one (parameter units); as in knot insertion.
constexpr double kSameKnotTolerance = 1e-10;
constexpr FailureTexts kArithmeticFailure{.printed = "surface_arithmetic_operation error: "};

constexpr auto kDirections = {Direction::U, Direction::V};

/// Prints a failure and keeps it as the last error.
template <class... Parts>
bool fail(const Parts&... parts) {
  const std::string text = status::join(parts...);
  status::failure(text);
  setLastError(text);
  return false;
}

template <class... Parts>
void report(status::Symbol symbol, const Parts&... parts) {
  status::progress(symbol, parts...);
}

const Knots& knotsOf(const BSplineSurface& surface, Direction direction) {
  return direction == Direction::U ? surface.getUKnotVector() : surface.getVKnotVector();
}

int degreeOf(const BSplineSurface& surface, Direction direction) {
  return direction == Direction::U ? surface.getUDegree() : surface.getVDegree();
}

/// The B-spline in a result of a refinement; null where it is none.
SurfacePointer asBSpline(std::unique_ptr<Surface> surface) {
  auto* spline = dynamic_cast<BSplineSurface*>(surface.get());
  if (spline) static_cast<void>(surface.release());
  return SurfacePointer(spline);
}

void dump(const char* phase, const Operands& operands) {
  for (std::size_t k = 0; k < operands.size(); ++k) {
    const BSplineSurface& s = *operands[k];
    status::debug("surface arithmetic, ", phase, ": S", k + 1, " grid ", s.getUControlPointCount(),
                  " x ", s.getVControlPointCount(), ", degrees ", s.getUDegree(), ", ",
                  s.getVDegree());
  }
}

// ---- step 1: operands ----

bool isSpline(const BSplineSurface& surface) {
  if (!surface.isValid()) return false;
  return std::all_of(kDirections.begin(), kDirections.end(), [&](Direction direction) {
    const KnotRange range = storedRange(surface, direction);
    return range.start < range.end;
  });
}

bool addOperand(int handle, Operands& operands) {
  const Surface* surface = findSurface(handle);
  if (!surface) return fail("Surface ", handle, " not found");
  SurfacePointer spline = guardedAgainst<tg::ToNurbsException>(
      SurfacePointer(), kNoMessage, [&] { return splineFormOf(*surface); });
  if (!spline) return fail("Surface ", handle, " is not a B-spline and cannot be converted");
  if (!isSpline(*spline)) return fail("Surface ", handle, " has no valid knots");
  operands.push_back(std::move(spline));
  return true;
}

bool takeOperands(const std::array<int, 3>& handles, int operation, Operands& operands) {
  report(status::Symbol::Check, "Surface arithmetic: looking up the operands");
  const std::size_t count = operation == kAddThenSubtract ? 3 : 2;
  for (std::size_t k = 0; k < count; ++k) {
    const progress::Stage stage("converting to spline form", double(k) / double(count),
                                double(k + 1) / double(count));
    if (!addOperand(handles[k], operands)) return false;
  }
  dump("operands", operands);
  return true;
}

// ---- step 2: degrees ----

int targetDegree(const Operands& operands, Direction direction) {
  int target = 0;
  for (const SurfacePointer& operand : operands)
    target = std::max(target, degreeOf(*operand, direction));
  return target;
}

bool raiseDegree(Operands& operands, Direction direction, int target) {
  for (SurfacePointer& operand : operands) {
    const int times = target - degreeOf(*operand, direction);
    if (times == 0) continue;
    operand = asBSpline(direction == Direction::U ? operand->elevateUDegree(times)
                                                  : operand->elevateVDegree(times));
    if (!operand) return fail("Degree elevation did not yield a B-spline surface");
  }
  return true;
}

bool raiseDegrees(Operands& operands) {
  const int u = targetDegree(operands, Direction::U);
  const int v = targetDegree(operands, Direction::V);
  report(status::Symbol::Step, "Surface arithmetic: raising degrees to ", u, "×", v);
  if (u > kMaxTargetDegree || v > kMaxTargetDegree)
    return fail("Target degree too high (", u, "×", v, ") - max supported: ", kMaxTargetDegree, "×",
                kMaxTargetDegree);
  if (!raiseDegree(operands, Direction::U, u) || !raiseDegree(operands, Direction::V, v))
    return false;
  dump("common degrees", operands);
  return true;
}

// ---- step 3: knots ----

struct MergedKnots {
  Knots u;
  Knots v;
};

bool isClamped(const BSplineSurface& surface, Direction direction) {
  const auto [start, end] = storedRange(surface, direction);
  const Knots& knots = knotsOf(surface, direction);
  return knots.front() == start && knots.back() == end;
}

/// The same surface with full end knots; only then can two knot vectors have a union.
SurfacePointer clamped(SurfacePointer surface) {
  if (isClamped(*surface, Direction::U) && isClamped(*surface, Direction::V)) return surface;
  const auto [uMin, uMax] = storedRange(*surface, Direction::U);
  const auto [vMin, vMax] = storedRange(*surface, Direction::V);
  return asBSpline(surface->trim(uMin, uMax, vMin, vMax));
}

bool haveOneRange(const Operands& operands, Direction direction) {
  const KnotRange first = storedRange(*operands.front(), direction);
  return std::all_of(operands.begin(), operands.end(), [&](const SurfacePointer& operand) {
    const KnotRange other = storedRange(*operand, direction);
    return std::abs(first.start - other.start) <= kSameKnotTolerance &&
           std::abs(first.end - other.end) <= kSameKnotTolerance;
  });
}

/// Operands over different stored ranges are combined at equal fractions of them: every range
/// becomes [0, 1]. Where all ranges agree they stay.
void alignRanges(Operands& operands, Direction direction) {
  if (haveOneRange(operands, direction)) return;
  for (SurfacePointer& operand : operands) {
    Knots u = operand->getUKnotVector();
    Knots v = operand->getVKnotVector();
    trova::foundation::nurbs::normalizeKnotVector(direction == Direction::U ? u : v);
    operand = std::make_unique<BSplineSurface>(operand->controlNet(), std::move(u), std::move(v),
                                               operand->getUDegree(), operand->getVDegree());
  }
}

/// Every knot as often as in the vector that has it more often.
Knots unionOf(const Knots& a, const Knots& b) {
  Knots merged;
  merged.reserve(a.size() + b.size());
  auto left = a.begin();
  auto right = b.begin();
  while (left != a.end() && right != b.end()) {
    const bool isSame = std::abs(*left - *right) <= kSameKnotTolerance;
    const bool takesLeft = isSame || *left < *right;
    merged.push_back(takesLeft ? *left : *right);
    if (takesLeft) ++left;
    if (isSame || !takesLeft) ++right;
  }
  merged.insert(merged.end(), left, a.end());
  merged.insert(merged.end(), right, b.end());
  return merged;
}

Knots mergedKnots(const Operands& operands, Direction direction) {
  Knots merged;
  for (const SurfacePointer& operand : operands)
    merged = unionOf(merged, knotsOf(*operand, direction));
  return merged;
}

bool mergeKnots(Operands& operands, MergedKnots& merged) {
  report(status::Symbol::Working, "Surface arithmetic: merging knot vectors");
  for (SurfacePointer& operand : operands) {
    operand = clamped(std::move(operand));
    if (!operand) return fail("Clamping did not yield a B-spline surface");
  }
  for (const Direction direction : kDirections)
    alignRanges(operands, direction);
  merged = {mergedKnots(operands, Direction::U), mergedKnots(operands, Direction::V)};
  return true;
}

// ---- step 4: refinement ----

/// Inserts the knots of `merged` that the surface lacks. Null where an insertion yields no
/// B-spline.
SurfacePointer refined(SurfacePointer surface, const Knots& merged, Direction direction) {
  const Knots own = knotsOf(*surface, direction);
  auto next = own.begin();
  for (const double knot : merged) {
    if (next != own.end() && std::abs(*next - knot) <= kSameKnotTolerance) {
      ++next;
      continue;
    }
    surface = asBSpline(direction == Direction::U ? surface->insertUKnot(knot, 1)
                                                  : surface->insertVKnot(knot, 1));
    if (!surface) break;
  }
  return surface;
}

bool haveEqualGrids(const BSplineSurface& a, const BSplineSurface& b) {
  return a.getUControlPointCount() == b.getUControlPointCount() &&
         a.getVControlPointCount() == b.getVControlPointCount();
}

bool refineOperands(Operands& operands, const MergedKnots& merged) {
  report(status::Symbol::Step, "Surface arithmetic: refining to ", merged.u.size(), " and ",
         merged.v.size(), " knots");
  for (SurfacePointer& operand : operands) {
    operand = refined(std::move(operand), merged.u, Direction::U);
    if (operand) operand = refined(std::move(operand), merged.v, Direction::V);
    if (!operand) return fail("Knot insertion did not yield a B-spline surface");
  }
  dump("common knots", operands);
  if (!haveEqualGrids(*operands[0], *operands[1]))
    return fail("S₁ and S₂ control point grid size mismatch");
  if (operands.size() > 2 && !haveEqualGrids(*operands[0], *operands[2]))
    return fail("Control point grid size mismatch with S₃");
  return true;
}

// ---- step 5: arithmetic ----

Point3D combinedPoint(const Operands& operands, int operation, std::size_t at) {
  const auto point = [&](std::size_t k) { return operands[k]->controlNet().points()[at].eigen(); };
  if (operation == kAdd) return Point3D(Eigen::Vector3d(point(0) + point(1)));
  if (operation == kSubtract) return Point3D(Eigen::Vector3d(point(0) - point(1)));
  return Point3D(Eigen::Vector3d(point(0) + point(1) - point(2)));
}

bool combine(const Operands& operands, int operation, tg::ControlNet& net) {
  if (operation < kAdd || operation > kAddThenSubtract)
    return fail("Invalid operation type: ", operation);
  report(status::Symbol::Working, "Surface arithmetic: combining control points");
  const tg::ControlNet& first = operands.front()->controlNet();
  net = tg::ControlNet(first.uCount(), first.vCount());
  for (int i = 0; i < net.uCount(); ++i) {
    for (int j = 0; j < net.vCount(); ++j) {
      const std::size_t at = static_cast<std::size_t>(i) * net.vCount() + j;
      net(i, j) = combinedPoint(operands, operation, at);
      if (!net(i, j).isFinite()) return fail("NaN detected at control point [", i, "][", j, "]");
    }
  }
  return true;
}

// ---- step 6: result ----

int storeResult(tg::ControlNet net, MergedKnots knots, const BSplineSurface& model) {
  auto result =
      std::make_unique<BSplineSurface>(std::move(net), std::move(knots.u), std::move(knots.v),
                                       model.getUDegree(), model.getVDegree());
  if (!isSound(*result)) {
    fail("Result surface is invalid");
    return kBadArgument;
  }
  const int handle = StoredSurface(std::move(result), "surface_arithmetic").keep();
  report(status::Symbol::Success, "Surface arithmetic: result stored with handle ", handle);
  return handle;
}

int combinedSurface(const std::array<int, 3>& handles, int operation) {
  progress::Stage stage("combining surfaces");
  Operands operands;
  MergedKnots knots;
  tg::ControlNet net;
  if (!takeOperands(handles, operation, operands) || !raiseDegrees(operands) ||
      !mergeKnots(operands, knots) || !refineOperands(operands, knots) ||
      !combine(operands, operation, net))
    return kBadArgument;
  stage.finish();
  return storeResult(std::move(net), std::move(knots), *operands.front());
}

}  // namespace

int surface_arithmetic_operation(int surface1, int surface2, int surface3, int operation) {
  return guarded(kBadArgument, kArithmeticFailure, [&] {
    return combinedSurface({surface1, surface2, surface3}, operation);
  });
}
