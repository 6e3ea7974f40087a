"""The demo's steps from measured points to curves and surfaces."""

from __future__ import annotations

from pathlib import Path

import numpy as np

from bunny import fit_bunny
from charts import draw_bunny, draw_terrain
from terrain import METRES_PER_KILOMETRE, approximate_terrain, fit_contour, interpolate_terrain
from walk import Log


class Reconstruction:
    """Terrain heights on a grid, one of their contours, and a piece of a scanned animal."""

    def __init__(self, data: Path, out: Path) -> None:
        self.heights = data / "jacksboro_dem.txt"
        self.scan = data / "bunny.xyz"
        self.out = out

    def run(self, log: Log) -> None:
        log.run("terrain through a grid", self.interpolate)
        log.run("terrain by least squares", self.approximate)
        log.run("a contour as curves", self.contour)
        log.run("draw terrain.png", self.draw_terrain)
        log.run("a piece of the bunny", self.fit_bunny)
        log.run("draw bunny.png", self.draw_bunny)

    def interpolate(self) -> str:
        self.through = interpolate_terrain(self.heights)
        rows, columns = self.through.errors.shape
        metres = self.through.errors.max() * METRES_PER_KILOMETRE
        return f"{rows} x {columns} heights; the exact surface misses none by over {metres:.0e} m"

    def approximate(self) -> str:
        self.near = approximate_terrain(self.heights)
        nu, nv, _ = self.near.surface.control_points.shape
        rms = np.sqrt((self.near.errors**2).mean()) * METRES_PER_KILOMETRE
        return f"{nu} x {nv} net, off by {rms:.0f} m in the mean square"

    def contour(self) -> str:
        self.level = fit_contour(self.heights)
        metres = {name: d * METRES_PER_KILOMETRE for name, d in self.level.errors.items()}
        return (
            f"{len(self.level.points)} points; fitted within {metres['fitted']:.0f} m, mixed "
            f"{metres['mixed']:.0f} m, {metres['mixed, fixed']:.0e} m where fixed"
        )

    def draw_terrain(self) -> str:
        path = self.out / "terrain.png"
        draw_terrain(self.through, self.near, self.level, path)
        return f"{path.stat().st_size / 2**10:.0f} KiB"

    def fit_bunny(self) -> str:
        self.bunny = fit_bunny(self.scan)
        nu, nv, _ = self.bunny.constrained.surface.control_points.shape
        rms = np.sqrt((self.bunny.constrained_errors**2).mean())
        return (
            f"{len(self.bunny.points)} points; {nu} x {nv} net through {len(self.bunny.fixed)} of "
            f"them, off by {rms:.3f} in the mean square"
        )

    def draw_bunny(self) -> str:
        path = self.out / "bunny.png"
        draw_bunny(self.bunny, path)
        return f"{path.stat().st_size / 2**10:.0f} KiB"
