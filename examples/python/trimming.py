"""A gear cut out of a patch of the teapot."""

from __future__ import annotations

from typing import List, NamedTuple

import numpy as np

import morvel

TEETH = 24
BOLTS = 6
CENTER = np.array([0.5, 0.5])


class Cut(NamedTuple):
    """A trimmed surface and what was found about it."""

    part: morvel.TrimmedSurface
    mesh: morvel.Mesh
    visible_share: float  # of the parameter plane


def circle(center: np.ndarray, radius: float, count: int) -> np.ndarray:
    """(count, 2) corners of a regular polygon."""
    angles = np.arange(count) * 2 * np.pi / count
    return center + radius * np.column_stack([np.cos(angles), np.sin(angles)])


def gear_outline(radius: float = 0.45, depth: float = 0.06) -> np.ndarray:
    """Four corners a tooth: two at the root, two at the tip."""
    step = 2 * np.pi / TEETH
    starts = np.arange(TEETH)[:, None] * step
    angles = (starts + step * np.array([0.0, 0.3, 0.45, 0.85])).ravel()
    radii = np.tile([radius - depth, radius - depth, radius, radius], TEETH)
    return CENTER + radii[:, None] * np.column_stack([np.cos(angles), np.sin(angles)])


def bolt_holes() -> List[np.ndarray]:
    """A hub and a ring of bolts."""
    rim = circle(CENTER, 0.25, BOLTS)
    return [circle(CENTER, 0.1, 60), *(circle(center, 0.035, 30) for center in rim)]


def cut_gear(patch: morvel.Surface, resolution: int = 40, samples: int = 100_000) -> Cut:
    """A gear on the patch, its mesh, and how much of the parameter plane it takes."""
    part = morvel.TrimmedSurface.polygons(patch, [gear_outline()], bolt_holes())
    uv = np.random.default_rng(1).random((samples, 2))
    share = float(np.count_nonzero(part.classify(uv)) / samples)
    return Cut(part, part.mesh(resolution), share)
