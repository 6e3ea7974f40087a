"""Surfaces near points, exactly through some of them, with given tangents."""

from __future__ import annotations

from typing import Any, Iterable, List, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, IntArray, address, choice, two, whole
from ._handles import checked
from ._library import call, call_expecting
from .surface import SIDES, Side, Surface

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
TABLES = {"coons": 0, "gordon": 1, "n-sided": 2, "all": 3}
MASK_ENTRIES = 100  # control points count as those of a 10 x 10 net
SAMPLES = 8


class ConstrainedFit(NamedTuple):
    """A fitted surface and how well it meets what was asked of it."""

    surface: Surface
    max_deviation: float  #: of the points near which it passes, at their parameters
    rms_deviation: float
    condition_number: float  #: of the system that was solved
    satisfaction: float  #: 1 where every constraint holds within 1e-6
    milliseconds: float  #: of the fit
    interpolation_uv: FloatArray  #: (k, 2): where the surface passes through the points


class Neighbour(NamedTuple):
    """A surface that a fit is to continue across one of its sides."""

    side: "Union[Side, int]"  #: of the fitted surface
    surface: Surface
    other_side: "Union[Side, int]"  #: of the neighbour
    samples: int = SAMPLES  #: places along the side, 2 to 500
    positions: bool = True  #: whether the places themselves are met too


class Adjustment(NamedTuple):
    """How well an adjusted surface meets its constraints."""

    met: int  #: how many constraints hold
    distance: float  #: what is left, at most: in model units,
    angle: float  #: between tangent planes, in radians,
    curvature: float  #: between normal curvatures


def _optional(values: Optional[ArrayLike], what: str, *shape: int) -> Optional[FloatArray]:
    return None if values is None else arrays.shaped(values, what, *shape)


def _place(array: Optional[FloatArray]) -> Optional[int]:
    return None if array is None else address(array)


class _Tangents(NamedTuple):
    """G1 constraints as the kernel takes them."""

    uv: Optional[FloatArray]
    along_u: Optional[FloatArray]
    along_v: Optional[FloatArray]

    @classmethod
    def of(cls, tangents: "Optional[Tangents]") -> "_Tangents":
        if tangents is None:
            return cls(None, None, None)
        uv, along_u, along_v = _members(tangents, 3, "tangents")
        places = arrays.pairs(uv, "the parameters of tangents")
        given = [
            None if along is None else arrays.shaped(along, "tangents", len(places), 3)
            for along in (along_u, along_v)
        ]
        return cls(places, *given)


Tangents = Tuple[ArrayLike, Optional[ArrayLike], Optional[ArrayLike]]


def _members(values: Any, count: int, what: str) -> List[Any]:
    found = arrays.members(values, what) if isinstance(values, Iterable) else []
    if len(found) != count:
        raise arrays.type_or_value(values)(f"{what} needs {count} members")
    return found


def side_number(side: "Union[Side, int]", what: str = "side") -> int:
    """The kernel's number of a side, given by that or by name."""
    if isinstance(side, str):
        return choice(side, SIDES, what)
    return whole(side, what, 0, len(SIDES) - 1)


def _add_normals(engine: int, normals: Optional[Tuple[ArrayLike, ArrayLike]]) -> bool:
    if normals is None:
        return False
    places, given = two(normals, "normals")
    uv = arrays.pairs(places, "the parameters of normals")
    for (u, v), normal in zip(uv, arrays.shaped(given, "normals", len(uv), 3)):
        length = float(np.linalg.norm(normal))
        if not 0.0 < length < np.inf:
            raise ValueError(f"a normal needs a finite length above 0, not {normal}")
        unit = np.ascontiguousarray(normal / length)
        call("surface_engine3_add_g1_normal_constraint", engine, u, v, address(unit), 1.0)
    return True


def _add_neighbours(engine: int, neighbours: "Sequence[Neighbour]") -> bool:
    for given in neighbours:
        one = Neighbour(*given)
        call(
            "surface_engine3_extract_boundary_g1_constraints",
            *(engine, side_number(one.side), checked(one.surface, Surface, "a neighbour")),
            *(side_number(one.other_side), one.samples, int(bool(one.positions))),
        )
    return bool(neighbours)


def _number(name: str, engine: int) -> float:
    return float(call(name, engine))


