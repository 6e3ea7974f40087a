#include "morvel/nsided/rbf_nsided_patch.h"

#include <gmock/gmock.h>

#include "tests/nsided/nsided_samples.h"
#include "tests/support/captured_streams.h"

namespace morvel_test {
namespace {

NSidedPatchParameters parametersFor(const BoundaryCurves& curves, double tolerance = 0.001) {
  NSidedPatchParameters parameters;
  parameters.continuityLevels.assign(curves.size(), 0);
  parameters.boundaryTolerance = tolerance;
  return parameters;
}

ValidationResults checked(const BoundaryCurves& curves, NSidedPatchParameters parameters) {
  ValidationResults results;
  const auto patch = RBFNSidedPatch::createFromBoundaries(curves, parameters, &results);
  EXPECT_EQ(results.isValid, patch->isValid());
  return results;
}

std::vector<Point3D> ring(int sides) {
  std::vector<Point3D> corners;
  for (int k = 0; k < sides; ++k)
    corners.push_back({std::cos(2 * std::numbers::pi * k / sides),
                       std::sin(2 * std::numbers::pi * k / sides), 0.1 * (k % 2)});
  return corners;
}

TEST(RBFNSidedPatch, EveryFaultOfABoundaryHasItsText) {
  const auto square = polygon(unitSquare());
  const auto with = [&](auto change) {
    auto curves = square;
    change(curves);
    return curves;
  };
  auto wrongLevels = parametersFor(square);
  wrongLevels.continuityLevels.pop_back();
  auto badLevel = parametersFor(square);
  badLevel.continuityLevels[1] = 7;
  auto badWeight = parametersFor(square);
  badWeight.curveWeights = {1, 1, std::nan(""), 1};
  const auto line = [](Point3D a, Point3D b) { return std::make_shared<LineCurve>(a, b); };
  const struct {
    BoundaryCurves curves;
    NSidedPatchParameters parameters;
    const char* text;
  } cases[] = {
      {{square[0], square[1]},
       parametersFor({square[0], square[1]}),
       "Minimum 3 boundary curves required"},
      {with([&](auto& c) { c[2] = nullptr; }), parametersFor(square),
       "Invalid boundary curves detected"},
      {with([&](auto& c) {
         c[2] = line({1, 1, 0}, {1, 1, 0});
       }),
       parametersFor(square), "Invalid boundary curves detected"},
      {square, wrongLevels, "Parameter arrays size mismatch with boundary curves"},
      {square, badLevel, "Continuity levels must be 0, 1 or 2"},
      {square, badWeight, "Boundary weights must be above 0"},
      {with([&](auto& c) {
         c[1] = line({1, 0, 0}, {1, 0.75, 0});
       }),
       parametersFor(square), "Boundary gap (0.25) exceeds tolerance (0.001)"},
      {with([&](auto& c) {
         c[1] = line({1, 1, 0}, {1, 0, 0});
       }),
       parametersFor(square), "Boundary gap (1) exceeds tolerance (0.001)"},
      {polygon({{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}}), parametersFor(square),
       "Boundary curves have intersections"},
      {{square[0], line({1, 0, 0}, {0, 0, 0}), square[0], line({1, 0, 0}, {0, 0, 0})},
       parametersFor(square),
       "Boundary curves have intersections"},
  };
  for (const auto& c : cases) {
    const auto results = checked(c.curves, c.parameters);
    EXPECT_THAT(results.errors, testing::Contains(c.text));
  }
  EXPECT_TRUE(checked(square, parametersFor(square)).errors.empty());
}

TEST(RBFNSidedPatch, TwentyOneCurvesPassWithAWarningAndCurvesOnSurfacesMayGape) {
  const auto many = polygon(ring(21));
  const auto results = checked(many, parametersFor(many));
  EXPECT_TRUE(results.isValid);
  EXPECT_THAT(
      results.warnings,
      testing::ElementsAre("Too many boundary curves (>20) may result in poor surface quality"));
  auto gaping = loopOn({-1, -1}, 4, true);
  gaping[3] = std::make_shared<LineCurve>(gaping[3]->evaluate(0), Point3D(0.5, 0.5, 0.1));
  const auto relaxed = checked(gaping, parametersFor(gaping));
  EXPECT_TRUE(relaxed.isClosed);
  EXPECT_NEAR(relaxed.tolerance, 1.1 * relaxed.maxGap, 1e-12);
}

TEST(RBFNSidedPatch, SamplesRegularisationAndSpansFollowTheirRules) {
  NSidedPatchParameters p;
  EXPECT_DOUBLE_EQ(p.rbfRegularization, 0.00505);
  EXPECT_EQ(p.samplesPerCurve, 15);
  for (const auto& [tolerance, samples] : {std::pair(0.0005, 20), {0.001, 15}, {0.01, 10}}) {
    p.boundaryTolerance = tolerance;
    p.updateRBFParameters();
    EXPECT_EQ(p.samplesPerCurve, samples);
  }
  for (const auto& [sides, tolerance, spans] :
       {std::tuple(3, 0.01, 6), {5, 0.01, 10}, {9, 0.01, 12}, {9, 0.0005, 16}}) {
    p.boundaryCurves.resize(sides);
    p.boundaryTolerance = tolerance;
    int u = 0, v = 0;
    RBFNSidedPatch::calculateOptimalSpans(p, u, v);
    EXPECT_EQ(u, spans);
    EXPECT_EQ(v, spans);
  }
}

// A plane over the unit square lies in the span of the polynomial.
TEST(RBFNSidedPatch, AHeightFieldOverThePlaneIsThePlane) {
  const auto curves = polygon({{0, 0, 1}, {1, 0, 2}, {1, 1, 4}, {0, 1, 3}});
  auto parameters = parametersFor(curves);
  const auto patch = RBFNSidedPatch::createFromBoundaries(curves, parameters);
  ASSERT_TRUE(patch->isValid());
  EXPECT_EQ(patch->getPositionConstraints().size(), 60u);
  EXPECT_EQ(patch->getBSplineSurface()->getUControlPointCount(), 50);
  for (const auto& point : patch->generatePreview(5))
    EXPECT_NEAR(point.z(), 1 + point.x() + 2 * point.y(), 0.02);
  CapturedStreams streams;
  patch->analyzeSurfaceQuality();
  EXPECT_THAT(streams.out(), testing::HasSubstr("Surface Quality Analysis:\n  Max Deviation: "));
  EXPECT_THAT(streams.out(),
              testing::HasSubstr("\n  Quality Rating: " + patch->getQualityRating()));
}

TEST(RBFNSidedPatch, TheHermiteFieldRunsThroughItsBoundaryAlongTheTangentPlanes) {
  const Bowl dome{-1, -1};
  const auto curves = loopOn(dome, 5, false);
  auto parameters = parametersFor(curves);
  parameters.continuityLevels.assign(5, 1);
  parameters.useHermite = true;
  const auto patch = RBFNSidedPatch::createFromBoundaries(curves, parameters);
  ASSERT_TRUE(patch->isValid());
  const auto& samples = patch->getPositionConstraints();
  ASSERT_EQ(samples.size(), 20u);  // four a curve on a surface
  for (const auto& sample : samples) {
    const Point3D& p = sample.target;
    EXPECT_NEAR(patch->evaluateHRBFDirect(p), 0.0, 1e-8);
    const auto gradient = patch->evaluateHRBFDerivatives(p);
    EXPECT_NEAR(std::abs(gradient.dot(dome.normal(p.x(), p.y()))), 1.0, 1e-6);
  }
  const auto middle = patch->evaluate(0.5, 0.5);
  EXPECT_NEAR(middle.z(), dome.height(middle.x(), middle.y()), 0.05);
  for (const auto& point : patch->sampleFittedHRBFPlanar(6))
    EXPECT_TRUE(point.isFinite());
  EXPECT_FALSE(patch->sampleHRBFSpherical({0.5, 0.5, -0.3}, 1.0).empty());
  EXPECT_EQ(patch->createFittedHRBFMeshVisualization(6).vertices.size(), 36u);
}

TEST(RBFNSidedPatch, BeforeThereIsASurfaceItSaysSo) {
  const RBFNSidedPatch patch;
  EXPECT_FALSE(patch.isValid());
  EXPECT_THROW(patch.evaluate(0.5, 0.5), std::runtime_error);
  EXPECT_THROW(patch.trim(0, 1, 0, 1), std::runtime_error);
  EXPECT_EQ(patch.getQuality().conditionNumber, 1e15);
  std::string text;
  EXPECT_FALSE((nsided::G0Constraint{1.5, 0, {}, 1}).isValid(&text));
  EXPECT_EQ(text, "G0 constraint has invalid parameters: u,v must be in [0,1], weight > 0");
  EXPECT_THROW(BoundaryConstraintExtractor::extractFromCurves(polygon(unitSquare()), {0}, 5),
               std::invalid_argument);
}

TEST(BoundaryLoop, ShuffledAndReversedCurvesAreSortedIntoALoop) {
  CapturedStreams streams;
  for (const double gap : {0.0, 0.004}) {
    const auto loop = polygon(ring(7));
    BoundaryCurves shuffled;
    for (const int k : {4, 1, 6, 0, 3, 5, 2}) {
      const auto curve = k % 2 ? std::shared_ptr<const Curve>(loop[k]->reverse()) : loop[k];
      shuffled.push_back(gap > 0 ? std::shared_ptr<const Curve>(curve->trim(0.0, 1 - gap)) : curve);
    }
    const SortedLoop sorted = sortBoundaryLoop(shuffled, 1e-3);
    ASSERT_TRUE(sorted.isFound);
    BoundaryCurves ordered;
    for (int k = 0; k < 7; ++k) {
      const auto& curve = shuffled[sorted.order[k]];
      ordered.push_back(sorted.isReversed[k] ? std::shared_ptr<const Curve>(curve->reverse())
                                             : curve);
    }
    EXPECT_THAT(boundaryGaps(ordered), testing::Each(testing::Le(2 * gap + 1e-12)));
  }
  EXPECT_THAT(streams.out(), testing::HasSubstr("🔧 Smart Auto-Reverse: Found closed loop starting "
                                                "from curve 0 with tolerance 0.00 mm\n"));
  EXPECT_THAT(streams.out(), testing::HasSubstr("🔧 Smart Loop Detection: Found closed loop with "
                                                "relaxed tolerance 0.01 mm (gaps up to 0.0"));
  const auto open = polygon(ring(7));
  EXPECT_FALSE(sortBoundaryLoop({open[0], open[1], open[3], open[5]}, 1e-3).isFound);
}

}  // namespace
}  // namespace morvel_test
