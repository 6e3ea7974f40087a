#pragma once

#include "morvel/morvel.hpp"
#include "tests/api/kernel_session.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

// What the tests of the curve functions share: points read through the interface, and one curve of
// every type.

namespace morvel_test {

inline Point3D curvePoint(int curve, double u) {
  double p[] = {kNaN, kNaN, kNaN};
  EXPECT_EQ(evaluate_curve_at_parameter(curve, u, p), 0) << lastError();
  return {p[0], p[1], p[2]};
}

class CurveInterface : public KernelSession {
 protected:
  static int store(const Curve& curve) { return trova_internal::storeCurve(curve.clone()); }

  /// So long that the differences of its points overflow.
  static int endless() { return create_curve_line(-1.7e308, 0, 0, 1.7e308, 0, 0); }
  static int bezier() {
    constexpr double points[] = {0, 0, 0, 1, 2, 0, 3, 2, 1, 4, 0, 0};
    return create_curve_bezier(points, 4);
  }
  static int offset() { return create_curve_normal_offset(store(planarWave()), 0.25, 0, 0, 1); }
  static int onSurface() {
    return store(CurveOnSurface(
        std::make_shared<PlaneSurface>(Point3D(), Vector3D::unitX(), Vector3D::unitY(), 2.0, 4.0),
        std::make_unique<LinearCurve2D>(Point2D(0.25, 0), Point2D(0.75, 1))));
  }
  /// Line, circle, arc, ellipse, reversed ellipse, Bezier, NURBS, B-spline, curve on a surface,
  /// offset.
  static std::vector<int> everyType() {
    return {line(),
            store(tiltedCircle()),
            store(tiltedArc()),
            store(halfEllipse()),
            reverse_curve(store(halfEllipse())),
            bezier(),
            store(quarterCircle()),
            store(unevenCubic()),
            onSurface(),
            offset()};
  }

  using Call = std::function<int()>;
  struct Refusal {
    int code;
    std::string text;  ///< the whole text, or a part of it
    Call call;
  };
  /// Every call gives its code and text, takes no handle and prints nothing.
  static void expectRefusals(const std::vector<Refusal>& refusals) {
    for (const Refusal& refusal : refusals) {
      trova_internal::setLastError("");
      const int next = g_next_curve_id, count = get_curve_count();
      const Printed printed =
          printedBy([&] { EXPECT_EQ(refusal.call(), refusal.code) << refusal.text; });
      EXPECT_THAT(lastError(), testing::HasSubstr(refusal.text));
      EXPECT_NE(lastError(), "");
      EXPECT_EQ(printed.out + printed.err, "");
      EXPECT_EQ(g_next_curve_id, next) << refusal.text;
      EXPECT_EQ(get_curve_count(), count) << refusal.text;
    }
  }
};

}  // namespace morvel_test
