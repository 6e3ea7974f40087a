"""Curves and surfaces as what can be drawn: facets with normals and curvatures, and polylines."""

from __future__ import annotations

from dataclasses import dataclass
from typing import List, Optional, Tuple

import numpy as np

from .._arrays import BoolArray, FloatArray, IntArray, address
from .._errors import MorvelError
from .._library import call
from ..curve import Curve
from ..curve_on_surface import CurveOnSurface
from ..mesh import Mesh
from ..surface import Surface
from ..trimmed import OUTSIDE, TOLERANCE, TrimmedSurface, _options
from .curvature import NO_JETS, Jets, surface_jets
from .edges import CREASE, facet_areas, scaled, sharp_edges, unit

COARSE = (7, 13, 25)  # points along sides of surfaces that need no more
SMOOTH = float(np.cos(np.radians(4.0)))  # between normals of neighbours
STEPS_PER_SPAN = 12
MOST_CURVE_POINTS = 20_000
BISECTIONS = 24

Lines = List[FloatArray]


@dataclass(frozen=True)
class Faces:
    """Facets of a surface.

    Attributes:
        vertices: (n, 3).
        corners: (m, 4) indices of vertices; a triangle repeats its last one.
        normals: (n, 3) unit normals; zero where there is none.
        gaussian: (n,) Gaussian curvatures; NaN where there is none.
        mean: (n,) mean curvatures; NaN where there is none.
    """

    vertices: FloatArray
    corners: IntArray
    normals: FloatArray
    gaussian: FloatArray
    mean: FloatArray

    @property
    def triangles(self) -> IntArray:
        """(k, 3): each quadrangle cut in two."""
        first, second = self.corners[:, [0, 1, 2]], self.corners[:, [0, 2, 3]]
        both = np.stack([first, second], axis=1).reshape(-1, 3)
        result: IntArray = both[(both[:, 1] != both[:, 2]) & (both[:, 0] != both[:, 1])]
        return result


def _faces(jets: Jets, corners: IntArray) -> Faces:
    """Facets over evaluated points, without those that have corners at no finite place."""
    there = np.isfinite(jets.points).all(axis=1)
    corners = corners[there[corners].all(axis=1)]
    points = np.where(there[:, None], jets.points, 0.0)
    # What no facet stands on must not count for the size of the picture either.
    used, packed = np.unique(corners, return_inverse=True)
    packed = packed.reshape(corners.shape).astype(np.int32)
    points, normals = points[used], jets.normals[used]
    lost = ~normals.any(axis=1)
    if lost.any():
        normals[lost] = vertex_normals(points, packed)[lost]
    return Faces(points, packed, normals, jets.gaussian[used], jets.mean[used])


def least_resolution(surface: Surface, most: int, exact: bool) -> int:
    """The fewest points along a side, but for `most`, that leave neighbours' normals close."""
    for count in COARSE:
        if count >= most:
            break
        normals = surface_jets(surface, _grid(count), exact).normals.reshape(count, count, 3)
        turns = [np.einsum("ijk,ijk->ij", normals[1:], normals[:-1]),
                 np.einsum("ijk,ijk->ij", normals[:, 1:], normals[:, :-1])]
        if min(turn.min() for turn in turns) > SMOOTH:
            return count
    return most


def _grid(count: int) -> FloatArray:
    u, v = np.meshgrid(*[np.linspace(0.0, 1.0, count)] * 2, indexing="ij")
    result: FloatArray = np.stack([u, v], axis=-1).reshape(-1, 2)
    return result


def surface_faces(surface: Surface, resolution: int, exact: bool) -> Faces:
    """A surface over a regular grid of resolution x resolution points."""
    if isinstance(surface, TrimmedSurface):
        return _trimmed_faces(surface, resolution)
    uv = _grid(resolution)
    index = np.arange(resolution * resolution, dtype=np.int32).reshape(resolution, resolution)
    corners = np.stack([index[:-1, :-1], index[1:, :-1], index[1:, 1:], index[:-1, 1:]], axis=-1)
    return _faces(surface_jets(surface, uv, exact), corners.reshape(-1, 4))


