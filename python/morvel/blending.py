"""Blends by a rolling ball, and intersections of surfaces."""

from __future__ import annotations

import ctypes
import warnings
from dataclasses import dataclass
from typing import Iterable, List, Literal, NamedTuple, Tuple

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, IntArray, address, choice, whole
from ._handles import checked
from ._library import call
from .curve import Curve
from .surface import Surface

Sides = Literal["auto", "++", "--", "+-", "-+"]

METHODS = {"++": 0, "--": 1, "+-": 2, "-+": 3, "auto": 4}
DIRECTIONS = {"u": 0, "v": 1}
INTERPOLATIONS = {"linear": 0, "smooth": 1}
OFFSET_SAMPLES = 20
CELLS = 20
ALONG = 50
ACROSS = 20
TOLERANCE = 0.01
LINE_TOLERANCE = 1e-4
LINE_CELLS = 100
PER_CONTACT = 9
FEWEST, MOST_ALONG = 3, 1000
TEXT_SIZE = 2000
ENDS = ("edge", "tangency", "fold", "stopped", "closed")  # as the library numbers them


@dataclass(frozen=True, eq=False)
class Blend:
    """A blend and what it was made of."""

    surface: Surface  #: along the spine in u, from the first surface to the second in v
    spine: Curve  #: the path of the ball's centre
    offsets: Tuple[Surface, Surface]  #: surfaces at the ball's distance
    sides: str  #: "+" where the ball lies where a surface's normal points
    contacts: FloatArray  #: (n, 3, 3): centre, contact on the first surface, on the second
    warnings: Tuple[str, ...] = ()  #: e.g. a spine that ends before the surfaces do


class Branch(NamedTuple):
    """A branch of an intersection: points in order, and their parameters on both surfaces."""

    points: FloatArray
    uv1: FloatArray
    uv2: FloatArray
    closed: bool
    ends: Tuple[str, str]  #: "edge", "tangency", "closed", or "stopped" where it may go on


@dataclass(frozen=True, eq=False)
class Intersection:
    """Where two surfaces meet."""

    branches: List[Branch]  #: the longest first
    tangencies: FloatArray  #: (n, 3): where they touch, or a branch ends for that
    coincide: bool  #: they lie on each other over an area; no branches then


class Contacts(NamedTuple):
    """Where balls touch; the second axis is that of the two surfaces."""

    points: FloatArray  #: (n, 2, 3)
    uv: FloatArray  #: (n, 2, 2)
    normals: FloatArray  #: (n, 2, 3)
    residuals: FloatArray  #: (n, 2)
    converged: IntArray  #: (n, 2)


class BallContact(NamedTuple):
    """A ball that touches two surfaces."""

    centre: FloatArray  #: (3,)
    uv: FloatArray  #: (2, 2), a row for each surface
    contacts: FloatArray  #: (2, 3)
    residual: float  #: of the equations that were solved
    iterations: int


def _law(at: ArrayLike, values: ArrayLike, what: str) -> Tuple[FloatArray, FloatArray]:
    parameters = arrays.shaped(at, "parameters", None)
    return parameters, arrays.shaped(values, what, parameters.size)


def _per_ball(radii: ArrayLike, count: int) -> FloatArray:
    """One radius a ball, or the same for all."""
    given = arrays.floats(radii, "radii")
    if given.shape not in ((), (count,)):
        raise ValueError(f"radii needs one value or {count}, not shape {given.shape}")
    return np.array(np.broadcast_to(given, count))


def _pair(first: Surface, second: Surface) -> Tuple[Surface, Surface]:
    return checked(first, Surface, "first"), checked(second, Surface, "second")


def _signs(numbers: Iterable[int]) -> str:
    return "".join("+" if number > 0 else "-" for number in numbers)


def _lines(text: "ctypes.Array[ctypes.c_char]") -> Tuple[str, ...]:
    return tuple(text.value.decode("utf-8", "replace").splitlines())


