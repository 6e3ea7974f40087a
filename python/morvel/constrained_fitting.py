"""Surfaces near points, exactly through some of them, with given tangents."""

from __future__ import annotations

from typing import NamedTuple, Optional, Tuple, Union

import numpy as np
from numpy.typing import ArrayLike

from . import _arrays as arrays
from ._arrays import FloatArray, address
from ._library import call, call_expecting, failure, functions
from .surface import Surface

METHODS = {
    "uniform": 0,
    "chord length": 1,
    "centripetal": 2,
    "universal": 3,
    "principal axes": 4,
    "plane": 5,
    "convex hull": 6,
}
PAIR = 2


class ConstrainedFit(NamedTuple):
    """A fitted surface and how well it meets what was asked of it."""

    surface: Surface
    max_deviation: float  # of the points near which it passes, at their parameters
    rms_deviation: float
    condition_number: float  # of the system that was solved
    satisfaction: float  # 1 where every constraint holds within 1e-6
    milliseconds: float  # of the fit
    interpolation_uv: FloatArray  # (k, 2): where the surface passes through the interpolated points


def _pairs(values: ArrayLike, what: str, count: Optional[int] = None) -> FloatArray:
    array = arrays.floats(values)
    if array.ndim != 2 or array.shape[1] != PAIR or count not in (None, len(array)):
        raise ValueError(f"{what} needs shape ({'n' if count is None else count}, 2), not {array.shape}")
    return array


def _numbers(values: ArrayLike, what: str, count: int) -> FloatArray:
    array = arrays.floats(values)
    if array.shape != (count,):
        raise ValueError(f"{what} needs shape ({count},), not {array.shape}")
    return array


def _place(array: Optional[FloatArray]) -> Optional[int]:
    return None if array is None else address(array)


class _Tangents(NamedTuple):
    """G1 constraints as the kernel takes them."""

    uv: Optional[FloatArray]
    along_u: Optional[FloatArray]
    along_v: Optional[FloatArray]

    @classmethod
    def of(cls, tangents: Optional[Tuple[ArrayLike, ...]]) -> "_Tangents":
        if tangents is None:
            return cls(None, None, None)
        uv, along_u, along_v = tangents
        places = _pairs(uv, "the parameters of tangents")
        given = [None if along is None else arrays.points(along) for along in (along_u, along_v)]
        if any(along is not None and len(along) != len(places) for along in given):
            raise ValueError(f"{len(places)} places need as many tangents")
        return cls(places, *given)


def _add_normals(engine: int, normals: Optional[Tuple[ArrayLike, ArrayLike]]) -> None:
    if normals is None:
        return
    uv = _pairs(normals[0], "the parameters of normals")
    directions = arrays.points(normals[1])
    if len(uv) != len(directions):
        raise ValueError(f"{len(uv)} places need as many normals")
    for (u, v), normal in zip(uv, directions):
        unit = np.ascontiguousarray(normal / np.linalg.norm(normal))
        call("surface_engine3_add_g1_normal_constraint", engine, u, v, address(unit), 1.0)
    call("surface_engine3_apply_g1_constraints", engine)


def _number(name: str, engine: int) -> float:
    value = float(functions[name](engine))
    if value < 0:
        raise failure(name, int(value))
    return value


def fit_surface_constrained(
    points: ArrayLike,
    uv: Optional[ArrayLike] = None,
    *,
    weights: Optional[ArrayLike] = None,
    interpolate: Optional[ArrayLike] = None,
    interpolate_uv: Optional[ArrayLike] = None,
    tangents: Optional[Tuple[ArrayLike, Optional[ArrayLike], Optional[ArrayLike]]] = None,
    normals: Optional[Tuple[ArrayLike, ArrayLike]] = None,
    degrees: Tuple[int, int] = (3, 3),
    control_points: Tuple[int, int] = (0, 0),
    method: Union[str, int] = "plane",
    regularization: float = 0.0,
) -> ConstrainedFit:
    """The B-spline surface near (n, 3) points that meets hard constraints exactly.

    Args:
        uv: (n, 2) parameters of the points in [0, 1]; by `method` unless given.
        weights: (n,), above 0; 1 unless given.
        interpolate: (k, 3) points on the surface.
        interpolate_uv: (k, 2), where; unless given, where they project to among the points, which
            then must not have `uv` of their own.
        tangents: (m, 2) parameters and (m, 3) first derivatives in u and in v, either of which may be
            None. Direction and length are met.
        normals: (m, 2) parameters and (m, 3) normals. By contract of the kernel the derivatives become two
            unit vectors perpendicular to each.
        control_points: on each side; 0 for a count that follows from n.
        method: "plane", "principal axes", "convex hull" or "universal" for points in any order;
            "uniform", "chord length" or "centripetal" for a square grid, row by row.
        regularization: lambda; 0 takes 1e-6. The share of the largest singular value that is added to
            the diagonal. A smaller one follows the points more closely where they are many.
    """
    near = arrays.points(points)
    through = None if interpolate is None else arrays.points(interpolate)
    count = 0 if through is None else len(through)
    at = None if uv is None else _pairs(uv, "uv", len(near))
    heavy = None if weights is None else _numbers(weights, "weights", len(near))
    through_at = None if interpolate_uv is None else _pairs(interpolate_uv, "interpolate_uv", count)
    if count and at is not None and through_at is None:
        raise ValueError("points with uv of their own need interpolate_uv")
    g1 = _Tangents.of(tangents)
    code = METHODS[method] if isinstance(method, str) else method
    engine = call(
        "create_surface_engine3_with_g1_constraints",
        *(address(near) if len(near) else None, _place(at), _place(heavy), len(near)),
        *(_place(through), _place(through_at), count),
        *(_place(g1.uv), _place(g1.along_u), _place(g1.along_v)),
        *(None, 0 if g1.uv is None else len(g1.uv)),
        *(*degrees, *control_points, code, regularization),
    )
    try:
        _add_normals(engine, normals)
        places = np.empty((count, PAIR)) if through_at is None else through_at
        if through is not None and through_at is None and count:
            call("surface_engine3_project_points", engine, address(through), count, address(places))
        times = np.empty(4)
        call("get_surface_engine3_timings", engine, address(times))
        return ConstrainedFit(
            Surface(call("create_surface_from_engine3", engine)),
            _number("get_surface_engine3_max_deviation", engine),
            _number("get_surface_engine3_rms_deviation", engine),
            _number("get_surface_engine3_condition_number", engine),
            _number("get_surface_engine3_constraint_satisfaction", engine),
            float(times[-1]),
            places,
        )
    finally:
        call_expecting(0, "destroy_surface_engine3", engine)


def join_surface(
    surface: Surface,
    side: int,
    other: Surface,
    other_side: int,
    *,
    samples: int = 8,
    level: int = 1,
    kind: int = 3,
) -> Tuple[int, FloatArray]:
    """Moves control points of a B-spline surface so that one of its sides meets a side of another.

    Sides are 0 u-min, 1 u-max, 2 v-min, 3 v-max. `level` 1 meets position and tangent plane, 2 the
    curvature too. `kind` says which control points may move: 0 Coons patch, 1 Gordon surface, 2 N-sided
    patch, 3 all of the first 10 x 10. With n control points along the side about n / 2 samples can be met
    at level 1 and n / 3 at level 2, more where the two edges have the same shape already.

    Returns how many of the samples are met, and what is left: distance, angle in radians, curvature.
    """
    left = np.empty(3)
    met = call(
        "apply_complete_surface_constraints",
        *(surface.handle, side, other.handle, other_side, samples, level, kind, address(left)),
    )
    return int(met), left
