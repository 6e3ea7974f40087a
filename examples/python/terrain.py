"""The terrain around the Jacksboro fault: curves and surfaces fitted to measured heights."""

from __future__ import annotations

from pathlib import Path
from typing import Dict, List, NamedTuple, Optional, Tuple

import numpy as np

import morvel

SPACING = (0.30, 0.37)  # kilometres from west to east, and from north to south
METRES_PER_KILOMETRE = 1000.0


def read_terrain(path: Path) -> Tuple[np.ndarray, np.ndarray, np.ndarray]:
    """x (columns), y (rows) and heights (rows, columns), all in kilometres, north first."""
    lines = [line for line in path.read_text("ascii").splitlines() if not line.startswith("#")]
    rows, columns = map(int, lines[0].split())
    heights = np.array([line.split() for line in lines[1:]], dtype=float) / METRES_PER_KILOMETRE
    if heights.shape != (rows, columns):
        raise ValueError(f"{path}: {heights.shape} heights, not {(rows, columns)}")
    return np.arange(columns) * SPACING[0], -np.arange(rows) * SPACING[1], heights


def crossings(z: np.ndarray, level: float) -> Dict[Tuple[int, int, int], Tuple[float, float]]:
    """Where grid edges cross the level, as (row, column) by edge: (row, column, 0 along the row or
    1 down the column)."""
    points = {}
    for axis in (0, 1):
        a, b = (z[:, :-1], z[:, 1:]) if axis == 0 else (z[:-1], z[1:])
        for i, j in np.argwhere((a >= level) != (b >= level)):
            share = (level - a[i, j]) / (b[i, j] - a[i, j])
            place = (i, j + share) if axis == 0 else (i + share, j)
            points[int(i), int(j), axis] = (float(place[0]), float(place[1]))
    return points


def contours(z: np.ndarray, level: float) -> List[np.ndarray]:
    """Marching squares: chains of (row, column) places, longest first. A closed one ends beside its
    start; at a saddle the corner (row, column) of the cell is cut off."""
    points = crossings(z, level)
    links: Dict[Tuple[int, int, int], List[Tuple[int, int, int]]] = {edge: [] for edge in points}
    for i in range(z.shape[0] - 1):
        for j in range(z.shape[1] - 1):
            around = [(i, j, 0), (i, j, 1), (i + 1, j, 0), (i, j + 1, 1)]
            found = [edge for edge in around if edge in points]
            for a, b in zip(found[::2], found[1::2]):
                links[a].append(b)
                links[b].append(a)
    open_ends = [edge for edge, others in links.items() if len(others) == 1]
    chains, seen = [], set()
    for start in open_ends + list(links):
        chain: List[Tuple[float, float]] = []
        edge: Optional[Tuple[int, int, int]] = start
        while edge is not None and edge not in seen:
            seen.add(edge)
            chain.append(points[edge])
            edge = next((other for other in links[edge] if other not in seen), None)
        if chain:
            chains.append(np.array(chain))
    return sorted(chains, key=len, reverse=True)


class ContourFit(NamedTuple):
    """Curves of one contour, with the largest distance from the points at equal parameters."""

    points: np.ndarray  # (n, 3), kilometres
    fixed: np.ndarray  # which of them the mixed curve passes through
    curves: Dict[str, morvel.Curve]
    errors: Dict[str, float]  # kilometres; of the mixed curve at the fixed points: "mixed, fixed"


def fit_contour(path: Path, level: float = 0.45, fixed_every: int = 12) -> ContourFit:
    """Fits, interpolates, and fits under mixed constraints the longest contour of the terrain.

    Args:
        level: height in kilometres.
        fixed_every: the mixed curve passes through every so many points.
    """
    x, y, heights = read_terrain(path)
    places = contours(heights, level)[0]
    flat = np.stack(
        [np.interp(places[:, 1], np.arange(len(x)), x),
         -np.interp(places[:, 0], np.arange(len(y)), -y),
         np.full(len(places), level)], axis=1,
    )
    points = flat[np.r_[True, np.linalg.norm(np.diff(flat, axis=0), axis=1) > 1e-9]]
    t = morvel.chord_parameters(points)
    fixed = np.arange(len(points)) % fixed_every == 0
    curves = {
        "fitted": morvel.fit_curve(points),
        "interpolated": morvel.interpolate_curve(points),
        "mixed": morvel.fit_curve_constrained(
            points[fixed], points[~fixed], through_at=t[fixed], near_at=t[~fixed],
            control_points=4 * int(fixed.sum()),
        ),
    }
    distance = {name: np.linalg.norm(c(t) - points, axis=1) for name, c in curves.items()}
    errors = {name: float(d.max()) for name, d in distance.items()}
    errors["mixed, fixed"] = float(distance["mixed"][fixed].max())
    return ContourFit(points, fixed, curves, errors)


class TerrainFit(NamedTuple):
    """A surface and its distances from the (rows, columns) grid of points, all in kilometres."""

    points: np.ndarray  # (rows, columns, 3)
    surface: morvel.Surface
    parameters: np.ndarray  # (rows, columns, 2): where on the surface each point belongs
    errors: np.ndarray  # (rows, columns)


def terrain_points(path: Path) -> np.ndarray:
    """The terrain as a (rows, columns, 3) grid, rows from north to south."""
    x, y, heights = read_terrain(path)
    east, north = np.meshgrid(x, y)
    return np.dstack([east, north, heights])


def interpolate_terrain(path: Path) -> TerrainFit:
    """The bicubic surface through all heights; its errors are those of the stored knots."""
    points = terrain_points(path)
    surface, report = morvel.interpolate_grid_with_report(points)
    uv = np.dstack(np.meshgrid(report.u_parameters, report.v_parameters, indexing="ij"))
    return TerrainFit(points, surface, uv, np.linalg.norm(surface.exact(uv) - points, axis=2))


def approximate_terrain(path: Path) -> TerrainFit:
    """The least-squares surface near the heights, with as large a net as their number allows."""
    points = terrain_points(path)
    surface, report = morvel.fit_surface_with_report(points.reshape(-1, 3), method="plane")
    uv = report.parameters.reshape(points.shape[:2] + (2,))
    return TerrainFit(points, surface, uv, np.linalg.norm(surface(uv) - points, axis=2))
