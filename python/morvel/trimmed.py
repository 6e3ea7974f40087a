"""Trimmed surfaces: a base surface of which loops in its parameter plane leave a part."""

from __future__ import annotations

import ctypes
from typing import NamedTuple, Optional, Sequence, Tuple

import numpy as np
from numpy.typing import ArrayLike

from . import _arrays as arrays
from ._arrays import FloatArray, IntArray, address
from ._batches import PAIR
from ._errors import ArgumentError, MorvelError
from ._library import TrimOptions, call, functions
from .curve import Curve
from .mesh import Mesh
from .surface import Surface

OUTSIDE, INSIDE, ON_BOUNDARY = 0, 1, 2
OUTER, INNER, MATERIAL = 0, 1, 2
TOLERANCE = 1e-6

#: What the kernel's family of functions keeps to itself: it has no text for other languages.
_REFUSALS = {
    "create_rectangular_trimmed_surface": {
        -1: "invalid base surface",
        -2: "the u bounds are out of order",
        -3: "the v bounds are out of order",
        -4: "the bounds leave the surface's domain",
    },
    "create_trimmed_surface_with_circular_hole": {
        -1: "invalid base surface",
        -2: "the radius must be above 0",
        -3: "the hole makes no valid surface",
    },
    "create_wire_trimmed_surface": {-1: "invalid base surface"},
    "snip_surface_with_plane": {
        -1: "invalid base surface",
        -3: "the plane does not cut the surface",
        -4: "the plane needs a point and a normal",
    },
    "snip_surface_with_wire_3d": {
        -1: "invalid base surface",
        -2: "the wire has no curves",
        -3: "the wire misses the surface",
    },
    "tessellate_trimmed_surface_visible_region": {
        -1: "the counts must be between 2 and 2000",
        -2: "unknown surface",
        -4: "the visible part could not be cut into triangles",
    },
}


class Loop(NamedTuple):
    """A loop of a trimmed surface.

    Attributes:
        polygon: (n, 2) corners u v; of a loop of curves, samples of them.
        type: OUTER, INNER or MATERIAL.
        is_outer: the role that the surface gave it.
        curves: how many curves it is made of.
    """

    polygon: FloatArray
    type: int
    is_outer: bool
    curves: int


def _called(name: str, *arguments: object) -> int:
    result = int(functions[name](*arguments))
    if result < 0:
        raise _refusal(name, result)
    return result


def _refusal(name: str, code: int) -> MorvelError:
    text = _REFUSALS.get(name, {}).get(code)
    return ArgumentError(name, code, text) if text else MorvelError(name, code)


def _options(tolerance: float) -> "ctypes._Pointer[TrimOptions]":
    return ctypes.byref(TrimOptions(tolerance, 0.001, 1, 1, 1, 0))  # type: ignore[return-value]


def _handles(curves: Sequence[Curve]) -> IntArray:
    return np.array([curve.handle for curve in curves], dtype=np.int32)


def _corners(values: ArrayLike) -> FloatArray:
    corners = arrays.floats(values)
    if corners.ndim != 2 or corners.shape[1:] != PAIR:
        raise ValueError(f"a polygon needs shape (n, 2), not {corners.shape}")
    return corners


