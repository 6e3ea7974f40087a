"""The demo's steps with trimmed surfaces: a gear on the teapot, and the terrain without its hollows."""

from __future__ import annotations

from pathlib import Path
from typing import List

import numpy as np

import morvel
from picture import draw
from reconstruction import Reconstruction
from terrain import METRES_PER_KILOMETRE, contours
from trimming import cut_gear
from walk import Log

LEVEL = 0.42  # kilometres: what lies lower and is enclosed is cut out
SHORTEST = 12  # corners of a hollow's outline
SAMPLES = 160
WHOLE = ((0.0, 0.0), (1.0, 0.0), (1.0, 1.0), (0.0, 1.0))
PATHS = ((9.0, -9.0, 5.0), (20.0, -20.0, 6.0))  # circles over the terrain: centre and radius
TERRAIN_RESOLUTION = 160
ROPE_SAMPLES = 400


class Cutting:
    """Loops in parameter planes, and curves projected onto surfaces."""

    def __init__(
        self, patches: List[morvel.Surface], measured: Reconstruction, out: Path
    ) -> None:
        self.patch = patches[4]
        self.measured = measured
        self.out = out

    def run(self, log: Log) -> None:
        log.run("a gear on the teapot", self.cut_gear)
        log.run("terrain without hollows", self.cut_hollows)
        log.run("paths on the terrain", self.project_paths)
        log.run("write and draw", self.write)

    def cut_gear(self) -> str:
        self.gear = cut_gear(self.patch)
        loops = len(self.gear.part.loops)
        return (
            f"{loops} loops, {self.gear.visible_share:.1%} of the parameter plane, area "
            f"{self.gear.part.area():.4f}"
        )

    def cut_hollows(self) -> str:
        terrain = self.measured.through.surface
        t = np.linspace(0.0, 1.0, SAMPLES)
        heights = terrain.grid(t, t)[..., 2]
        chains = [chain / (SAMPLES - 1) for chain in contours(heights, LEVEL)]
        hollows = [uv for uv in chains if len(uv) >= SHORTEST and is_closed(uv, 2 / SAMPLES)]
        self.dry = morvel.TrimmedSurface.polygons(terrain, [WHOLE], hollows)
        classes = self.dry.classify(np.random.default_rng(2).random((100_000, 2)))
        share = np.count_nonzero(classes == 0) / classes.size
        return f"{len(hollows)} enclosed places below {LEVEL * 1e3:.0f} m cut out, {share:.1%} of all"

    def project_paths(self) -> str:
        terrain = self.measured.through.surface
        above = [morvel.Curve.circle((x, y, 2.0), radius) for x, y, radius in PATHS]
        self.paths = morvel.project_curves(
            above, [terrain], kind="custom_vector", direction=(0, 0, -1), fitting="adaptive"
        )
        metres = self.paths.deviation * METRES_PER_KILOMETRE
        return f"{len(above)} circles in {len(self.paths.on_surface)} pieces, within {metres:.1g} m"

    def write(self) -> str:
        self.gear.mesh.write_obj(self.out / "gear.obj")
        mesh = self.dry.mesh(TERRAIN_RESOLUTION)
        mesh.write_obj(self.out / "terrain.obj")
        draw([(self.gear.mesh, "#c9a66b")], self.out / "gear.png")
        ropes = morvel.Mesh.joined(rope(curve) for curve in self.paths.in_space)
        draw([(stretched(mesh), "#8fae7a"), (ropes, "#c23b22")], self.out / "hollows.png")
        return f"gear.obj, terrain.obj ({len(mesh.triangles)} triangles), gear.png, hollows.png"


def is_closed(chain: np.ndarray, reach: float) -> bool:
    """The ends of a chain in the parameter plane lie beside each other."""
    return bool(np.linalg.norm(chain[0] - chain[-1]) <= reach)


def stretched(mesh: morvel.Mesh, factor: float = 6.0) -> morvel.Mesh:
    """The relief made higher."""
    return morvel.Mesh(mesh.vertices * [1.0, 1.0, factor], mesh.triangles)


def rope(curve: morvel.Curve, factor: float = 6.0, radius: float = 0.12) -> morvel.Mesh:
    """A thin pipe along a curve over the stretched relief."""
    points = curve(np.linspace(*curve.interval, ROPE_SAMPLES)) * [1.0, 1.0, factor]
    return morvel.Surface.pipe(morvel.interpolate_curve(points), radius).mesh(200)
