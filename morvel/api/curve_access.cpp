// What a curve is made of, and what can be asked and changed about it.

#include "morvel/api/c/curve.h"
#include "morvel/api/internal/boxes.h"
#include "morvel/api/internal/lookup.h"
#include "morvel/api/last_error.h"
#include "morvel/curves/nurbs_curve.h"

using namespace trova_internal;
namespace tg = trova::geometry;

namespace {

constexpr const char* kNullOutput = "no output may be null";

}  // namespace

int get_curve_parameter_interval(int curve, double* start, double* end) {
  if (anyNull(start, end)) return refuseIn(__func__, kNullOutput);
  return onCurve(__func__, curve, [&](const Curve& found) {
    const tg::ParameterInterval interval = found.getParameterInterval();
    *start = finiteResult(interval.start);
    *end = finiteResult(interval.end);
    return kSuccess;
  });
}

int get_curve_knot_vector(int curve, double* out, int capacity, int* outCount) {
  if (!out || !outCount) return refuseIn(__func__, kNullOutput);
  return onCurve(__func__, curve, [&](const Curve& found) {
    const auto* spline = dynamic_cast<const tg::SplineCurve*>(&found);
    if (!spline) return refuse(kNoDegreeOrKnots, "Curve type does not have a knot vector");
    return writeValues(spline->getKnotVector(), out, capacity, outCount,
                       curve_codes::kBufferTooSmall);
  });
}

int get_curve_weights(int curve, double* out, int capacity, int* outCount) {
  if (!out || !outCount) return refuseIn(__func__, kNullOutput);
  return onCurve(__func__, curve, [&](const Curve& found) {
    const auto* rational = dynamic_cast<const tg::NurbsCurve*>(&found);
    if (!rational) return refuse(kUnsupported, "Curve type does not have weights");
    return writeValues(rational->getWeights(), out, capacity, outCount,
                       curve_codes::kBufferTooSmall);
  });
}

int get_curve_length(int curve, double* length) {
  if (!length) return refuseIn(__func__, kNullOutput);
  return onCurve(__func__, curve, [&](const Curve& found) {
    *length = finiteResult(found.getTotalLength());
    return kSuccess;
  });
}

int get_curve_closest_parameter(int curve, double x, double y, double z, double* t) {
  if (!t) return refuseIn(__func__, kNullOutput);
  if (const int refused = checkFinite(__func__, {x, y, z})) return refused;
  return onCurve(__func__, curve, [&](const Curve& found) {
    *t = finiteResult(found.getClosestParameter({x, y, z}));
    return kSuccess;
  });
}

int get_curve_bounding_box(int curve, double* lower, double* upper) {
  if (anyNull(lower, upper)) return refuseIn(__func__, kNullOutput);
  return onCurve(__func__, curve, [&](const Curve& found) {
    writeBox(found.getBoundingBox(), lower, upper);
    return kSuccess;
  });
}

int modify_curve_control_point(int curve, int index, double x, double y, double z) {
  if (const int refused = checkFinite(__func__, {x, y, z})) return refused;
  return onCurve(__func__, curve, [&](Curve& found) {
    auto* parametric = dynamic_cast<tg::ParametricCurve*>(&found);
    if (!parametric)
      return refuse(kUnsupported, "Curve type does not support control point modification");
    if (index < 0 || index >= parametric->getControlPointCount())
      return refuse(kBadArgument, "Control point index out of range");
    parametric->setControlPoint(index, {x, y, z});
    return kSuccess;
  });
}

int copy_curve(int curve) {
  return onCurve(__func__, curve, [](const Curve& found) { return storeCurve(found.clone()); });
}
