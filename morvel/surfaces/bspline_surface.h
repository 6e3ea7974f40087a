#pragma once

#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "morvel/foundation/spline_rows.h"
#include "morvel/surfaces/spline_surface.h"

namespace trova::geometry {

/// Sides of a surface, as `extend` numbers them.
enum class SurfaceSide { UMin = 0, UMax = 1, VMin = 2, VMax = 3 };

/// How an extension patch continues the surface. By contract Natural is the G2 builder.
enum class SurfaceExtension { Natural = 0, Linear = 1, Reflect = 2 };

/// The value of the uniform clamped basis function that B-spline and NURBS surfaces are evaluated
/// with: index i of n functions of degree p on p + 1 zeros, k / (n - p), p + 1 ones. For p = 0 it
/// is 1 on [i / n, (i + 1) / n), and the last one also at t = 1 (t is snapped to 0 and 1 within
/// 1e-12).
MORVEL_API double computeUniformBasisFunction(int i, int p, double t, int n);

/// A polynomial tensor-product spline surface.
///
/// By contract: evaluation, derivatives and everything that rests on them (normals, tessellation,
/// area, closest points) clamp the parameters to [0, 1] and use the clamped uniform knots of
/// `computeUniformBasisFunction`, whatever the stored knots are. Refinement, trimming and elevation
/// are exact on the stored knots.
class MORVEL_API BSplineSurface : public SplineSurface {
 public:
  using Net = std::vector<std::vector<Point3D>>;

  /// Takes its members as given; `isValid` judges them. Rows of unequal lengths throw
  /// std::invalid_argument.
  BSplineSurface(const Net& net, std::vector<double> uKnots, std::vector<double> vKnots,
                 int degreeU, int degreeV);
  BSplineSurface(ControlNet net, std::vector<double> uKnots, std::vector<double> vKnots,
                 int degreeU, int degreeV);

  /// On clamped uniform knots.
  /// @throws std::invalid_argument "Control points cannot be empty"
  static std::unique_ptr<BSplineSurface> createClamped(const Net& net, int degreeU, int degreeV);
  static std::unique_ptr<BSplineSurface> createClamped(ControlNet net, int degreeU, int degreeV);

  std::string getTypeIdentifier() const override { return "BSplineSurface"; }
  std::unique_ptr<Surface> clone() const override;
  bool isValid() const override;
  Point3D evaluate(double u, double v) const override;
  SurfaceEvaluation evaluateDerivatives(double u, double v, int order) const override;
  std::unique_ptr<Surface> transform(const Transform3D& matrix) const override;
  std::pair<double, double> getClosestParameter(const Point3D& point) const override;
  /// The part between the parameters, in stored-knot units; it keeps its stretch of the knots.
  /// Exact on the stored knots.
  /// @throws std::invalid_argument unless start and end lie in the stored range (within 1e-10),
  /// more
  ///         than 2e-10 apart
  std::unique_ptr<Surface> trim(double uStart, double uEnd, double vStart,
                                double vEnd) const override;
  std::unique_ptr<Surface> reverseU() const override;
  std::unique_ptr<Surface> reverseV() const override;
  /// By contract: an unchanged copy (NurbsSurface transposes).
  std::unique_ptr<Surface> swapUV() const override;
  SurfaceMesh tessellateUniform(int uCount, int vCount) const override;
  /// A shared copy.
  std::shared_ptr<BSplineSurface> toNurbs(
      double tolerance = kDefaultToNurbsTolerance) const override;
  bool isNurbs() const override { return true; }

