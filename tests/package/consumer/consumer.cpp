// The classes of the installed library and the registry behind its flat interface: a program that
// includes only the umbrella header uses objects, globals, casts and exceptions of the library.
#include <iostream>
#include <memory>
#include <morvel/morvel.hpp>
#include <stdexcept>
#include <vector>

namespace {

using trova::foundation::Point3D;
using trova::geometry::BezierCurve;
using trova::geometry::BSplineCurve;
using trova::geometry::Curve;
using trova::geometry::LineCurve;

int failures = 0;

void expect(const char* what, bool holds) {
  if (holds) return;
  std::cout << what << " does not hold\n";
  ++failures;
}

}  // namespace

int main() {
  const int handle = trova_internal::storeCurve(
      std::make_unique<LineCurve>(Point3D(0.0, 0.0, 0.0), Point3D(2.0, 0.0, 0.0)));
  expect("first handle is 20000", handle == 20000);
  expect("the global map holds it", g_curves.count(handle) == 1 && g_next_curve_id == 20001);

  const Curve* line = trova_internal::getCurveAs<LineCurve>(handle);
  expect("it is a line", line && line->getTypeIdentifier() == "LineCurve");
  expect("it is no spline", !trova_internal::getCurveAs<BSplineCurve>(handle));
  expect("dynamic_cast agrees", dynamic_cast<const LineCurve*>(line) != nullptr);
  expect("its middle is (1, 0, 0)", line && line->evaluate(0.5).x() == 1.0);

  bool refused = false;
  try {
    BezierCurve empty{std::vector<Point3D>{}};
  } catch (const std::invalid_argument&) {
    refused = true;
  }
  expect("a Bezier curve without points is refused", refused);
  return failures;
}