def _trimmed_faces(surface: TrimmedSurface, resolution: int) -> Faces:
    """The visible part. Its parameters come from the same loops on a plane."""
    try:
        with _loops_on_plane(surface) as flat:
            plane = flat.mesh(resolution)
    except MorvelError:  # loops that cannot be read back: the facets alone
        return mesh_faces(surface.mesh(resolution))
    if not len(plane.triangles):
        return _faces(NO_JETS, np.empty((0, 4), dtype=np.int32))
    low_u, high_u, low_v, high_v = surface.domain
    uv = (plane.vertices[:, :2] - (low_u, low_v)) / (high_u - low_u, high_v - low_v)
    corners = plane.triangles[:, [0, 1, 2, 2]]
    return _faces(surface_jets(surface, uv, exact=False), corners)


def _loops_on_plane(surface: TrimmedSurface) -> TrimmedSurface:
    """The loops of a trimmed surface on the plane whose points are their parameters."""
    loops = [loop for loop in surface.loops if len(loop.polygon)]
    corners = np.concatenate([loop.polygon for loop in loops] or [np.empty((0, 2))])
    sizes = np.array([len(loop.polygon) for loop in loops], dtype=np.int32)
    types = np.array([loop.type for loop in loops], dtype=np.int32)
    roles = np.array([loop.is_outer for loop in loops], dtype=np.int32)
    low_u, high_u, low_v, high_v = surface.domain
    origin = (low_u, low_v, 0.0)
    with Surface.plane(origin, (high_u - low_u, 0, 0), (0, high_v - low_v, 0)) as plane:
        given = (address(corners), len(corners), address(sizes), address(types), address(roles))
        name = "create_trimmed_surface_from_polygons"
        return TrimmedSurface(call(name, plane.handle, *given, len(loops), _options(TOLERANCE)))


def mesh_faces(mesh: Mesh) -> Faces:
    """The triangles of a mesh, smooth but for its creases."""
    vertices, triangles = mesh.vertices, mesh.triangles
    corners = triangles[:, [0, 1, 2, 2]].astype(np.int32)
    smooth = vertex_normals(vertices, corners)
    flat = unit(facet_areas(scaled(vertices), corners))
    normals = smooth[triangles]
    apart = np.einsum("ijk,ik->ij", normals, flat) < CREASE
    if not apart.any():
        return _without_curvature(vertices, corners, smooth)
    normals = np.where(apart[..., None], flat[:, None], normals)
    split = np.arange(triangles.size, dtype=np.int32).reshape(-1, 3)[:, [0, 1, 2, 2]]
    return _without_curvature(vertices[triangles].reshape(-1, 3), split, normals.reshape(-1, 3))


def _without_curvature(vertices: FloatArray, corners: IntArray, normals: FloatArray) -> Faces:
    nothing = np.full(len(vertices), np.nan)
    return _faces(Jets(vertices, normals, nothing, nothing), corners)


def vertex_normals(vertices: FloatArray, corners: IntArray) -> FloatArray:
    """(n, 3) unit means of the normals of the facets around, by area; zero where there is none."""
    areas = facet_areas(scaled(vertices), corners)
    areas = np.where(np.isfinite(areas).all(axis=1)[:, None], areas, 0.0)
    total = np.zeros_like(vertices)
    for k in range(3 if len(corners) and (corners[:, 2] == corners[:, 3]).all() else 4):
        for axis in range(3):
            total[:, axis] += np.bincount(corners[:, k], areas[:, axis], len(vertices))
    return unit(total)


# ---- lines ----


def curve_line(curve: Curve, steps: int) -> FloatArray:
    """(n, 3) points along a curve, `steps` + 1 at least, with all of its knots."""
    start, end = curve.interval
    try:
        knots = np.unique(curve.knots)
    except MorvelError:
        knots = np.empty(0)
    knots = knots[(knots > min(start, end)) & (knots < max(start, end))]
    steps = min(max(steps, STEPS_PER_SPAN * len(knots)), MOST_CURVE_POINTS)
    t = np.unique(np.concatenate([np.linspace(start, end, steps + 1), knots]))
    return curve(t if start <= end else t[::-1])


