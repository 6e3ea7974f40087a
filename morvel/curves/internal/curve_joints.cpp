#include "morvel/curves/internal/curve_joints.h"

#include <algorithm>

#include "morvel/curves/offset_curve.h"
#include "morvel/curves/spline_curve.h"

namespace trova::geometry::internal {
namespace {

std::vector<CurveJoint> knotJoints(const SplineCurve& spline) {
  const ParameterInterval interval = spline.getParameterInterval();
  std::vector<CurveJoint> joints;
  for (const double knot : spline.getKnotVector()) {
    if (!(interval.start < knot && knot < interval.end)) continue;
    const bool repeated = !joints.empty() && knot - joints.back().u < foundation::kKnotTolerance;
    if (repeated)
      --joints.back().smoothness;
    else
      joints.push_back({knot, spline.getDegree() - 1});
  }
  return joints;
}

}  // namespace

std::vector<CurveJoint> jointsOf(const Curve& curve) {
  const Curve* base = &curve;
  int lost = 0;  // an offset takes the tangent of its base and so is smooth to one order less
  while (const auto* offset = dynamic_cast<const OffsetCurve*>(base)) {
    base = offset->getBaseCurve().get();
    ++lost;
  }
  const auto* spline = dynamic_cast<const SplineCurve*>(base);
  if (!spline) return {};
  std::vector<CurveJoint> joints = knotJoints(*spline);
  for (CurveJoint& joint : joints)
    joint.smoothness -= lost;
  return joints;
}

std::vector<double> breaksOf(const Curve& curve) {
  const ParameterInterval interval = curve.getParameterInterval();
  std::vector<double> breaks{std::min(interval.start, interval.end)};
  for (const CurveJoint& joint : jointsOf(curve))
    breaks.push_back(joint.u);
  breaks.push_back(std::max(interval.start, interval.end));
  return breaks;
}

}  // namespace trova::geometry::internal
