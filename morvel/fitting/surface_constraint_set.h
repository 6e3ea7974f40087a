#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <string>
#include <vector>

#include "morvel/fitting/g1_constraint.h"
#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/spline_basis.h"
#include "morvel/foundation/vector.h"

// What a surface shall satisfy at given parameters, collected before it is fitted. Interpolation
// points and G1 tangents are hard: they hold exactly. Approximation points are weighted least
// squares. The remaining kinds enter no system: a fit measures how well it meets them (the
// satisfaction score of the engine).

namespace trova::geometry {

enum class PointConstraintType { Interpolation = 0, Approximation = 1 };

struct MORVEL_API SurfacePointConstraint {
  Point3D position;
  double u = 0.0;
  double v = 0.0;
  double weight = 1.0;
  PointConstraintType type = PointConstraintType::Approximation;
  bool is_active = true;
};

/// First derivatives in u and v.
struct MORVEL_API SurfaceTangentConstraint {
  Point3D position;
  double u = 0.0;
  double v = 0.0;
  Vector3D tangent_u;
  Vector3D tangent_v;
  double weight = 1.0;
};

/// A mean curvature, in 1 / model units.
struct MORVEL_API SurfaceCurvatureConstraint {
  Point3D position;
  double u = 0.0;
  double v = 0.0;
  double curvature = 0.0;
  double weight = 1.0;
};

/// A normal direction, of any length and either sign.
struct MORVEL_API SurfaceNormalConstraint {
  Point3D position;
  double u = 0.0;
  double v = 0.0;
  Vector3D normal;
  double weight = 1.0;
};

/// Principal curvatures; their mean is the curvature constraint that stands for them.
struct MORVEL_API PrincipalCurvatureConstraint {
  SurfaceCurvatureConstraint mean;
  double first = 0.0;
  double second = 0.0;
};

/// Derivatives up to order `level` shall be continuous at (u, v).
struct MORVEL_API ContinuityRequirement {
  double u = 0.0;
  double v = 0.0;
  int level = 0;
};

enum class SurfaceConstraintType {
  Interpolation,
  Approximation,
  Tangent,
  Curvature,
  Normal,
  G1Tangent,
  G1Normal,
  G2Curvature,
  G2PrincipalCurvature,
  Continuity
};

/// A system for the control points of a surface, in full: matrix X = right-hand side, a column for
/// each coordinate. Control point (i, j) is unknown j n_u + i.
struct MORVEL_API SurfaceConstraintSystem {
  Eigen::MatrixXd matrix;
  Eigen::MatrixXd right_hand_side;
  int control_points = 0;
  int hard_constraints = 0;     ///< rows behind those of the control points
  double regularization = 0.0;  ///< what was added to the diagonal
  bool success = false;
  std::string error;
};

class MORVEL_API SurfaceConstraintSet {
 public:
  /// By contract a parameter that is not a number moves the point to (0.5, 0.5), and one outside
  /// [0, 1] is clamped; both print a line.
  void add_interpolation_point(const Point3D& point, double u, double v, double weight = 1e6);
  /// The parameters stand as they are; `validate_point_constraints` judges them.
  void add_approximation_point(const Point3D& point, double u, double v, double weight = 1.0);
  void add_tangent_constraint(const Point3D& point, double u, double v, const Vector3D& tangent_u,
                              const Vector3D& tangent_v, double weight = 1.0);
  void add_curvature_constraint(const Point3D& point, double u, double v, double curvature,
                                double weight = 1.0);
  void add_normal_constraint(const Point3D& point, double u, double v, const Vector3D& normal,
                             double weight = 1.0);
  void add_g1_tangent_constraint(const G1Constraint& constraint);
  /// Both tangents given.
  void add_g1_tangent_constraint(const Point3D& point, double u, double v,
                                 const Vector3D& tangent_u, const Vector3D& tangent_v,
                                 double weight = 1.0);
  /// Kept as it is, and as a G1 tangent constraint of weight 1: the tangents are normal x reference
  /// normalised, and normal x that, the reference being the x axis, or the y axis where |normal .
  /// x| > 0.9.
  void add_g1_normal_constraint(const Point3D& point, double u, double v, const Vector3D& normal,
                                double weight = 1.0);
  void add_g2_curvature_constraint(const Point3D& point, double u, double v, double curvature,
                                   double weight = 1.0);
  void add_g2_principal_curvature_constraint(const Point3D& point, double u, double v, double first,
                                             double second, double weight = 1.0);
  void add_continuity_requirement(double u, double v, int level);

