#pragma once

#include <memory>
#include <string>
#include <vector>

#include "morvel/nsided/boundary_loop.h"
#include "morvel/nsided/boundary_surface.h"
#include "morvel/nsided/hrbf_interpolator.h"
#include "morvel/nsided/nsided_parameters.h"
#include "morvel/nsided/rbf_thin_plate_spline.h"
#include "morvel/surfaces/bspline_surface.h"

namespace trova::geometry {

/// How well a patch fits; the defaults say that nothing was measured.
struct MORVEL_API NSidedQuality {
  double maxDeviation = 1.0;  ///< from the boundary, model units
  double rmsDeviation = 1.0;
  double conditionNumber = 1e15;  ///< of the system that was solved; 0: there was none to judge
  double maxAngle = 1.0;  ///< radians, to the tangent planes of neighbours; 0: none asked for
};

/// A surface that fills a hole bounded by three or more curves, held as one B-spline surface. By
/// default it is a height field over the unit square: the points (u, v, h(u, v)), where u and v run
/// over the box of the boundary in x and y. With `fillInSpace` it follows the boundary in space.
class MORVEL_API RBFNSidedPatch : public BoundarySurface {
 public:
  RBFNSidedPatch() = default;
  RBFNSidedPatch(BoundaryCurves curves, NSidedPatchParameters parameters);
  RBFNSidedPatch(const RBFNSidedPatch& other);

  /// Checks the boundary, samples it, fits, converts and measures. Where the check fails the patch
  /// has no surface.
  /// @param results  what the check found, where wanted
  /// @throws std::invalid_argument, std::runtime_error where a step after the check fails
  static std::unique_ptr<RBFNSidedPatch> createFromBoundaries(
      const BoundaryCurves& curves, const NSidedPatchParameters& parameters,
      ValidationResults* results = nullptr);

  // ---- the boundary ----

  /// At least three curves that close; the reason or a warning is `getValidationMessage`.
  bool validateBoundaryLoop();
  /// Everything that a patch asks of its boundary; `results` gets every fault with its text.
  bool validateBoundaryConfiguration(ValidationResults& results) const;
  bool checkBoundaryClosure(double& max_gap) const;
  bool detectCurveIntersections() const;
  std::vector<double> analyzeBoundaryGaps() const;
  /// The curves exist, are valid and have a length.
  bool validateCurvesCompatibility() const;
  const std::string& getValidationMessage() const { return message_; }
  /// @throws std::out_of_range
  Point3D getCurveEndpoint(int index, bool atEnd) const;

  // ---- the steps of the making ----

  /// @throws as BoundaryConstraintExtractor::extractFromCurves
  void extractBoundaryConstraints(int samples_per_curve);
  /// Hands the samples to the interpolator that is configured.
  void buildConstraintSystem();
  void buildThinPlateSplineConstraints();
  /// The Hermite interpolator where configured, else the thin plate. False where a fit fails.
  bool fitRBFSurface();
  bool fitHRBFSurface();
  /// The samples with normals: those of the surfaces that curves lie on, and that of the plane
  /// nearest to the loop for others. Of samples that coincide the first is kept, its normal
  /// blended.
  std::vector<HermiteConstraint> convertToHRBFConstraints() const;
  /// Degrees 3 and 3, spans + 3 points asked for, resolution 50.
  /// @throws as RBFThinPlateSpline::ConvertToBSpline
  void convertToBSpline();
  /// The Hermite field over a 50 x 50 grid in the plane nearest to the loop: where a line across
  /// the plane meets the surface the weight is 1, where it comes as close as d < 0.1 (of the loop's
  /// size) 1 / (1 + 10 d), else 0; points of less weight are drawn to the mean of their neighbours.
  /// @throws std::runtime_error "HRBF to B-spline conversion failed: " with the reason
  void convertHRBFToBSpline();
  void computeQualityMetrics();

  const std::vector<nsided::G0Constraint>& getPositionConstraints() const {
    return constraints_.positions;
  }
  const BoundaryConstraints& getBoundaryConstraints() const { return constraints_; }
  const RBFThinPlateSpline& getThinPlateSpline() const { return plate_; }
  const NSidedPatchParameters& getParameters() const { return parameters_; }
  /// Null before a surface was made.
  const BSplineSurface* getBSplineSurface() const { return surface_.get(); }

  // ---- the result ----

  const NSidedQuality& getQuality() const { return quality_; }
  /// Prints a report and returns the figures.
  NSidedQuality analyzeSurfaceQuality() const;
  /// "Excellent" within the boundary tolerance, "Good" within ten times of it, "Fair" within a
  /// hundred times, else "Poor".
  std::string getQualityRating() const;
  /// resolution x resolution points of the surface, u outer.
  /// @throws std::invalid_argument for a resolution below 2 or above 1000, and as `evaluate`
  std::vector<Point3D> generatePreview(int resolution) const;
  /// max(6, min(2 N, 12)) both ways; four more, at most 20, for a boundary tolerance below 0.001.
  static void calculateOptimalSpans(const NSidedPatchParameters& params, int& spans_u,
                                    int& spans_v);

  // ---- the Hermite field ----

  /// The points where 64 x 32 directions from a point leave the surface, as far as they do.
  std::vector<Point3D> sampleHRBFSpherical(const Point3D& center, double radius) const;
  /// resolution^2 points over the plane nearest to the loop; `Fitted` by the interpolator of this
  /// patch, the other by one that is fitted to the boundary for the purpose.
  std::vector<Point3D> sampleHRBFPlanar(int resolution) const;
  std::vector<Point3D> sampleFittedHRBFPlanar(int resolution) const;
  SurfaceMesh createHRBFMeshVisualization(int resolution) const;
  SurfaceMesh createFittedHRBFMeshVisualization(int resolution) const;
  /// The fitted field and its gradient. @throws as HRBFInterpolator
  double evaluateHRBFDirect(const Point3D& point) const;
  Vector3D evaluateHRBFDerivatives(const Point3D& point) const;

  // ---- as a surface ----
  // What needs the B-spline surface throws std::runtime_error "N-sided patch surface not yet
  // created" before there is one.

  std::string getTypeIdentifier() const override { return "RBFNSidedPatch"; }
  std::unique_ptr<Surface> clone() const override;
  bool isValid() const override;
  Point3D evaluate(double u, double v) const override;
  SurfaceEvaluation evaluateDerivatives(double u, double v, int order) const override;
  BoundingBox getBoundingBox() const override;
  std::unique_ptr<Surface> transform(const Transform3D& matrix) const override;
  /// A part of the B-spline surface.
  /// @throws std::runtime_error "Cannot trim N-sided patch without B-spline representation"
  std::unique_ptr<Surface> trim(double uStart, double uEnd, double vStart,
                                double vEnd) const override;
  std::unique_ptr<Surface> reverseU() const override;
  std::unique_ptr<Surface> reverseV() const override;
  std::unique_ptr<Surface> swapUV() const override;
  void applyTransformToGeometry(const Transform3D& matrix) override;

 private:
  const BSplineSurface& requireSurface() const;
  std::unique_ptr<Surface> withSurface(std::unique_ptr<Surface> surface) const;
  int chosenSamplesPerCurve() const;
  void makeInSpace();
  void makeHeightField();
  bool prints() const { return parameters_.verbose; }

  NSidedPatchParameters parameters_;
  BoundaryConstraints constraints_;
  RBFThinPlateSpline plate_;
  HRBFInterpolator hermite_;
  std::shared_ptr<const BSplineSurface> surface_;
  NSidedQuality quality_;
  std::string message_;
};

}  // namespace trova::geometry
