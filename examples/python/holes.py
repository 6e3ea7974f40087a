"""Openings of 3 to 6 sides cut into surfaces and filled in space, along the tangent planes."""

from __future__ import annotations

from pathlib import Path
from typing import List, NamedTuple, Sequence, Tuple

import numpy as np

import morvel
from teapot import read_patches
from terrain import interpolate_terrain

SIDES = (3, 4, 5, 6)
BODY_PATCHES = (4, 5, 6, 7)  # of the teapot, one a hole
TERRAIN_CENTRES = ((0.25, 0.3), (0.7, 0.25), (0.3, 0.7), (0.75, 0.7))
PLACES = 400  # at which a boundary is compared with its surface


class FilledHole(NamedTuple):
    """An opening, what fills it, and how well: lengths in units of the model, angles in degrees."""

    sides: int
    outline: np.ndarray  # (sides, 2) corners in the parameter plane
    surface: morvel.Surface
    deviation: float  # from the curves to their closest points on the surface, measured here
    angle: float  # largest to the tangent planes, as the kernel reports it


def polygon(centre: Tuple[float, float], radius: float, sides: int) -> np.ndarray:
    """(sides, 2) corners, turned a little, so that no side runs along a parameter."""
    angles = 0.3 + 2 * np.pi * np.arange(sides) / sides
    return np.asarray(centre) + radius * np.column_stack([np.cos(angles), np.sin(angles)])


def boundary(base: morvel.Surface, outline: np.ndarray) -> List[morvel.CurveOnSurface]:
    """The sides of an outline as curves on a surface."""
    ends = np.roll(outline, -1, axis=0)
    return [morvel.CurveOnSurface.bspline(base, np.stack(side), 1) for side in zip(outline, ends)]


def fill_hole(base: morvel.Surface, outline: np.ndarray, tolerance: float) -> FilledHole:
    """Cuts along an outline and fills in space with tangent continuity."""
    curves = boundary(base, outline)
    surface, report = morvel.fill(curves, continuity=1, tolerance=tolerance)
    points = np.concatenate([curve(np.linspace(0, 1, PLACES // len(curves))) for curve in curves])
    distances = np.linalg.norm(surface(surface.closest(points)) - points, axis=-1)
    angle = float(np.degrees(report.max_angle))
    return FilledHole(len(outline), outline, surface, float(distances.max()), angle)


def fill_teapot(path: Path, tolerance: float = 1e-3) -> "Tuple[List[morvel.Surface], List[FilledHole]]":
    """The teapot's patches, and holes of 3 to 6 sides in those of its body."""
    patches = [morvel.Surface.bezier(net) for net in read_patches(path)]
    outlines = [polygon((0.5, 0.5), 0.3, sides) for sides in SIDES]
    holes = [fill_hole(patches[k], o, tolerance) for k, o in zip(BODY_PATCHES, outlines)]
    return patches, holes


def fill_terrain(path: Path, tolerance: float = 1e-3) -> "Tuple[morvel.Surface, List[FilledHole]]":
    """The terrain (kilometres), and the ground that openings in it would have if it were smooth."""
    ground = interpolate_terrain(path).surface
    outlines = [polygon(centre, 0.06, sides) for centre, sides in zip(TERRAIN_CENTRES, SIDES)]
    return ground, [fill_hole(ground, outline, tolerance) for outline in outlines]


def cut_mesh(
    base: morvel.Surface, holes: Sequence[FilledHole], resolution: int = 60
) -> morvel.Mesh:
    """A surface's mesh without its openings, cut along them."""
    whole = [(0.0, 0.0), (1.0, 0.0), (1.0, 1.0), (0.0, 1.0)]
    part = morvel.TrimmedSurface.polygons(base, [whole], [hole.outline for hole in holes])
    return part.mesh(resolution)