class TrimmedSurface(Surface):
    """The part of a surface that loops leave.

    Everything a Surface does is done by the base; the loops say what of it is visible. The base
    lives on with the trimmed surface when its own object is closed.
    """

    __slots__ = ()

    @classmethod
    def polygons(
        cls,
        base: Surface,
        outer: Sequence[ArrayLike] = (),
        holes: Sequence[ArrayLike] = (),
        tolerance: float = TOLERANCE,
    ) -> "TrimmedSurface":
        """From closed polygons of (n, 2) corners u v, the first not repeated.

        Args:
            base: the surface.
            outer: what they enclose is visible, but for the holes.
            holes: cut out.
            tolerance: the distance in parameters within which a point is on a loop.
        """
        loops = [_corners(loop) for loop in [*outer, *holes]]
        corners = np.concatenate(loops) if loops else np.empty((0, 2))
        sizes = np.array([len(loop) for loop in loops], dtype=np.int32)
        types = np.array([OUTER] * len(outer) + [INNER] * len(holes), dtype=np.int32)
        roles = (types == OUTER).astype(np.int32)
        given = (address(corners), len(corners), address(sizes), address(types), address(roles))
        name = "create_trimmed_surface_from_polygons"
        return cls(call(name, base.handle, *given, len(loops), _options(tolerance)))

    @classmethod
    def rectangular(
        cls,
        base: Surface,
        u: Optional[Tuple[float, float]] = None,
        v: Optional[Tuple[float, float]] = None,
        tolerance: float = TOLERANCE,
    ) -> "TrimmedSurface":
        """The part over a rectangle; a direction without bounds stays open."""
        bounds = (*(u or (0.0, 1.0)), *(v or (0.0, 1.0)))
        flags = (int(u is not None), int(v is not None))
        name = "create_rectangular_trimmed_surface"
        return cls(_called(name, base.handle, *bounds, *flags, _options(tolerance)))

    @classmethod
    def circular_hole(
        cls, base: Surface, center: Tuple[float, float], radius: float, tolerance: float = TOLERANCE
    ) -> "TrimmedSurface":
        """The whole surface with a hole that is round in (u, v)."""
        name = "create_trimmed_surface_with_circular_hole"
        return cls(_called(name, base.handle, *center, radius, _options(tolerance)))

    @classmethod
    def wires(
        cls,
        base: Surface,
        outer: Sequence[Curve] = (),
        holes: Sequence[Sequence[Curve]] = (),
        tolerance: float = TOLERANCE,
    ) -> "TrimmedSurface":
        """From curves in space, projected onto the base.

        Args:
            base: the surface.
            outer: one after the other, in either direction, they bound the visible part; the whole
                surface without any. Curves that miss the surface are reported and left out.
            holes: the curves of each hole.
            tolerance: as in `polygons`.
        """
        around = _handles(outer)
        # The kernel reads no further than the number of holes times the size of the one it is at,
        # which is enough where the sizes rise.
        rising = sorted(holes, key=len)
        inner = _handles([curve for hole in rising for curve in hole])
        sizes = np.array([len(hole) for hole in rising], dtype=np.int32)
        given = (len(around), address(around), len(sizes), address(sizes), address(inner))
        return cls(_called("create_wire_trimmed_surface", base.handle, *given, _options(tolerance)))

    @classmethod
    def snipped(
        cls, base: Surface, point: ArrayLike, normal: ArrayLike, tolerance: float = TOLERANCE
    ) -> "TrimmedSurface":
        """The part on the side of a plane that its normal points to."""
        plane = (*arrays.triple(point, "point"), *arrays.triple(normal, "normal"))
        return cls(_called("snip_surface_with_plane", base.handle, *plane, _options(tolerance)))

    @property
    def loops(self) -> Tuple[Loop, ...]:
        """The loops, in the order they were added."""
        return tuple(self._loop(k) for k in range(call("get_trim_loop_count", self.handle)))

    def _loop(self, index: int) -> Loop:
        kind, role, corners, curves = (arrays.int_out() for _ in range(4))
        call("get_trim_loop_info", self.handle, index, kind, role, corners, curves)
        polygon = np.empty((corners[0], 2))
        call("get_trim_loop_polygon", self.handle, index, address(polygon), corners[0], corners)
        return Loop(polygon, kind[0], bool(role[0]), curves[0])

    def classify(self, uv: ArrayLike) -> IntArray:
        """INSIDE, OUTSIDE or ON_BOUNDARY for each pair: (...) for parameters of shape (..., 2)."""
        pairs = arrays.floats(uv)
        if pairs.shape[-1:] != PAIR:
            raise ValueError(f"parameters need shape (..., 2), not {pairs.shape}")
        result = np.empty(pairs.shape[:-1], dtype=np.int32)
        call(
            "classify_points_in_trimmed_surface",
            self.handle,
            address(pairs),
            result.size,
            address(result),
        )
        return result

    def mesh(self, nu: int = 20, nv: Optional[int] = None) -> Mesh:
        """The visible part over a grid of nu x nv vertices, cut along the loops."""
        counts = (nu, nu if nv is None else nv)
        name = "tessellate_trimmed_surface_visible_region"
        vertex_count, index_count = arrays.int_out(), arrays.int_out()
        vertices, triangles = arrays.empty_points(1), np.empty((1, 3), dtype=np.int32)
        for _ in range(2):  # the first time tells the sizes
            room = (address(vertices), len(vertices), vertex_count)
            index_room = (address(triangles), triangles.size, index_count)
            result = functions[name](self.handle, *counts, *room, *index_room)
            if result not in (-5, -6):
                break
            vertices = arrays.empty_points(max(vertex_count[0], 1))
            triangles = np.empty((max(index_count[0] // 3, 1), 3), dtype=np.int32)
        if result < 0:
            raise _refusal(name, result)
        return Mesh(vertices[: vertex_count[0]], triangles[: index_count[0] // 3])

    def area(self) -> float:
        """The area in space of the visible part."""
        area = arrays.double_out()
        _called("get_trimmed_surface_info", self.handle, area, None, None, None, None)
        return area[0]