def fit_surface_constrained(
    points: ArrayLike,
    uv: Optional[ArrayLike] = None,
    *,
    weights: Optional[ArrayLike] = None,
    interpolate: Optional[ArrayLike] = None,
    interpolate_uv: Optional[ArrayLike] = None,
    tangents: Optional[Tangents] = None,
    tangent_weights: Optional[ArrayLike] = None,
    normals: Optional[Tuple[ArrayLike, ArrayLike]] = None,
    neighbours: Sequence[Neighbour] = (),
    degrees: Tuple[int, int] = (3, 3),
    control_points: Tuple[int, int] = (0, 0),
    method: Union[str, int] = "plane",
    regularization: float = 0.0,
) -> ConstrainedFit:
    """The B-spline surface near (n, 3) points that meets hard constraints exactly.

    >>> uv = np.random.default_rng(1).random((400, 2))
    >>> points = np.column_stack([uv, 0.2 * np.sin(3 * uv[:, 0])])
    >>> fit = morvel.fit_surface_constrained(
    ...     points, uv, interpolate=[(0.5, 0.5, 1.0)], interpolate_uv=[(0.5, 0.5)]
    ... )
    >>> np.allclose(fit.surface.exact((0.5, 0.5)), (0.5, 0.5, 1.0))
    True

    Args:
        uv: (n, 2) parameters of the points in [0, 1]; by `method` unless given.
        weights: (n,), above 0; 1 unless given.
        interpolate: (k, 3) points on the surface.
        interpolate_uv: (k, 2), where; unless given, where they project to among the points, which
            then must not have `uv` of their own.
        tangents: (m, 2) parameters and (m, 3) first derivatives in u and in v, either of which may
            be None. Direction and length are met.
        tangent_weights: (m,), above 0; 1 unless given.
        normals: (m, 2) parameters and (m, 3) normals. By contract of the kernel the derivatives
            become two unit vectors perpendicular to each.
        neighbours: registered surfaces to continue: along a side of the fitted surface the same
            positions and derivatives as along a side of the neighbour (`Neighbour`).
        control_points: on each side; 0 for a count that follows from n.
        method: "plane", "principal axes", "convex hull" or "universal" for points in any order;
            "uniform", "chord length" or "centripetal" for a square grid, row by row.
        regularization: lambda; 0 takes 1e-6. The share of the largest singular value that is added
            to the diagonal. A smaller one follows the points more closely where they are many.
    """
    near = arrays.points_or_none(points, "points")
    through = None if interpolate is None else arrays.points(interpolate, "interpolate")
    count = 0 if through is None else len(through)
    at = _optional(uv, "uv", len(near), PAIR)
    heavy = _optional(weights, "weights", len(near))
    through_at = _optional(interpolate_uv, "interpolate_uv", count, PAIR)
    if count and at is not None and through_at is None:
        raise ValueError("points with uv of their own need interpolate_uv")
    g1 = _Tangents.of(tangents)
    places_of_tangents = 0 if g1.uv is None else len(g1.uv)
    g1_heavy = _optional(tangent_weights, "tangent_weights", places_of_tangents)
    code = choice(method, METHODS, "method") if isinstance(method, str) else method
    engine = call(
        "create_surface_engine3_with_g1_constraints",
        *(address(near) if len(near) else None, _place(at), _place(heavy), len(near)),
        *(_place(through), _place(through_at), count),
        *(_place(g1.uv), _place(g1.along_u), _place(g1.along_v)),
        *(_place(g1_heavy), places_of_tangents),
        *(*two(degrees, "degrees"), *two(control_points, "control_points"), code, regularization),
    )
    try:
        sides = arrays.members(neighbours, "neighbours")
        added = _add_normals(engine, normals), _add_neighbours(engine, sides)
        if any(added):
            call("surface_engine3_apply_g1_constraints", engine)
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
    side: "Union[Side, int]",
    other: Surface,
    other_side: "Union[Side, int]",
    *,
    samples: int = SAMPLES,
    level: int = 1,
    kind: "Union[str, int]" = "all",
) -> Tuple[int, FloatArray]:
    """Moves control points of a B-spline surface so that one of its sides meets a side of another.

    >>> def flat(x, z):
    ...     i, j = np.meshgrid(np.arange(10.0), np.arange(10.0), indexing="ij")
    ...     return Surface.bspline(np.stack([x + i / 9, j / 9, z + 0 * i], axis=-1))
    >>> left, right = flat(0.0, 0.0), flat(1.1, 0.1)
    >>> met, rest = morvel.join_surface(right, "u_min", left, "u_max")
    >>> met, rest[0] < 1e-6
    (8, True)

    Args:
        side, other_side: "u_min", "u_max", "v_min" or "v_max", or their numbers 0 to 3.
        samples: places along the side, 2 to 200.
        level: 1 meets position and tangent plane, 2 the curvature too.
        kind: which control points may move, as those of a "coons" patch, a "gordon" surface, an
            "n-sided" patch, or "all" of the first 10 x 10; or their numbers 0 to 3.

    With n control points along the side about n / 2 samples can be met at level 1 and n / 3 at
    level 2, more where the two edges have the same shape already.

    Returns:
        How many of the samples are met, and what is left: distance, angle in radians, curvature.
    """
    left = np.empty(3)
    ends = checked(surface, Surface, "surface"), checked(other, Surface, "other")
    met = call(
        "apply_complete_surface_constraints",
        *(ends[0], side_number(side), ends[1], side_number(other_side, "other_side")),
        *(samples, level, _table(kind), address(left)),
    )
    return int(met), left


