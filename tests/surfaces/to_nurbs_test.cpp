#include "morvel/surfaces/to_nurbs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>

#include "morvel/surfaces/surface_refit.h"
#include "tests/surfaces/spline_probes.h"
#include "tests/surfaces/surface_measures.h"

namespace morvel_test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = std::numbers::pi;

// Any function as a surface, of which only points are known.
class FunctionSurface : public Surface {
 public:
  using Function = std::function<Point3D(double, double)>;
  explicit FunctionSurface(Function function, bool isValid = true)
      : function_(std::move(function)), isValid_(isValid) {}

  std::string getTypeIdentifier() const override { return "FunctionSurface"; }
  std::unique_ptr<Surface> clone() const override {
    return std::make_unique<FunctionSurface>(*this);
  }
  bool isValid() const override { return isValid_; }
  Point3D evaluate(double u, double v) const override {
    ++evaluations;
    return function_(u, v);
  }
  SurfaceEvaluation evaluateDerivatives(double, double, int) const override { return {}; }
  BoundingBox getBoundingBox() const override { return {}; }
  std::unique_ptr<Surface> transform(const Transform3D&) const override { return clone(); }
  std::unique_ptr<Surface> trim(double, double, double, double) const override { return clone(); }
  std::unique_ptr<Surface> reverseU() const override { return clone(); }
  std::unique_ptr<Surface> reverseV() const override { return clone(); }
  std::unique_ptr<Surface> swapUV() const override { return clone(); }
  void applyTransformToGeometry(const Transform3D&) override {}

  mutable long evaluations = 0;

 private:
  Function function_;
  bool isValid_;
};

FunctionSurface sphere() {
  return FunctionSurface([](double u, double v) {
    const double a = 2 * kPi * u, b = kPi * (v - 0.5);
    return Point3D(std::cos(a) * std::cos(b), std::sin(a) * std::cos(b), std::sin(b));
  });
}

FunctionSurface torus() {
  return FunctionSurface([](double u, double v) {
    const double a = 2 * kPi * u, b = 2 * kPi * v, r = 1 + 0.4 * std::cos(b);
    return Point3D(std::cos(a) * r, std::sin(a) * r, 0.4 * std::sin(b));
  });
}

FunctionSurface cone() {
  return FunctionSurface([](double u, double v) {
    return Point3D(std::cos(2 * kPi * u) * (1 - v), std::sin(2 * kPi * u) * (1 - v), v);
  });
}

TEST(ToNurbs, RefitsSmoothSurfacesToTheTolerance) {
  for (const FunctionSurface& surface : {sphere(), torus(), cone()}) {
    for (const double tolerance : {1e-3, 1e-6}) {
      const auto spline = surface.toNurbs(tolerance);
      EXPECT_TRUE(spline->isValid());
      EXPECT_LE(largestGap(surface, *spline, 173), tolerance);  // a grid that was not fitted
    }
  }
}

TEST(ToNurbs, RefinesOnlyWhereTheSurfaceBends) {
  const auto spline = cone().toNurbs(1e-6);
  EXPECT_GT(spline->getUControlPointCount(), 30);
  EXPECT_EQ(spline->getVControlPointCount(), 10);
}

TEST(ToNurbs, ReproducesCubics) {
  const FunctionSurface cubic(
      [](double u, double v) { return Point3D(u, v * v * v - v, u * u * u * v * v); });
  SurfaceRefitEngine engine(cubic, {});
  engine.initialise({4, 4}, 1e-12);
  ASSERT_TRUE(engine.approximate());
  EXPECT_EQ(engine.result()->getUControlPointCount(), 4);
  EXPECT_LT(largestGap(cubic, *engine.result(), 40), 1e-14);
}

TEST(ToNurbs, RefitsAPartOfTheDomain) {
  const FunctionSurface surface = sphere();
  SurfaceRefitEngine engine(surface, {0.25, 0.5, 0.1, 0.6});
  engine.initialise({10, 10}, 1e-7);
  ASSERT_TRUE(engine.approximate());
  EXPECT_THAT(engine.result()->evaluate(0.3, 0.8),
              IsNear(surface.evaluate(0.25 + 0.25 * 0.3, 0.1 + 0.5 * 0.8), 1e-7));
}

TEST(ToNurbs, RefusesWhatItCannotConvert) {
  const auto textOf = [](const Surface& surface) -> std::string {
    try {
      surface.toNurbs(1e-6);
    } catch (const ToNurbsException& error) {
      return error.what();
    }
    return "converted";
  };
  const auto plane = [](double u, double v) { return Point3D(u, v, 0); };
  EXPECT_EQ(textOf(FunctionSurface(plane, false)),
            "Surface of type FunctionSurface is invalid for ToNurbs conversion");
  EXPECT_EQ(textOf(FunctionSurface(
                [](double u, double v) { return Point3D(u, v, u > 0.7 ? kNaN : 0.0); })),
            "Failed to produce valid B-spline surface for FunctionSurface");
  EXPECT_EQ(textOf(FunctionSurface([](double u, double v) {
              return Point3D(u, v, std::abs(u - 0.5) < 1e-3 ? kNaN : 0.0);  // between first samples
            })),
            "Failed to produce valid B-spline surface for FunctionSurface");
  EXPECT_EQ(textOf(FunctionSurface(plane)), "converted");
  EXPECT_THROW(FunctionSurface(plane, false).toNurbs(), ToNurbsInvalidSurfaceException);
}

// A cliff cannot be met; the work ends all the same, and the message tells how near it came.
TEST(ToNurbs, GivesUpWithinBounds) {
  const FunctionSurface cliff(
      [](double u, double v) { return Point3D(u, v, u < 0.37 ? 0.0 : 1.0); });
  try {
    cliff.toNurbs(1e-6);
    FAIL();
  } catch (const ToNurbsConvergenceException& error) {
    EXPECT_GT(error.getAchievedTolerance(), 0.1);
    EXPECT_EQ(error.getTargetTolerance(), 1e-6);
    EXPECT_TRUE(std::string(error.what()).ends_with(", target 1e-06")) << error.what();
  }
  EXPECT_LT(cliff.evaluations, 3'000'000);
  EXPECT_STREQ(ToNurbsConvergenceException(0.5, 1e-6).what(),
               "ToNurbs conversion failed to meet tolerance requirements: achieved 0.5, target "
               "1e-06");
  EXPECT_THROW(sphere().toNurbs(kNaN), ToNurbsConvergenceException);
  EXPECT_THROW(sphere().toNurbs(0), ToNurbsConvergenceException);
}

TEST(ToNurbs, StartsFromAnyCounts) {
  const FunctionSurface surface = sphere();
  for (const auto& counts : {std::pair{-5, 0}, {2'000'000'000, 4}})
    EXPECT_LE(largestGap(surface, *defaultToNurbsImplementation(surface, {1e-4, 1e-4}, counts), 50),
              1e-4);
}

}  // namespace
}  // namespace morvel_test
