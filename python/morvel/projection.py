"""Points and curves projected onto surfaces."""

from __future__ import annotations

from dataclasses import dataclass
from typing import List, Literal, NamedTuple, Optional, Sequence, Tuple

import numpy as np
from numpy.typing import ArrayLike

from . import _arrays as arrays
from ._arrays import FloatArray, address
from ._batches import PAIR, VECTOR, count_of
from ._library import call, call_expecting, failure, functions
from .curve import Curve
from .curve_on_surface import CurveOnSurface
from .surface import Surface

Kind = Literal["view", "surface_normal", "closest_point", "custom_vector"]
Fitting = Literal["loose", "tight", "adaptive"]
Choice = Literal["nearest", "all", "user_select"]

KINDS = ("view", "surface_normal", "closest_point", "custom_vector")
FITTINGS = ("loose", "tight", "adaptive")
CHOICES = ("nearest", "all", "user_select")
DOWN = (0.0, 0.0, -1.0)
SUCCESS = 1
ROOM = 64  # pieces of a projection; where there are more, it is made again


class ProjectedPoints(NamedTuple):
    """Where points meet a surface; shapes follow those of the points."""

    uv: FloatArray
    points: FloatArray
    distances: FloatArray


@dataclass(frozen=True)
class ProjectedCurves:
    """The pieces of projected curves, in the order curve, surface, piece."""

    on_surface: List[CurveOnSurface]
    in_space: List[Curve]
    deviation: float  #: the largest measured one, model units


@dataclass(frozen=True)
class ProjectionReport:
    """What was measured in the last projection onto a surface (model units)."""

    max_deviation: float
    mean_deviation: float
    max_fit_deviation: float
    pieces: int
    samples: int
    iterations: int
    max_distance: float
    score: float


def _checked(text: str, known: Sequence[str], what: str) -> bytes:
    if text not in known:
        raise ValueError(f"{what} must be one of {', '.join(known)}, not {text!r}")
    return text.encode()


def project_points(surface: Surface, xyz: ArrayLike) -> ProjectedPoints:
    """The closest points of a surface, found over all of it.

        uv, points, distances = morvel.project_points(surface, cloud)

    Args:
        surface: a trimmed surface answers for its base.
        xyz: (..., 3) points; ArgumentError where one is not finite.

    Returns:
        uv (..., 2), points (..., 3), distances (...).
    """
    given = np.asarray(xyz, dtype=np.float64)
    leading = given.shape[:-1]
    if given.shape != leading + VECTOR:
        raise ValueError(f"points need shape (..., 3), not {given.shape}")
    items = arrays.floats(given)
    result = ProjectedPoints(np.empty(leading + PAIR), np.empty(given.shape), np.empty(leading))
    outputs = [address(out) for out in result]
    call(
        "project_points_to_surface_batch", surface.handle, address(items), count_of(leading),
        *outputs,
    )
    return ProjectedPoints(result.uv, result.points, result.distances[()])


def project_point(
    surface: Surface,
    xyz: ArrayLike,
    kind: Kind = "closest_point",
    direction: ArrayLike = DOWN,
    hits: Choice = "nearest",
) -> ProjectedPoints:
    """All hits of one point, projected in one of four ways.

    Args:
        kind: along the direction for "view" and "custom_vector".
        direction: of any length.
        hits: the nearest; all, the nearest first; or all in their order along the direction.

    Returns:
        uv (n, 2), points (n, 3), distances (n,). MorvelError for a miss.
    """
    where, along = arrays.triple(xyz, "xyz"), arrays.triple(direction, "direction")
    texts = _checked(kind, KINDS, "kind"), _checked(hits, CHOICES, "hits")
    count, room = arrays.int_out(), 1
    while True:
        out = ProjectedPoints(np.empty((room, 2)), np.empty((room, 3)), np.empty(room))
        call_expecting(
            SUCCESS, "project_point_to_surface_unified", *where, surface.handle, texts[0], *along,
            texts[1], room, address(out.points), address(out.uv), address(out.distances), None,
            count,
        )
        if count[0] <= room:
            return ProjectedPoints(*(values[: count[0]] for values in out))
        room = count[0]


def _handles(objects: "Sequence[Curve] | Sequence[Surface]") -> "np.ndarray":
    return np.array([item.handle for item in objects], dtype=np.int32)


def _project(
    curves: Sequence[Curve], surfaces: Sequence[Surface], room: int, options: Tuple
) -> Tuple[int, int, List[List[int]], float]:
    """The result, the number of pieces, the handles of both kinds and the deviation."""
    kind, along, fitting, tolerance, forward, longest, hits, smooth = options
    made = [arrays.int_out(max(room, 1)) for _ in range(2)]
    counts = [arrays.int_out() for _ in range(2)]
    deviation = arrays.double_out()
    bases, profiles = _handles(surfaces), _handles(curves)
    result = functions["project_geometry_unified"](
        address(profiles), len(profiles), address(bases), len(bases), kind, *along, b"both",
        fitting, tolerance, forward, longest, hits, smooth, made[0], counts[0], made[1], counts[1],
        room, deviation, None, 0,
    )
    return result, counts[0][0], [list(m[: c[0]]) for m, c in zip(made, counts)], deviation[0]


def project_curves(
    curves: Sequence[Curve],
    surfaces: Sequence[Surface],
    kind: Kind = "closest_point",
    direction: ArrayLike = DOWN,
    tolerance: float = 1e-3,
    fitting: Fitting = "adaptive",
    hits: Choice = "nearest",
    forward_only: bool = False,
    longest_only: bool = False,
    tangent_continuity: bool = False,
) -> ProjectedCurves:
    """Projects every curve onto every surface.

    A curve becomes several pieces where its projection leaves the surface, jumps, or crosses the
    seam of a closed surface.

    Args:
        kind, direction, hits: as for `project_point`.
        tolerance: model units.
        fitting: "adaptive" adds samples until the curves are within the tolerance; "tight" and
            "loose" take 50.
        forward_only: hits against the direction do not count.
        longest_only: of the pieces of one curve on one surface, only the longest.
        tangent_continuity: no corners.

    Raises:
        MorvelError: where every projection misses, or an argument cannot be used.
    """
    options = (
        _checked(kind, KINDS, "kind"), arrays.triple(direction, "direction"),
        _checked(fitting, FITTINGS, "fitting"), tolerance, forward_only, longest_only,
        _checked(hits, CHOICES, "hits"), tangent_continuity,
    )
    result, pieces, made, deviation = _project(curves, surfaces, ROOM, options)
    if pieces > ROOM:
        result, pieces, made, deviation = _project(curves, surfaces, pieces, options)
    if result != SUCCESS:
        raise failure("project_geometry_unified", result)
    on_surface = [CurveOnSurface(handle) for handle in made[0]]
    return ProjectedCurves(on_surface, [Curve(handle) for handle in made[1]], deviation)


def projection_report(surface: Surface) -> Optional[ProjectionReport]:
    """What was measured in the last projection onto a surface; None before the first."""
    numbers, whole = [arrays.double_out() for _ in range(5)], [arrays.int_out() for _ in range(3)]
    result = functions["get_projection_report"](
        surface.handle, *numbers[:3], *whole, *numbers[3:]
    )
    if result < 0:
        return None
    return ProjectionReport(
        *(n[0] for n in numbers[:3]), *(n[0] for n in whole), *(n[0] for n in numbers[3:])
    )
