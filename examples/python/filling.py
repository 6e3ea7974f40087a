"""The demo's steps with holes: openings in the teapot and the terrain, filled in space."""

from __future__ import annotations

from pathlib import Path
from typing import Sequence

import morvel
from cutting import stretched
from holes import BODY_PATCHES, FilledHole, cut_mesh, fill_teapot, fill_terrain
from picture import draw
from walk import Log

FILL_RESOLUTION = 60
FILL_COLOUR = "#b5523b"


class Filling:
    """Openings of 3 to 6 sides."""

    def __init__(self, data: Path, out: Path) -> None:
        self.data = data
        self.out = out

    def run(self, log: Log) -> None:
        log.run("holes in the teapot", self.fill_teapot)
        log.run("holes in the terrain", self.fill_terrain)
        log.run("draw holes", self.draw)

    def fill_teapot(self) -> str:
        self.patches, self.body_holes = fill_teapot(self.data / "teapot.txt")
        return figures(self.body_holes, 1.0, "")

    def fill_terrain(self) -> str:
        self.ground, self.ground_holes = fill_terrain(self.data / "jacksboro_dem.txt")
        return figures(self.ground_holes, 1000.0, " m")

    def draw(self) -> str:
        opened = dict(zip(BODY_PATCHES, self.body_holes))
        body = [
            cut_mesh(patch, [opened[k]]) if k in opened else patch.mesh(24)
            for k, patch in enumerate(self.patches)
        ]
        draw(
            [(morvel.Mesh.joined(body), "#c9a66b"), (fills(self.body_holes), FILL_COLOUR)],
            self.out / "teapot_holes.png",
        )
        ground = stretched(cut_mesh(self.ground, self.ground_holes, 160))
        draw(
            [(ground, "#8fae7a"), (stretched(fills(self.ground_holes)), FILL_COLOUR)],
            self.out / "terrain_holes.png",
        )
        return "teapot_holes.png, terrain_holes.png"


def figures(holes: Sequence[FilledHole], scale: float, unit: str) -> str:
    """The largest deviation from the curves and the largest angle to the tangent planes."""
    deviation = max(hole.deviation for hole in holes) * scale
    angle = max(hole.angle for hole in holes)
    sides = ", ".join(str(hole.sides) for hole in holes)
    return f"{sides} sides; along the curves to {deviation:.1g}{unit}, tangent to {angle:.1f} degrees"


def fills(holes: Sequence[FilledHole]) -> morvel.Mesh:
    return morvel.Mesh.joined(hole.surface.mesh(FILL_RESOLUTION) for hole in holes)
