// Points, derivatives, lengths and samples of registered curves. Every result is computed and found
// finite before the first number is written.

#include <algorithm>
#include <cmath>

#include "morvel/api/c/curve.h"
#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/lookup.h"
#include "morvel/curves/arc_length_sampling.h"

using namespace trova_internal;
using trova::foundation::Point3D;
using trova::foundation::Vector3D;

namespace {

// What a caller can count on when it makes room for a polyline.
constexpr int kMeshPoints = 100;

constexpr int kHighestOrder = 10;

enum class SampleMode { EqualParameters = 0, EqualLengths = 1, WithinTolerance = 2 };

constexpr const char* kNullOutput = "no output may be null";

double meshParameter(const Curve& curve, int index) {
  const auto [start, end] = curve.getParameterInterval();
  if (index == kMeshPoints - 1) return end;
  return start + (end - start) * index / (kMeshPoints - 1);
}

/// Evaluates at a finite parameter and writes what `evaluate` gives.
template <class Evaluate>
int evaluateAt(const char* function, int handle, double u, double* out, Evaluate&& evaluate) {
  if (!out) return refuseIn(function, kNullOutput);
  if (const int refused = checkFinite(function, {u})) return refused;
  return onCurve(function, handle, [&](const Curve& curve) {
    writeTriple(finiteResult(evaluate(curve)), out);
    return kSuccess;
  });
}

int checkSampling(const char* function, int mode, int count, double tolerance) {
  using trova::geometry::kMaxUniformPoints;
  if (mode == int(SampleMode::WithinTolerance)) {
    const bool isTolerance = tolerance > 0.0 && std::isfinite(tolerance);
    return isTolerance ? kSuccess : refuseIn(function, "the tolerance must be above 0");
  }
  if (mode != int(SampleMode::EqualParameters) && mode != int(SampleMode::EqualLengths))
    return refuseIn(function, "the mode must be 0, 1 or 2");
  if (count < 2 || count > kMaxUniformPoints)
    return refuseIn(function, "the count must be from 2 to 10000000");
  return kSuccess;
}

std::vector<Point3D> samples(const Curve& curve, SampleMode mode, int count, double tolerance) {
  switch (mode) {
    case SampleMode::EqualParameters:
      return curve.tessellateUniform(count);
    case SampleMode::WithinTolerance:
      return curve.adaptiveTessellate(tolerance);
    case SampleMode::EqualLengths:
      break;
  }
  std::vector<Point3D> points;
  points.reserve(static_cast<std::size_t>(count));
  for (const double u : trova::geometry::equalArcLengthParameters(curve, count))
    points.push_back(curve.evaluate(u));
  return points;
}

int refuseRoom(const char* function, std::size_t needed, int* outCount) {
  *outCount = static_cast<int>(needed);
  return refuseIn(function, "maxPoints is below the number of samples",
                  curve_codes::kBufferTooSmall);
}

}  // namespace

int evaluate_curve_at_parameter(int curve, double u, double* point) {
  return evaluateAt(__func__, curve, u, point, [&](const Curve& c) { return c.evaluate(u); });
}

int evaluate_curve_tangent(int curve, double u, double* tangent) {
  return evaluateAt(__func__, curve, u, tangent, [&](const Curve& c) { return c.getTangent(u); });
}

int evaluate_curve_normal(int curve, double u, double* normal) {
  return evaluateAt(__func__, curve, u, normal, [&](const Curve& c) { return c.getNormal(u); });
}

int evaluate_curve_derivatives(int curve, double u, int order, double* out) {
  if (!out) return refuseIn(__func__, kNullOutput);
  if (order < 0 || order > kHighestOrder)
    return refuseIn(__func__, "the order must be from 0 to 10");
  if (const int refused = checkFinite(__func__, {u})) return refused;
  return onCurve(__func__, curve, [&](const Curve& found) {
    std::vector<Vector3D> derivatives = finiteResult(found.evaluateDerivatives(u, order));
    derivatives.resize(std::size_t(order) + 1);
    for (int k = 0; k <= order; ++k)
      writeTriple(derivatives[k], out + kDoublesPerPoint * k);
    return kSuccess;
  });
}

int evaluate_curve_curvature(int curve, double u, double* curvature) {
  if (!curvature) return refuseIn(__func__, kNullOutput);
  if (const int refused = checkFinite(__func__, {u})) return refused;
  return onCurve(__func__, curve, [&](const Curve& found) {
    *curvature = finiteResult(found.getCurvature(u));
    return kSuccess;
  });
}

int evaluate_curve_length(int curve, double u0, double u1, double* length) {
  if (!length) return refuseIn(__func__, kNullOutput);
  if (const int refused = checkFinite(__func__, {u0, u1})) return refused;
  return onCurve(__func__, curve, [&](const Curve& found) {
    *length = finiteResult(found.getArcLength(u0, u1));
    return kSuccess;
  });
}

int get_curve_point_count(int curve) { return isValidCurveId(curve) ? kMeshPoints : 0; }

int get_curve_point(int curve, int index, double* x, double* y, double* z) {
  if (anyNull(x, y, z)) return refuseIn(__func__, kNullOutput);
  if (index < 0 || index >= kMeshPoints)
    return refuseIn(__func__, "the index must be from 0 to 99");
  return onCurve(__func__, curve, [&](const Curve& found) {
    const Point3D point = finiteResult(found.evaluate(meshParameter(found, index)));
    *x = point.x();
    *y = point.y();
    *z = point.z();
    return kSuccess;
  });
}

int get_curve_mesh_data(int curve, double* out, int maxPoints) {
  if (!out || maxPoints < 1)
    return refuseIn(__func__, "out must not be null and maxPoints at least 1");
  return onCurve(__func__, curve, [&](const Curve& found) {
    const int count = std::min(maxPoints, kMeshPoints);
    std::vector<Point3D> points;
    points.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
      points.push_back(found.evaluate(meshParameter(found, i)));
    writePoints(finiteResult(std::move(points)), out);
    return count;
  });
}

int sample_curve_advanced(int curve, int mode, int count, double tolerance, double* out,
                          int maxPoints, int* outCount) {
  if (anyNull(out) || anyNull(outCount)) return refuseIn(__func__, kNullOutput);
  if (maxPoints < 1) return refuseIn(__func__, "maxPoints must be at least 1");
  if (const int refused = checkSampling(__func__, mode, count, tolerance)) return refused;
  const char* const function = __func__;
  return onCurve(function, curve, [&](const Curve& found) {
    const auto how = static_cast<SampleMode>(mode);
    if (how != SampleMode::WithinTolerance && count > maxPoints)
      return refuseRoom(function, std::size_t(count), outCount);
    const std::vector<Point3D> points = finiteResult(samples(found, how, count, tolerance));
    if (points.size() > std::size_t(maxPoints))
      return refuseRoom(function, points.size(), outCount);
    writePoints(points, out);
    *outCount = static_cast<int>(points.size());
    return kSuccess;
  });
}
