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
from .curve import Curve
from .curve_on_surface import CurveOnSurface
from .kernel import Counts, KernelSession, clear, counts, version
from .log import log_to, print_lines, set_log_level
from .mesh import Mesh
from .point import Point
from .surface import Surface

__all__ = [
    "ArgumentError",
    "Counts",
    "Curve",
    "CurveOnSurface",
    "HandleError",
    "KernelSession",
    "Mesh",
    "MorvelError",
    "Point",
    "Surface",
    "clear",
    "counts",
    "log_to",
    "print_lines",
    "set_log_level",
    "version",
]