  /// In stored-knot units. Stops when the multiplicity, counted within 1e-10, reaches the degree.
  /// times < 1 gives an unchanged copy. @throws std::invalid_argument outside the stored range
  std::unique_ptr<Surface> insertUKnot(double u, int times) const override;
  std::unique_ptr<Surface> insertVKnot(double v, int times) const override;
  /// By contract: unchanged copies.
  std::unique_ptr<Surface> removeUKnot(double u, int times) const override;
  std::unique_ptr<Surface> removeVKnot(double v, int times) const override;
  /// Exact on the stored knots. @throws as foundation::nurbs::elevated
  std::unique_ptr<Surface> elevateUDegree(int times) const override;
  std::unique_ptr<Surface> elevateVDegree(int times) const override;

  /// Many points at a time, in the layout of surface_batch.h, with the bits of
  /// `evaluateDerivatives`.
  void evaluateBatch(std::span<const double> uv, int order, double* out) const;
  void evaluateGrid(std::span<const double> u, std::span<const double> v, int order,
                    double* out) const;
  /// The surface on the *stored* knots, at parameters in their units, clamped to their range.
  /// @throws std::invalid_argument where net or knots do not define it
  void evaluateExactBatch(std::span<const double> uv, int order, double* out) const;

  /// The patch that adjoins a side, alone; the receiver is not joined to it (`mergeSurfaces` does
  /// that). Null unless distance > 0, side is 0 .. 3 (SurfaceSide), type 0 .. 2 (SurfaceExtension),
  /// and the surface is valid; also where a patch cannot be made: a side along which the surface
  /// does not move across it, no more points than the degree, a net that is not finite.
  ///
  /// The patch is a surface of its own over [0, 1] x [0, 1] that runs on in the receiver's
  /// directions, with its degrees: for side u-max the patch's edge u = 0 is the receiver's edge u =
  /// 1, for u-min its edge u = 1 is the receiver's u = 0; likewise in v. Across the side it has
  /// degree + 1 rows, along it the receiver's count and stored knots. The joint holds on evaluated
  /// geometry.
  /// @param distance  model units: the mean length, over the side, of the patch's first derivative
  ///                  across the joint (for a linear patch, of its straight lines)
  std::unique_ptr<BSplineSurface> extend(double distance, int side, int type) const;

  // What `extend` is made of: by side, and by builder. Each gives null as `extend` does.
  std::unique_ptr<BSplineSurface> createExtensionSegment(double distance, SurfaceSide side,
                                                         SurfaceExtension type) const;
  std::unique_ptr<BSplineSurface> createUMinExtensionSegment(double distance,
                                                             SurfaceExtension type) const;
  std::unique_ptr<BSplineSurface> createUMaxExtensionSegment(double distance,
                                                             SurfaceExtension type) const;
  std::unique_ptr<BSplineSurface> createVMinExtensionSegment(double distance,
                                                             SurfaceExtension type) const;
  std::unique_ptr<BSplineSurface> createVMaxExtensionSegment(double distance,
                                                             SurfaceExtension type) const;

  /// Position and tangent continued: straight lines along the derivative across the side.
  std::unique_ptr<BSplineSurface> createG1UMinExtension(double distance) const;
  std::unique_ptr<BSplineSurface> createG1UMaxExtension(double distance) const;
  std::unique_ptr<BSplineSurface> createG1VMinExtension(double distance) const;
  std::unique_ptr<BSplineSurface> createG1VMaxExtension(double distance) const;

  /// Position, tangent and curvature continued: the parabolas with the side's first and second
  /// derivative across it (straight lines for degree 1).
  std::unique_ptr<BSplineSurface> createG2UMinExtension(double distance) const;
  std::unique_ptr<BSplineSurface> createG2UMaxExtension(double distance) const;
  std::unique_ptr<BSplineSurface> createG2VMinExtension(double distance) const;
  std::unique_ptr<BSplineSurface> createG2VMaxExtension(double distance) const;

