#include "tests/api/surface_interface.h"

// Sums and differences of control points on common degrees and knots: exact on the stored knots.

namespace morvel_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using SurfaceArithmetic = SurfaceInterface;

constexpr int kUnused = -5;

int add(int a, int b) { return surface_arithmetic_operation(a, b, kUnused, 0); }

/// The result against the sum of the operands with their signs, each at its own parameters.
struct Term {
  ReadSpline spline;
  double sign;
};
void expectSum(int result, const std::vector<Term>& terms) {
  ASSERT_GT(result, 0) << lastError();
  const ReadSpline sum = readSpline(result);
  const auto at = [](const std::vector<double>& knots, int degree, double share) {
    const double start = knots[degree], end = knots[knots.size() - degree - 1];
    return start + share * (end - start);
  };
  for (double s = 0.03; s < 1; s += 0.13) {
    for (double t = 0.02; t < 1; t += 0.17) {
      Point3D expected;
      for (const Term& term : terms)
        expected += term.spline.at(at(term.spline.u, term.spline.degreeU, s),
                                   at(term.spline.v, term.spline.degreeV, t)) *
                    term.sign;
      EXPECT_THAT(sum.at(at(sum.u, sum.degreeU, s), at(sum.v, sum.degreeV, t)),
                  IsNear(expected, 1e-11));
    }
  }
}

int splineOn(const std::vector<double>& u, int degreeU, const std::vector<double>& v, int degreeV) {
  const int nU = int(u.size()) - degreeU - 1, nV = int(v.size()) - degreeV - 1;
  return create_bspline_surface(wavyPoints(nU, nV).data(), nU, nV, degreeU, degreeV, u.data(),
                                int(u.size()), v.data(), int(v.size()));
}

TEST_F(SurfaceArithmetic, SumsAndDifferencesOnCommonDegreesAndKnots) {
  const int a = unevenSpline();
  const int b = splineOn({0, 0, 0, 0, 0.2, 0.5, 1, 1, 1, 1}, 3, {1, 1, 3, 4, 4}, 1);
  const int c = splineOn({0, 0, 1, 1}, 1, {1, 1, 1, 2.5, 2.5, 4, 4, 4}, 2);
  const ReadSpline A = readSpline(a), B = readSpline(b), C = readSpline(c);
  const int sum = add(a, b);
  expectSum(sum, {{A, 1}, {B, 1}});
  expectSum(surface_arithmetic_operation(a, b, kUnused, 1), {{A, 1}, {B, -1}});
  expectSum(surface_arithmetic_operation(a, b, c, 2), {{A, 1}, {B, 1}, {C, -1}});
  // Degree 3 both ways. The operand of degree 2 brings its simple knots 0.2 and 0.7 doubled, that
  // of degree 1 its simple knot 3 threefold.
  const ReadSpline result = readSpline(sum);
  EXPECT_THAT(result.u, ElementsAre(0, 0, 0, 0, 0.2, 0.2, 0.5, 0.7, 0.7, 1, 1, 1, 1));
  EXPECT_THAT(result.v, ElementsAre(1, 1, 1, 1, 2, 2.5, 3, 3, 3, 4, 4, 4, 4));
  EXPECT_EQ(get_surfaces_count(), 6);
}

TEST_F(SurfaceArithmetic, DifferentRangesAreCombinedAtEqualFractions) {
  const int a = unevenSpline();  // v over [1, 4]
  const int b = splineOn({0, 0, 0, 0.5, 1, 1, 1}, 2, {-2, -2, -2, -1, 0, 0, 0}, 2);
  const int sum = add(a, b);
  expectSum(sum, {{readSpline(a), 1}, {readSpline(b), 1}});
  EXPECT_EQ(readSpline(sum).v.front(), 0.0);
  EXPECT_EQ(readSpline(sum).v.back(), 1.0);
}

