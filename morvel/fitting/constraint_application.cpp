#include "morvel/fitting/constraint_application.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>
#include <stdexcept>

#include "morvel/fitting/basis_derivative_evaluator.h"
#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {

namespace status = foundation::status;
using Eigen::Matrix3d;
using Eigen::MatrixXd;
using Eigen::Vector3d;
using Eigen::VectorXd;

namespace {

constexpr int kMaskSide = 10;
constexpr std::size_t kMostConstraints = 200;
constexpr double kSmallestArea = 1e-12;  // of a parallelogram of tangents, model units squared
// Of the largest diagonal entry: keeps the answer small where constraints are nearly dependent.
constexpr double kDamping = 1e-9;
constexpr double kCurvatureDamping = 1e-6;  // curvatures at close places depend on each other more
constexpr int kMostG1Passes = 100;
constexpr double kLeastProgress = 0.9;  // what a pass leaves of the lack, at most
constexpr double kCorrectionDivisor = 10.0;
constexpr int kMostCurvaturePasses = 400;
constexpr int kPatience = 20;  // passes without a new best

struct MaskRule {
  const char* line;
  double weight;
  bool rows[kMaskSide];
  bool columns[kMaskSide];
};

constexpr bool kX = true, k0 = false;
constexpr std::array kMaskRules = {
    MaskRule{"   • Coons patch: Full interior adjustment capability",
             0.8,
             {k0, kX, kX, kX, kX, kX, kX, kX, kX, k0},
             {k0, kX, kX, kX, kX, kX, kX, kX, kX, k0}},
    MaskRule{"   • Gordon surface: Limited to 2nd/3rd rows adjustment",
             0.3,
             {k0, kX, kX, k0, k0, k0, k0, kX, kX, k0},
             {kX, kX, kX, kX, kX, kX, kX, kX, kX, kX}},
    MaskRule{"   • N-sided patch: Moderate interior adjustment",
             0.6,
             {k0, k0, kX, kX, kX, kX, kX, kX, k0, k0},
             {k0, k0, kX, kX, kX, kX, kX, kX, k0, k0}},
    MaskRule{"   • B-spline surface: All control points adjustable",
             0.9,
             {kX, kX, kX, kX, kX, kX, kX, kX, kX, kX},
             {kX, kX, kX, kX, kX, kX, kX, kX, kX, kX}}};

const MaskRule& maskRule(int surface_type) {
  const bool isKnown = surface_type >= 0 && surface_type < static_cast<int>(kMaskRules.size());
  return kMaskRules[isKnown ? static_cast<std::size_t>(surface_type) : kMaskRules.size() - 1];
}

/// K with a^T K b = II(a, b) for tangent vectors, from the form in parameters.
Matrix3d curvatureTensor(const SurfaceEvaluation& e, const Vector3D& normal) {
  Eigen::Matrix<double, 3, 2> tangents;
  tangents << e.Su.eigen(), e.Sv.eigen();
  Eigen::Matrix2d form;
  form << e.Suu.dot(normal), e.Suv.dot(normal), e.Suv.dot(normal), e.Svv.dot(normal);
  const Eigen::Matrix2d metric = tangents.transpose() * tangents;
  const double determinant = metric(0, 0) * metric(1, 1) - metric(0, 1) * metric(1, 0);
  Eigen::Matrix2d inverse;
  inverse << metric(1, 1), -metric(0, 1), -metric(1, 0), metric(0, 0);
  const Eigen::Matrix<double, 3, 2> dual = tangents * (inverse / determinant);
  return dual * form * dual.transpose();
}

bool hasTangentPlane(const SurfaceEvaluation& e) {
  return e.Su.cross(e.Sv).magnitude() > kSmallestArea;
}

/// The unit normal on the constraint's side of the surface.
Vector3D alignedNormal(const SurfaceEvaluation& e, const Vector3D& like) {
  return e.normal.dot(like) < 0.0 ? -e.normal : e.normal;
}

double spectralNorm(const Matrix3d& symmetric) {
  const auto eigen = foundation::symmetricEigen3(symmetric);
  return eigen ? eigen->values.cwiseAbs().maxCoeff() : std::numeric_limits<double>::infinity();
}

JoinErrors errorsAt(const BSplineSurface& surface, const JoinConstraint& constraint) {
  const SurfaceEvaluation e = surface.evaluateDerivatives(constraint.u, constraint.v, 2);
  JoinErrors errors;
  errors.position = e.point.distanceTo(constraint.position);
  if (!hasTangentPlane(e)) {
    errors.angle = std::numbers::pi / 2.0;
    errors.curvature = std::numeric_limits<double>::infinity();
    return errors;
  }
  const Vector3D normal = alignedNormal(e, constraint.normal);
  errors.angle =
      std::atan2(normal.cross(constraint.normal).magnitude(), normal.dot(constraint.normal));
  errors.curvature = spectralNorm(curvatureTensor(e, normal) - constraint.curvature);
  return errors;
}

bool isSatisfied(const JoinErrors& errors, int level) {
  return errors.position <= kJoinPositionTolerance && errors.angle <= kJoinAngleTolerance &&
         (level < 2 || errors.curvature <= kJoinCurvatureTolerance);
}

/// One control point that may move.
struct Adjustable {
  int i;
  int j;
  double weight;
};

std::vector<Adjustable> allPoints(int nU, int nV) {
  std::vector<Adjustable> points;
  for (int i = 0; i < nU; ++i) {
    for (int j = 0; j < nV; ++j)
      points.push_back({i, j, 1.0});
  }
  return points;
}

std::vector<Adjustable> adjustablePoints(const BSplineSurface& surface,
                                         const std::vector<MaskEntry>* mask) {
  const int nU = surface.getUControlPointCount();
  const int nV = surface.getVControlPointCount();
  if (!mask) return allPoints(nU, nV);
  std::vector<Adjustable> points;
  std::vector<char> isTaken(static_cast<std::size_t>(nU) * nV, 0);
  for (const MaskEntry& entry : *mask) {
    if (!std::isfinite(entry.weight) || entry.weight < 0.0)
      throw std::invalid_argument("Mask weights must be finite and at least 0");
    const int i = entry.index / kMaskSide;
    const int j = entry.index % kMaskSide;
    if (entry.index < 0 || i >= nU || j >= nV || entry.weight == 0.0) continue;
    char& taken = isTaken[static_cast<std::size_t>(i) * nV + j];
    if (!taken) points.push_back({i, j, entry.weight});
    taken = 1;
  }
  return points;
}

/// The linear conditions on the displacements of the adjustable points: for each constraint the
/// changes of the three coordinates of S, of Su and Sv along the normal and, for level 2, of Suu,
/// Suv and Svv along the normal. Rows are scaled to unit length; those that no adjustable point
/// reaches are left 0.
class Adjustment {
 public:
  Adjustment(BSplineSurface& surface, const std::vector<JoinConstraint>& constraints, int level,
             const std::vector<MaskEntry>* mask)
      : surface_(surface),
        constraints_(constraints),
        points_(adjustablePoints(surface, mask)),
        rowsEach_(level == 1 ? kFirstOrderRows : kSecondOrderRows) {
    assemble();
  }