  /// Active points, and every other constraint; a G1 normal counts once, by its tangents.
  int get_total_constraint_count() const;
  int get_interpolation_constraint_count() const;  ///< active ones
  int get_approximation_constraint_count() const;
  /// Tangents, curvatures, normals, G1 and G2 constraints.
  int get_derivative_constraint_count() const;
  /// Scalar equations: 3 a point, 3 a tangent, 1 a curvature, 1 a normal (0 for a G1 normal, whose
  /// tangents count), 2 for principal curvatures.
  int get_total_equation_count() const;
  /// Rows that hold exactly, per coordinate: active interpolation points and given G1 tangents.
  int count_hard_constraints() const;
  int count_approximation_constraints() const { return get_approximation_constraint_count(); }

  bool validate_all_constraints() const;
  bool validate_point_constraints() const;       ///< of the active points
  bool validate_derivative_constraints() const;  ///< of all other kinds
  /// Both within [-1e-12, 1 + 1e-12]. Otherwise `message`, if given, says so.
  static bool validate_parameter_range(double u, double v, std::string* message = nullptr);
  std::vector<std::string> get_validation_warnings() const;
  /// One text for each constraint that is not valid: "G0 constraint k: ...", also G1 and G2.
  std::vector<std::string> get_validation_messages() const;
  /// Two active interpolation points, or two G1 constraints, at the same parameters (within 1e-9)
  /// ask for different things (relative difference above `tolerance`).
  bool has_conflicting_constraints(double tolerance = 1e-8) const;
  /// The highest level required; 0 without requirements.
  int get_max_continuity_level() const;

  /// Of the point constraint with that index, in the order of adding. False for another index.
  bool set_constraint_active(std::size_t index, bool is_active);
  /// Clearing G1 normals removes their tangents too; clearing G1 tangents leaves those.
  void clear_constraint_type(SurfaceConstraintType type);
  void clear_all_constraints() { *this = SurfaceConstraintSet(); }

  const std::vector<SurfacePointConstraint>& point_constraints() const { return points_; }
  const std::vector<SurfaceTangentConstraint>& tangent_constraints() const { return tangents_; }
  const std::vector<SurfaceCurvatureConstraint>& curvature_constraints() const {
    return curvatures_;
  }
  const std::vector<SurfaceNormalConstraint>& normal_constraints() const { return normals_; }
  /// Those of the G1 normals included.
  const std::vector<G1Constraint>& g1_tangent_constraints() const { return g1Tangents_; }
  const std::vector<SurfaceNormalConstraint>& g1_normal_constraints() const { return g1Normals_; }
  const std::vector<SurfaceCurvatureConstraint>& g2_curvature_constraints() const {
    return g2Curvatures_;
  }
  const std::vector<PrincipalCurvatureConstraint>& g2_principal_curvature_constraints() const {
    return g2Principals_;
  }
  const std::vector<ContinuityRequirement>& continuity_requirements() const {
    return requirements_;
  }

  // Systems in full, for nets of a few hundred points and for inspection; the engine solves larger
  // ones without writing them out. They fail where a basis is not usable or a constraint is not
  // valid, and throw std::length_error above 2^27 entries.

  /// The hard rows C X = d alone: interpolation points, then G1 tangents, one row each.
  SurfaceConstraintSystem build_constraint_system(const foundation::nurbs::SplineBasis& u,
                                                  const foundation::nurbs::SplineBasis& v) const;
  /// A^T W A X = A^T W b of the approximation points.
  SurfaceConstraintSystem build_least_squares_system(const foundation::nurbs::SplineBasis& u,
                                                     const foundation::nurbs::SplineBasis& v) const;
  /// [[A^T W A + r I, C^T], [C, 0]] and [A^T W b; d]. The G1 rows of C for a coordinate are the
  /// rows and columns of that coordinate in the matrix of G1ConstraintBuilder, the same for all
  /// three.
  /// @param weight      lambda
  /// @param isAdaptive  r is lambda times the largest singular value of A^T W A, or lambda itself
  ///                    where that is 0 (no approximation points); else r = lambda
  SurfaceConstraintSystem build_lagrange_multiplier_system(const foundation::nurbs::SplineBasis& u,
                                                           const foundation::nurbs::SplineBasis& v,
                                                           double weight, bool isAdaptive) const;

 private:
  std::vector<SurfacePointConstraint> points_;
  std::vector<SurfaceTangentConstraint> tangents_;
  std::vector<SurfaceCurvatureConstraint> curvatures_;
  std::vector<SurfaceNormalConstraint> normals_;
  std::vector<G1Constraint> g1Tangents_;
  std::vector<std::size_t> derivedTangents_;  // their indices, one for each G1 normal
  std::vector<SurfaceNormalConstraint> g1Normals_;
  std::vector<SurfaceCurvatureConstraint> g2Curvatures_;
  std::vector<PrincipalCurvatureConstraint> g2Principals_;
  std::vector<ContinuityRequirement> requirements_;
};

}  // namespace trova::geometry