TEST_F(SurfaceArithmetic, UnclampedOperandsAreClampedFirst) {
  const int a = splineOn({0, 1, 2, 3, 4, 5, 6}, 2, {0, 0, 1, 1}, 1);
  const int b = splineOn({2, 2, 2, 2, 4, 4, 4, 4}, 3, {0, 0, 1, 1}, 1);
  expectSum(add(a, b), {{readSpline(a), 1}, {readSpline(b), 1}});
  expectSum(add(a, a), {{readSpline(a), 2}});
}

TEST_F(SurfaceArithmetic, OtherTypesAreConverted) {
  const int plane = unitPlane(), patch = bilinearPatch(4.0), loft = sampleLoft();
  for (const int other : {patch, loft}) {
    const int sum = add(plane, other);
    ASSERT_GT(sum, 0) << lastError();
    const Point3D expected = pointOf(plane, 0.3, 0.6) + pointOf(other, 0.3, 0.6);
    EXPECT_THAT(pointOf(sum, 0.3, 0.6), IsNear(expected, 1e-9));
  }
}

TEST_F(SurfaceArithmetic, ReportsItsPhasesOnStandardOutput) {
  const int sum = add(unevenSpline(), unevenSpline());
  EXPECT_EQ(streams_.err(), "");
  EXPECT_EQ(streams_.out(),
            "🔍 Surface arithmetic: looking up the operands\n"
            "🔧 Surface arithmetic: raising degrees to 2×3\n"
            "🔄 Surface arithmetic: merging knot vectors\n"
            "🔧 Surface arithmetic: refining to 8 and 10 knots\n"
            "🔄 Surface arithmetic: combining control points\n"
            "✅ Surface arithmetic: result stored with handle " +
                std::to_string(sum) + "\n");
}

TEST_F(SurfaceArithmetic, FailuresArePrintedKeptAndMinusOne) {
  const int a = unevenSpline();
  const int steep = create_surface_bezier(wavyPoints(31, 2).data(), 31, 2);
  const int sphere = create_surface_sphere(0, 0, 0, 1e12);
  // A jump of the surface at u = 1/2: a knot more often than insertion gives it to others.
  const int broken = splineOn({0, 0, 0.5, 0.5, 1, 1}, 1, {0, 0, 1, 1}, 1);
  const int flat = splineOn({0, 0, 1, 1}, 1, {0, 0, 1, 1}, 1);
  const int collapsed = splineOn({3, 3, 3, 3}, 1, {0, 0, 1, 1}, 1);
  const double corner = 1.5e308;
  const double far[] = {0, 0, 0, 0, 1, 0, 1, 0, 0, corner, 1, 0};
  const int huge = create_surface_bspline_clamped(far, 2, 2, 1, 1);
  const std::string sphereText =
      "Surface " + std::to_string(sphere) + " is not a B-spline and cannot be converted";
  const std::string collapsedText = "Surface " + std::to_string(collapsed) + " has no valid knots";
  const std::vector<Refusal> failures = {
      {"Surface 12345 not found", -1, [&] { return add(a, kNoHandle); }},
      {"Surface 12345 not found", -1,
       [&] { return surface_arithmetic_operation(a, a, kNoHandle, 2); }},
      {sphereText.c_str(), -1, [&] { return add(sphere, a); }},
      {collapsedText.c_str(), -1, [&] { return add(a, collapsed); }},
      {"Target degree too high (30×3) - max supported: 29×29", -1, [&] { return add(a, steep); }},
      {"S₁ and S₂ control point grid size mismatch", -1, [&] { return add(flat, broken); }},
      {"Control point grid size mismatch with S₃", -1,
       [&] { return surface_arithmetic_operation(broken, broken, flat, 2); }},
      {"Invalid operation type: 7", -1,
       [&] { return surface_arithmetic_operation(a, a, kNoHandle, 7); }},
      {"Invalid operation type: -1", -1, [&] { return surface_arithmetic_operation(a, a, a, -1); }},
      {"NaN detected at control point [1][1]", -1, [&] { return add(huge, huge); }},
  };
  expectRefusals(failures);
  std::string printed;
  for (const Refusal& failure : failures)
    printed += std::string("❌ ") + failure.text + "\n";
  EXPECT_EQ(streams_.err(), printed);
}

}  // namespace
}  // namespace morvel_test