  /// Displacements that change the values of the constraints by `wanted`, as nearly as possible.
  void move(const VectorXd& wanted) {
    if (points_.empty()) return;
    const VectorXd multipliers = inverse_ * wanted.cwiseProduct(scales_);
    const VectorXd shifts = weights_.cwiseProduct(matrix_.transpose() * multipliers);
    if (!shifts.allFinite())
      throw std::runtime_error("No adjustment of the control points was found");
    for (std::size_t k = 0; k < points_.size(); ++k) {
      const Vector3d shift = shifts.segment<3>(static_cast<Eigen::Index>(3 * k));
      const Adjustable& p = points_[k];
      surface_.setControlPoint(
          p.i, p.j, Point3D(Vector3d(surface_.getControlPoint(p.i, p.j).eigen() + shift)));
    }
  }

  /// What positions and tangents still lack; the size of it in the scale of the rows.
  double lackOfG1(VectorXd& lack) const {
    lack = VectorXd::Zero(rowCount());
    for (std::size_t k = 0; k < constraints_.size(); ++k) {
      const JoinConstraint& c = constraints_[k];
      const SurfaceEvaluation e = surface_.evaluateDerivatives(c.u, c.v, 1);
      const Eigen::Index row = static_cast<Eigen::Index>(k) * rowsEach_;
      lack.segment<3>(row) = c.position.eigen() - e.point.eigen();
      lack[row + 3] = -e.Su.dot(c.normal);
      lack[row + 4] = -e.Sv.dot(c.normal);
    }
    return lack.cwiseProduct(scales_).cwiseAbs().maxCoeff();
  }

