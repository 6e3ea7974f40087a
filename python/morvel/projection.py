"""Points and curves projected onto surfaces."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any, Iterable, List, Literal, NamedTuple, Optional, Sequence, Tuple

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, address, count_of, number
from ._batches import PAIR, VECTOR, items_of
from ._handles import Handles, checked, listed
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
PREVIEW_POINTS = 4096
ROOM = 64  # pieces of a projection; where there are more, it is made again


class ProjectedPoints(NamedTuple):
    """Where points meet a surface; shapes follow those of the points."""

    uv: FloatArray
    points: FloatArray
    distances: FloatArray


@dataclass(frozen=True, eq=False)
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
    return arrays.choice(text, {word: word.encode() for word in known}, what)


def project_points(surface: Surface, xyz: ArrayLike) -> ProjectedPoints:
    """The closest points of a surface, found over all of it.

    >>> ball = Surface.sphere((0, 0, 0), 2.0)
    >>> uv, points, distances = morvel.project_points(ball, [(3, 0, 0), (0, 0, 5)])
    >>> distances
    array([1., 3.])

    Args:
        surface: a trimmed surface answers for its base.
        xyz: (..., 3) points; ArgumentError where one is not finite.

    Returns:
        uv (..., 2), points (..., 3), distances (...).
    """
    items, leading = items_of(xyz, VECTOR, "xyz")
    uv, points, distances = np.empty(leading + PAIR), np.empty(items.shape), np.empty(leading)
    call(
        "project_points_to_surface_batch", checked(surface, Surface, "surface"), address(items),
        count_of(leading), address(uv), address(points), address(distances),
    )
    return ProjectedPoints(uv, points, distances[()])


def project_point(
    surface: Surface,
    xyz: ArrayLike,
    kind: Kind = "closest_point",
    direction: ArrayLike = DOWN,
    hits: Choice = "nearest",
) -> ProjectedPoints:
    """All hits of one point, projected in one of four ways.

    >>> ball = Surface.sphere((0, 0, 0), 2.0)
    >>> hits = morvel.project_point(ball, (0.5, 0.2, 5), "view", direction=(0, 0, -1), hits="all")
    >>> len(hits.distances)
    2

    Args:
        kind: along the direction for "view" and "custom_vector".
        direction: of any length.
        hits: the nearest; all, the nearest first; or all in their order along the direction.

    Returns:
        uv (n, 2), points (n, 3), distances (n,). MorvelError for a miss.
    """
    where, along = arrays.triple(xyz, "xyz"), arrays.triple(direction, "direction")
    texts = _checked(kind, KINDS, "kind"), _checked(hits, CHOICES, "hits")
    on, count, room = checked(surface, Surface, "surface"), arrays.int_out(), 1
    while True:
        out = ProjectedPoints(np.empty((room, 2)), np.empty((room, 3)), np.empty(room))
        call_expecting(
            SUCCESS, "project_point_to_surface_unified", *where, on, texts[0], *along,
            texts[1], room, address(out.points), address(out.uv), address(out.distances), None,
            count,
        )
        if count[0] <= room:
            return ProjectedPoints(*(values[: count[0]] for values in out))
        room = count[0]


def project_points_along(
    surface: Surface, xyz: ArrayLike, direction: ArrayLike = DOWN
) -> ProjectedPoints:
    """The nearest hits of many points along a direction, to either side; NaN where one misses.

    >>> ball = Surface.sphere((0, 0, 0), 2.0)
    >>> hits = morvel.project_points_along(ball, [(0.5, 0.2, 5), (9, 0, 5)])
    >>> np.isnan(hits.distances)
    array([False,  True])

    Args:
        xyz: (..., 3) points; ArgumentError where one is not finite.
        direction: of any length but 0.

    Returns:
        uv (..., 2), points (..., 3), distances (...).
    """
    items, leading = items_of(xyz, VECTOR, "xyz")
    along, on = arrays.triple(direction, "direction"), checked(surface, Surface, "surface")
    if not (np.isfinite(items).all() and np.isfinite(along).all() and any(along)):
        raise ValueError("points and direction must be finite, the direction not 0")
    total = count_of(leading)
    out = ProjectedPoints(
        np.full((total, 2), np.nan), np.full((total, 3), np.nan), np.full(total, np.nan)
    )
    name, count = "project_point_to_surface_unified", arrays.int_out()
    for k, point in enumerate(items.reshape(-1, 3).tolist()):
        row = [address(part[k:]) for part in (out.points, out.uv, out.distances)]
        given = (*point, on, b"custom_vector", *along, b"nearest", 1, *row, None, count)
        if functions[name](*given) != SUCCESS and count[0] != 0:
            raise failure(name, 0, given)
    uv, points, distances = (
        part.reshape(leading + shape) for part, shape in zip(out, (PAIR, VECTOR, ()))
    )
    return ProjectedPoints(uv, points, distances[()])


def _project(
    curves: List[Curve], surfaces: List[Surface], room: int, options: Tuple[Any, ...]
) -> Tuple[int, int, List[List[int]], float]:
    """The result, the number of pieces, the handles of both kinds and the deviation."""
    kind, along, fitting, tolerance, forward, longest, hits, smooth = options
    made = [arrays.int_out(max(room, 1)) for _ in range(2)]
    counts = [arrays.int_out() for _ in range(2)]
    deviation = arrays.double_out()
    bases, profiles = Handles(surfaces), Handles(curves)
    result = functions["project_geometry_unified"](
        profiles, len(profiles), bases, len(bases), kind, *along, b"both",
        fitting, tolerance, forward, longest, hits, smooth, made[0], counts[0], made[1], counts[1],
        room, deviation, None, 0,
    )
    return result, counts[0][0], [list(m[: c[0]]) for m, c in zip(made, counts)], deviation[0]


def project_curves(
    curves: Iterable[Curve],
    surfaces: Iterable[Surface],
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

    >>> tube = Surface.cylinder((0, 0, 0), radius=2.0, height=4.0)
    >>> line = Curve.line((3, 0.5, 1), (3, 1.5, 3))
    >>> made = morvel.project_curves([line], [tube], tolerance=1e-5)
    >>> len(made.on_surface), made.in_space, made.deviation < 1e-5
    (1, [<Curve 20001, bspline>], True)

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
        _checked(fitting, FITTINGS, "fitting"), number(tolerance, "tolerance"),
        int(bool(forward_only)), int(bool(longest_only)), _checked(hits, CHOICES, "hits"),
        int(bool(tangent_continuity)),
    )
    lines, bases = listed(curves, Curve, "curves"), listed(surfaces, Surface, "surfaces")
    result, pieces, made, deviation = _project(lines, bases, ROOM, options)
    if pieces > ROOM:
        result, pieces, made, deviation = _project(lines, bases, pieces, options)
    if result != SUCCESS:
        raise failure("project_geometry_unified", result)
    on_surface = [CurveOnSurface(handle) for handle in made[0]]
    return ProjectedCurves(on_surface, [Curve(handle) for handle in made[1]], deviation)


def projection_preview(
    curves: Iterable[Curve],
    surfaces: Iterable[Surface],
    kind: Kind = "closest_point",
    direction: ArrayLike = DOWN,
) -> List[FloatArray]:
    """The samples of projected curves as (n, 3) polylines, one a piece; no curve is made.

    >>> tube = Surface.cylinder((0, 0, 0), radius=2.0, height=4.0)
    >>> line = Curve.line((3, 0.5, 1), (3, 1.5, 3))
    >>> [piece.shape for piece in morvel.projection_preview([line], [tube])]
    [(50, 3)]
    """
    lines, bases = listed(curves, Curve, "curves"), listed(surfaces, Surface, "surfaces")
    text, along = _checked(kind, KINDS, "kind"), arrays.triple(direction, "direction")
    profiles, on = Handles(lines), Handles(bases)
    given = (profiles, len(profiles), on, len(on), text, *along)
    name, counts = "generate_projection_preview", (arrays.int_out(), arrays.int_out())
    points, ends = arrays.empty_points(PREVIEW_POINTS), arrays.int_out(ROOM)
    for _ in range(2):  # the first time tells the sizes where they are larger
        room = (address(points), len(points), counts[0])
        result = functions[name](*given, *room, ends, len(ends), counts[1])
        if result == SUCCESS:
            break
        if counts[0][0] <= len(points) and counts[1][0] <= len(ends):
            raise failure(name, result)
        points, ends = arrays.empty_points(counts[0][0]), arrays.int_out(counts[1][0])
    borders = list(ends[: counts[1][0]])
    return [np.array(points[a:b]) for a, b in zip([0, *borders], borders)]


def projection_report(surface: Surface) -> Optional[ProjectionReport]:
    """What was measured in the last projection onto a surface; None before the first.

    >>> ball = Surface.sphere((0, 0, 0), 2.0)
    >>> found = morvel.project_points(ball, [(3, 0, 0), (0, 0, 5)])
    >>> morvel.projection_report(ball).max_distance
    3.0
    """
    n, w = [arrays.double_out() for _ in range(5)], [arrays.int_out() for _ in range(3)]
    on = checked(surface, Surface, "surface")
    name, nothing_yet = "get_projection_report", (-3,)
    result = call(name, on, *n[:3], *w, *n[3:], passing=nothing_yet)
    if result < 0:
        return None
    return ProjectionReport(
        n[0][0], n[1][0], n[2][0], w[0][0], w[1][0], w[2][0], n[3][0], n[4][0]
    )