def curve_on_surface_line(curve: CurveOnSurface, steps: int) -> FloatArray:
    """(steps + 1, 3) points along a curve on a surface."""
    return curve(np.linspace(*curve.interval, steps + 1))


def finite_runs(line: FloatArray) -> Lines:
    """The stretches of a polyline whose points are finite."""
    return runs(line, np.isfinite(line).all(axis=1))


def runs(line: FloatArray, kept: BoolArray) -> Lines:
    """The stretches of a polyline whose points are kept, of two points at least."""
    ends = np.flatnonzero(np.diff(np.concatenate([[False], kept, [False]]).astype(np.int8)))
    return [line[a:b] for a, b in zip(ends[::2], ends[1::2]) if b - a > 1]


def isolines(surface: Surface, count: int, cells: int, steps: int, exact: bool) -> Lines:
    """Lines of constant u and of constant v, about `count` of each, inside the visible part.

    They follow sides of the cells x cells facets, so that none sinks into a facet.
    """
    at = np.rint(np.linspace(0, cells, count + 2)[1:-1])
    return _parameter_lines(surface, np.unique(at[(at > 0) & (at < cells)]) / cells, steps, exact)


def rims(surface: Surface, faces: Faces, steps: int, exact: bool) -> Lines:
    """What bounds a surface: its sides, or where the facets of its visible part end."""
    if isinstance(surface, TrimmedSurface):
        return sharp_edges(faces.vertices, faces.triangles)
    return _parameter_lines(surface, np.array([0.0, 1.0]), steps, exact)


def mesh_rims(mesh: Mesh) -> Lines:
    """Where a mesh ends or has a crease."""
    triangles = mesh.triangles[np.isfinite(mesh.vertices).all(axis=1)[mesh.triangles].all(axis=1)]
    return sharp_edges(mesh.vertices, triangles) if len(triangles) else []


def _parameter_lines(surface: Surface, at: FloatArray, steps: int, exact: bool) -> Lines:
    lines: Lines = []
    t = np.linspace(0.0, 1.0, steps + 1)
    for constant in at:
        for direction in (0, 1):
            uv = np.empty((len(t), 2))
            uv[:, direction], uv[:, 1 - direction] = constant, t
            lines += _line_over(surface, uv, exact)
    return lines


def _line_over(surface: Surface, uv: FloatArray, exact: bool) -> Lines:
    if isinstance(surface, TrimmedSurface):
        parts = _visible_parts(surface, uv)
        return [run for part in parts for run in finite_runs(surface(_scaled(surface, part)))]
    domain = surface.exact_domain if exact else surface.domain
    at = _scaled(surface, uv, domain)
    return finite_runs(surface.exact(at) if exact else surface(at))


def _scaled(
    surface: Surface, uv: FloatArray, domain: Optional[Tuple[float, float, float, float]] = None
) -> FloatArray:
    """Shares of the domain as parameters."""
    low_u, high_u, low_v, high_v = domain or surface.domain
    return (low_u, low_v) + uv * (high_u - low_u, high_v - low_v)


def _visible_parts(surface: TrimmedSurface, uv: FloatArray) -> Lines:
    """The stretches of a line in the parameter plane that loops leave, cut where they cross it."""
    def visible(places: FloatArray) -> BoolArray:
        result: BoolArray = surface.classify(_scaled(surface, places)) != OUTSIDE
        return result

    seen = visible(uv)
    change = np.flatnonzero(seen[1:] != seen[:-1])
    inside = np.where(seen[change][:, None], uv[change], uv[change + 1])
    outside = np.where(seen[change][:, None], uv[change + 1], uv[change])
    for _ in range(BISECTIONS if len(change) else 0):
        middle = (inside + outside) / 2
        kept = visible(middle)[:, None]
        inside, outside = np.where(kept, middle, inside), np.where(kept, outside, middle)
    at = np.insert(uv, change + 1, inside, axis=0)
    return runs(at, np.insert(seen, change + 1, True))
