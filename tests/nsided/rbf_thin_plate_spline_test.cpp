#include "morvel/nsided/rbf_thin_plate_spline.h"

#include <gmock/gmock.h>

#include <cmath>
#include <random>

#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/wide_registers.h"

namespace morvel_test {
namespace {

using trova::foundation::Point3D;
using trova::foundation::Vector3D;
using trova::geometry::BSplineSurface;
using trova::geometry::RBFThinPlateSpline;

struct Sample {
  double u, v, h, weight;
};

std::vector<Sample> wavySamples(int count) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  std::vector<Sample> samples;
  for (int k = 0; k < count; ++k) {
    const double u = unit(random), v = unit(random);
    samples.push_back({u, v, std::sin(3 * u) * v + u, 1.0 + unit(random)});
  }
  return samples;
}

RBFThinPlateSpline splineOf(const std::vector<Sample>& samples) {
  RBFThinPlateSpline spline;
  for (const Sample& s : samples)
    spline.AddPositionConstraint(s.u, s.v, s.h, s.weight);
  return spline;
}

double kernel(double r) { return r > 0 ? r * r * std::log(r) : 0.0; }

/// The system as the definition has it, solved by singular values, evaluated with std::log.
double byDefinition(const std::vector<Sample>& samples, double lambda, double u, double v) {
  const auto n = static_cast<Eigen::Index>(samples.size());
  Eigen::MatrixXd A(n, n + 6);
  Eigen::VectorXd b(n);
  const auto row = [&](double x, double y) {
    Eigen::RowVectorXd values(n + 6);
    for (Eigen::Index j = 0; j < n; ++j)
      values[j] = kernel(std::hypot(x - samples[j].u, y - samples[j].v));
    values.tail(6) << 1.0, x, y, x * x, x * y, y * y;
    return values;
  };
  for (Eigen::Index i = 0; i < n; ++i) {
    A.row(i) = samples[i].weight * row(samples[i].u, samples[i].v);
    b[i] = samples[i].weight * samples[i].h;
    A(i, i) += lambda;
  }
  return row(u, v).dot(trova::foundation::solveBySingularValues(A, b).x.col(0));
}

TEST(RBFThinPlateSpline, BothRoutesGiveTheLeastNormSolutionOfTheDefinition) {
  for (const int count : {12, 40, 150}) {  // the first by singular values, the others quickly
    const auto samples = wavySamples(count);
    for (const double lambda : {0.0, 0.005}) {
      auto spline = splineOf(samples);
      ASSERT_TRUE(spline.Fit(lambda > 0, lambda));
      for (const auto& [u, v] : {std::pair(0.31, 0.77), {0.9, 0.1}, {samples[3].u, samples[3].v}})
        EXPECT_NEAR(spline.EvaluateAt(u, v), byDefinition(samples, lambda, u, v), 1e-9) << count;
    }
  }
}

TEST(RBFThinPlateSpline, WideRegistersAndBatchesGiveTheSameBits) {
  auto spline = splineOf(wavySamples(101));
  ASSERT_TRUE(spline.Fit(false, 0.0));
  const std::vector<double> uv = {0.2, 0.3, 0.8, 0.4, -1.0, 5.0};
  double wide[3], narrow[3];
  spline.EvaluateBatch(uv, wide);
  const bool before = trova::foundation::usesWideRegisters;
  trova::foundation::usesWideRegisters = false;
  for (int k = 0; k < 3; ++k)
    narrow[k] = spline.EvaluateAt(uv[2 * k], uv[2 * k + 1]);
  trova::foundation::usesWideRegisters = before;
  EXPECT_THAT(narrow, testing::ElementsAreArray(wide));
}

TEST(RBFThinPlateSpline, DerivativesAgreeWithDifferences) {
  auto spline = splineOf(wavySamples(30));
  ASSERT_TRUE(spline.Fit(false, 0.0));
  constexpr double u = 0.41, v = 0.62, d = 1e-5;
  double h, hu, hv, huu, huv, hvv, x, up, vp, um, vm;
  spline.EvaluateWithSecondDerivatives(u, v, h, hu, hv, huu, huv, hvv);
  EXPECT_NEAR(hu, (spline.EvaluateAt(u + d, v) - spline.EvaluateAt(u - d, v)) / (2 * d), 1e-6);
  spline.EvaluateWithDerivatives(u, v + d, x, up, vp);
  spline.EvaluateWithDerivatives(u, v - d, x, um, vm);
  EXPECT_NEAR(huv, (up - um) / (2 * d), 1e-5);
  EXPECT_NEAR(hvv, (vp - vm) / (2 * d), 1e-5);
}

// z = 1 + u - 2 v + u v is in the span of the polynomial, so every constraint can be met exactly.
TEST(RBFThinPlateSpline, EveryKindOfConstraintIsMetWhereAllAgree) {
  RBFThinPlateSpline spline;
  for (const auto& [u, v] :
       {std::pair(0.1, 0.1), {0.9, 0.2}, {0.5, 0.8}, {0.2, 0.6}, {0.7, 0.5}, {0.4, 0.3}})
    spline.AddPositionConstraint(u, v, 1 + u - 2 * v + u * v);
  spline.AddTangentConstraint(0.3, 0.4, 1.4, -1.7, 2.0);
  spline.AddNormalConstraint(0.6, 0.7, Vector3D(-1.7, 1.4, 1.0) * -3.0);
  spline.AddCurvatureConstraint(0.5, 0.5, 0.0, 1.0, 0.0);
  ASSERT_TRUE(spline.Fit(false, 0.0));
  EXPECT_THAT(spline.GetConstraintCounts(), testing::ElementsAre(6, 1, 1, 1));
  EXPECT_NEAR(spline.EvaluateAt(0.55, 0.35), 1 + 0.55 - 0.7 + 0.55 * 0.35, 1e-8);
}

TEST(RBFThinPlateSpline, AnIllConditionedFitRaisesLambdaTenfoldOnce) {
  RBFThinPlateSpline spline;
  for (int k = 0; k < 30; ++k)  // each centre twice, with contradicting heights
    spline.AddPositionConstraint(0.03 * (k % 15), 0.5 + 0.01 * (k % 15), k < 15 ? 1.0 : 2.0);
  spline.SetNumericalParameters(1e-15, 1e12);
  ASSERT_TRUE(spline.Fit(true, 0.0));
  EXPECT_DOUBLE_EQ(spline.GetRegularization(), 1e-14);
  EXPECT_TRUE(std::isfinite(spline.EvaluateAt(0.2, 0.5)));

  auto well = splineOf(wavySamples(30));
  ASSERT_TRUE(well.Fit(true, 0.005));
  EXPECT_DOUBLE_EQ(well.GetRegularization(), 0.005);
}

TEST(RBFThinPlateSpline, TheSampledGridIsTheNetItself) {
  auto spline = splineOf(wavySamples(20));
  std::unique_ptr<BSplineSurface> surface;
  EXPECT_THROW(spline.ConvertToBSpline(surface, 3, 3, 11, 11, 10), std::runtime_error);
  EXPECT_THROW(spline.EvaluateAt(0, 0), std::runtime_error);
  spline.Fit(true, 0.005);
  spline.SetDomainBounds(0, 2, -1, 1);
  spline.ConvertToBSpline(surface, 3, 2, 99, 99, 11);
  ASSERT_EQ(surface->getUControlPointCount(), 11);
  EXPECT_EQ(surface->getVDegree(), 2);
  const Point3D p = surface->getControlPoint(3, 9);
  EXPECT_DOUBLE_EQ(p.x(), 0.6);
  EXPECT_DOUBLE_EQ(p.y(), 0.8);
  EXPECT_EQ(p.z(), spline.EvaluateAt(p.x(), p.y()));
  EXPECT_THROW(spline.ConvertToBSpline(surface, 3, 3, 6, 6, 3), std::runtime_error);
}

TEST(RBFThinPlateSpline, BadConstraintsAreRefused) {
  RBFThinPlateSpline spline;
  EXPECT_FALSE(spline.Fit(true, 0.0));
  for (const double weight : {0.0, -1.0, std::nan("")})
    EXPECT_THROW(spline.AddPositionConstraint(0, 0, 0, weight), std::invalid_argument);
  EXPECT_THROW(spline.AddNormalConstraint(0, 0, Vector3D()), std::invalid_argument);
  for (int k = 0; k < 5; ++k)
    spline.AddPositionConstraint(k, 2 * k, k);
  std::string reason;
  EXPECT_FALSE(spline.ValidateConstraintSystem(&reason));
  EXPECT_EQ(reason, "Position constraints lie on one line");
}

}  // namespace
}  // namespace morvel_test
