"""Trimmed surfaces: a base surface of which loops in its parameter plane leave a part."""

from __future__ import annotations

import ctypes
from typing import Any, Callable, Dict, Iterable, List, Literal, NamedTuple, Optional, Sequence
from typing import Tuple

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, IntArray, address, choice, count_of, members, number
from ._arrays import two, whole
from ._batches import PAIR, items_of
from ._errors import BAD_ARGUMENT, UNKNOWN_HANDLE, ArgumentError, HandleError
from ._handles import Handles, checked, listed
from ._library import TrimOptions, call, error_of, functions, is_registered, is_trimmed
from .curve import Curve
from .curve_on_surface import CurveOnSurface
from .mesh import Mesh
from .surface import Surface

OUTSIDE, INSIDE, ON_BOUNDARY = 0, 1, 2
OUTER, INNER, MATERIAL = 0, 1, 2
TOLERANCE = 1e-6
KEEPS = {"outside": 0, "inside": 1}
MOST_ROWS = 2000
TEXT_SIZE = 4096

#: What the kernel's family of functions keeps to itself: it has no text for other languages.
_TEXTS = {
    "create_rectangular_trimmed_surface": {
        -2: "the u bounds are out of order",
        -3: "the v bounds are out of order",
        -4: "the bounds leave the surface's domain",
    },
    "create_trimmed_surface_with_circular_hole": {
        -2: "the radius must be above 0",
        -3: "the hole makes no valid surface",
    },
    "snip_surface_with_plane": {
        -3: "the plane does not cut the surface",
        -4: "the plane needs a point and a normal",
    },
    "snip_surface_with_wire_3d": {
        -2: "the wire has no curves",
        -3: "the wire misses the surface",
    },
    "tessellate_trimmed_surface_visible_region": {
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


def _called(name: str, base: Surface, *arguments: object) -> int:
    """Calls a function of the family, whose texts are here."""
    failures = range(-20, 0)
    result = int(call(name, base, *arguments, passing=failures))
    if result >= 0:
        return result
    if not is_registered(Surface._kind, base.handle):
        raise HandleError(name, result, f"surface {base.handle} is gone")
    raise error_of(name, result, _TEXTS.get(name, {}).get(result))


def _options(tolerance: float) -> Any:
    boundary = number(tolerance, "tolerance")
    return ctypes.byref(TrimOptions(boundary, 0.001, 1, 1, 1, 0))


def _corners(values: ArrayLike) -> FloatArray:
    return arrays.pairs(values, "a polygon's corners")


class TrimmedSurface(Surface):
    """The part of a surface that loops leave.

    Points, derivatives and closest points are those of the base, so that only `classify` and
    `is_visible` say what of them is visible; `mesh` and `area` are of the visible part. The base
    lives on with the trimmed surface when its own object is closed. What is trimmed again is cut
    from its base anew.

    >>> plate = Surface.plane((0, 0, 0), (2, 0, 0), (0, 1, 0))
    >>> hole = [(0.4, 0.4), (0.6, 0.4), (0.6, 0.6), (0.4, 0.6)]
    >>> part = TrimmedSurface.polygons(plate, holes=[hole])
    >>> part
    <TrimmedSurface 40001, 2 loops>
    >>> part.classify([(0.5, 0.5), (0.1, 0.1), (0.4, 0.5)])
    array([0, 1, 2], dtype=int32)
    >>> round(part.area(), 9), round(part.mesh(10).area(), 9)
    (1.92, 1.92)
    """

    __slots__ = ()

    @classmethod
    def _checked(cls, handle: int) -> int:
        super()._checked(handle)
        if not is_trimmed(handle):
            raise HandleError(cls.__name__, UNKNOWN_HANDLE, f"surface {handle} is not trimmed")
        return handle

    # ---- making ----

    @classmethod
    def polygons(
        cls,
        base: Surface,
        outer: Sequence[ArrayLike] = (),
        holes: Sequence[ArrayLike] = (),
        tolerance: float = TOLERANCE,
        *,
        material: Sequence[ArrayLike] = (),
    ) -> "TrimmedSurface":
        """From closed polygons of (n, 2) corners u v, the first not repeated.

        Args:
            base: the surface.
            outer: what they enclose is visible, but for the holes; everything without any.
            holes: cut out.
            tolerance: the distance in parameters within which a point is on a loop.
            material: loops that are kept with the surface and cut nothing.
        """
        by_type = {
            kind: members(loops, what)
            for kind, loops, what in (
                (OUTER, outer, "outer"), (INNER, holes, "holes"), (MATERIAL, material, "material")
            )
        }  # fmt: skip
        if by_type[INNER] and not by_type[OUTER]:
            by_type[OUTER] = [_whole_domain(checked(base, Surface, "base"))]
        loops = [_corners(loop) for kind in by_type.values() for loop in kind]
        corners = np.concatenate(loops) if loops else np.empty((0, 2))
        sizes = np.array([len(loop) for loop in loops], dtype=np.int32)
        types = np.repeat(list(by_type), [len(kind) for kind in by_type.values()]).astype(np.int32)
        roles = (types == OUTER).astype(np.int32)
        given = (address(corners), len(corners), address(sizes), address(types), address(roles))
        name = "create_trimmed_surface_from_polygons"
        on = checked(base, Surface, "base")
        return TrimmedSurface(call(name, on, *given, len(loops), _options(tolerance)))

    @classmethod
    def rectangular(
        cls,
        base: Surface,
        u: Optional[Tuple[float, float]] = None,
        v: Optional[Tuple[float, float]] = None,
        tolerance: float = TOLERANCE,
    ) -> "TrimmedSurface":
        """The part over a rectangle; a direction without bounds stays open."""
        bounds = [
            (0.0, 1.0) if side is None else two(side, what) for side, what in ((u, "u"), (v, "v"))
        ]
        flags = (int(u is not None), int(v is not None))
        name, on = "create_rectangular_trimmed_surface", checked(base, Surface, "base")
        given = (*bounds[0], *bounds[1], *flags, _options(tolerance))
        return TrimmedSurface(_called(name, on, *given))

    @classmethod
    def circular_hole(
        cls, base: Surface, center: ArrayLike, radius: float, tolerance: float = TOLERANCE
    ) -> "TrimmedSurface":
        """The whole surface with a hole that is round in (u, v)."""
        middle = arrays.shaped(center, "center", 2).tolist()
        name, on = "create_trimmed_surface_with_circular_hole", checked(base, Surface, "base")
        return TrimmedSurface(_called(name, on, *middle, radius, _options(tolerance)))

    @classmethod
    def wires(
        cls,
        base: Surface,
        outer: Iterable[Curve] = (),
        holes: Iterable[Iterable[Curve]] = (),
        tolerance: float = TOLERANCE,
    ) -> "TrimmedSurface":
        """From curves in space, projected onto the base.

        >>> plate = Surface.plane((0, 0, 0), (2, 0, 0), (0, 1, 0))
        >>> ring = Curve.circle((1, 0.5, 3), radius=0.25)
        >>> part = TrimmedSurface.wires(plate, holes=[[ring]])
        >>> part.is_visible([(0.5, 0.5), (0.1, 0.1)])
        array([False,  True])

        Args:
            base: the surface.
            outer: one after the other, in either direction, they bound the visible part; the whole
                surface without any. Curves that miss the surface are reported and left out.
            holes: the curves of each hole.
            tolerance: as in `polygons`.
        """
        border = listed(outer, Curve, "outer")
        # The kernel reads no further than the number of holes times the size of the one it is at,
        # which is enough where the sizes rise.
        inside = [listed(hole, Curve, "a hole") for hole in members(holes, "holes")]
        rising = sorted(inside, key=len)
        around, inner = Handles(border), Handles([curve for hole in rising for curve in hole])
        sizes = np.array([len(hole) for hole in rising], dtype=np.int32)
        given = (len(around), around, len(sizes), address(sizes), inner)
        options, on = _options(tolerance), checked(base, Surface, "base")
        name = "create_wire_trimmed_surface"
        return _without_projections(lambda: _called(name, on, *given, options))

    @classmethod
    def snipped(
        cls, base: Surface, point: ArrayLike, normal: ArrayLike, tolerance: float = TOLERANCE
    ) -> "TrimmedSurface":
        """The part on the side of a plane that its normal points to."""
        plane = (*arrays.triple(point, "point"), *arrays.triple(normal, "normal"))
        name, on = "snip_surface_with_plane", checked(base, Surface, "base")
        return TrimmedSurface(_called(name, on, *plane, _options(tolerance)))

    @classmethod
    def snipped_by_curves(
        cls,
        base: Surface,
        curves: Iterable[Curve],
        keep: Literal["inside", "outside"] = "inside",
        tolerance: float = TOLERANCE,
    ) -> "TrimmedSurface":
        """The part inside or outside of a loop of curves in space, projected onto the base.

        >>> plate = Surface.plane((0, 0, 0), (2, 0, 0), (0, 1, 0))
        >>> ring = Curve.circle((1, 0.5, 3), radius=0.25)
        >>> part = TrimmedSurface.snipped_by_curves(plate, [ring], keep="outside")
        >>> round(part.area() / (2 - np.pi / 16), 3)
        1.0
        """
        held, side = listed(curves, Curve, "curves"), choice(keep, KEEPS, "keep")
        options, on, wire = _options(tolerance), checked(base, Surface, "base"), Handles(held)
        name, given = "snip_surface_with_wire_3d", (wire, len(wire), side)
        return _without_projections(lambda: _called(name, on, *given, options))

    # ---- asking ----

    @property
    def base(self) -> int:
        """The handle of the base; MorvelError once that is not registered any more."""
        out, name = arrays.int_out(), "get_trimmed_surface_base_surface"
        result = call(name, self, out, passing=range(-20, 0))
        if result < 0:
            raise error_of(name, result, "the base is not registered any more")
        return out[0]

    @property
    def loops(self) -> Tuple[Loop, ...]:
        """The loops, in the order they were added."""
        return tuple(self._loop(k) for k in range(call("get_trim_loop_count", self)))

    def _loop(self, index: int) -> Loop:
        kind, role, corners, curves = (arrays.int_out() for _ in range(4))
        call("get_trim_loop_info", self, index, kind, role, corners, curves)
        polygon = np.empty((corners[0], 2))
        call("get_trim_loop_polygon", self, index, address(polygon), corners[0], corners)
        return Loop(polygon, kind[0], bool(role[0]), curves[0])

    @property
    def faults(self) -> List[str]:
        """What is wrong with the loops, a text for each fault; empty for a sound surface.

        By contract a rectangle keeps a loop without points, which is reported here.
        """
        buffer = ctypes.create_string_buffer(TEXT_SIZE)
        _called("validate_trimmed_surface", self, buffer, TEXT_SIZE, None)
        lines = buffer.value.decode("utf-8", "replace").splitlines()
        return [line.partition(": ")[2] for line in lines]

    def classify(self, uv: ArrayLike) -> IntArray:
        """INSIDE, OUTSIDE or ON_BOUNDARY for each pair: (...) for parameters of shape (..., 2)."""
        uvs, leading = items_of(uv, PAIR, "uv")
        result = np.empty(leading, dtype=np.int32)
        given = (address(uvs), count_of(leading), address(result))
        call("classify_points_in_trimmed_surface", self, *given)
        found: IntArray = result[()]
        return found

    def is_visible(self, uv: ArrayLike) -> "np.ndarray[Any, np.dtype[np.bool_]]":
        """Whether pairs are inside or on the boundary: (...) for parameters of shape (..., 2)."""
        return np.not_equal(self.classify(uv), OUTSIDE)

    def mesh(self, nu: int = 20, nv: Optional[int] = None) -> Mesh:
        """The visible part over a grid of nu x nv vertices (2 to 2000), cut along the loops."""
        counts = whole(nu, "nu", 2, MOST_ROWS), whole(nu if nv is None else nv, "nv", 2, MOST_ROWS)
        name, too_small = "tessellate_trimmed_surface_visible_region", (-5, -6)
        vertex_count, index_count = arrays.int_out(), arrays.int_out()
        vertices, triangles = arrays.empty_points(1), np.empty((1, 3), dtype=np.int32)
        for _ in range(2):  # the first time tells the sizes
            room = (address(vertices), len(vertices), vertex_count)
            index_room = (address(triangles), triangles.size, index_count)
            result = call(name, self, *counts, *room, *index_room, passing=range(-20, 0))
            if result not in too_small:
                break
            vertices = arrays.empty_points(max(vertex_count[0], 1))
            triangles = np.empty((max(index_count[0] // 3, 1), 3), dtype=np.int32)
        if result < 0:
            raise error_of(name, result, _TEXTS[name].get(result))
        return Mesh(vertices[: vertex_count[0]], triangles[: index_count[0] // 3])

    def area(self, tolerance: float = 1e-6) -> float:
        """The area in space of the visible part; the tolerance is the kernel's own."""
        number(tolerance, "tolerance")
        area = arrays.double_out()
        _called("get_trimmed_surface_info", self, area, None, None, None, None)
        return area[0]

    def _describe(self) -> str:
        count = call("get_trim_loop_count", self)
        return f", {count} loop{'' if count == 1 else 's'}"


def _whole_domain(base: Surface) -> FloatArray:
    low_u, high_u, low_v, high_v = base.domain
    return np.array([(low_u, low_v), (high_u, low_v), (high_u, high_v), (low_u, high_v)])


def _without_projections(make: Callable[[], int]) -> TrimmedSurface:
    """The surface that is made; its loops keep the projected curves, the registry need not."""
    before = set(CurveOnSurface.handles())
    try:
        return TrimmedSurface(make())
    finally:
        for handle in set(CurveOnSurface.handles()) - before:
            functions["delete_curve_on_surface"](handle)


def _looped(base: Surface, loops: Any, tolerance: float) -> TrimmedSurface:
    outer, holes = (
        [] if given is None else members(given, what)
        for given, what in zip(loops, ("outer", "holes"))
    )
    if any(isinstance(curve, Curve) for curve in outer) or any(
        isinstance(curve, Curve) for hole in holes for curve in members(hole, "a hole")[:1]
    ):
        return TrimmedSurface.wires(base, outer, holes, tolerance)
    return TrimmedSurface.polygons(base, outer, holes, tolerance)


_CUTS: Dict[str, Callable[[Surface, Any, float], TrimmedSurface]] = {
    "rectangle": lambda base, uv, t: TrimmedSurface.rectangular(base, uv[0], uv[1], t),
    "circle": lambda base, c, t: TrimmedSurface.circular_hole(base, *two(c, "circle"), tolerance=t),
    "loops": _looped,
    "plane": lambda base, p, t: TrimmedSurface.snipped(base, *two(p, "plane"), tolerance=t),
    "inside": lambda base, w, t: TrimmedSurface.snipped_by_curves(base, w, "inside", t),
    "outside": lambda base, w, t: TrimmedSurface.snipped_by_curves(base, w, "outside", t),
}


def trim(base: Surface, given: Dict[str, Any], tolerance: float) -> TrimmedSurface:
    """Cuts by the one kind that is given."""
    kinds = [kind for kind, value in given.items() if value is not None]
    if len(kinds) != 1:
        named = " and ".join(kinds) or "none"
        raise TypeError(f"trim needs one kind of cut ({', '.join(_CUTS)}), not {named}")
    return _CUTS[kinds[0]](base, given[kinds[0]], tolerance)
