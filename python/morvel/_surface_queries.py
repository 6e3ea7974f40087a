"""What surfaces tell of themselves."""

from __future__ import annotations

from typing import ClassVar, Optional, Tuple

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, address, count_of, whole
from ._batches import PAIR, VECTOR, broadcast_pairs, evaluate, surface_result
from ._files import SURFACE_SAMPLES, FilePath, Samples, export_shapes
from ._library import box_of, call, text_of, values_of
from ._transforms import Transformable
from .mesh import Mesh

AREA_TOLERANCE = 1e-6
COARSEST, FINEST = 32, 1024  # cells a side
FEWEST_ROWS, MOST_ROWS = 3, 200
MOST_VERTICES = 2**20


class SurfaceQueries(Transformable):
    """What a surface is and where it runs."""

    _kind: ClassVar[int] = 1
    _noun: ClassVar[str] = "surface"
    _deleter: ClassVar[str] = "delete_surface"
    _counter: ClassVar[str] = "get_surfaces_count"
    _lister: ClassVar[str] = "get_all_surfaces"
    __slots__ = ()

    # ---- asking ----

    @property
    def type(self) -> str:
        """The kind of surface, e.g. "bspline_surface"."""
        return text_of("get_surface_type", self)

    @property
    def degrees(self) -> Tuple[int, int]:
        """The degrees in u and v; MorvelError for surfaces without."""
        return (
            int(call("get_surface_u_degree", self)),
            int(call("get_surface_v_degree", self)),
        )

    @property
    def control_points(self) -> FloatArray:
        """The (nU, nV, 3) control net."""
        counts = tuple(
            int(call(f"get_surface_{d}_control_points_count", self)) for d in "uv"
        )
        points = np.empty((*counts, arrays.DIMENSIONS))
        used = arrays.int_out()
        room = counts[0] * counts[1]
        call("get_surface_control_points", self, address(points), room, used, None, None)
        return points

    @property
    def knots(self) -> Tuple[FloatArray, FloatArray]:
        """The stored knots in u and v."""
        u, v = (values_of(f"get_surface_{d}_knot_vector", self) for d in "uv")
        return u, v

    @property
    def is_rational(self) -> bool:
        """Whether weights differ."""
        return bool(call("is_surface_rational", self))

    @property
    def domain(self) -> Tuple[float, float, float, float]:
        """(u_min, u_max, v_min, v_max) of evaluation."""
        out = np.empty(4)
        call("get_surface_parameter_domain", self, *(address(out[k:]) for k in range(4)))
        u_min, u_max, v_min, v_max = arrays.as_tuple(out)
        return u_min, u_max, v_min, v_max

    @property
    def exact_domain(self) -> Tuple[float, float, float, float]:
        """(u_min, u_max, v_min, v_max) of `exact`: the stored knots' range, else `domain`."""
        if not call("get_surface_u_knots_count", self):
            return self.domain
        (p, q), (u, v) = self.degrees, self.knots
        return float(u[p]), float(u[-p - 1]), float(v[q]), float(v[-q - 1])

    @property
    def weights(self) -> FloatArray:
        """The (nU, nV) weights of a NURBS surface; MorvelError for others."""
        values = values_of("get_surface_weights", self)
        rows = int(call("get_surface_u_control_points_count", self))
        return values.reshape(rows, -1)

    @property
    def bounding_box(self) -> Tuple[FloatArray, FloatArray]:
        """The least and the greatest corner of a box that holds the surface."""
        return box_of("get_surface_bounding_box", self)

    def area(self, tolerance: float = AREA_TOLERANCE) -> float:
        """The area in space.

        Grids of triangles are refined and extrapolated until two estimates agree within the
        tolerance, a share of the area, or 1024 x 1024 cells are reached.

        >>> round(Surface.sphere((0, 0, 0), 2.0).area() / np.pi, 6)
        16.0
        """
        share = arrays.number(tolerance, "tolerance")
        if not share > 0.0:
            raise ValueError(f"tolerance must be above 0, not {tolerance}")
        rough, best, cells = self._facets_area(COARSEST), 0.0, COARSEST
        while cells < FINEST:
            cells *= 2
            fine, before = self._facets_area(cells), best
            # The error of flat facets falls with the square of their size.
            best, rough = fine + (fine - rough) / 3.0, fine
            if abs(best - before) <= share * abs(best):
                break
        return best

    def _facets_area(self, cells: int) -> float:
        low_u, high_u, low_v, high_v = self.domain
        corners = self.grid(
            np.linspace(low_u, high_u, cells + 1), np.linspace(low_v, high_v, cells + 1)
        )
        along, across = np.diff(corners, axis=0), np.diff(corners, axis=1)
        halves = np.cross(along[:, :-1], across[:-1]), np.cross(along[:, 1:], across[1:])
        return float(sum(np.linalg.norm(half, axis=-1).sum() for half in halves) / 2.0)

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
        return evaluate("evaluate_surface_batch", self, uv, PAIR, result, order)

    def exact(self, uv: ArrayLike, order: int = 0) -> FloatArray:
        """Points and derivatives of the surface that the stored knots define.

        The same shapes and errors as `derivatives`, with the true derivatives and normals of
        rational surfaces. Parameters are in units of the stored knots, clamped to `exact_domain`. A
        surface without knots is evaluated as by `derivatives`.
        """
        result = surface_result(order)
        return evaluate("evaluate_surface_exact_batch", self, uv, PAIR, result, order)

    def grid(self, u: ArrayLike, v: ArrayLike, order: int = 0) -> FloatArray:
        """Points and derivatives at every pair of a u and a v, on clamped uniform knots.

        >>> Surface.plane((0, 0, 0), (2, 0, 0), (0, 3, 0)).grid([0, 0.5, 1], [0, 1])[:, 1]
        array([[0., 3., 0.],
               [1., 3., 0.],
               [2., 3., 0.]])

        Args:
            u, v: of any shapes, usually (nU,) and (nV,).

        Returns:
            The vectors of `derivatives`, behind the shape of u and then that of v: (nU, nV, 3) at
            order 0.
        """
        us, vs = arrays.floats(u, "u"), arrays.floats(v, "v")
        shape = us.shape + vs.shape + surface_result(order)
        count_of(shape)
        out = np.empty(shape)
        given = (address(us), count_of(us.shape), address(vs), count_of(vs.shape))
        call("evaluate_surface_grid", self, *given, order, address(out))
        return out

    def normals(self, uv: ArrayLike) -> FloatArray:
        """(..., 3) unit normals at parameters of shape (..., 2); zero where there is none.

        (0, 0, 1) everywhere on a rational surface, by contract: `exact(uv, 1)` has the true ones.
        """
        return evaluate("get_surface_normal_batch", self, uv, PAIR, VECTOR)

    def normal(self, u: ArrayLike, v: ArrayLike) -> FloatArray:
        """The same for u and v apart, which broadcast."""
        return self.normals(broadcast_pairs(u, v))

    def closest(self, points: ArrayLike) -> FloatArray:
        """Parameters (..., 2) of the closest points of the surface to points (..., 3).

        `project_points` gives the points and distances too.

        >>> Surface.plane((0, 0, 0), (2, 0, 0), (0, 2, 0)).closest((0.5, 1.0, 7.0))
        array([0.25, 0.5 ])
        """
        name = "get_surface_closest_parameter_batch"
        return evaluate(name, self, points, VECTOR, PAIR)

    def mesh(self, nu: int = 20, nv: Optional[int] = None) -> Mesh:
        """A triangle mesh of nu x nv vertices (nu x nu unless given), two triangles a cell.

        >>> mesh = Surface.plane((0, 0, 0), (2, 0, 0), (0, 3, 0)).mesh(5, 4)
        >>> mesh.vertices.shape, mesh.triangles.shape, mesh.area()
        ((20, 3), (24, 3), 6.0)

        Args:
            nu, nv: 3 to 200 where only nu is given; else 2 or more, at most 2^20 in all.
        """
        rows, columns = whole(nu, "nu"), whole(nu if nv is None else nv, "nv")
        if nv is None:
            if not FEWEST_ROWS <= rows <= MOST_ROWS:
                raise ValueError(f"nu must be from {FEWEST_ROWS} to {MOST_ROWS}, not {nu}")
        elif min(rows, columns) < 2 or rows * columns > MOST_VERTICES:
            raise ValueError(f"{nu} x {nv} vertices: at least 2 a side, {MOST_VERTICES} in all")
        vertices = arrays.empty_points(rows * columns)
        triangles = np.empty((2 * (rows - 1) * (columns - 1), 3), dtype=np.int32)
        counts = arrays.int_out(), arrays.int_out()
        if nv is None:
            outs = (address(vertices), counts[0], address(triangles), counts[1])
            call("tessellate_surface", self, rows, *outs)
        else:
            call("regenerate_surface_tessellation", self, rows, columns)
            room = (address(vertices), len(vertices), counts[0])
            index_room = (address(triangles), triangles.size, counts[1])
            call("get_surface_tessellation_data", self, 0.0, *room, *index_room)
        return Mesh(vertices, triangles)

    def export(
        self,
        path: FilePath,
        samples: Samples = SURFACE_SAMPLES,
        tolerance: Optional[float] = None,
    ) -> None:
        """Writes the surface, of a trimmed one the visible part, as OBJ, STL, PLY or GLB.

        The triangles turn so that their normals are Su x Sv; OBJ, PLY and GLB have normals and
        (u, v) of the vertices.

        Args:
            path: where; its extension decides, and an earlier file is replaced.
            samples: vertices along u and v, 2 to 2000; one number stands for both.
            tolerance: in model units; replaces `samples` by as many as keep the chords within it.

        Raises:
            ArgumentError: another extension, a tolerance that takes more than 2000 samples.
            MorvelError: the file cannot be written; nothing is left of it then.
        """
        export_shapes(path, [self], [], samples, tolerance=tolerance)

    def _describe(self) -> str:
        return f", {self.type}"