def blend(
    first: Surface,
    second: Surface,
    radius: float,
    sides: Sides = "auto",
    *,
    tolerance: float = TOLERANCE,
    along: int = ALONG,
    across: int = ACROSS,
    cells: int = CELLS,
) -> Blend:
    """The surface swept by a ball that rolls along two surfaces.

    >>> floor = Surface.plane((0, 0, 0), (4, 0, 0), (0, 4, 0))
    >>> wall = Surface.plane((0, 0, 0), (0, 4, 0), (0, 0, 4))
    >>> with morvel.quiet():
    ...     joint = morvel.blend(floor, wall, radius=0.5, sides="++")
    >>> joint.surface, joint.spine(0.0)[[0, 2]]
    (<Surface 40002, bspline_surface>, array([0.5, 0.5]))

    Args:
        sides: "+" where the ball lies where a surface's normal points, for either surface; "auto"
            takes the sides with the longest spine, one that stops inside the surfaces only at need.
        tolerance: of the spine; 1e-4 of the radius where that is smaller.
        along, across: sections, and points of each; sections are added where they do not do.
        cells: 5 to 100; twice as many per direction are looked at for the spine.

    Raises:
        MorvelError: the text names the stage that failed and why.
    """
    out = [arrays.int_out() for _ in range(3)]
    taken, count = arrays.int_out(2), arrays.int_out()
    contacts = np.empty((whole(along, "along", FEWEST, MOST_ALONG), PER_CONTACT))
    text = ctypes.create_string_buffer(TEXT_SIZE)
    surface = Surface(
        call(
            "create_rolling_ball_blend_with_method", *_pair(first, second), radius,
            choice(sides, METHODS, "sides"), tolerance, OFFSET_SAMPLES, cells, along, across, 0, 1,
            taken, *out, address(contacts), along, count, text, TEXT_SIZE,
        )
    )
    stations = contacts[: count[0]].reshape(-1, 3, 3)
    offsets = Surface(out[0][0]), Surface(out[1][0])
    return Blend(surface, Curve(out[2][0]), offsets, _signs(taken), stations, _lines(text))


def variable_blend(
    first: Surface,
    second: Surface,
    parameters: ArrayLike,
    radii: ArrayLike,
    sides: Sides = "auto",
    *,
    interpolation: Literal["linear", "smooth"] = "linear",
    along: int = ALONG,
    across: int = ACROSS,
    cells: int = CELLS,
) -> "Tuple[Surface, Curve]":
    """A blend whose radius changes along the spine, and the path of the ball's centre.

    Warnings, e.g. of a spine that ends before the surfaces do, are Python's (`RuntimeWarning`).

    >>> floor = Surface.plane((0, 0, 0), (4, 0, 0), (0, 4, 0))
    >>> wall = Surface.plane((0, 0, 0), (0, 4, 0), (0, 0, 4))
    >>> with morvel.quiet():
    ...     surface, spine = morvel.variable_blend(floor, wall, [0, 1], [0.3, 0.6], "++")
    >>> np.round(spine(0.5)[[0, 2]], 3)
    array([0.45, 0.45])

    Args:
        parameters: rising within 0 to 1, the fractions of the spine that the radii belong to.
    """
    at, values = _law(parameters, radii, "radii")
    spine, text = arrays.int_out(), ctypes.create_string_buffer(TEXT_SIZE)
    surface = Surface(
        call(
            "create_variable_rolling_ball_blend", *_pair(first, second), address(at),
            address(values), at.size, choice(interpolation, INTERPOLATIONS, "interpolation"),
            choice(sides, METHODS, "sides"), cells, along, across, None, spine,
            text, TEXT_SIZE,
        )
    )
    for line in _lines(text):
        warnings.warn(line, RuntimeWarning, stacklevel=2)
    return surface, Curve(spine[0])


def intersect(
    first: Surface,
    second: Surface,
    tolerance: float = LINE_TOLERANCE,
    cells: int = LINE_CELLS,
) -> Intersection:
    """Every branch in which two surfaces meet, closed ones too.

    >>> ball = Surface.sphere((0, 0, 0), 2.0)
    >>> floor = Surface.plane((-4, -4, 1), (8, 0, 0), (0, 8, 0))
    >>> met = morvel.intersect(ball, floor)
    >>> [branch.closed for branch in met.branches]
    [True]
    >>> np.allclose(np.linalg.norm(met.branches[0].points[:, :2], axis=1), np.sqrt(3))
    True

    Args:
        tolerance: of a cubic between neighbouring points, to either surface (model units).
        cells: 5 to 100 per direction, the most that are looked at.
    """
    counts = [arrays.int_out() for _ in range(4)]
    pair = ("compute_surface_intersection", *_pair(first, second), tolerance, cells)
    call(*pair, None, None, None, 0, None, None, None, 0, None, 0, *counts)
    points, branches = counts[0][0], counts[1][0]
    xyz, uv1, uv2 = np.empty((points, 3)), np.empty((points, 2)), np.empty((points, 2))
    touching = np.empty((counts[2][0], 3))
    ends, closed, kinds = (arrays.int_out(max(n * branches, 1)) for n in (1, 1, 2))
    call(
        *pair, address(xyz), address(uv1), address(uv2), points, ends, closed, kinds, branches,
        address(touching), len(touching), *counts,
    )
    starts = [0, *ends[: max(branches - 1, 0)]]
    pieces = [slice(start, end) for start, end in zip(starts, ends[:branches])]
    names = [(ENDS[kinds[2 * k]], ENDS[kinds[2 * k + 1]]) for k in range(branches)]
    found = [
        Branch(xyz[p], uv1[p], uv2[p], bool(closed[k]), names[k]) for k, p in enumerate(pieces)
    ]
    return Intersection(found, touching, bool(counts[3][0]))


