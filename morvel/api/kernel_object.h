#pragma once

#include <map>
#include <memory>

#include "morvel/api/c/types.h"
#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/surfaces/bspline_surface.h"

/// A surface of the kernel object: a B-spline surface over its own [0, 1] x [0, 1].
class MORVEL_API PythonNURBSSurface {
 public:
  /// @throws std::invalid_argument where counts, knots and degrees do not make a valid surface
  explicit PythonNURBSSurface(std::unique_ptr<trova::geometry::BSplineSurface> surface);

  trova::foundation::Point3D evaluate(double u, double v) const;
  const trova::geometry::BSplineSurface& surface() const { return *surface_; }

 private:
  std::unique_ptr<trova::geometry::BSplineSurface> surface_;
};

/// The kernel object: NURBS surfaces under identifiers of their own, which start at 1 and are
/// separate from the surface registry.
class MORVEL_API PythonSurfaceKernel {
 public:
  PythonSurfaceKernel();
  ~PythonSurfaceKernel();
  PythonSurfaceKernel(const PythonSurfaceKernel&) = delete;
  PythonSurfaceKernel& operator=(const PythonSurfaceKernel&) = delete;

  /// Points u outer. Returns the new identifier. @throws std::invalid_argument, std::length_error
  int createNURBSSurface(const double* points, int nU, int nV, const double* uKnots, int uKnotCount,
                         const double* vKnots, int vKnotCount, int degreeU, int degreeV);
  /// resolution x resolution vertices, u outer, and two triangles a cell; release it with
  /// freeSurfaceData. @throws std::invalid_argument for an unknown identifier or a resolution below
  /// 2
  MorvelSurfaceData* getSurfaceMesh(int id, int resolution) const;
  static void freeSurfaceData(MorvelSurfaceData* record);

  int getSurfaceCount() const;
  bool hasSurface(int id) const;

 private:
  std::map<int, std::unique_ptr<PythonNURBSSurface>> surfaces_;
  int nextId_ = 1;
};
