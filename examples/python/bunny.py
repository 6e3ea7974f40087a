"""A piece of the bunny's flank: scattered measured points, fitted with and without fixed points."""

from __future__ import annotations

from pathlib import Path
from typing import NamedTuple, Tuple

import numpy as np

import morvel
from morvel.constrained_fitting import ConstrainedFit, fit_surface_constrained
from morvel.surface_fitting import fit_surface

FLANK = np.array([0.75, 0.15, 0.6])  # from the middle, in shares of the half extents, outwards
REACH = 0.55  # share of the largest half extent: how far the piece goes around its centre
FIXED_POINTS = 6
CONTROL_POINTS = 8


class BunnyFits(NamedTuple):
    """The piece and its two surfaces."""

    points: np.ndarray  # (n, 3)
    fixed: np.ndarray  # (k, 3), points of the piece that the constrained surface passes through
    free: morvel.Surface  # by least squares alone
    constrained: ConstrainedFit
    free_errors: np.ndarray  # (n,), distances to the closest points of the surfaces
    constrained_errors: np.ndarray  # (n,)


def read_bunny(path: Path) -> np.ndarray:
    """(n, 3) points, one a line."""
    return np.loadtxt(path, comments="#")


def flank(points: np.ndarray) -> np.ndarray:
    """The points near one place on the side of the body, whose sheet can be seen from one direction."""
    lower, upper = points.min(axis=0), points.max(axis=0)
    half = (upper - lower) / 2
    wanted = (lower + upper) / 2 + FLANK * half
    centre = points[np.linalg.norm(points - wanted, axis=1).argmin()]
    return points[np.linalg.norm(points - centre, axis=1) < REACH * half.max()]


def spread_out(points: np.ndarray, count: int) -> np.ndarray:
    """Indices of points far from each other, each the farthest from those before; the first one is
    nearest to the middle."""
    chosen = [int(np.linalg.norm(points - points.mean(axis=0), axis=1).argmin())]
    for _ in range(count - 1):
        gaps = np.linalg.norm(points[:, None] - points[chosen], axis=2).min(axis=1)
        chosen.append(int(gaps.argmax()))
    return np.array(chosen)


def distances(surface: morvel.Surface, points: np.ndarray) -> np.ndarray:
    """From each point to the closest point of the surface."""
    return np.linalg.norm(surface(surface.closest(points)) - points, axis=1)


def fit_bunny(path: Path) -> BunnyFits:
    """Fits the flank freely and with a few points fixed."""
    points = flank(read_bunny(path))
    fixed = points[spread_out(points, FIXED_POINTS)]
    grid: Tuple[int, int] = (CONTROL_POINTS, CONTROL_POINTS)
    free = fit_surface(points, grid, method="plane")
    constrained = fit_surface_constrained(points, interpolate=fixed, control_points=grid)
    errors = distances(free, points), distances(constrained.surface, points)
    return BunnyFits(points, fixed, free, constrained, *errors)
