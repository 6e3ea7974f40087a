"""Holes bounded by three or more curves, filled with one surface each."""

from __future__ import annotations

import ctypes
from typing import List, NamedTuple, Sequence, Tuple, Union

import numpy as np
from numpy.typing import ArrayLike

from . import _arrays as arrays
from ._arrays import address
from ._library import call, failure, functions
from .curve import Curve
from .curve_on_surface import CurveOnSurface
from .surface import Surface

BoundaryCurve = Union[Curve, CurveOnSurface]
SPANS = 8
SMOOTHNESS = 0.5
ITERATIONS = 50
NET_TOLERANCE = 1e-6
BOUNDARY_TOLERANCE = 1e-3
FIRST_ON_SURFACE = 60000  # the kernel numbers curves on surfaces from here, other curves below


class FillReport(NamedTuple):
    """How well a surface fills its hole; lengths in model units."""

    max_deviation: float  # from the boundary curves
    rms_deviation: float
    max_angle: float  # radians, to the tangent planes that were asked for
    condition_number: float


class LoopReport(NamedTuple):
    """What a check of boundary curves found."""

    valid: bool
    closed: bool
    crossing: bool
    gaps: Tuple[float, ...]  # gap k: from the end of curve k to the start of the next
    tolerance: float  # that they were compared with
    message: str  # the first fault or warning


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


def _handles(curves: Sequence[BoundaryCurve]) -> "np.ndarray":
    return np.array([curve.handle for curve in curves], dtype=np.int32)


def _per_curve(values: ArrayLike, count: int, kind: type) -> "np.ndarray":
    """One value a curve, or the same for all."""
    spread = np.ascontiguousarray(np.broadcast_to(np.asarray(values), (count,)), dtype=kind)
    return spread.copy()


def fill(
    curves: Sequence[BoundaryCurve],
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
    handles = _handles(curves)
    count = len(handles)
    levels = _per_curve(continuity, count, np.int32)
    heaviness = _per_curve(weights, count, np.float64)
    figures, patch = np.empty(4), arrays.int_out()
    surface = Surface(
        call(
            "create_nsided_patch_rbf", address(handles), count, address(levels), address(heaviness),
            *spans, smoothness, ITERATIONS, NET_TOLERANCE, tolerance, int(hermite), int(in_space),
            0, 0.0, *(address(figures[k:]) for k in range(4)), patch,
        )
    )
    functions["delete_nsided_patch_rbf"](patch[0])
    return surface, FillReport(*arrays.as_tuple(figures))


def sort_loop(
    curves: Sequence[BoundaryCurve], tolerance: float = BOUNDARY_TOLERANCE
) -> List[BoundaryCurve]:
    """The curves in the order of a loop that begins with the first; reversed ones are new curves."""
    handles = _handles(curves)
    count = len(handles)
    ordered, turned = arrays.int_out(count), arrays.int_out(count)
    call("auto_sort_boundary_curves_rbf", address(handles), count, tolerance, ordered, turned)
    given = {curve.handle: curve for curve in curves}
    return [
        (Curve if handle < FIRST_ON_SURFACE else CurveOnSurface)(handle) if new else given[handle]
        for handle, new in zip(ordered, turned)
    ]


def validate_loop(
    curves: Sequence[BoundaryCurve], tolerance: float = BOUNDARY_TOLERANCE
) -> LoopReport:
    """Whether the curves bound a hole as they are."""
    handles, record = _handles(curves), _Validation()
    name = "validate_nsided_boundary_rbf"
    code = functions[name](address(handles), len(handles), tolerance, ctypes.addressof(record))
    if code < 0:
        raise failure(name, code)
    report = LoopReport(
        bool(record.is_valid), bool(record.is_closed), bool(record.has_intersections),
        tuple(record.gaps[: record.gap_count]), record.tolerance, record.message.decode(),
    )
    functions["free_nsided_validation_results"](ctypes.addressof(record))
    return report