  /// A share of what the second derivatives lack along the normals, where a constraint's curvature
  /// error is above the tolerance. The number of those constraints.
  int lackOfG2(VectorXd& lack, double share, bool printsErrors) const {
    lackOfG1(lack);
    int open = 0;
    for (std::size_t k = 0; k < constraints_.size(); ++k) {
      const JoinConstraint& c = constraints_[k];
      const SurfaceEvaluation e = surface_.evaluateDerivatives(c.u, c.v, 2);
      const double error = errorsAt(surface_, c).curvature;
      const bool isOpen = !(error <= kJoinCurvatureTolerance);
      if (printsErrors) {
        status::progress(status::Symbol::None, "    • Curvature error: ", error,
                         isOpen ? " - applying correction" : " - within tolerance");
      }
      const auto wanted = [&](const Vector3D& a, const Vector3D& b, const Vector3D& now) {
        return a.eigen().dot(c.curvature * b.eigen()) - now.dot(c.normal);
      };
      if (!isOpen || !std::isfinite(error)) continue;
      ++open;
      lack.segment<3>(static_cast<Eigen::Index>(k) * rowsEach_ + kFirstOrderRows) =
          share *
          Vector3d(wanted(e.Su, e.Su, e.Suu), wanted(e.Su, e.Sv, e.Suv), wanted(e.Sv, e.Sv, e.Svv));
    }
    return open;
  }

 private:
  static constexpr int kFirstOrderRows = 5;
  static constexpr int kSecondOrderRows = 8;

  Eigen::Index rowCount() const {
    return static_cast<Eigen::Index>(constraints_.size()) * rowsEach_;
  }

  void assemble() {
    const int p = surface_.getUDegree();
    const int q = surface_.getVDegree();
    const BasisDerivativeEvaluator basis(
        foundation::nurbs::clampedUniformKnots(surface_.getUControlPointCount(), p),
        foundation::nurbs::clampedUniformKnots(surface_.getVControlPointCount(), q), p, q);
    const auto columns = static_cast<Eigen::Index>(3 * points_.size());
    matrix_.setZero(rowCount(), columns);
    weights_.resize(columns);
    for (std::size_t k = 0; k < points_.size(); ++k)
      weights_.segment<3>(static_cast<Eigen::Index>(3 * k)).setConstant(points_[k].weight);
    for (std::size_t k = 0; k < constraints_.size(); ++k)
      fillRows(basis, constraints_[k], static_cast<Eigen::Index>(k) * rowsEach_);
    scaleRows();
    invert();
  }

  void fillRows(const BasisDerivativeEvaluator& basis, const JoinConstraint& c, Eigen::Index row) {
    constexpr int kOrders[][2] = {{1, 0}, {0, 1}, {2, 0}, {1, 1}, {0, 2}};
    const int nU = surface_.getUControlPointCount();
    const auto forEachPoint = [&](int orderU, int orderV, auto visit) {
      const VectorXd all = basis.evaluate_all(c.u, c.v, orderU, orderV);
      for (std::size_t k = 0; k < points_.size(); ++k)
        visit(static_cast<Eigen::Index>(3 * k), all[points_[k].j * nU + points_[k].i]);
    };
    forEachPoint(0, 0, [&](Eigen::Index column, double value) {
      matrix_.block<3, 3>(row, column) = value * Matrix3d::Identity();
    });
    for (int which = 3; which < rowsEach_; ++which) {
      const auto& order = kOrders[which - 3];
      forEachPoint(order[0], order[1], [&](Eigen::Index column, double value) {
        matrix_.block<1, 3>(row + which, column) = value * c.normal.eigen().transpose();
      });
    }
  }

  void scaleRows() {
    scales_ = matrix_.rowwise().norm();
    for (Eigen::Index row = 0; row < scales_.size(); ++row)
      scales_[row] = scales_[row] > 0.0 ? 1.0 / scales_[row] : 0.0;
    matrix_.array().colwise() *= scales_.array();
  }

  void invert() {
    MatrixXd gram = matrix_ * weights_.asDiagonal() * matrix_.transpose();
    const double largest = gram.size() ? gram.diagonal().maxCoeff() : 0.0;
    const double damping = rowsEach_ == kFirstOrderRows ? kDamping : kCurvatureDamping;
    gram.diagonal().array() += damping * std::max(largest, std::numeric_limits<double>::min());
    const auto inverse =
        foundation::solveSymmetric(gram, MatrixXd::Identity(gram.rows(), gram.cols()));
    if (!inverse) throw std::runtime_error("No adjustment of the control points was found");
    inverse_ = *inverse;
  }

