#include "morvel/fitting/internal/surface_normal_equations.h"

#include <gmock/gmock.h>

#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>
#include <random>

#include "morvel/fitting/internal/surface_normal_solver.h"
#include "morvel/foundation/nurbs_basis.h"
#include "morvel/foundation/wide_registers.h"

namespace {

using namespace trova::geometry::internal;
using trova::foundation::nurbs::SplineBasis;
using Parameters = SurfaceNormalEquations::Parameters;

std::mt19937 randomSource(11);
double randomValue() { return std::uniform_real_distribution<double>(0, 1)(randomSource); }

struct Data {
  std::vector<Parameters> parameters;
  std::vector<Point3D> points;
};

Data randomData(int count) {
  Data data;
  for (int k = 0; k < count; ++k) {
    data.parameters.emplace_back(randomValue(), randomValue());
    data.points.emplace_back(randomValue(), randomValue() - 5, 100 * randomValue());
  }
  data.parameters[0] = {0.0, 1.0};
  data.parameters[1] = {1.0, 0.5};
  return data;
}

// The m x n matrix itself, by definition.
Eigen::MatrixXd rowsOf(const SplineBasis& u, const SplineBasis& v, const Data& data) {
  Eigen::MatrixXd B(data.points.size(), u.count() * v.count());
  for (std::size_t k = 0; k < data.points.size(); ++k)
    for (int j = 0; j < v.count(); ++j)
      for (int i = 0; i < u.count(); ++i)
        B(k, j * u.count() + i) = trova::foundation::nurbs::evaluateBasisFunction(
                                      i, u.degree(), data.parameters[k].first, u.knots()) *
                                  trova::foundation::nurbs::evaluateBasisFunction(
                                      j, v.degree(), data.parameters[k].second, v.knots());
  return B;
}

Eigen::MatrixXd coordinates(const Data& data) {
  Eigen::MatrixXd C(data.points.size(), 3);
  for (std::size_t k = 0; k < data.points.size(); ++k)
    C.row(k) = data.points[k].eigen();
  return C;
}

double relative(const Eigen::MatrixXd& a, const Eigen::MatrixXd& b) {
  return (a - b).cwiseAbs().maxCoeff() / b.cwiseAbs().maxCoeff();
}

const struct Shape {
  int countU, degreeU, countV, degreeV;
} kShapes[] = {{4, 3, 4, 3}, {9, 3, 6, 3}, {5, 1, 8, 2}, {7, 5, 12, 3}, {12, 9, 13, 11}};

TEST(SurfaceNormalEquations, SumsAreThoseOfTheFullMatrix) {
  for (const Shape& shape : kShapes) {
    const SplineBasis u = SplineBasis::clampedUniform(shape.countU, shape.degreeU);
    // Uneven knots in one direction, among them a double one.
    std::vector<double> knots = SplineBasis::clampedUniform(shape.countV, shape.degreeV).knots();
    for (double& knot : knots)
      knot = knot * knot;
    if (shape.countV - shape.degreeV > 2) knots[shape.degreeV + 2] = knots[shape.degreeV + 1];
    const SplineBasis v(shape.degreeV, knots);
    const Data data = randomData(203);
    const Eigen::MatrixXd B = rowsOf(u, v, data);
    for (const bool isWide : {false, true}) {
      const bool before = trova::foundation::usesWideRegisters;
      trova::foundation::usesWideRegisters = isWide && before;
      SurfaceNormalEquations equations(u, v);
      equations.add(data.parameters, data.points);
      EXPECT_LT(relative(equations.dense(), B.transpose() * B), 1e-13) << shape.countU;
      EXPECT_LT(relative(equations.rightHandSide(), B.transpose() * coordinates(data)), 1e-13);
      trova::foundation::usesWideRegisters = before;
    }
    SurfaceNormalEquations weighted(u, v);
    Eigen::VectorXd weights(203);
    for (int k = 0; k < 203; ++k) {
      weights[k] = 1.0 + k % 3;
      const auto [s, t] = data.parameters[k];
      weighted.add(s, t, data.points[k], weights[k]);
    }
    const Eigen::MatrixXd BtW = B.transpose() * weights.asDiagonal();
    EXPECT_LT(relative(weighted.dense(), BtW * B), 1e-13);
    EXPECT_LT(relative(weighted.rightHandSide(), BtW * coordinates(data)), 1e-13);
    const Eigen::MatrixXd X = Eigen::MatrixXd::Random(weighted.size(), 2);
    EXPECT_LT(relative(weighted.multiplied(X, 0.5), weighted.dense() * X + 0.5 * X), 1e-13);
  }
}

// A net of n x n and points that determine it well.
SurfaceNormalEquations wellPosed(int countU, int countV) {
  SurfaceNormalEquations equations(SplineBasis::clampedUniform(countU, 3),
                                   SplineBasis::clampedUniform(countV, 3));
  const Data data = randomData(60 * countU * countV);
  equations.add(data.parameters, data.points);
  return equations;
}

TEST(SurfaceNormalSolver, RoutesAgreeOnBothSidesOfTheSwitch) {
  const NormalSolveOptions options[] = {{.condition_analysis = true},
                                        {.force_regularization = true}};
  for (const int countU : {14, 15}) {
    const SurfaceNormalEquations equations = wellPosed(countU, 14);
    EXPECT_EQ(equations.size() <= kMostDecomposedUnknowns, countU == 14);
    for (const NormalSolveOptions& asked : options) {
      const auto dense = solveByDecompositions(equations, asked);
      const auto band = solveInBand(equations, asked);
      ASSERT_TRUE(dense && band);
      ASSERT_LE(dense->condition_number, 1e6);
      EXPECT_LT(relative(band->points, dense->points), 1e-9);
      EXPECT_NEAR(band->condition_number / dense->condition_number, 1.0, 1e-9);
    }
  }
}

TEST(SurfaceNormalSolver, RegularisationIsTikhonovsWithTheLargestSingularValue) {
  const SurfaceNormalEquations equations = wellPosed(8, 9);
  const Eigen::MatrixXd M = equations.dense();
  const double largest = M.operatorNorm();
  const NormalSolveOptions options{.force_regularization = true, .regularization_lambda = 1e-3};
  for (const auto& solution :
       {solveInBand(equations, options), solveByDecompositions(equations, options)}) {
    ASSERT_TRUE(solution);
    EXPECT_EQ(solution->condition_number, 1e6);  // nothing was analysed
    const Eigen::MatrixXd residual =
        M * solution->points + 1e-3 * largest * solution->points - equations.rightHandSide();
    EXPECT_LT(residual.norm() / equations.rightHandSide().norm(), 1e-9);
  }
}

// Points in one quarter of the square leave most of the net undetermined.
SurfaceNormalEquations deficient(int count) {
  Data data = randomData(5000);
  for (auto& [u, v] : data.parameters) {
    u *= 0.5;
    v *= 0.5;
  }
  SurfaceNormalEquations equations(SplineBasis::clampedUniform(count, 3),
                                   SplineBasis::clampedUniform(count, 3));
  equations.add(data.parameters, data.points);
  return equations;
}

TEST(SurfaceNormalSolver, DeficientNetsHaveAFiniteAnswerThatFitsTheData) {
  for (const int count : {10, 20, 50}) {  // QR; band, then QR; band, then a ridge
    const SurfaceNormalEquations equations = deficient(count);
    EXPECT_EQ(SurfaceNormalFactor::of(equations), nullptr);
    const auto solution = solveNormalEquations(equations, {});
    ASSERT_TRUE(solution) << count;
    const Eigen::MatrixXd& b = equations.rightHandSide();
    EXPECT_LT((equations.multiplied(solution->points) - b).norm() / b.norm(), 1e-3) << count;
    EXPECT_EQ(solution->warnings.size(), count > 14 ? 1u : 0u);
    const auto analysed = solveNormalEquations(equations, {.condition_analysis = true});
    ASSERT_TRUE(analysed);
    EXPECT_LT(analysed->condition_number, 2e6);  // after the ridge of 1e-6
    EXPECT_FALSE(analysed->warnings.empty());
  }
}

}  // namespace
