"""Surfaces."""

from __future__ import annotations

import operator
from typing import ClassVar, List, Sequence, Tuple

import numpy as np
from numpy.typing import ArrayLike

from . import _arrays as arrays
from ._arrays import FloatArray, address
from ._batches import PAIR, VECTOR, broadcast_pairs, count_of, evaluate, surface_result
from ._handles import Registered
from ._library import box_of, call, call_expecting, text_of, values_of
from .curve import Z_AXIS, Curve
from .mesh import Mesh

EXTENSIONS = {"natural": 0, "linear": 1, "reflect": 2}
MESH_TOLERANCE = 1e-3


class Surface(Registered):
    """A surface over [0, 1] x [0, 1].

    Two evaluations, which differ for B-spline and NURBS surfaces whose knots are not uniform:

    `surface(uv)`, like `derivatives`, `grid`, `normals`, `closest` and `mesh`, clamps u and v to
    [0, 1] and takes *clamped uniform knots* in place of the stored ones. The derivatives and
    normals of a rational surface are placeholders there.

    `surface.exact(uv)` takes the *stored knots*, which `knots` returns and which splitting,
    elevation and arithmetic work on. Its u and v are in the units of those knots (`exact_domain`),
    and it has the true derivatives and normals of rational surfaces. Use it for a surface that was
    brought in from elsewhere on knots of its own.

    Methods that change a surface return a new one; only `set_control_point` and `transform` change
    the surface itself.
    """

    _kind: ClassVar[int] = 1
    _deleter: ClassVar[str] = "delete_surface"
    _counter: ClassVar[str] = "get_surfaces_count"
    _lister: ClassVar[str] = "get_all_surfaces"
    __slots__ = ()

    # ---- making: nets ----

    @classmethod
    def bezier(cls, net: ArrayLike) -> "Surface":
        """A Bezier patch from (nU, nV, 3) control points."""
        points = arrays.net(net)
        u_fastest = np.ascontiguousarray(points.transpose(1, 0, 2))
        return cls(call("create_surface_bezier", address(u_fastest), *points.shape[:2]))

    @classmethod
    def bspline(
        cls,
        net: ArrayLike,
        degrees: Tuple[int, int] = (3, 3),
        knots: "Tuple[ArrayLike, ArrayLike] | None" = None,
    ) -> "Surface":
        """A B-spline surface from (nU, nV, 3) control points, clamped uniform knots by default."""
        points = arrays.net(net)
        counts = points.shape[:2]
        if knots is None:
            return cls(call("create_surface_bspline_clamped", address(points), *counts, *degrees))
        u, v = arrays.floats(knots[0]), arrays.floats(knots[1])
        knot_arrays = (address(u), u.size, address(v), v.size)
        return cls(call("create_bspline_surface", address(points), *counts, *degrees, *knot_arrays))

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
        net, heaviness = arrays.net(points), arrays.floats(weights)
        if heaviness.shape != net.shape[:2]:
            raise ValueError(f"a net of {net.shape[:2]} needs such weights, not {heaviness.shape}")
        u, v = arrays.floats(knots[0]), arrays.floats(knots[1])
        knot_arrays = (address(u), u.size, address(v), v.size)
        given = (address(net), *net.shape[:2], address(heaviness))
        return cls(call("create_surface_nurbs", *given, *knot_arrays, *degrees))

    # ---- making: analytic surfaces ----

    @classmethod
    def plane(cls, origin: ArrayLike, u_vector: ArrayLike, v_vector: ArrayLike) -> "Surface":
        """A parallelogram: the vectors' lengths are its extents."""
        o, u, v = (
            arrays.vector(values, name)
            for values, name in ((origin, "origin"), (u_vector, "u_vector"), (v_vector, "v_vector"))
        )
        return cls(call("create_surface_plane", address(o), address(u), address(v)))

    @classmethod
    def sphere(cls, center: ArrayLike, radius: float) -> "Surface":
        """A sphere."""
        return cls(call("create_surface_sphere", *arrays.triple(center, "center"), radius))

    @classmethod
    def cylinder(
        cls, base: ArrayLike, radius: float, height: float, axis: ArrayLike = Z_AXIS
    ) -> "Surface":
        """A cylinder's side from a base centre along an axis."""
        base_center, along = arrays.triple(base, "base"), arrays.triple(axis, "axis")
        return cls(call("create_surface_cylinder", *base_center, radius, *along, height))

    @classmethod
    def cone(
        cls, base: ArrayLike, radius: float, height: float, axis: ArrayLike = Z_AXIS
    ) -> "Surface":
        """A cone's side; the apex lies `height` along the axis."""
        base_center, along = arrays.triple(base, "base"), arrays.triple(axis, "axis")
        return cls(call("create_surface_cone", *base_center, *along, radius, height))

    @classmethod
    def torus(
        cls, center: ArrayLike, major: float, minor: float, axis: ArrayLike = Z_AXIS
    ) -> "Surface":
        """A torus."""
        middle, along = arrays.triple(center, "center"), arrays.triple(axis, "axis")
        return cls(call("create_surface_torus", *middle, *along, major, minor))

    @classmethod
    def cube(cls, center: ArrayLike, side: float) -> "List[Surface]":
        """The six faces of a cube."""
        middle, faces = arrays.vector(center, "center"), arrays.int_out(6)
        call("create_cube", address(middle), side, faces)
        return [cls(face) for face in faces]

    # ---- making: from curves ----

    @classmethod
    def extrude(cls, profile: Curve, direction: ArrayLike, distance: float) -> "Surface":
        """A profile moved along a direction; u runs along the profile."""
        along = arrays.triple(direction, "direction")
        return cls(call("create_surface_extrude", profile.handle, *along, distance))

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
        return cls(call("create_surface_revolve", profile.handle, *where, start, end))

    @classmethod
    def ruled(cls, first: Curve, second: Curve) -> "Surface":
        """Straight lines between two curves."""
        return cls(call("create_surface_ruled", first.handle, second.handle))

    @classmethod
    def loft(cls, sections: Sequence[Curve], degree: int = 3) -> "Surface":
        """A surface through section curves in their order."""
        handles = np.array([section.handle for section in sections], dtype=np.int32)
        return cls(call("create_surface_loft", address(handles), len(handles), degree))

    @classmethod
    def sweep(cls, profile: Curve, path: Curve) -> "Surface":
        """A profile carried along a path."""
        return cls(call("create_surface_sweep", profile.handle, path.handle))

    @classmethod
    def pipe(cls, path: Curve, radius: float) -> "Surface":
        """A tube about a path."""
        return cls(call("create_surface_pipe", path.handle, radius))

    # ---- asking ----

    @property
    def type(self) -> str:
        """The kind of surface, e.g. "bspline_surface"."""
        return text_of("get_surface_type", self.handle)

    @property
    def degrees(self) -> Tuple[int, int]:
        """The degrees in u and v; MorvelError for surfaces without."""
        return (
            int(call("get_surface_u_degree", self.handle)),
            int(call("get_surface_v_degree", self.handle)),
        )

    @property
    def control_points(self) -> FloatArray:
        """The (nU, nV, 3) control net."""
        counts = tuple(
            int(call(f"get_surface_{d}_control_points_count", self.handle)) for d in "uv"
        )
        points = np.empty((*counts, arrays.DIMENSIONS))
        used = arrays.int_out()
        room = counts[0] * counts[1]
        call("get_surface_control_points", self.handle, address(points), room, used, None, None)
        return points

    @property
    def knots(self) -> Tuple[FloatArray, FloatArray]:
        """The stored knots in u and v."""
        u, v = (values_of(f"get_surface_{d}_knot_vector", self.handle) for d in "uv")
        return u, v

    @property
    def is_rational(self) -> bool:
        """Whether weights differ."""
        return bool(call("is_surface_rational", self.handle))

    @property
    def domain(self) -> Tuple[float, float, float, float]:
        """(u_min, u_max, v_min, v_max) of evaluation."""
        out = np.empty(4)
        call("get_surface_parameter_domain", self.handle, *(address(out[k:]) for k in range(4)))
        u_min, u_max, v_min, v_max = arrays.as_tuple(out)
        return u_min, u_max, v_min, v_max

    @property
    def exact_domain(self) -> Tuple[float, float, float, float]:
        """(u_min, u_max, v_min, v_max) of `exact`: the stored knots' range, else `domain`."""
        if not call("get_surface_u_knots_count", self.handle):
            return self.domain
        (p, q), (u, v) = self.degrees, self.knots
        return float(u[p]), float(u[-p - 1]), float(v[q]), float(v[-q - 1])

    @property
    def weights(self) -> FloatArray:
        """The (nU, nV) weights of a NURBS surface; MorvelError for others."""
        values = values_of("get_surface_weights", self.handle)
        return values.reshape(call("get_surface_u_control_points_count", self.handle), -1)

    @property
    def bounding_box(self) -> Tuple[FloatArray, FloatArray]:
        """The least and the greatest corner of a box that holds the surface."""
        return box_of("get_surface_bounding_box", self.handle)

    def area(self) -> float:
        """The area of the surface's 20 x 20 polyhedron."""
        return float(call("get_surface_area", self.handle, MESH_TOLERANCE))

    # ---- evaluating: parameters of any shape, one call of the kernel ----

    def __call__(self, uv: ArrayLike) -> FloatArray:
        """Points: (..., 3) for parameters of shape (..., 2).

        A spline surface is taken on clamped uniform knots; `exact` is the one on its stored knots.
        ArgumentError where a parameter is not finite.
        """
        return self.derivatives(uv, 0)

    def point(self, u: ArrayLike, v: ArrayLike) -> FloatArray:
        """The same for u and v apart, which broadcast."""
        return self(broadcast_pairs(u, v))

    def derivatives(self, uv: ArrayLike, order: int = 1) -> FloatArray:
        """Points and derivatives at parameters of shape (..., 2).

            point, du, dv, normal = np.moveaxis(surface.derivatives(uv), -2, 0)

        By contract those of a rational surface are placeholders (unit x, unit y, normal z); `exact`
        gives the true ones.

        Args:
            uv: ArgumentError where a parameter is not finite.
            order: 0, 1 or 2; ValueError for any other.

        Returns:
            Order 0: (..., 3), the points. Order 1: (..., 4, 3), point, du, dv and unit normal.
            Order 2: (..., 7, 3), then duu, duv and dvv.
        """
        result = surface_result(order)
        return evaluate("evaluate_surface_batch", self.handle, uv, PAIR, result, order)

    def exact(self, uv: ArrayLike, order: int = 0) -> FloatArray:
        """Points and derivatives of the surface that the stored knots define.

        The same shapes and errors as `derivatives`, with the true derivatives and normals of
        rational surfaces. Parameters are in units of the stored knots, clamped to `exact_domain`. A
        surface without knots is evaluated as by `derivatives`.
        """
        result = surface_result(order)
        return evaluate("evaluate_surface_exact_batch", self.handle, uv, PAIR, result, order)

    def grid(self, u: ArrayLike, v: ArrayLike, order: int = 0) -> FloatArray:
        """Points and derivatives at every pair of a u and a v, on clamped uniform knots.

        Args:
            u, v: of any shapes, usually (nU,) and (nV,).

        Returns:
            The vectors of `derivatives`, behind the shape of u and then that of v: (nU, nV, 3) at
            order 0.
        """
        out = np.empty(np.shape(u) + np.shape(v) + surface_result(order))
        us, vs = arrays.floats(u), arrays.floats(v)
        given = (address(us), count_of(us.shape), address(vs), count_of(vs.shape))
        call("evaluate_surface_grid", self.handle, *given, operator.index(order), address(out))
        return out

    def normals(self, uv: ArrayLike) -> FloatArray:
        """(..., 3) unit normals at parameters of shape (..., 2); zero where there is none.

        (0, 0, 1) everywhere on a rational surface, by contract: `exact(uv, 1)` has the true ones.
        """
        return evaluate("get_surface_normal_batch", self.handle, uv, PAIR, VECTOR)

    def normal(self, u: ArrayLike, v: ArrayLike) -> FloatArray:
        """The same for u and v apart, which broadcast."""
        return self.normals(broadcast_pairs(u, v))

    def closest(self, points: ArrayLike) -> FloatArray:
        """Parameters (..., 2) of the closest points of the surface to points (..., 3)."""
        name = "get_surface_closest_parameter_batch"
        return evaluate(name, self.handle, points, VECTOR, PAIR)

    def mesh(self, resolution: int = 20) -> Mesh:
        """A triangle mesh of resolution x resolution vertices; resolution 3 to 200."""
        count = max(resolution, 0)
        vertices = arrays.empty_points(count * count)
        triangles = np.empty((2 * max(count - 1, 0) ** 2, 3), dtype=np.int32)
        vertex_count, triangle_count = arrays.int_out(), arrays.int_out()
        call(
            "tessellate_surface", self.handle, resolution, address(vertices), vertex_count,
            address(triangles), triangle_count,
        )
        return Mesh(vertices, triangles)

    # ---- deriving ----

    def copy(self) -> "Surface":
        """Another surface equal to this one."""
        return Surface(call("copy_surface", self.handle))

    def split_u(self, u: float) -> "Tuple[Surface, Surface]":
        """Both parts of a B-spline or Bezier surface at a parameter from 0 to 1."""
        return self._split("u", u)

    def split_v(self, v: float) -> "Tuple[Surface, Surface]":
        """The same along v."""
        return self._split("v", v)

    def _split(self, direction: str, parameter: float) -> "Tuple[Surface, Surface]":
        left, right = arrays.int_out(), arrays.int_out()
        call(f"split_surface_at_{direction}", self.handle, parameter, left, right)
        return Surface(left[0]), Surface(right[0])

    def extension(self, side: str, amount: float, kind: str = "natural") -> "Surface":
        """The patch that continues a B-spline surface beyond a side, alone.

        Args:
            side: "u_min", "u_max", "v_min" or "v_max".
            amount: its length in model units.
            kind: "natural" (position, tangent, curvature), "linear" or "reflect".
        """
        sides = ("u_min", "u_max", "v_min", "v_max")
        if side not in sides:
            raise ValueError(f"side must be one of {', '.join(sides)}, not {side!r}")
        if kind not in EXTENSIONS:
            raise ValueError(f"kind must be one of {', '.join(EXTENSIONS)}, not {kind!r}")
        amounts = [amount if name == side else 0.0 for name in sides]
        return Surface(call("extend_surface", self.handle, *amounts, EXTENSIONS[kind]))

    def reversed_u(self) -> "Surface":
        """The surface with u run through the other way."""
        return Surface(call("reverse_surface_u", self.handle))

    def reversed_v(self) -> "Surface":
        """The surface with v run through the other way."""
        return Surface(call("reverse_surface_v", self.handle))

    def transposed(self) -> "Surface":
        """A B-spline surface with u and v exchanged."""
        return Surface(call("transpose_bspline_surface", self.handle))

    def elevated(self, u: int = 0, v: int = 0) -> "Surface":
        """The same shape on degrees raised by u and v (at least one above 0)."""
        result = self
        for direction, times in (("u", u), ("v", v)):
            if times:
                out = arrays.int_out()
                call(f"elevate_surface_{direction}_degree", result.handle, times, out)
                result = Surface(out[0])
        if result is self:
            raise ValueError("u or v must be above 0")
        return result

    def to_bspline(self) -> "Surface":
        """The surface as a B-spline surface."""
        return Surface(call("convert_surface_to_bspline", self.handle))

    def to_nurbs(self) -> "Surface":
        """A spline surface within 1e-6 of this one."""
        return Surface(call("convert_surface_to_nurbs", self.handle))

    def set_control_point(self, i: int, j: int, point: ArrayLike) -> None:
        """Moves a control point of a B-spline or Bezier surface, in place."""
        at = arrays.triple(point, "point")
        call("modify_surface_control_point", self.handle, i, j, *at)

    def transform(self, matrix: ArrayLike) -> None:
        """Moves the surface itself by a 4 by 4 transform."""
        m = arrays.matrix(matrix)
        call_expecting(1, "set_surface_matrix", self.handle, address(m))
        call_expecting(1, "apply_surface_matrix", self.handle)

    def __add__(self, other: "Surface") -> "Surface":
        """Adds control points, on common degrees and knots."""
        return self._arithmetic(other, 0)

    def __sub__(self, other: "Surface") -> "Surface":
        """Subtracts control points, on common degrees and knots."""
        return self._arithmetic(other, 1)

    def _arithmetic(self, other: "Surface", operation: int) -> "Surface":
        if not isinstance(other, Surface):
            return NotImplemented
        operands = (self.handle, other.handle, -1)
        return Surface(call("surface_arithmetic_operation", *operands, operation))

    def _describe(self) -> str:
        return f", {self.type}"