  BSplineSurface& surface_;
  const std::vector<JoinConstraint>& constraints_;
  std::vector<Adjustable> points_;
  int rowsEach_;
  MatrixXd matrix_;  // columns 3 k + c: coordinate c of adjustable point k
  VectorXd weights_;
  VectorXd scales_;
  MatrixXd inverse_;  // of the damped Gram matrix of the rows
};

void meetTangents(Adjustment& adjustment) {
  VectorXd lack;
  double last = std::numeric_limits<double>::infinity();
  for (int pass = 0; pass < kMostG1Passes; ++pass) {
    const double now = adjustment.lackOfG1(lack);
    if (now == 0.0 || !(now < kLeastProgress * last)) return;
    last = now;
    adjustment.move(lack);
  }
}

double largestCurvatureError(const BSplineSurface& surface,
                             const std::vector<JoinConstraint>& constraints) {
  double largest = 0.0;
  for (const JoinConstraint& constraint : constraints)
    largest = std::max(largest, errorsAt(surface, constraint).curvature);
  return largest;
}

/// Ends where the corrections no longer help: without the freedom for them they would do harm.
void meetCurvature(Adjustment& adjustment, BSplineSurface& surface,
                   const std::vector<JoinConstraint>& constraints) {
  VectorXd lack;
  BSplineSurface best = surface;
  double least = largestCurvatureError(surface, constraints);
  int sinceBest = 0;
  for (int pass = 0; pass < kMostCurvaturePasses && sinceBest < kPatience; ++pass) {
    if (adjustment.lackOfG2(lack, 1.0 / kCorrectionDivisor, pass == 0) == 0) return;
    adjustment.move(lack);
    const double now = largestCurvatureError(surface, constraints);
    ++sinceBest;
    if (!(now < least)) continue;
    best = surface;
    least = now;
    sinceBest = 0;
  }
  surface = best;
}

void requireSound(const BSplineSurface& surface, const std::vector<JoinConstraint>& constraints,
                  int level) {
  if (level != 1 && level != 2)
    throw std::invalid_argument("Invalid constraint level (must be 1 or 2)");
  if (!surface.isValid() || surface.getUDegree() < 1 || surface.getVDegree() < 1)
    throw std::invalid_argument("Edit surface is not valid");
  if (constraints.empty() || constraints.size() > kMostConstraints)
    throw std::invalid_argument("Invalid constraints array");
  for (const JoinConstraint& c : constraints) {
    const bool isInside = c.u >= 0.0 && c.u <= 1.0 && c.v >= 0.0 && c.v <= 1.0;
    if (!isInside || !c.position.isFinite() || !c.normal.isFinite() || !c.curvature.allFinite())
      throw std::invalid_argument("Invalid constraints array");
  }
}

bool isMaximum(SurfaceSide side) { return side == SurfaceSide::UMax || side == SurfaceSide::VMax; }
bool runsAlongU(SurfaceSide side) { return side == SurfaceSide::VMin || side == SurfaceSide::VMax; }
const Vector3D& acrossOf(const SurfaceEvaluation& e, SurfaceSide side) {
  return runsAlongU(side) ? e.Sv : e.Su;
}
const Vector3D& alongOf(const SurfaceEvaluation& e, SurfaceSide side) {
  return runsAlongU(side) ? e.Su : e.Sv;
}

std::pair<double, double> onSide(SurfaceSide side, double t) {
  switch (side) {
    case SurfaceSide::UMin:
      return {0.0, t};
    case SurfaceSide::UMax:
      return {1.0, t};
    case SurfaceSide::VMin:
      return {t, 0.0};
    case SurfaceSide::VMax:
      break;
  }
  return {t, 1.0};
}

}  // namespace

std::vector<MaskEntry> constraintMask(int surface_type, std::size_t capacity) {
  const MaskRule& rule = maskRule(surface_type);
  status::progress(status::Symbol::None, "🎭 MASK: Generating constraint mask for surface type ",
                   surface_type);
  status::progress(status::Symbol::None, rule.line);
  std::vector<MaskEntry> entries;
  for (int row = 0; row < kMaskSide; ++row) {
    for (int column = 0; column < kMaskSide; ++column) {
      if (rule.rows[row] && rule.columns[column] && entries.size() < capacity)
        entries.push_back({row * kMaskSide + column, rule.weight});
    }
  }
  status::progress(status::Symbol::Success, "MASK: Generated ", entries.size(),
                   " adjustable points");
  return entries;
}

