"""Holes bounded by three or more curves, filled with one surface each."""

from __future__ import annotations

import ctypes
from typing import Any, Iterable, List, NamedTuple, Tuple, Union

import numpy as np
from numpy.typing import NDArray

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, address, two, whole
from ._errors import BAD_ARGUMENT, ArgumentError
from ._handles import Handles, listed
from ._library import call, functions, is_registered
from .curve import Curve
from .curve_on_surface import CurveOnSurface
from .surface import Surface

BoundaryCurve = Union[Curve, CurveOnSurface]
CONTINUITY = (0, 1, 2)  # position, tangent planes, curvatures
SPANS = 8
SMOOTHNESS = 0.5
ITERATIONS = 50
NET_TOLERANCE = 1e-6
BOUNDARY_TOLERANCE = 1e-3
MOST_POINTS_A_SIDE = 1000


class FillReport(NamedTuple):
    """How well a surface fills its hole; lengths in model units."""

    max_deviation: float  #: from the boundary curves
    rms_deviation: float
    max_angle: float  #: radians, to the tangent planes that were asked for
    condition_number: float


class LoopReport(NamedTuple):
    """What a check of boundary curves found."""

    valid: bool
    closed: bool
    crossing: bool
    gaps: Tuple[float, ...]  #: gap k: from the end of curve k to the start of the next
    tolerance: float  #: that they were compared with
    message: str  #: the first fault or warning


class _Validation(ctypes.Structure):
    """The library's record; `free_nsided_validation_results` releases what it points to."""

    _fields_ = [
        ("is_valid", ctypes.c_int32),
        ("is_closed", ctypes.c_int32),
        ("has_intersections", ctypes.c_int32),
        ("curve_count", ctypes.c_int32),
        ("max_gap", ctypes.c_double),
        ("tolerance", ctypes.c_double),
        ("gaps", ctypes.POINTER(ctypes.c_double)),
        ("gap_count", ctypes.c_int32),
        ("message", ctypes.c_char_p),
    ]


def _listed(curves: Iterable[BoundaryCurve]) -> List[BoundaryCurve]:
    """The curves; those on surfaces must not share a number with another curve.

    The kernel looks a number up among the curves first, and takes numbers from 60000 for curves on
    surfaces too: after 40000 curves the two kinds would be confused.
    """
    held: List[Any] = listed(curves, (Curve, CurveOnSurface), "curves")
    for curve in held:
        if isinstance(curve, CurveOnSurface) and is_registered(Curve._kind, curve.handle):
            text = f"the number {curve.handle} of a curve on a surface is also a curve's"
            raise ArgumentError("fill", BAD_ARGUMENT, text + "; clear() restarts the numbers")
    return held


def _per_curve(values: ArrayLike, count: int, what: str) -> FloatArray:
    """One value a curve, or the same for all."""
    given = arrays.floats(values, what)
    if given.shape not in ((), (count,)):
        raise ValueError(f"{what} needs one value or {count}, not shape {given.shape}")
    return np.array(np.broadcast_to(given, count))


def _levels(values: ArrayLike, count: int) -> "NDArray[np.int32]":
    given = _per_curve(values, count, "continuity")
    if not np.isin(given, CONTINUITY).all():
        raise ValueError(f"continuity must be 0, 1 or 2 for each curve, not {given.tolist()}")
    return given.astype(np.int32)


def fill(
    curves: Iterable[BoundaryCurve],
    continuity: ArrayLike = 0,
    *,
    in_space: bool = True,
    hermite: bool = False,
    tolerance: float = BOUNDARY_TOLERANCE,
    weights: ArrayLike = 1.0,
    spans: Tuple[int, int] = (SPANS, SPANS),
    smoothness: float = SMOOTHNESS,
) -> "Tuple[Surface, FillReport]":
    """A surface through a loop of curves, and how well it fits.

    >>> corners = [(0, 0, 0), (1, 0, 0.3), (1, 1, 0), (0, 1, 0.3)]
    >>> sides = [Curve.line(a, b) for a, b in zip(corners, corners[1:] + corners[:1])]
    >>> with morvel.quiet():
    ...     surface, report = morvel.fill(sides)
    >>> report.max_deviation < 1e-6
    True

    Args:
        curves: three or more that run around the hole, each ending where the next begins
            (`sort_loop`). Curves on surfaces have their surfaces as neighbours.
        continuity: 0 position, 1 tangent planes, 2 curvatures; one for all or one a curve.
        in_space: the surface's edges follow the boundary. Otherwise the surface is a height field
            over the unit square: the points (u, v, z).
        hermite: for a surface not in space, a Hermite field over the plane nearest to the loop.
        tolerance: largest deviation aimed at, and largest gap.
        weights: above 0; one for all or one a curve.

    Raises:
        MorvelError: the curves bound no hole; the text says why.
    """
    handles = Handles(_listed(curves))
    count = len(handles)
    levels = _levels(continuity, count)
    heaviness = _per_curve(weights, count, "weights")
    figures, patch = np.empty(4), arrays.int_out()
    surface = Surface(
        call(
            "create_nsided_patch_rbf", handles, count, address(levels), address(heaviness),
            *two(spans, "spans"), smoothness, ITERATIONS, NET_TOLERANCE, tolerance,
            int(bool(hermite)), int(bool(in_space)),
            0, 0.0, *(address(figures[k:]) for k in range(4)), patch,
        )
    )
    functions["delete_nsided_patch_rbf"](patch[0])
    return surface, FillReport(*arrays.as_tuple(figures))


