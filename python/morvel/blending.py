"""Blends by a rolling ball, and intersections of surfaces."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Iterable, List, Literal, NamedTuple, Tuple

import numpy as np
from numpy.typing import ArrayLike

from . import _arrays as arrays
from ._arrays import FloatArray, IntArray, address
from ._library import call
from .curve import Curve
from .surface import Surface

Sides = Literal["auto", "++", "--", "+-", "-+"]

METHODS = {"++": 0, "--": 1, "+-": 2, "-+": 3, "auto": 4}
INTERPOLATIONS = {"linear": 0, "smooth": 1}
OFFSET_SAMPLES = 20
CELLS = 20
ALONG = 50
ACROSS = 20
TOLERANCE = 0.01
LINE_TOLERANCE = 1e-4
LINE_CELLS = 100
PER_CONTACT = 9


@dataclass(frozen=True)
class Blend:
    """A blend and what it was made of."""

    surface: Surface  #: along the spine in u, from the first surface to the second in v
    spine: Curve  #: the path of the ball's centre
    offsets: Tuple[Surface, Surface]  #: surfaces at the ball's distance
    sides: str  #: "+" where the ball lies where a surface's normal points
    contacts: FloatArray  #: (n, 3, 3): centre, contact on the first surface, on the second


class Branch(NamedTuple):
    """A branch of an intersection: points in order, and their parameters on both surfaces."""

    points: FloatArray
    uv1: FloatArray
    uv2: FloatArray
    closed: bool


@dataclass(frozen=True)
class Intersection:
    """Where two surfaces meet."""

    branches: List[Branch]  #: the longest first
    tangencies: FloatArray  #: (n, 3): where they touch, or a branch ends for that
    coincide: bool  #: they lie on each other over an area; no branches then


class Contacts(NamedTuple):
    """Where balls touch; the second axis is that of the two surfaces."""

    points: FloatArray  # (n, 2, 3)
    uv: FloatArray  # (n, 2, 2)
    normals: FloatArray  # (n, 2, 3)
    residuals: FloatArray  # (n, 2)
    converged: IntArray  # (n, 2)


def _method(sides: str) -> int:
    if sides not in METHODS:
        raise ValueError(f"sides must be one of {', '.join(METHODS)}, not {sides!r}")
    return METHODS[sides]


def _signs(numbers: Iterable[int]) -> str:
    return "".join("+" if number > 0 else "-" for number in numbers)


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

        joint = morvel.blend(spout, body, radius=0.1)

    Args:
        sides: "+" where the ball lies where a surface's normal points, for either surface; "auto"
            takes the sides with the longest spine.
        tolerance: of the spine; 1e-4 of the radius where that is smaller.
        along, across: sections, and points of each; sections are added where they do not do.
        cells: 5 to 100; twice as many per direction are looked at for the spine.

    Raises:
        MorvelError: the text names the stage that failed and why.
    """
    out = [arrays.int_out() for _ in range(3)]
    taken, count = arrays.int_out(2), arrays.int_out()
    contacts = np.empty((along, PER_CONTACT))
    surface = Surface(
        call(
            "create_rolling_ball_blend_with_method", first.handle, second.handle, radius,
            _method(sides), tolerance, OFFSET_SAMPLES, cells, along, across, 0, 1, taken, *out,
            address(contacts), along, count,
        )
    )
    stations = contacts[: count[0]].reshape(-1, 3, 3)
    offsets = Surface(out[0][0]), Surface(out[1][0])
    return Blend(surface, Curve(out[2][0]), offsets, _signs(taken), stations)


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

    Args:
        parameters: rising within 0 to 1, the fractions of the spine that the radii belong to.
    """
    at, values = arrays.floats(parameters), arrays.floats(radii)
    if at.ndim != 1 or at.shape != values.shape:
        raise ValueError(f"{at.shape} parameters do not fit {values.shape} radii")
    spine = arrays.int_out()
    surface = Surface(
        call(
            "create_variable_rolling_ball_blend", first.handle, second.handle, address(at),
            address(values), at.size, INTERPOLATIONS[interpolation], _method(sides), cells, along,
            across, None, spine,
        )
    )
    return surface, Curve(spine[0])


def intersect(
    first: Surface,
    second: Surface,
    tolerance: float = LINE_TOLERANCE,
    cells: int = LINE_CELLS,
) -> Intersection:
    """Every branch in which two surfaces meet, closed ones too.

    Args:
        tolerance: of a cubic between neighbouring points, to either surface (model units).
        cells: 5 to 100 per direction, the most that are looked at.
    """
    counts = [arrays.int_out() for _ in range(4)]
    pair = ("compute_surface_intersection", first.handle, second.handle, tolerance, cells)
    call(*pair, None, None, None, 0, None, None, 0, None, 0, *counts)
    points, branches = counts[0][0], counts[1][0]
    xyz, uv1, uv2 = np.empty((points, 3)), np.empty((points, 2)), np.empty((points, 2))
    touching = np.empty((counts[2][0], 3))
    ends, closed = arrays.int_out(max(branches, 1)), arrays.int_out(max(branches, 1))
    call(
        *pair, address(xyz), address(uv1), address(uv2), points, ends, closed, branches,
        address(touching), len(touching), *counts,
    )
    starts = [0, *ends[: max(branches - 1, 0)]]
    pieces = [slice(start, end) for start, end in zip(starts, ends[:branches])]
    found = [Branch(xyz[p], uv1[p], uv2[p], bool(closed[k])) for k, p in enumerate(pieces)]
    return Intersection(found, touching, bool(counts[3][0]))


def contact_points(first: Surface, second: Surface, centres: ArrayLike, radii: ArrayLike) -> Contacts:
    """Where balls about (n, 3) centres touch both surfaces; one radius for all or one a ball."""
    where = arrays.points(centres)
    sizes = arrays.floats(np.broadcast_to(np.asarray(radii, dtype=np.float64), where.shape[:1]))
    n = len(where)
    result = Contacts(
        np.empty((n, 2, 3)), np.empty((n, 2, 2)), np.empty((n, 2, 3)), np.empty((n, 2)),
        np.empty((n, 2), dtype=np.int32),
    )
    call(
        "compute_variable_contact_points", first.handle, second.handle, address(where),
        address(sizes), n, *(address(out) for out in result),
    )
    return result


def canal(
    centres: ArrayLike, first: ArrayLike, second: ArrayLike, radii: ArrayLike,
    along: int = ALONG, across: int = ACROSS,
) -> Surface:
    """Arcs of balls between two contacts each, and the surface through them.

    Args:
        centres, first, second: (n, 3) points; the contacts are brought to the radius.
        radii: one for all, or one a ball.
    """
    where, a, b = arrays.points(centres), arrays.points(first), arrays.points(second)
    if not where.shape == a.shape == b.shape:
        raise ValueError("every centre needs two contacts")
    sizes = arrays.floats(np.broadcast_to(np.asarray(radii, dtype=np.float64), where.shape[:1]))
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
    """The surface at distances that follow a law of u or v, along the normals or against them."""
    at, values = arrays.floats(parameters), arrays.floats(distances)
    if at.ndim != 1 or at.shape != values.shape:
        raise ValueError(f"{at.shape} parameters do not fit {values.shape} distances")
    return Surface(
        call(
            "create_variable_offset_surface", surface.handle, address(at), address(values), at.size,
            INTERPOLATIONS[interpolation], "uv".index(along), samples,
        )
    )
