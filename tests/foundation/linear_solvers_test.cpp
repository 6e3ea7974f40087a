#include "morvel/foundation/linear_solvers.h"

#include <gmock/gmock.h>

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>
#include <Eigen/QR>
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <vector>

#include "morvel/foundation/principal_axes.h"

namespace {

using namespace trova::foundation;
using Rows = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::mt19937 randomSource(12345);

double randomValue() { return std::uniform_real_distribution<double>(-1, 1)(randomSource); }

Rows randomRows(int rows, int columns) {
  return Rows::NullaryExpr(rows, columns, [] { return randomValue(); });
}

// A random matrix with zeros outside the band; weak diagonals make pivoting necessary.
Eigen::MatrixXd randomBanded(int size, int lower, int upper) {
  Eigen::MatrixXd A = Eigen::MatrixXd::Zero(size, size);
  for (int i = 0; i < size; ++i) {
    for (int j = std::max(0, i - lower); j <= std::min(size - 1, i + upper); ++j)
      A(i, j) = i == j ? 0.01 * randomValue() : randomValue();
  }
  return A;
}

template <class System>
void assemble(System& system, const Eigen::MatrixXd& A, int lower, int upper) {
  for (int i = 0; i < A.rows(); ++i) {
    for (int j = std::max(0, i - lower); j <= std::min<int>(int(A.rows()) - 1, i + upper); ++j)
      system.add(i, j, A(i, j));
  }
}

TEST(BandedSystem, SolvesWhatTheFullMatrixSays) {
  const struct {
    int size, lower, upper;
  } shapes[] = {{1, 0, 0}, {5, 0, 0}, {8, 0, 2}, {8, 2, 0}, {30, 1, 1}, {40, 3, 2}, {4, 9, 7}};
  for (const auto& [size, lower, upper] : shapes) {
    Eigen::MatrixXd A = randomBanded(size, lower, upper);
    if (lower == 0 || upper == 0) A.diagonal().array() += 2.0;
    BandedSystem system(size, lower, upper);
    assemble(system, A, lower, upper);
    ASSERT_TRUE(system.factor());
    for (const int width : {1, 3}) {  // factored once, solved twice
      const Rows expected = randomRows(size, width);
      Rows rows = A * expected;
      system.solve(rows.data(), width);
      EXPECT_LT((rows - expected).norm(), 1e-9) << size << " " << lower << " " << upper;
    }
  }
}

TEST(BandedSystem, LongSystemsStayLinear) {
  // -u'' = 2 by second differences on a million cells: u = x (1 - x), exact at the nodes.
  const int size = 1000000 - 1;
  const double h = 1e-6;
  BandedSystem system(size, 1, 1);
  for (int i = 0; i < size; ++i) {
    system.add(i, i, 2.0);
    if (i > 0) system.add(i, i - 1, -1.0);
    if (i + 1 < size) system.add(i, i + 1, -1.0);
  }
  ASSERT_TRUE(system.factor());
  std::vector<double> rows(size, 2.0 * h * h);
  system.solve(rows.data(), 1);
  EXPECT_NEAR(rows[size / 2], 0.25, 1e-4);
}

TEST(BandedSystem, SingularityIsReportedAndNotSolved) {
  BandedSystem zeroColumn(3, 1, 1);
  zeroColumn.add(0, 0, 1.0);
  zeroColumn.add(2, 2, 1.0);
  EXPECT_FALSE(zeroColumn.factor());
  EXPECT_FALSE(zeroColumn.factor());
  double rows[3] = {1, 2, 3};
  EXPECT_THROW(zeroColumn.solve(rows, 1), std::logic_error);

  BandedSystem toRounding(3, 2, 2);  // rows in arithmetic progression: rank 2
  for (int i = 0; i < 9; ++i)
    toRounding.add(i / 3, i % 3, 0.1 * (i + 1));
  EXPECT_FALSE(toRounding.factor());

  BandedSystem overflowing(2, 1, 1);
  for (int i = 0; i < 4; ++i)
    overflowing.add(i / 2, i % 2, i == 2 ? -1.5e308 : 1.5e308);
  EXPECT_FALSE(overflowing.factor());
}

// By columns and by blocks, the last of them not full; few and many right-hand sides.
TEST(SymmetricBandedSystem, SolvesNormalEquations) {
  for (const auto& [size, bandwidth] :
       {std::pair{40, 3}, {5, 0}, {7, 20}, {300, 64}, {295, 71}, {130, 129}}) {
    const Eigen::MatrixXd M = randomBanded(size, 0, bandwidth);
    const Eigen::MatrixXd A = M.transpose() * M + 0.1 * Eigen::MatrixXd::Identity(size, size);
    SymmetricBandedSystem system(size, bandwidth);
    assemble(system, A, bandwidth, 0);
    ASSERT_TRUE(system.factor());
    const Eigen::VectorXd pivots = A.llt().matrixL().toDenseMatrix().diagonal();
    EXPECT_NEAR(system.smallestPivotShare(),
                (pivots.array().square() / A.diagonal().array()).minCoeff(), 1e-12);
    for (const int width : {1, 3, 40}) {
      const Rows expected = randomRows(size, width);
      Rows rows = A * expected;
      system.solve(rows.data(), width);
      EXPECT_LT((rows - expected).norm(), 1e-9 * expected.norm()) << size << " " << bandwidth;
    }
  }
}

TEST(SymmetricBandedSystem, IndefinitenessInALaterBlockIsReported) {
  SymmetricBandedSystem system(200, 80);
  for (int i = 0; i < 200; ++i)
    system.add(i, i, i == 150 ? -1.0 : 1.0);
  EXPECT_FALSE(system.factor());
}

TEST(LargestEigenvalue, IsTheOneOfTheFullDecomposition) {
  for (const int size : {1, 2, 30, 500}) {
    const Eigen::MatrixXd M = randomRows(size, size);
    const Eigen::MatrixXd A = M.transpose() * M;
    const double expected =
        Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd>(A).eigenvalues()[size - 1];
    const double largest =
        largestEigenvalue(size, [&](const Eigen::VectorXd& x, Eigen::VectorXd& y) { y = A * x; });
    EXPECT_NEAR(largest / expected, 1.0, 1e-12) << size;
  }
  const auto multiple = [](const Eigen::VectorXd& x, Eigen::VectorXd& y) { y = 3.0 * x; };
  EXPECT_NEAR(largestEigenvalue(50, multiple), 3.0, 1e-12);  // one step spans the whole space
  const auto zero = [](const Eigen::VectorXd& x, Eigen::VectorXd& y) { y = 0.0 * x; };
  EXPECT_EQ(largestEigenvalue(50, zero), 0.0);
}

TEST(SymmetricBandedSystem, IndefiniteAndSemidefiniteAreReported) {
  SymmetricBandedSystem indefinite(2, 1), semidefinite(2, 1);
  for (auto* system : {&indefinite, &semidefinite}) {
    system->add(0, 0, 1.0);
    system->add(1, 0, 1.0 / 3);
  }
  indefinite.add(1, 1, -1.0);
  semidefinite.add(1, 1, 1.0 / 9);
  EXPECT_FALSE(indefinite.factor());
  EXPECT_FALSE(semidefinite.factor());
}

TEST(BandedSystems, RefuseWhatDoesNotBelong) {
  BandedSystem banded(4, 1, 0);
  SymmetricBandedSystem symmetric(4, 1);
  for (const auto& [row, column] : {std::pair{0, 1}, {2, 0}, {-1, -1}, {4, 4}, {4, 3}}) {
    EXPECT_THROW(banded.add(row, column, 1.0), std::out_of_range);
    EXPECT_THROW(symmetric.add(row, column, 1.0), std::out_of_range);
  }
  EXPECT_THROW(banded.add(0, 0, kNaN), std::invalid_argument);
  EXPECT_THROW(symmetric.add(0, 0, kNaN), std::invalid_argument);
  for (int i = 0; i < 4; ++i) {
    banded.add(i, i, 1.0);
    symmetric.add(i, i, 1.0);
  }
  double rows[4] = {1, 2, kNaN, 4};
  EXPECT_THROW(banded.solve(rows, 1), std::logic_error);
  ASSERT_TRUE(banded.factor() && symmetric.factor());
  EXPECT_THROW(banded.add(0, 0, 1.0), std::logic_error);
  EXPECT_THROW(banded.solve(rows, 1), std::invalid_argument);
  EXPECT_THROW(symmetric.solve(rows, 1), std::invalid_argument);
  EXPECT_THROW(symmetric.solve(rows, -1), std::invalid_argument);

  const int intMax = std::numeric_limits<int>::max();
  for (const auto& [size, width] : {std::pair{-1, 0}, {4, -1}, {intMax, 1}, {intMax, intMax}}) {
    EXPECT_THROW(BandedSystem(size, width, width), std::length_error);
    EXPECT_THROW(SymmetricBandedSystem(size, width), std::length_error);
  }
}

TEST(SolveDense, InvertsTheProduct) {
  const Eigen::MatrixXd A = randomRows(12, 12), expected = randomRows(12, 3);
  EXPECT_LT((solveDense(A, A * expected) - expected).norm(), 1e-10);
  EXPECT_THROW(solveDense(Eigen::MatrixXd::Ones(3, 3), expected.topRows(3)), std::runtime_error);
  EXPECT_THROW(solveDense(A.leftCols(5), expected), std::invalid_argument);
  EXPECT_THROW(solveDense(A, expected.topRows(5)), std::invalid_argument);
  EXPECT_THROW(solveDense(A * kNaN, expected), std::invalid_argument);
}

TEST(SolveLeastSquares, ResidualIsNormalToTheColumns) {
  const Eigen::MatrixXd A = randomRows(20, 6), B = randomRows(20, 2);
  const Eigen::MatrixXd X = solveLeastSquares(A, B);
  EXPECT_LT((A.transpose() * (A * X - B)).norm(), 1e-12);

  Eigen::MatrixXd repeated(20, 7);
  repeated << A, A.col(2);
  const Eigen::MatrixXd Y = solveLeastSquares(repeated, B);
  EXPECT_LT((repeated * Y - A * X).norm(), 1e-12);
  EXPECT_TRUE((Y.row(2).array() == 0).all() || (Y.row(6).array() == 0).all());
  EXPECT_THROW(solveLeastSquares(A, B * kNaN), std::invalid_argument);
  EXPECT_THROW(solveLeastSquares(A, B.topRows(5)), std::invalid_argument);
}

TEST(SolveSquareAndSymmetric, AnswerOnlyWhatSatisfiesTheSystem) {
  const Eigen::MatrixXd R = randomRows(12, 12);
  const Eigen::MatrixXd indefinite = R + R.transpose();
  const Eigen::MatrixXd X = randomRows(12, 3);
  EXPECT_LT((solveSquare(R, R * X).value() - X).norm(), 1e-9);
  EXPECT_LT((solveSymmetric(indefinite, indefinite * X).value() - X).norm(), 1e-9);
  EXPECT_LT((solveSymmetric(R * R.transpose(), R * R.transpose() * X).value() - X).norm(), 1e-6);

  const Eigen::MatrixXd deficient = R.leftCols(4) * R.leftCols(4).transpose();
  EXPECT_FALSE(solveSquare(deficient, X));
  EXPECT_FALSE(solveSymmetric(deficient, X));
  EXPECT_FALSE(solveSquare(Eigen::MatrixXd::Zero(3, 3), Eigen::MatrixXd::Ones(3, 1)));
}

TEST(SingularValues, AreThoseThatTheProductWasMadeOf) {
  const Eigen::MatrixXd U = Eigen::MatrixXd(randomRows(6, 6)).householderQr().householderQ();
  const Eigen::MatrixXd V = Eigen::MatrixXd(randomRows(4, 4)).householderQr().householderQ();
  const Eigen::Vector4d expected(5.0, 2.0, 1e-3, 1e-9);
  const Eigen::MatrixXd A = U.leftCols(4) * expected.asDiagonal() * V.transpose();
  EXPECT_LT((singularValues(A) - expected).norm(), 1e-14);
}

TEST(PrincipalAxes, FindSpreadAndDirectionsOfABox) {
  // The eight corners of a box turned by 30 degrees about z, around (1, 2, 3).
  const double c = std::sqrt(3.0) / 2;
  std::vector<Point3D> corners;
  for (int k = 0; k < 8; ++k) {
    const double x = k & 1 ? 3 : -3, y = k & 2 ? 2 : -2, z = k & 4 ? 1 : -1;
    corners.emplace_back(1 + c * x - 0.5 * y, 2 + 0.5 * x + c * y, 3 + z);
  }
  const PrincipalAxes axes = principalAxes(corners).value();
  EXPECT_LT(axes.centroid.distanceTo(Point3D(1, 2, 3)), 1e-14);
  for (int k = 0; k < 3; ++k)
    EXPECT_NEAR(axes.spread[k], (k + 1) * (k + 1), 1e-13);
  EXPECT_NEAR(std::abs(axes.axes[2].dot(Vector3D(c, 0.5, 0))), 1.0, 1e-14);
  EXPECT_NEAR(std::abs(axes.axes[0].dot(Vector3D::unitZ())), 1.0, 1e-14);
  corners[3].setX(kNaN);
  EXPECT_FALSE(principalAxes(corners));
  EXPECT_FALSE(principalAxes({}));
}

}  // namespace
