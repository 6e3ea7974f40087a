"""Surfaces."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Iterable, List, Literal, Optional, Sequence, Tuple, Type
from typing import TypeVar

import numpy as np
from numpy.typing import NDArray

from . import _arrays as arrays
from ._arrays import ArrayLike, address, choice, two, whole
from ._handles import Handles, checked, listed
from ._library import call, is_trimmed
from ._pictured import Pictured
from ._surface_queries import SurfaceQueries
from ._transforms import is_near_identity
from .curve import Z_AXIS, Curve

if TYPE_CHECKING:
    from .trimmed import TrimmedSurface

Self = TypeVar("Self", bound="Surface")
Side = Literal["u_min", "u_max", "v_min", "v_max"]

EXTENSIONS = {"natural": 0, "linear": 1, "reflect": 2}
SIDES = {"u_min": 0, "u_max": 1, "v_min": 2, "v_max": 3}


class Surface(SurfaceQueries, Pictured):
    """A surface over [0, 1] x [0, 1].

    Two evaluations, which differ for B-spline and NURBS surfaces whose knots are not uniform:

    `surface(uv)`, like `derivatives`, `grid`, `normals`, `closest` and `mesh`, clamps u and v to
    [0, 1] and takes *clamped uniform knots* in place of the stored ones. The derivatives and
    normals of a rational surface are placeholders there.

    `surface.exact(uv)` takes the *stored knots*, which `knots` returns and which splitting,
    elevation and arithmetic work on. Its u and v are in the units of those knots (`exact_domain`),
    and it has the true derivatives and normals of rational surfaces. Use it for a surface that was
    brought in from elsewhere on knots of its own.

    Methods that change a surface return a new one; only `set_control_point`, `transform`,
    `apply_pending_transform` and `replace` change the surface itself.

    >>> u, v = np.meshgrid(np.arange(4.0), np.arange(4.0), indexing="ij")
    >>> surface = Surface.bspline(np.stack([u, v, 0.2 * u * v], axis=-1))
    >>> surface
    <Surface 40000, bspline_surface>
    >>> surface((0.5, 0.5))
    array([1.5 , 1.5 , 0.45])
    >>> point, du, dv, normal = surface.derivatives((0.5, 0.5))
    >>> du
    array([3. , 0. , 0.9])
    >>> surface(np.zeros((5, 7, 2))).shape  # many parameters at once
    (5, 7, 3)
    """

    __slots__ = ()

    # ---- making: nets ----

    @classmethod
    def bezier(cls, net: ArrayLike) -> "Surface":
        """A Bezier patch from (nU, nV, 3) control points."""
        points = arrays.net(net)
        u_fastest = np.ascontiguousarray(points.transpose(1, 0, 2))
        return Surface(call("create_surface_bezier", address(u_fastest), *points.shape[:2]))

    @classmethod
    def bspline(
        cls,
        net: ArrayLike,
        degrees: Tuple[int, int] = (3, 3),
        knots: "Tuple[ArrayLike, ArrayLike] | None" = None,
    ) -> "Surface":
        """A B-spline surface from (nU, nV, 3) control points, clamped uniform knots by default."""
        points, orders = arrays.net(net), two(degrees, "degrees")
        counts = points.shape[:2]
        if knots is None:
            given = (address(points), *counts, *orders)
            return Surface(call("create_surface_bspline_clamped", *given))
        u, v = (arrays.shaped(k, "knots", None) for k in two(knots, "knots"))
        given = (address(points), *counts, *orders, address(u), u.size, address(v), v.size)
        return Surface(call("create_bspline_surface", *given))

    @classmethod
    def nurbs(
        cls,
        points: ArrayLike,
        weights: ArrayLike,
        knots: Tuple[ArrayLike, ArrayLike],
        degrees: Tuple[int, int],
    ) -> "Surface":
        """A rational B-spline surface; `exact` evaluates it as it is given here.

        Args:
            points: (nU, nV, 3) control points.
            weights: (nU, nV), each above 0.
            knots: in u and v: (nU + degree + 1,) and (nV + degree + 1,), never decreasing.
            degrees: in u and v, at least 1 and below the number of points.
        """
        net = arrays.net(points)
        heaviness = arrays.shaped(weights, "weights", *net.shape[:2])
        u, v = (arrays.shaped(k, "knots", None) for k in two(knots, "knots"))
        knot_arrays = (address(u), u.size, address(v), v.size)
        given = (address(net), *net.shape[:2], address(heaviness), *knot_arrays)
        return Surface(call("create_surface_nurbs", *given, *two(degrees, "degrees")))

    # ---- making: analytic surfaces ----

    @classmethod
    def plane(cls, origin: ArrayLike, u_vector: ArrayLike, v_vector: ArrayLike) -> "Surface":
        """A parallelogram: the vectors' lengths are its extents."""
        o, u, v = (
            arrays.vector(values, name)
            for values, name in ((origin, "origin"), (u_vector, "u_vector"), (v_vector, "v_vector"))
        )
        return Surface(call("create_surface_plane", address(o), address(u), address(v)))

    @classmethod
    def sphere(cls, center: ArrayLike, radius: float) -> "Surface":
        """A sphere."""
        return Surface(call("create_surface_sphere", *arrays.triple(center, "center"), radius))

    @classmethod
    def cylinder(
        cls, base: ArrayLike, radius: float, height: float, axis: ArrayLike = Z_AXIS
    ) -> "Surface":
        """A cylinder's side from a base centre along an axis."""
        base_center, along = arrays.triple(base, "base"), arrays.triple(axis, "axis")
        return Surface(call("create_surface_cylinder", *base_center, radius, *along, height))

    @classmethod
    def cone(
        cls, base: ArrayLike, radius: float, height: float, axis: ArrayLike = Z_AXIS
    ) -> "Surface":
        """A cone's side; the apex lies `height` along the axis."""
        base_center, along = arrays.triple(base, "base"), arrays.triple(axis, "axis")
        return Surface(call("create_surface_cone", *base_center, *along, radius, height))

    @classmethod
    def torus(
        cls, center: ArrayLike, major: float, minor: float, axis: ArrayLike = Z_AXIS
    ) -> "Surface":
        """A torus."""
        middle, along = arrays.triple(center, "center"), arrays.triple(axis, "axis")
        return Surface(call("create_surface_torus", *middle, *along, major, minor))

    @classmethod
    def cube(cls, center: ArrayLike, side: float) -> "List[Surface]":
        """The six faces of a cube."""
        middle, faces = arrays.vector(center, "center"), arrays.int_out(6)
        call("create_cube", address(middle), side, faces)
        return [Surface(face) for face in faces]

    # ---- making: from curves ----

    @classmethod
    def extrude(cls, profile: Curve, direction: ArrayLike, distance: float) -> "Surface":
        """A profile moved along a direction; u runs along the profile."""
        along = arrays.triple(direction, "direction")
        given = (checked(profile, Curve, "profile"), *along, distance)
        return Surface(call("create_surface_extrude", *given))

    @classmethod
    def revolve(
        cls,
        profile: Curve,
        axis_point: ArrayLike = (0.0, 0.0, 0.0),
        axis: ArrayLike = Z_AXIS,
        start: float = 0.0,
        end: float = 2.0 * np.pi,
    ) -> "Surface":
        """A profile turned about an axis between two angles (radians)."""
        where = (*arrays.triple(axis_point, "axis_point"), *arrays.triple(axis, "axis"))
        given = (checked(profile, Curve, "profile"), *where, start, end)
        return Surface(call("create_surface_revolve", *given))

    @classmethod
    def ruled(cls, first: Curve, second: Curve) -> "Surface":
        """Straight lines between two curves."""
        ends = checked(first, Curve, "first"), checked(second, Curve, "second")
        return Surface(call("create_surface_ruled", *ends))

    @classmethod
    def loft(cls, sections: Iterable[Curve], degree: int = 3) -> "Surface":
        """A surface through section curves in their order, 2 to 1000 of them.

        >>> rings = [Curve.circle((0, 0, z), radius) for z, radius in ((0, 1), (1, 2), (2, 1))]
        >>> Surface.loft(rings)
        <Surface 40000, loft_surface>
        """
        handles = Handles(listed(sections, Curve, "sections"))
        return Surface(call("create_surface_loft", handles, len(handles), degree))

    @classmethod
    def sweep(cls, profile: Curve, path: Curve) -> "Surface":
        """A profile carried along a path."""
        ends = checked(profile, Curve, "profile"), checked(path, Curve, "path")
        return Surface(call("create_surface_sweep", *ends))

    @classmethod
    def pipe(cls, path: Curve, radius: float) -> "Surface":
        """A tube about a path."""
        return Surface(call("create_surface_pipe", checked(path, Curve, "path"), radius))

    @classmethod
    def adopt(cls: Type[Self], handle: int) -> Self:
        """The surface behind a handle that a C function gave out; it is deleted with the result.

        A `TrimmedSurface` where it is one. HandleError where nothing is registered under the
        number, ArgumentError where another Python object stands for it.
        """
        if cls is Surface and is_trimmed(whole(handle, "handle")):
            from .trimmed import TrimmedSurface

            trimmed: Any = TrimmedSurface(handle)
            return trimmed  # type: ignore[no-any-return]
        return cls(handle)

    # ---- deriving ----

    def copy(self: Self) -> Self:
        """Another surface equal to this one."""
        return type(self)(call("copy_surface", self))

    def split_u(self, u: float) -> "Tuple[Surface, Surface]":
        """Both parts of a B-spline or Bezier surface at a parameter between 0 and 1.

        >>> net = [[(x, y, x * y) for y in range(3)] for x in range(3)]
        >>> left, right = Surface.bezier(net).split_u(0.5)
        >>> left((1.0, 0.5)), right((0.0, 0.5))
        (array([1., 1., 1.]), array([1., 1., 1.]))
        """
        return self._split("u", u)

    def split_v(self, v: float) -> "Tuple[Surface, Surface]":
        """The same along v."""
        return self._split("v", v)

    def _split(self, direction: str, parameter: float) -> "Tuple[Surface, Surface]":
        left, right = arrays.int_out(), arrays.int_out()
        call(f"split_surface_at_{direction}", self, parameter, left, right)
        return Surface(left[0]), Surface(right[0])

    def extension(self, side: str, amount: float, kind: str = "natural") -> "Surface":
        """The patch that continues a B-spline surface beyond a side, alone.

        Args:
            side: "u_min", "u_max", "v_min" or "v_max".
            amount: its length in model units.
            kind: "natural" (position, tangent, curvature), "linear" or "reflect".
        """
        choice(side, SIDES, "side")
        how = choice(kind, EXTENSIONS, "kind")
        amounts = [amount if name == side else 0.0 for name in SIDES]
        return Surface(call("extend_surface", self, *amounts, how))

    def reversed_u(self) -> "Surface":
        """The surface with u run through the other way."""
        return Surface(call("reverse_surface_u", self))

    def reversed_v(self) -> "Surface":
        """The surface with v run through the other way."""
        return Surface(call("reverse_surface_v", self))

    def transposed(self) -> "Surface":
        """A B-spline surface with u and v exchanged."""
        return Surface(call("transpose_bspline_surface", self))

    def elevated(self, u: int = 0, v: int = 0) -> "Surface":
        """The same shape on degrees raised by u and v (at least one above 0)."""
        result: Surface = self
        for direction, times in (("u", u), ("v", v)):
            if times:
                out = arrays.int_out()
                call(f"elevate_surface_{direction}_degree", result, times, out)
                result = Surface(out[0])
        if result is self:
            raise ValueError("u or v must be above 0")
        return result

    def to_bspline(self) -> "Surface":
        """The surface as a B-spline surface."""
        return Surface(call("convert_surface_to_bspline", self))

    def to_nurbs(self) -> "Surface":
        """A spline surface within 1e-6 of this one."""
        return Surface(call("convert_surface_to_nurbs", self))

    def set_control_point(self, i: int, j: int, point: ArrayLike) -> None:
        """Moves a control point of a B-spline or Bezier surface, in place."""
        at = arrays.triple(point, "point")
        call("modify_surface_control_point", self, i, j, *at)

    def transform(self, matrix: ArrayLike) -> None:
        """Moves the surface itself by a 4 by 4 transform; a pending one stays pending.

        A trimmed surface takes a base of its own. MorvelError, and nothing is changed, where the
        kind of surface cannot take the transform, such as a sphere that would become an ellipsoid.

        >>> ball = Surface.sphere((0, 0, 0), 1.0)
        >>> ball.transform([[2, 0, 0, 5], [0, 2, 0, 0], [0, 0, 2, 0], [0, 0, 0, 1]])
        >>> ball.bounding_box[1]
        array([7., 2., 2.])
        """
        m = arrays.matrix(matrix)
        if not is_near_identity(m):
            return self._apply(m)
        # The kernel would take it for none: it goes a long step out and back.
        out, back = np.eye(4), np.eye(4)
        out[0, 3] = -1.0
        back[:3, 3] = m[:3, 0]
        self._apply(m @ out)
        self._apply(back)

    def _apply(self, matrix: "NDArray[np.float64]") -> None:
        before = self.pending_transform
        self.pending_transform = matrix
        try:
            self.apply_pending_transform()
        finally:
            self.pending_transform = before

    def transformed(self: Self, matrix: ArrayLike) -> Self:
        """A copy under a 4 by 4 transform; errors as for `transform`."""
        made = self.copy()
        made.transform(matrix)
        return made

    def __add__(self, other: "Surface") -> "Surface":
        """Adds control points, on common degrees and knots."""
        return self._arithmetic(other, 0)

    def __sub__(self, other: "Surface") -> "Surface":
        """Subtracts control points, on common degrees and knots."""
        return self._arithmetic(other, 1)

    def _arithmetic(self, other: "Surface", operation: int) -> "Surface":
        if not isinstance(other, Surface):
            return NotImplemented
        return Surface(call("surface_arithmetic_operation", self, other, -1, operation))

    @staticmethod
    def boolean_sum(first: "Surface", second: "Surface", third: "Surface") -> "Surface":
        """first + second - third by control points, as Coons and Gordon surfaces are put together.

        >>> a, b, c = (Surface.plane((0, 0, z), (1, 0, 0), (0, 1, 0)) for z in (3, 5, 1))
        >>> Surface.boolean_sum(a, b, c)((0.5, 0.5))
        array([0.5, 0.5, 7. ])
        """
        operands = [
            checked(given, Surface, what)
            for given, what in ((first, "first"), (second, "second"), (third, "third"))
        ]
        return Surface(call("surface_arithmetic_operation", *operands, 2))

    # ---- trimming ----

    def trim(
        self,
        *,
        u: Optional[Tuple[float, float]] = None,
        v: Optional[Tuple[float, float]] = None,
        circle: Optional[Tuple[ArrayLike, float]] = None,
        outer: Optional[Sequence[Any]] = None,
        holes: Optional[Sequence[Any]] = None,
        plane: Optional[Tuple[ArrayLike, ArrayLike]] = None,
        inside: Optional[Iterable[Curve]] = None,
        outside: Optional[Iterable[Curve]] = None,
        tolerance: float = 1e-6,
    ) -> "TrimmedSurface":
        """The part that one kind of cut leaves; the maker of `TrimmedSurface` in brackets.

        >>> plate = Surface.plane((0, 0, 0), (4, 0, 0), (0, 2, 0))
        >>> round(plate.trim(u=(0.25, 0.75)).area(), 9)
        4.0
        >>> round(plate.trim(outer=[[(0, 0), (1, 0), (1, 1)]]).area(), 9)
        4.0
        >>> round(plate.trim(plane=((1, 0, 0), (1, 0, 0))).area(), 9)
        6.0

        Args:
            u, v: the part over a rectangle in the parameter plane (`rectangular`).
            circle: centre (u, v) and radius of a round hole (`circular_hole`).
            outer, holes: polygons of (n, 2) corners u v (`polygons`), or lists of curves in space
                (`wires`; `outer` is then one list of curves).
            plane: a point, and the normal to the side that stays (`snipped`).
            inside, outside: the curves of a loop in space, to keep what is within or without it
                (`snipped_by_curves`).
            tolerance: the distance in parameters within which a point is on a loop.

        Raises:
            TypeError: no kind of cut is given, or several.
        """
        from .trimmed import trim

        given = dict(
            rectangle=None if u is None and v is None else (u, v), circle=circle,
            loops=None if outer is None and holes is None else (outer, holes),
            plane=plane, inside=inside, outside=outside,
        )  # fmt: skip
        return trim(self, given, tolerance)
