"""morvel: free-form curves and surfaces.

Curves and surfaces live in the kernel and are named there by handles; the objects of this package
stand for them, delete them when they are closed or let go, and take and give numpy arrays.

    >>> import morvel
    >>> with morvel.Curve.circle((0, 0, 0), radius=2.0) as circle:
    ...     tube = morvel.Surface.extrude(circle, direction=(0, 0, 1), distance=3.0)
    >>> tube.type
    'extrude_surface'
    >>> tube.mesh(50).vertices.shape
    (2500, 3)
    >>> tube([[0.0, 0.0], [0.5, 0.25]]).shape  # many parameters at once
    (2, 3)

Objects:     Curve, Surface, TrimmedSurface, CurveOnSurface, Point; Mesh
Fitting:     fit_curve, interpolate_curve, fit_curve_constrained, fit_surface, interpolate_grid,
             fit_surface_constrained, join_surface, adjust_surface
Projecting:  project_points, project_points_along, project_point, project_curves
Blending:    blend, variable_blend, intersect, contact_points, ball_contact, canal, variable_offset
Filling:     fill, fill_preview, sort_loop, validate_loop
Mathematics: basis
The kernel:  counts, live, clear, version, quiet, log_to, print_lines, set_log_level, KernelSession
Errors:      MorvelError; ArgumentError (a ValueError too), HandleError (a KeyError too)
"""

from typing import List

from . import basis
from ._errors import ArgumentError, Cancelled, HandleError, MorvelError
from ._signatures import VERSION as __version__
from .blending import (
    BallContact,
    Blend,
    Branch,
    Contacts,
    Intersection,
    ball_contact,
    blend,
    canal,
    contact_points,
    intersect,
    variable_blend,
    variable_offset,
)
from .constrained_fitting import (
    Adjustment,
    ConstrainedFit,
    Neighbour,
    adjust_surface,
    fit_surface_constrained,
    join_surface,
    movable_control_points,
)
from .curve import Curve
from .curve_on_surface import CurveOnSurface
from .files import export, read_obj
from .fitting import chord_parameters, fit_curve, fit_curve_constrained, interpolate_curve
from .kernel import Census, Counts, Held, KernelSession, clear, counts, live, version
from .log import log_to, print_lines, quiet, set_log_level
from .mesh import Mesh
from .nsided import (
    FillReport,
    LoopReport,
    fill,
    fill_preview,
    sort_loop,
    suitable_spans,
    validate_loop,
)
from .pictures import plot, save
from .point import Point
from .progress import ProgressBar, progress
from .projection import (
    ProjectedCurves,
    ProjectedPoints,
    ProjectionReport,
    project_curves,
    project_point,
    project_points,
    project_points_along,
    projection_preview,
    projection_report,
)
from .records import Loaded, dump, load
from .surface import Surface
from .surface_fitting import (
    FitReport,
    GridReport,
    fit_surface,
    fit_surface_with_report,
    interpolate_grid,
    interpolate_grid_with_report,
)
from .trimmed import Loop, TrimmedSurface

__all__ = [
    "Adjustment",
    "ArgumentError",
    "BallContact",
    "Blend",
    "Branch",
    "Cancelled",
    "Census",
    "ConstrainedFit",
    "Contacts",
    "Counts",
    "Curve",
    "CurveOnSurface",
    "FillReport",
    "FitReport",
    "GridReport",
    "HandleError",
    "Held",
    "Intersection",
    "KernelSession",
    "Loaded",
    "Loop",
    "LoopReport",
    "Mesh",
    "MorvelError",
    "Neighbour",
    "Point",
    "ProgressBar",
    "ProjectedCurves",
    "ProjectedPoints",
    "ProjectionReport",
    "Surface",
    "TrimmedSurface",
    "adjust_surface",
    "ball_contact",
    "basis",
    "blend",
    "canal",
    "chord_parameters",
    "clear",
    "contact_points",
    "counts",
    "dump",
    "export",
    "fill",
    "fill_preview",
    "fit_curve",
    "fit_curve_constrained",
    "fit_surface",
    "fit_surface_constrained",
    "fit_surface_with_report",
    "interpolate_curve",
    "interpolate_grid",
    "interpolate_grid_with_report",
    "intersect",
    "join_surface",
    "live",
    "load",
    "log_to",
    "movable_control_points",
    "print_lines",
    "plot",
    "progress",
    "project_curves",
    "project_point",
    "project_points",
    "project_points_along",
    "projection_preview",
    "projection_report",
    "quiet",
    "read_obj",
    "save",
    "set_log_level",
    "sort_loop",
    "suitable_spans",
    "validate_loop",
    "variable_blend",
    "variable_offset",
    "version",
    "__version__",
]


def __dir__() -> List[str]:
    return sorted(__all__)
