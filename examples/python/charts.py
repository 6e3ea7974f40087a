"""Pictures of data, fits and errors."""

from __future__ import annotations

from pathlib import Path
from typing import Sequence, Tuple

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np
from matplotlib.axes import Axes
from matplotlib.colors import LightSource

import morvel
from bunny import BunnyFits
from terrain import METRES_PER_KILOMETRE, ContourFit, TerrainFit

CURVE_COLOURS = {"fitted": "#c23b22", "interpolated": "#1f4e9c", "mixed": "#2f8f4e"}
EXAGGERATION = 6.0  # of the relief in the shaded maps
SAMPLES = 2000


def relief(axes: Axes, grid: np.ndarray, title: str) -> None:
    """A map of (rows, columns, 3) points, north first, shaded from the north-west."""
    east, north, height = np.moveaxis(grid, -1, 0)
    step = abs(east[0, 1] - east[0, 0]), abs(north[1, 0] - north[0, 0])
    shaded = LightSource(315, 45).shade(
        height, plt.get_cmap("gist_earth"), blend_mode="soft", vert_exag=EXAGGERATION,
        dx=step[0], dy=step[1],
    )
    axes.imshow(shaded, extent=(east.min(), east.max(), north.min(), north.max()), origin="upper")
    axes.set(title=title, xlabel="km east", ylabel="km north")
    axes.autoscale(False)


def error_map(axes: Axes, fit: TerrainFit) -> None:
    east, north, _ = np.moveaxis(fit.points, -1, 0)
    metres = fit.errors * METRES_PER_KILOMETRE
    image = axes.imshow(
        metres, cmap="magma", extent=(east.min(), east.max(), north.min(), north.max())
    )
    axes.figure.colorbar(image, ax=axes, label="m", shrink=0.8)
    axes.set(title="distance of the data from the approximation", xlabel="km east")


def draw_terrain(through: TerrainFit, near: TerrainFit, contour: ContourFit, path: Path) -> None:
    """Data with a contour as curves, both surfaces, and the error of the second."""
    figure, axes = plt.subplots(2, 2, figsize=(13, 12), dpi=90)
    relief(axes[0, 0], through.points, "measured heights, and a contour as curves")
    for name, curve in contour.curves.items():
        line = curve(np.linspace(*curve.interval, SAMPLES))
        axes[0, 0].plot(line[:, 0], line[:, 1], color=CURVE_COLOURS[name], lw=1.2, label=name)
    fixed = contour.points[contour.fixed]
    axes[0, 0].plot(fixed[:, 0], fixed[:, 1], "k.", ms=4, label="fixed points")
    axes[0, 0].legend(loc="lower right")
    relief(axes[0, 1], through.surface.exact(through.parameters), "the surface through them")
    relief(axes[1, 0], near.surface(near.parameters), "the least-squares surface")
    error_map(axes[1, 1], near)
    save(figure, path)


def near_points(surface: morvel.Surface, points: np.ndarray) -> np.ndarray:
    """A (60, 60, 3) grid of the surface; what lies beyond the points is not a number."""
    t = np.linspace(0.0, 1.0, 60)
    grid = surface.grid(t, t)
    gaps = np.linalg.norm(points[:, None] - points, axis=2)
    reach = 2 * np.sort(gaps, axis=1)[:, 1].max()
    to_points = np.linalg.norm(grid[:, :, None] - points, axis=3).min(axis=2)
    grid[to_points > reach] = np.nan
    return grid


def draw_bunny(fits: BunnyFits, path: Path) -> None:
    """The piece with both surfaces, its points coloured by their distance."""
    figure = plt.figure(figsize=(13, 6), dpi=90)
    sides: Sequence[Tuple[str, morvel.Surface, np.ndarray]] = (
        ("least squares alone", fits.free, fits.free_errors),
        ("through six fixed points", fits.constrained.surface, fits.constrained_errors),
    )
    most = max(errors.max() for _, _, errors in sides)
    for k, (title, surface, errors) in enumerate(sides):
        axes = figure.add_subplot(1, 2, k + 1, projection="3d")
        axes.plot_wireframe(
            *np.moveaxis(near_points(surface, fits.points), -1, 0), color="#9db4c8", lw=0.5
        )
        dots = axes.scatter(*fits.points.T, c=errors, s=14, cmap="magma", vmin=0.0, vmax=most)
        if k == 1:
            axes.scatter(*fits.fixed.T, s=60, facecolors="none", edgecolors="#c23b22", lw=1.5)
        axes.set_title(title)
        axes.set_axis_off()
        figure.colorbar(dots, ax=axes, shrink=0.6, label="distance")
    save(figure, path)


def save(figure: "plt.Figure", path: Path) -> None:
    figure.savefig(path, bbox_inches="tight", facecolor="white")
    plt.close(figure)
