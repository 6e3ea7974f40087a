#pragma once

#include <memory>
#include <string>
#include <vector>

#include "morvel/curves/bspline_curve.h"
#include "morvel/foundation/export.h"
#include "morvel/surfaces/bspline_surface.h"

// The settings and results of rolling-ball blends: one record for each stage, and those of the
// whole. Lengths are model units, parameters those of the surfaces, counts samples.

namespace trova::geometry::blend {

/// A value that its stage chooses itself.
inline constexpr double kUnset = -1.0;

/// Of the search for contact points.
struct MORVEL_API ContactPointConfig {
  double tolerance = 1e-6;           ///< not read by the search: the gradient alone decides there
  double distance_tolerance = 1e-8;  ///< not read either
  double gradientTolerance = 1e-6;   ///< of |(r.Su, r.Sv)|
  int maxIterations = 100;
  double stepScale = 0.8;              ///< share of each Newton step that is taken
  double parameter_tolerance = 1e-10;  ///< not read: the steps' length is no measure
  bool use_multi_start = true;         ///< the fixed starts follow where Newton's steps fail
};

struct MORVEL_API SurfaceIntersectionConfig {
  double step = 0.1;  ///< longest step, as a share of the smaller surface's size
  double smallest_step = kUnset;
  double turn_limit = kUnset;     ///< radians between the directions at successive points
  double tangent_sine = kUnset;   ///< below this sine of the crossing angle surfaces are tangent
  int only_branch = -1;           ///< -1: every branch
  int fewest_cells = -1;          ///< per direction; -1: as many as a surface's spans ask for
  int sampling_resolution = 100;  ///< most cells per direction in the search for starts
  double tolerance = 0.01;        ///< of the curve between its points
  int max_iterations = 1000;      ///< steps along one branch, in either direction
  bool refine = true;             ///< points are added until the tolerance holds between them
  bool join_pieces = true;        ///< at seams of closed surfaces
  int starts_per_cell = 1;        ///< per direction of a pair of cells; 1: the middle will do
  bool keep_short = false;        ///< also pieces shorter than the tolerance
  bool reverse = false;           ///< branches run against n1 x n2
  bool sort_by_length = true;     ///< the longest branch first
  bool report_tangency = true;    ///< places of tangency are handed out
  bool keep_folded = true;        ///< also branches that end where an offset surface turns over
  bool verbose = false;           ///< says what each branch is
};

/// How the cross-sections of the ball are made.
enum class CrossSectionKind : int {
  Circular = 0,           ///< a circular arc, evenly parameterised by its angle
  Arc = 1,                ///< the same
  ConstrainedBSpline = 2  ///< a spline with the surfaces' tangent directions at its ends
};

struct MORVEL_API CanalSurfaceConfig {
  int samples_along = 50;  ///< at least; more where the accuracy asks for them
  int samples_across = 20;
  int degree_u = 3;                   ///< along the spine
  int degree_v = 3;                   ///< across
  double position_tolerance = 1e-6;   ///< from exact sections, model units
  double parameter_tolerance = 1e-8;  ///< centres closer than this share of the path coincide
  bool refine_along = true;           ///< sections are added until the position tolerance holds
  bool check_surface = true;          ///< the deviation is measured, also where nothing is refined
  int closing = 0;                    ///< 1: both ends, which coincide, get the same tangents
  bool interpolate = true;            ///< through the sections; else SurfaceEngine1 fits them
  int cross_section_kind = 0;         ///< CrossSectionKind
  int section_points = 7;             ///< fewest across, whatever is asked for
  bool shorter_arc = true;            ///< of the two arcs between the contacts
};

struct MORVEL_API ParameterRange {
  double low = 0.0;
  double high = 1.0;
};

struct MORVEL_API VariableSpineConfig {
  double tolerance = 1e-8;       ///< of the residuals, model units
  double step_tolerance = 1e-6;  ///< shorter steps (share of the radius) that gain nothing end it
  int max_iterations = 50;
  double step_scale = 0.8;  ///< of the first step; Newton's full step once it converges
  double regularization = 1e-12;
  ParameterRange u1, v1, u2, v2;  ///< of both surfaces
  bool clamp = true;              ///< parameters are kept in their ranges
};

/// Where a ball of a given centre touches a surface.
struct MORVEL_API ContactPoint {
  Point3D position;  ///< on the surface
  double u = 0.0;
  double v = 0.0;
  Point3D centre;
  Vector3D normal;             ///< Su x Sv, unit
  double residual = 0.0;       ///< | distance to the centre - radius |
  double gradient_norm = 0.0;  ///< |(r.Su, r.Sv)| at the end
  int iterations = 0;
  bool converged = false;
};

/// A ball's centre with its contacts on both surfaces.
struct MORVEL_API ContactTriplet {
  Point3D centre;
  ContactPoint first;
  ContactPoint second;
};

struct MORVEL_API RollingBallBlendConfig {
  int offset_resolution = 20;         ///< samples per direction of the offset surfaces, 3 .. 200
  double offset_step = 0.1;           ///< above 0
  int intersection_resolution = 20;   ///< 5 .. 100, fewest points of the spine's curve
  int intersection_sampling = 50;     ///< most cells per direction in the search for the spine
  int intersection_refinement = 100;  ///< cells of a second search, where the first finds no spine
  double intersection_tolerance = 0.01;  ///< of the marching; the spine is finer (spineTolerance)
  int intersection_max_iterations = 1000;
  double contact_tolerance = 1e-6;  ///< of a residual that touches; at least 1e-3 of the radius
  double contact_distance_tolerance = 1e-8;  ///< as in ContactPointConfig
  double contact_gradient_tolerance = 1e-6;
  int contact_max_iterations = 100;
  double contact_step_scale = 0.8;
  bool contact_multi_start = true;
  int canal_samples_along = 50;   ///< 3 .. 1000
  int canal_samples_across = 20;  ///< 3 .. 100
  int canal_degree_u = 3;
  int canal_degree_v = 3;
  bool canal_refine_along = true;
  bool canal_check_surface = true;
  int canal_section_kind = 1;       ///< CrossSectionKind
  bool canal_fit_sections = false;  ///< by SurfaceEngine1 in place of interpolation
  bool blend_only = true;           ///< offset surfaces and spine are not handed out
  bool validate = true;             ///< contacts and the final surface are checked
  bool longest_branch = true;       ///< of several spines; else the first found
  double final_tolerance = 1e-6;    ///< of the ends of a closed blend to each other, model units
};

/// The tolerance to which the spine is refined.
inline constexpr double kSpineShare = 1e-4;  // of the radius
inline double spineTolerance(double tolerance, double radius) {
  return tolerance < kSpineShare * radius ? tolerance : kSpineShare * radius;
}

/// Milliseconds.
struct MORVEL_API BlendTiming {
  double offset_ms = 0.0;
  double intersection_ms = 0.0;
  double contact_ms = 0.0;
  double canal_ms = 0.0;
  double total_ms = 0.0;
};

struct MORVEL_API RollingBallBlendResult {
  std::unique_ptr<BSplineSurface> blend_surface;  ///< u along the spine, v from surface 1 to 2
  std::unique_ptr<BSplineSurface> offset_surface1;
  std::unique_ptr<BSplineSurface> offset_surface2;
  std::unique_ptr<BSplineCurve> spine;
  std::vector<ContactTriplet> contacts;  ///< along the spine
  int spine_branches = 0;                ///< that the offset surfaces meet in
  bool is_closed = false;                ///< of the spine
  bool is_complete = true;               ///< the spine runs on to the surfaces' edges, or closes
  double radius = 0.0;
  double radius_deviation = 0.0;
  double continuity_defect = 0.0;
  double distance1 = 0.0;  ///< signed offsets that were taken
  double distance2 = 0.0;
  BlendTiming timing;
  bool success = false;
  std::string status;               ///< what failed, or how it ended
  std::vector<std::string> errors;  ///< the failure's texts, causes last
  std::vector<std::string> warnings;
};

}  // namespace trova::geometry::blend
