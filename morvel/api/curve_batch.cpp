// Many points of one curve.

#include "morvel/curves/curve_batch.h"

#include "morvel/api/c/batch.h"
#include "morvel/api/internal/batches.h"
#include "morvel/api/internal/lookup.h"

using namespace trova_internal;

namespace {

constexpr int kHighestOrder = 10;
constexpr int kPair = 2;  // both ends of a range

/// evaluate(curve, item, result) for each item.
template <class Evaluate>
int forEachItem(const char* function, int handle, const Batch& batch, Evaluate evaluate) {
  if (const int refused = batch.check(function)) return refused;
  return onCurve(function, handle, [&](const Curve& curve) {
    batch.oneByOne([&](const double* item, double* result) { evaluate(curve, item, result); });
    return kSuccess;
  });
}

}  // namespace

int evaluate_curve_batch(int curve, const double* t, int count, int order, double* out) {
  if (order < 0 || order > kHighestOrder)
    return refuseIn(__func__, "the order must be from 0 to 10");
  const Batch batch{t, count, 1, out, kDoublesPerPoint * (order + 1)};
  if (const int refused = batch.check(__func__)) return refused;
  return onCurve(__func__, curve, [&](const Curve& found) {
    batch.inPieces([&](const double* at, std::size_t size, double* results) {
      trova::geometry::evaluateCurveBatch(found, {at, size}, order, results);
    });
    return kSuccess;
  });
}

int evaluate_curve_tangent_batch(int curve, const double* t, int count, double* out) {
  return forEachItem(__func__, curve, {t, count, 1, out, kDoublesPerPoint},
                     [](const Curve& found, const double* u, double* tangent) {
                       writeTriple(found.getTangent(*u), tangent);
                     });
}

int evaluate_curve_normal_batch(int curve, const double* t, int count, double* out) {
  return forEachItem(__func__, curve, {t, count, 1, out, kDoublesPerPoint},
                     [](const Curve& found, const double* u, double* normal) {
                       writeTriple(found.getNormal(*u), normal);
                     });
}

int evaluate_curve_curvature_batch(int curve, const double* t, int count, double* out) {
  return forEachItem(__func__, curve, {t, count, 1, out, 1},
                     [](const Curve& found, const double* u, double* curvature) {
                       *curvature = found.getCurvature(*u);
                     });
}

int evaluate_curve_length_batch(int curve, const double* ranges, int count, double* lengths) {
  return forEachItem(__func__, curve, {ranges, count, kPair, lengths, 1},
                     [](const Curve& found, const double* range, double* length) {
                       *length = found.getArcLength(range[0], range[1]);
                     });
}

int get_curve_closest_parameter_batch(int curve, const double* points, int count, double* t) {
  return forEachItem(__func__, curve, {points, count, kDoublesPerPoint, t, 1},
                     [](const Curve& found, const double* point, double* closest) {
                       *closest = found.getClosestParameter(readPoint(point));
                     });
}
