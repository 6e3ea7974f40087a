"""Curves near and through points.

The kernel reports what it does line by line, interpolation with a line for every point: for many
points raise the level first (`set_log_level`).
"""

from __future__ import annotations

from typing import Optional

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, address, choice
from ._library import call
from .curve import Curve

FIT_METHODS = {
    "chord length": "fit_bspline_curve_simple",
    "line": "fit_bspline_curve_with_line_projection",
    "automatic": "fit_bspline_curve_adaptive_parameterization",
}


def fit_curve(points: ArrayLike, degree: int = 3, method: str = "chord length") -> Curve:
    """The least-squares B-spline curve near (n, 3) points, with 50 control points at most.

    >>> t = np.linspace(0, 2, 200)
    >>> with morvel.quiet():
    ...     curve = morvel.fit_curve(np.column_stack([t, np.sin(t), 0 * t]))
    >>> curve
    <Curve 20000, bspline>
    >>> x, y, _ = curve(0.5)
    >>> abs(y - np.sin(x)) < 1e-4
    True

    Args:
        degree: from 1 to below n.
        method: where on [0, 1] the points are fitted: by "chord length", by their place along the
            "line" of largest spread, or "automatic", by angle, by line or centripetal, as their
            spread suggests. The latter two fall back to the one before where they fail.
    """
    array, name = arrays.points(points), choice(method, FIT_METHODS, "method")
    return Curve(call(name, address(array), len(array), degree))


def interpolate_curve(points: ArrayLike, degree: int = 3) -> Curve:
    """The B-spline curve through (n, 3) points, at chord-length parameters on averaged knots.

    >>> points = [(0, 0, 0), (1, 1, 0), (3, 1, 0), (4, 0, 0)]
    >>> with morvel.quiet():
    ...     curve = morvel.interpolate_curve(points)
    >>> np.allclose(curve(morvel.chord_parameters(points)), points)
    True
    """
    array = arrays.points(points)
    return Curve(call("interpolate_bspline_curve", address(array), len(array), degree))


def chord_parameters(points: ArrayLike) -> FloatArray:
    """Cumulated distances over the total: where `interpolate_curve` meets (n, 3) points.

    >>> morvel.chord_parameters([(0, 0, 0), (1, 0, 0), (4, 0, 0)])
    array([0.  , 0.25, 1.  ])
    """
    steps = np.linalg.norm(np.diff(arrays.points(points), axis=0), axis=1)
    lengths = np.concatenate([[0.0], np.cumsum(steps)])
    if not np.isfinite(lengths[-1]):
        raise ValueError("points need finite coordinates and distances")
    if not lengths[-1] > 0.0:
        return np.linspace(0.0, 1.0, len(lengths))
    return np.asarray(lengths / lengths[-1])


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

    >>> t = np.linspace(0, 1, 50)
    >>> points = np.column_stack([t, t * t, 0 * t])
    >>> with morvel.quiet():
    ...     curve = morvel.fit_curve_constrained(
    ...         points[:1], points[1:], through_at=t[:1], near_at=t[1:], control_points=8
    ...     )
    >>> np.allclose(curve(0.0), points[0])
    True

    Args:
        degree: from 1 to 5.
        through_at, near_at: parameters in [0, 1], one for each point; both or none.
        control_points: how many, with parameters; 0 leaves it to the kernel.
    """
    first = arrays.points_or_none(through, "through")
    second = arrays.points_or_none(near, "near")
    if (through_at is None) != (near_at is None):
        raise ValueError("give parameters for both kinds of points, or for none")
    if through_at is None or near_at is None:
        if arrays.whole(control_points, "control_points"):
            raise ValueError("control_points needs parameters")
        ends = (address(first), len(first), address(second), len(second))
        return Curve(call("fit_constrained_bspline_curve", *ends, degree))
    places = (
        arrays.shaped(through_at, "through_at", len(first)),
        arrays.shaped(near_at, "near_at", len(second)),
    )
    return Curve(
        call(
            "fit_constrained_bspline_curve_at_parameters", address(first), address(places[0]),
            len(first), address(second), address(places[1]), len(second), degree, control_points,
        )
    )