JoinConstraint joinConstraintAt(const Surface& other, double otherU, double otherV, double u,
                                double v) {
  const SurfaceEvaluation e = other.evaluateDerivatives(otherU, otherV, 2);
  if (!e.point.isFinite() || !hasTangentPlane(e))
    throw std::invalid_argument("Constraint surface has no tangent plane at a constraint");
  JoinConstraint constraint{u, v, e.point, e.normal, curvatureTensor(e, e.normal)};
  if (!constraint.normal.isFinite() || !constraint.curvature.allFinite())
    throw std::invalid_argument("Constraint surface has no tangent plane at a constraint");
  return constraint;
}

JoinReport measureJoin(const BSplineSurface& surface,
                       const std::vector<JoinConstraint>& constraints, int level) {
  JoinReport report;
  for (const JoinConstraint& constraint : constraints) {
    const JoinErrors errors = errorsAt(surface, constraint);
    report.after.position = std::max(report.after.position, errors.position);
    report.after.angle = std::max(report.after.angle, errors.angle);
    report.after.curvature = std::max(report.after.curvature, errors.curvature);
    report.satisfied += isSatisfied(errors, level);
  }
  report.before = report.after;
  return report;
}

JoinReport applyJoinConstraints(BSplineSurface& surface,
                                const std::vector<JoinConstraint>& constraints, int level,
                                const std::vector<MaskEntry>* mask) {
  requireSound(surface, constraints, level);
  const JoinErrors before = measureJoin(surface, constraints, level).after;
  BSplineSurface edited = surface;
  Adjustment adjustment(edited, constraints, level, mask);
  meetTangents(adjustment);
  if (level == 2) meetCurvature(adjustment, edited, constraints);
  JoinReport report = measureJoin(edited, constraints, level);
  report.before = before;
  if (!edited.isValid() || !std::isfinite(report.after.position))
    throw std::runtime_error("No adjustment of the control points was found");
  surface = edited;
  return report;
}

std::vector<SidePair> pairSides(const Surface& other, SurfaceSide otherSide, const Surface& surface,
                                SurfaceSide side, int samples) {
  if (samples < 2) throw std::invalid_argument("A side needs at least 2 samples");
  const auto at = [](const Surface& s, SurfaceSide where, double t) {
    const auto [u, v] = onSide(where, t);
    return s.evaluate(u, v);
  };
  const Point3D starts[] = {at(other, otherSide, 0.0), at(surface, side, 0.0)};
  const Point3D ends[] = {at(other, otherSide, 1.0), at(surface, side, 1.0)};
  const bool runsAgainst = starts[0].distanceTo(ends[1]) + ends[0].distanceTo(starts[1]) <
                           starts[0].distanceTo(starts[1]) + ends[0].distanceTo(ends[1]);
  std::vector<SidePair> pairs;
  for (int k = 0; k < samples; ++k) {
    const double t = double(k) / (samples - 1);
    const auto [u, v] = onSide(side, t);
    const auto [otherU, otherV] = onSide(otherSide, runsAgainst ? 1.0 - t : t);
    pairs.push_back({otherU, otherV, u, v, runsAgainst});
  }
  return pairs;
}

std::vector<G1Constraint> boundaryG1Constraints(const Surface& other, SurfaceSide otherSide,
                                                const Surface& surface, SurfaceSide side,
                                                int samples) {
  std::vector<G1Constraint> constraints;
  for (const SidePair& pair : pairSides(other, otherSide, surface, side, samples)) {
    const SurfaceEvaluation e = other.evaluateDerivatives(pair.otherU, pair.otherV, 1);
    const Vector3D outward =
        isMaximum(otherSide) ? acrossOf(e, otherSide) : -acrossOf(e, otherSide);
    const Vector3D across = isMaximum(side) ? -outward : outward;
    const Vector3D along = pair.runsAgainst ? -alongOf(e, otherSide) : alongOf(e, otherSide);
    if (!e.point.isFinite() || !across.isFinite() || !along.isFinite())
      throw std::invalid_argument("Constraint surface is not finite along its side");
    constraints.push_back({e.point, runsAlongU(side) ? along : across,
                           runsAlongU(side) ? across : along, pair.u, pair.v, 1.0, true, true});
  }
  return constraints;
}

}  // namespace trova::geometry