def contact_points(
    first: Surface, second: Surface, centres: ArrayLike, radii: ArrayLike
) -> Contacts:
    """Where balls about (n, 3) centres touch both surfaces; one radius for all or one a ball.

    >>> floor = Surface.plane((0, 0, 0), (4, 0, 0), (0, 4, 0))
    >>> wall = Surface.plane((0, 0, 0), (0, 4, 0), (0, 0, 4))
    >>> touched = morvel.contact_points(floor, wall, [(1, 2, 1)], radii=1.0)
    >>> np.round(touched.points[0], 3)
    array([[1., 2., 0.],
           [0., 2., 1.]])
    """
    where = arrays.points(centres, "centres")
    n = len(where)
    sizes, ends = _per_ball(radii, n), _pair(first, second)
    result = Contacts(
        np.empty((n, 2, 3)), np.empty((n, 2, 2)), np.empty((n, 2, 3)), np.empty((n, 2)),
        np.empty((n, 2), dtype=np.int32),
    )
    outs = (result.points, result.uv, result.normals, result.residuals)
    call(
        "compute_variable_contact_points", *ends, address(where), address(sizes), n,
        *map(address, outs), address(result.converged),
    )
    return result


def ball_contact(
    first: Surface,
    second: Surface,
    distances: Tuple[float, float],
    plane: Tuple[ArrayLike, ArrayLike],
    near: ArrayLike,
) -> BallContact:
    """The ball of a radius that touches both surfaces with its centre on a plane.

    >>> floor = Surface.plane((0, 0, 0), (4, 0, 0), (0, 4, 0))
    >>> wall = Surface.plane((0, 0, 0), (0, 4, 0), (0, 0, 4))
    >>> plane = (0, 1.5, 0), (0, 1, 0)
    >>> ball = morvel.ball_contact(floor, wall, (1, 1), plane, near=[(0.2, 0.4), (0.4, 0.2)])
    >>> np.round(ball.centre, 9)
    array([1. , 1.5, 1. ])

    Args:
        distances: equal in size, above 0 where the ball lies where a surface's normal points.
        plane: a point and a normal.
        near: (2, 2), u v on either surface, from where the search starts.

    Raises:
        MorvelError: the search does not settle.
    """
    point, normal = arrays.two(plane, "plane")
    place = np.array([arrays.triple(point, "point"), arrays.triple(normal, "normal")])
    guess, ends = arrays.shaped(near, "near", 2, 2), _pair(first, second)
    centre, uv, contacts = np.empty(3), np.empty((2, 2)), np.empty((2, 3))
    residual, steps = arrays.double_out(), arrays.int_out()
    call(
        "solve_variable_spine_contact", *ends, *arrays.two(distances, "distances"), address(place),
        address(guess), address(centre), address(uv), address(contacts), residual, steps,
    )
    return BallContact(centre, uv, contacts, residual[0], steps[0])


def canal(
    centres: ArrayLike, first: ArrayLike, second: ArrayLike, radii: ArrayLike,
    along: int = ALONG, across: int = ACROSS,
) -> Surface:
    """Arcs of balls between two contacts each, and the surface through them.

    >>> y = np.linspace(0, 3, 4)[:, None] * [0, 1, 0]
    >>> gutter = morvel.canal(y + [1, 0, 1], y + [1, 0, 0], y + [0, 0, 1], radii=1.0)
    >>> np.allclose(np.linalg.norm(gutter((0.5, 0.3))[[0, 2]] - 1), 1, atol=1e-3)
    True

    Args:
        centres, first, second: (n, 3) points; the contacts are brought to the radius.
        radii: one for all, or one a ball.
    """
    where = arrays.points(centres, "centres")
    a, b = (
        arrays.shaped(values, what, len(where), 3)
        for values, what in ((first, "first"), (second, "second"))
    )
    sizes = _per_ball(radii, len(where))
    return Surface(
        call(
            "create_variable_canal_surface", address(where), address(a), address(b),
            address(sizes), len(where), along, across,
        )
    )


def variable_offset(
    surface: Surface,
    parameters: ArrayLike,
    distances: ArrayLike,
    *,
    along: Literal["u", "v"] = "u",
    interpolation: Literal["linear", "smooth"] = "linear",
    samples: int = 40,
) -> Surface:
    """The surface at distances that follow a law of u or v, along the normals or against them.

    >>> floor = Surface.plane((0, 0, 0), (4, 0, 0), (0, 4, 0))
    >>> np.round(morvel.variable_offset(floor, [0, 1], [0.1, 0.3])((0.5, 0.5)), 6)
    array([2. , 2. , 0.2])

    Args:
        parameters: rising within 0 to 1.
        distances: signed, model units; none 0 and all of one sign.
        samples: 3 to 200 a direction.
    """
    at, values = _law(parameters, distances, "distances")
    base, way = checked(surface, Surface, "surface"), choice(along, DIRECTIONS, "along")
    return Surface(
        call(
            "create_variable_offset_surface", base, address(at), address(values), at.size,
            choice(interpolation, INTERPOLATIONS, "interpolation"), way, samples,
        )
    )
