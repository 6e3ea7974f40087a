"""Curves near and through points.

The kernel reports what it does line by line, interpolation with a line for every point: for many
points raise the level first (`set_log_level`).
"""

from __future__ import annotations

from typing import Optional

import numpy as np
from numpy.typing import ArrayLike

from . import _arrays as arrays
from ._arrays import FloatArray, address
from ._library import call
from .curve import Curve

FIT_METHODS = {
    "chord length": "fit_bspline_curve_simple",
    "line": "fit_bspline_curve_with_line_projection",
    "automatic": "fit_bspline_curve_adaptive_parameterization",
}


def fit_curve(points: ArrayLike, degree: int = 3, method: str = "chord length") -> Curve:
    """The least-squares B-spline curve near (n, 3) points, with 50 control points at most.

    Args:
        degree: from 1 to below n.
        method: where on [0, 1] the points are fitted: by "chord length", by their place along the
            "line" of largest spread, or "automatic", by angle, by line or centripetal, as their
            spread suggests. The latter two fall back to the one before where they fail.
    """
    if method not in FIT_METHODS:
        raise ValueError(f"method must be one of {sorted(FIT_METHODS)}, not {method!r}")
    array = arrays.points(points)
    return Curve(call(FIT_METHODS[method], address(array), len(array), degree))


def interpolate_curve(points: ArrayLike, degree: int = 3) -> Curve:
    """The B-spline curve through (n, 3) points, at chord-length parameters on averaged knots."""
    array = arrays.points(points)
    return Curve(call("interpolate_bspline_curve", address(array), len(array), degree))


def chord_parameters(points: ArrayLike) -> FloatArray:
    """Cumulated distances over the total: where `interpolate_curve` meets (n, 3) points."""
    steps = np.linalg.norm(np.diff(arrays.points(points), axis=0), axis=1)
    lengths = np.concatenate([[0.0], np.cumsum(steps)])
    if not lengths[-1] > 0.0:
        return np.linspace(0.0, 1.0, len(lengths))
    return lengths / lengths[-1]


def fit_curve_constrained(
    through: ArrayLike,
    near: ArrayLike,
    degree: int = 3,
    *,
    through_at: Optional[ArrayLike] = None,
    near_at: Optional[ArrayLike] = None,
    control_points: int = 0,
) -> Curve:
    """The B-spline curve through some (n, 3) points and near others; either kind may be empty.

    Without parameters the kernel runs through `through` first and `near` after it, so that the
    second kind has to continue the first. Points that lie between each other need theirs.

    Args:
        degree: from 1 to 5.
        through_at, near_at: parameters in [0, 1], one for each point; both or none.
        control_points: how many, with parameters; 0 leaves it to the kernel.
    """
    first = arrays.points(np.reshape(through, (-1, arrays.DIMENSIONS)))
    second = arrays.points(np.reshape(near, (-1, arrays.DIMENSIONS)))
    if (through_at is None) != (near_at is None):
        raise ValueError("give parameters for both kinds of points, or for none")
    if through_at is None or near_at is None:
        if control_points:
            raise ValueError("control_points needs parameters")
        ends = (address(first), len(first), address(second), len(second))
        return Curve(call("fit_constrained_bspline_curve", *ends, degree))
    places = arrays.floats(through_at), arrays.floats(near_at)
    for points, t in zip((first, second), places):
        if t.shape != (len(points),):
            raise ValueError(f"{len(points)} points need as many parameters, not {t.shape}")
    return Curve(
        call(
            "fit_constrained_bspline_curve_at_parameters", address(first), address(places[0]),
            len(first), address(second), address(places[1]), len(second), degree, control_points,
        )
    )