  /// The degree + 1 rows at the side mirrored point by point in the row on the edge, all by one
  /// factor that gives the length: tangents are continued, bends turned to the other side.
  std::unique_ptr<BSplineSurface> createReflectedUMinExtension(double distance) const;
  std::unique_ptr<BSplineSurface> createReflectedUMaxExtension(double distance) const;
  std::unique_ptr<BSplineSurface> createReflectedVMinExtension(double distance) const;
  std::unique_ptr<BSplineSurface> createReflectedVMaxExtension(double distance) const;

  /// With the knot at multiplicity degree (counted within 1e-10), in stored-knot units.
  std::unique_ptr<BSplineSurface> insertKnotIfNeeded(double parameter, bool isU) const;
  /// Rows uFirst .. uLast and columns vFirst .. vLast of the net, ends included.
  /// @throws std::out_of_range
  ControlNet extractSubPatch(int uFirst, int uLast, int vFirst, int vLast) const;
  /// The stored knots that belong to the rows (columns) first .. last, ends included: last - first
  /// + degree + 2 of them. @throws std::out_of_range
  std::vector<double> extractUKnotSubsequence(int first, int last) const;
  std::vector<double> extractVKnotSubsequence(int first, int last) const;

  /// Two surfaces as they must be to be joined: the same degrees in both directions; along the
  /// joint both on `surface`'s stored range with the union of their knots; across it clamped. Exact
  /// on the stored knots.
  /// @param side  of `surface`, at which `patch` lies
  /// @throws std::invalid_argument for a surface that is not valid
  static std::pair<std::unique_ptr<BSplineSurface>, std::unique_ptr<BSplineSurface>>
  makeSurfacesCompatible(const BSplineSurface& surface, const BSplineSurface& patch,
                         SurfaceSide side);
  /// One surface from two that meet within the geometric tolerance along a side: on u-max the edge
  /// u = 0 of `patch` lies on the edge u = 1 of `surface`, on u-min the other way round; likewise
  /// in v. Across the joint the patch's stored knots follow (precede) those of the surface, at
  /// their own spacing; the joint is a knot of multiplicity degree. Exact on the stored knots; by
  /// contract the evaluation, on uniform knots, is another shape near the joint.
  /// @throws std::invalid_argument where they do not meet, or as makeSurfacesCompatible
  static std::unique_ptr<BSplineSurface> mergeSurfaces(const BSplineSurface& surface,
                                                       const BSplineSurface& patch,
                                                       SurfaceSide side);
  /// The two nets side by side; the row that they share is taken once, from `surface`.
  /// @throws std::invalid_argument for counts along the joint that differ or an empty net
  static ControlNet mergeSurfaceControlNets(const ControlNet& surface, const ControlNet& patch,
                                            SurfaceSide side);
  /// The rows (columns) of `first`, then those of `second` without its first one.
  /// @throws as mergeSurfaceControlNets
  static ControlNet mergeUSurfaceControlNets(const ControlNet& first, const ControlNet& second);
  static ControlNet mergeVSurfaceControlNets(const ControlNet& first, const ControlNet& second);

  /// A surface holds nothing that could be out of date: its bases depend on counts, degrees and
  /// stored knots, which never change. Kept for callers that change points in bulk; does nothing.
  void invalidateCache() {}

 private:
  std::unique_ptr<BSplineSurface> unchangedCopy() const;
  std::unique_ptr<BSplineSurface> reversed(bool isU) const;
  foundation::nurbs::SplineRows uRows() const;
  foundation::nurbs::SplineRows vRows() const;
  std::unique_ptr<BSplineSurface> withURows(foundation::nurbs::SplineRows rows) const;
  std::unique_ptr<BSplineSurface> withVRows(foundation::nurbs::SplineRows rows) const;
  std::unique_ptr<BSplineSurface> extensionPatch(double distance, SurfaceSide side,
                                                 SurfaceExtension type) const;
  template <int Order>
  void evaluateInto(double u, double v, double* out) const;
  void evaluateByDefinition(double u, double v, int order, double* out) const;
  bool usesLocalSupport() const;
};

}  // namespace trova::geometry
