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
"""

from ._errors import ArgumentError, HandleError, MorvelError
from .blending import (
    Blend,
    Branch,
    Contacts,
    Intersection,
    blend,
    canal,
    contact_points,
    intersect,
    variable_blend,
    variable_offset,
)
from .constrained_fitting import ConstrainedFit, fit_surface_constrained, join_surface
from .curve import Curve
from .curve_on_surface import CurveOnSurface
from .fitting import chord_parameters, fit_curve, fit_curve_constrained, interpolate_curve
from .kernel import Counts, KernelSession, clear, counts, version
from .log import log_to, print_lines, set_log_level
from .mesh import Mesh
from .nsided import FillReport, LoopReport, fill, sort_loop, validate_loop
from .point import Point
from .projection import (
    ProjectedCurves,
    ProjectedPoints,
    ProjectionReport,
    project_curves,
    project_point,
    project_points,
    projection_report,
)
from .surface import Surface
from .surface_fitting import (
    FitReport,
    GridReport,
    fit_surface,
    fit_surface_with_report,
    interpolate_grid,
    interpolate_grid_with_report,
)
from .trimmed import TrimmedSurface

__all__ = [
    "ArgumentError",
    "Blend",
    "Branch",
    "ConstrainedFit",
    "Contacts",
    "Counts",
    "Curve",
    "CurveOnSurface",
    "FillReport",
    "FitReport",
    "GridReport",
    "HandleError",
    "Intersection",
    "KernelSession",
    "LoopReport",
    "Mesh",
    "MorvelError",
    "Point",
    "ProjectedCurves",
    "ProjectedPoints",
    "ProjectionReport",
    "Surface",
    "TrimmedSurface",
    "blend",
    "canal",
    "chord_parameters",
    "clear",
    "contact_points",
    "counts",
    "fill",
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
    "log_to",
    "print_lines",
    "project_curves",
    "project_point",
    "project_points",
    "projection_report",
    "set_log_level",
    "sort_loop",
    "validate_loop",
    "variable_blend",
    "variable_offset",
    "version",
]