def fill_preview(
    curves: Iterable[BoundaryCurve],
    continuity: ArrayLike = 0,
    *,
    in_space: bool = True,
    tolerance: float = BOUNDARY_TOLERANCE,
    weights: ArrayLike = 1.0,
    spans: Tuple[int, int] = (SPANS, SPANS),
    resolution: int = 20,
) -> Tuple[FloatArray, float]:
    """What `fill` would make, as points, and its deviation from the boundary; nothing is stored.

    >>> corners = [(0, 0, 0), (1, 0, 0.3), (1, 1, 0), (0, 1, 0.3)]
    >>> sides = [Curve.line(a, b) for a, b in zip(corners, corners[1:] + corners[:1])]
    >>> with morvel.quiet():
    ...     points, deviation = morvel.fill_preview(sides, resolution=9)
    >>> points.shape, morvel.counts().surfaces
    ((9, 9, 3), 0)

    Args:
        resolution: 2 to 1000 points a side; the others as for `fill`.
    """
    handles, side = Handles(_listed(curves)), whole(resolution, "resolution", 2, MOST_POINTS_A_SIDE)
    count = len(handles)
    levels = _levels(continuity, count)
    heaviness = _per_curve(weights, count, "weights")
    points, used, deviation = np.empty((side, side, 3)), arrays.int_out(), arrays.double_out()
    call(
        "generate_nsided_preview_rbf", handles, count, address(levels), address(heaviness),
        *two(spans, "spans"), tolerance, int(bool(in_space)), side, address(points), side * side,
        used, deviation,
    )
    return points, deviation[0]


def suitable_spans(sides: int, tolerance: float = BOUNDARY_TOLERANCE) -> Tuple[int, int]:
    """Spans in u and v that suit a hole of so many sides.

    >>> morvel.suitable_spans(5)
    (10, 10)
    """
    u, v = arrays.int_out(), arrays.int_out()
    call("calculate_optimal_spans_rbf", sides, tolerance, u, v)
    return u[0], v[0]


def sort_loop(
    curves: Iterable[BoundaryCurve], tolerance: float = BOUNDARY_TOLERANCE
) -> List[BoundaryCurve]:
    """The curves in the order of a loop that begins with the first; reversed ones are new curves.

    >>> a, b, c = (0, 0, 0), (1, 0, 0), (0, 1, 0)
    >>> mixed = [Curve.line(a, b), Curve.line(a, c), Curve.line(b, c)]
    >>> with morvel.quiet():
    ...     loop = morvel.sort_loop(mixed)
    >>> [curve(0.0).tolist() for curve in loop]
    [[0.0, 0.0, 0.0], [1.0, 0.0, 0.0], [0.0, 1.0, 0.0]]
    """
    held = _listed(curves)
    handles, count = Handles(held), len(held)
    ordered, turned = arrays.int_out(max(count, 1)), arrays.int_out(max(count, 1))
    before = set(Curve.handles())
    call("auto_sort_boundary_curves_rbf", handles, count, tolerance, ordered, turned)
    made = set(Curve.handles()) - before
    given = {curve.handle: curve for curve in held}
    return [
        _reversed(handle, made) if new else given[handle]
        for handle, new in zip(ordered[:count], turned)
    ]


def _reversed(handle: int, made: "set[int]") -> BoundaryCurve:
    return Curve(handle) if handle in made else CurveOnSurface(handle)


def validate_loop(
    curves: Iterable[BoundaryCurve], tolerance: float = BOUNDARY_TOLERANCE
) -> LoopReport:
    """Whether the curves bound a hole as they are.

    >>> a, b, c = (0, 0, 0), (1, 0, 0), (0, 1, 0)
    >>> report = morvel.validate_loop([Curve.line(a, b), Curve.line(b, c), Curve.line(c, b)])
    >>> report.valid, report.gaps
    (False, (0.0, 0.0, 1.0))
    """
    handles, record = Handles(_listed(curves)), _Validation()
    at = ctypes.addressof(record)
    call("validate_nsided_boundary_rbf", handles, len(handles), tolerance, at)
    try:
        return LoopReport(
            bool(record.is_valid), bool(record.is_closed), bool(record.has_intersections),
            tuple(record.gaps[: record.gap_count]), record.tolerance,
            record.message.decode("utf-8", "replace"),
        )
    finally:
        functions["free_nsided_validation_results"](at)