def adjust_surface(
    surface: Surface,
    other: Surface,
    places: ArrayLike,
    *,
    level: int = 1,
    movable: Optional[Tuple[ArrayLike, ArrayLike]] = None,
) -> Adjustment:
    """Moves control points of a B-spline surface so that it meets another one at chosen places.

    >>> i, j = np.meshgrid(np.arange(8.0), np.arange(8.0), indexing="ij")
    >>> sheet = Surface.bspline(np.stack([i, j, 0 * i], axis=-1))
    >>> floor = Surface.plane((0, 0, 0.2), (7, 0, 0), (0, 7, 0))
    >>> morvel.adjust_surface(sheet, floor, [(0.5, 0.5, 0.5, 0.5)]).met
    1
    >>> sheet((0.5, 0.5))
    array([3.5, 3.5, 0.2])

    Args:
        surface: it keeps its handle.
        places: (n, 4), 1 to 200 of them: u, v on the surface and u, v on the other. There it takes
            the other's position and tangent plane, and at level 2 its curvature.
        movable: which control points may move, and how readily: numbers row * 10 + column, row in
            u, and as many weights (`movable_control_points`); all of weight 1 unless given.
    """
    given, left = arrays.shaped(places, "places", None, 4), np.empty(3)
    ends = checked(surface, Surface, "surface"), checked(other, Surface, "other")
    mask: Tuple[Any, ...] = (None, None, 0)
    if movable is not None:
        entries, heavy = two(movable, "movable")
        shares = arrays.shaped(heavy, "the weights of movable points", None)
        numbers = arrays.shaped(entries, "the numbers of movable points", shares.size)
        indices: IntArray = np.array([whole(int(n), "number") for n in numbers], dtype=np.int32)
        mask = (address(indices), address(shares), shares.size)
    name = "apply_surface_g1g2_constraints"
    met = call(name, *ends, address(given), len(given), level, *mask, address(left))
    return Adjustment(int(met), *left.tolist())


def movable_control_points(
    surface: Surface, kind: "Union[str, int]" = "all"
) -> Tuple[IntArray, FloatArray]:
    """The numbers and weights of the control points that a `kind` of `join_surface` may move.

    >>> plate = Surface.plane((0, 0, 0), (1, 0, 0), (0, 1, 0))
    >>> numbers, weights = morvel.movable_control_points(plate, "n-sided")
    >>> numbers[:3], weights[:3]
    (array([22, 23, 24], dtype=int32), array([0.6, 0.6, 0.6]))
    """
    numbers, weights = np.empty(MASK_ENTRIES, dtype=np.int32), np.empty(MASK_ENTRIES)
    on = checked(surface, Surface, "surface")
    given = (address(numbers), MASK_ENTRIES, address(weights))
    count = call("generate_constraint_mask", on, _table(kind), *given)
    return numbers[:count], weights[:count]


def _table(kind: "Union[str, int]") -> int:
    return choice(kind, TABLES, "kind") if isinstance(kind, str) else whole(kind, "kind")
