#pragma once

#include "morvel/trimmed_surface/trimmed_surface.h"

namespace trova::geometry::trimmed_surface {

/// A rectangle of parameters.
struct MORVEL_API TrimBounds {
  double uMin = 0.0;
  double uMax = 1.0;
  double vMin = 0.0;
  double vMax = 1.0;
};

/// A surface cut to a rectangle of its parameters, or to a strip where one direction is open.
///
/// By contract it keeps one outer loop without curves and polygon, which its classification never
/// looks at, and which makes a surface that is bounded at all answer false to `isValid`.
class MORVEL_API RectangularTrimmedSurface : public TrimmedSurface {
 public:
  /// @throws as `validateTrimBounds`
  RectangularTrimmedSurface(std::shared_ptr<Surface> base, const TrimBounds& bounds,
                            bool boundedInU = true, bool boundedInV = true,
                            const TrimmedSurfaceOptions& settings = {});

  std::string getTypeIdentifier() const override { return "RectangularTrimmedSurface"; }
  bool isValid() const override;
  std::unique_ptr<Surface> clone() const override;
  std::unique_ptr<Surface> transform(const Transform3D& matrix) const override;
  std::unique_ptr<Surface> reverseU() const override;
  std::unique_ptr<Surface> reverseV() const override;
  std::unique_ptr<Surface> swapUV() const override;
  PointClassification classifyPoint(double u, double v) const override;

  const TrimBounds& getTrimBounds() const { return bounds_; }
  bool isTrimmedU() const { return trimU_; }
  bool isTrimmedV() const { return trimV_; }
  /// Leaves the bounds as they were where it throws. @throws as `validateTrimBounds`
  void setTrimBounds(const TrimBounds& bounds);

  /// Judges the trimmed directions. @throws std::invalid_argument for bounds out of order,
  /// std::out_of_range for bounds outside of the base's domain
  void validateTrimBounds() const;
  void createRectangularTrimLoops();

 private:
  RectangularTrimmedSurface(const RectangularTrimmedSurface&) = default;
  bool areBoundsSound() const;

  TrimBounds bounds_;
  bool trimU_;
  bool trimV_;
};

}  // namespace trova::geometry::trimmed_surface
