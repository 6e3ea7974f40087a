"""The drawings of the pages in lines: curves, basis functions, tables of the kernel."""

from __future__ import annotations

import sys
from pathlib import Path

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np
from matplotlib.axes import Axes
from matplotlib.patches import FancyArrowPatch, FancyBboxPatch

import morvel

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts"))
from check_layers import RANKS  # noqa: E402

BLUE, ORANGE, RED, TEAL, INK, GREY = "#2f6f9f", "#e0702e", "#b8382c", "#2f8f8b", "#2b3238", "#9aa5ad"
PALE = {"blue": "#e4eef5", "orange": "#fbe9dd", "teal": "#dff0ef", "grey": "#f1f3f4"}
STYLE = {
    "font.size": 9.5,
    "axes.spines.top": False,
    "axes.spines.right": False,
    "axes.edgecolor": GREY,
    "xtick.color": INK,
    "ytick.color": INK,
    "svg.hashsalt": "morvel",  # the same names of parts in every run
}
UNEVEN = (0, 0, 0, 0, 0.1, 0.2, 0.55, 1, 1, 1, 1)


def save(figure: plt.Figure, path: Path) -> None:
    figure.savefig(path, bbox_inches="tight", metadata={"Date": None}, facecolor="white")
    plt.close(figure)


def plane(points: np.ndarray) -> np.ndarray:
    """(n, 3) points over (n, 2) places in the plane."""
    return np.column_stack([points, np.zeros(len(points))])


def basis(k: int, t: np.ndarray) -> np.ndarray:
    """A basis function on the uneven knots: the curve whose control points are 0 but for one."""
    points = np.zeros((len(UNEVEN) - 4, 3))
    points[k, 0] = 1.0
    return morvel.Curve.bspline(points, degree=3, knots=UNEVEN)(t)[:, 0]


def foundation(path: Path) -> None:
    """Cubic basis functions on uneven knots, and their sum."""
    figure, axes = plt.subplots(figsize=(8, 2.9))
    t = np.linspace(0.0, 1.0, 301)
    colours = plt.get_cmap("viridis")(np.linspace(0.0, 0.9, len(UNEVEN) - 4))
    values = [basis(k, t) for k in range(len(UNEVEN) - 4)]
    for k, value in enumerate(values):
        axes.plot(t, value, color=colours[k], lw=1.8)
        axes.text(t[value.argmax()], value.max() + 0.03, f"N({k}, 3)", color=colours[k], ha="center")
    axes.plot(t, np.sum(values, axis=0), color=GREY, lw=1, ls="--")
    inner = sorted(set(UNEVEN))
    axes.plot(inner, np.zeros(len(inner)), "^", color=RED, clip_on=False, ms=7)
    axes.set(xlim=(0, 1), ylim=(0, 1.15), xlabel="u; the triangles are the knots")
    save(figure, path)


def curves(path: Path) -> None:
    """A B-spline curve with its polygon and curvature, exact pieces, offsets."""
    points = plane(
        np.array([[0, 0], [0.6, 1.7], [1.7, 1.9], [2.2, 0.1], [3.2, -0.3], [4.0, 1.3], [5.1, 1.0]])
    )
    curve = morvel.Curve.bspline(points)
    t = np.linspace(0.0, 1.0, 181)
    line = curve(t)
    figure, (left, right) = plt.subplots(1, 2, figsize=(10, 3.1))
    left.plot(*points[:, :2].T, "o-", color=GREY, lw=1, ms=5)
    comb = line + 0.22 * curve.curvature(t)[:, None] * -curve.normal(t)
    for a, b in zip(line[::3], comb[::3]):
        left.plot([a[0], b[0]], [a[1], b[1]], color=ORANGE, lw=0.7)
    left.plot(*comb[:, :2].T, color=ORANGE, lw=0.9)
    left.plot(*line[:, :2].T, color=BLUE, lw=2.4)
    left.set_title("control points, and curvature to the outer side")
    first, second = curve.split(0.45)
    for piece, colour in ((first, BLUE), (second, TEAL)):
        inside = np.linspace(*piece.interval, 121)
        right.plot(*piece(inside)[:, :2].T, color=colour, lw=2.4)
        for distance in (0.15, 0.3, 0.45):
            beside = piece.offset(distance)(inside)
            right.plot(*beside[:, :2].T, color=colour, lw=0.9, alpha=0.8)
    right.plot(*curve(0.45)[:2], "o", color=RED, ms=6)
    right.set_title("split at a parameter, and offsets of both pieces")
    for axes in (left, right):
        axes.set_aspect("equal")
        axes.axis("off")
    save(figure, path)


def numerics(path: Path) -> None:
    """One net on uneven knots: as the ordinary calls evaluate it, and exactly."""
    rows = np.array([0.0, 1.5, -0.4, 1.2, 0.2, 1.4, 0.3])
    net = np.array([[[k, j, z] for j in range(2)] for k, z in enumerate(rows)], dtype=float)
    crowded = (0, 0, 0, 0, 0.04, 0.08, 0.12, 1, 1, 1, 1)
    surface = morvel.Surface.bspline(net, degrees=(3, 1), knots=(crowded, (0, 0, 1, 1)))
    u = np.linspace(0.0, 1.0, 241)
    uv = np.column_stack([u, np.zeros_like(u)])
    uniform, exact = surface(uv), surface.exact(uv)
    figure, axes = plt.subplots(figsize=(8, 2.9))
    axes.plot(net[:, 0, 0], rows, "o-", color=GREY, lw=1, ms=5, label="control points")
    axes.plot(*exact[:, [0, 2]].T, color=TEAL, lw=2.4, label="surface.exact(uv): stored knots")
    axes.plot(*uniform[:, [0, 2]].T, color=ORANGE, lw=2.4, label="surface(uv): uniform knots")
    axes.legend(frameon=False, ncol=3, loc="lower center", bbox_to_anchor=(0.5, -0.28))
    axes.axis("off")
    save(figure, path)


def box(axes: Axes, x: float, y: float, width: float, height: float, text: str, fill: str) -> None:
    shape = FancyBboxPatch((x, y), width, height, "round,pad=0.02,rounding_size=0.08", fc=fill,
                           ec=GREY, lw=0.8)
    axes.add_patch(shape)
    axes.text(x + width / 2, y + height / 2, text, ha="center", va="center", color=INK)


def arrow(axes: Axes, start: "tuple[float, float]", end: "tuple[float, float]") -> None:
    axes.add_patch(
        FancyArrowPatch(start, end, arrowstyle="-|>", mutation_scale=11, color=INK, lw=0.9)
    )


def canvas(width: float, height: float) -> "tuple[plt.Figure, Axes]":
    figure, axes = plt.subplots(figsize=(width, height))
    axes.set(xlim=(0, width), ylim=(0, height))
    axes.axis("off")
    return figure, axes


def registry(path: Path) -> None:
    """Handles, the tables behind them, and what keeps what alive; the numbers are the kernel's."""
    morvel.clear()
    point, curve = morvel.Point.at((0, 0, 0)), morvel.Curve.line((0, 0, 0), (1, 0, 0))
    base = morvel.Surface.extrude(curve, (0, 0, 1), 1.0)
    path_on = morvel.CurveOnSurface.bspline(base, [(0, 0), (1, 1)], 1)
    figure, axes = canvas(9.2, 3.1)
    axes.text(1.0, 2.85, "the caller's numbers", ha="center", color=INK)
    axes.text(4.05, 2.85, "tables in the library", ha="center", color=INK)
    axes.text(7.6, 2.85, "objects", ha="center", color=INK)
    rows = (
        (point.handle, "points", "Point3D", "grey"),
        (curve.handle, "curves", "LineCurve", "blue"),
        (base.handle, "surfaces", "ExtrudeSurface", "orange"),
        (path_on.handle, "curves on surfaces", "CurveOnSurface", "teal"),
    )
    for k, (handle, table, kind, fill) in enumerate(rows):
        y = 2.15 - 0.68 * k
        box(axes, 0.45, y, 1.1, 0.42, str(handle), "white")
        box(axes, 2.9, y, 2.3, 0.42, table, PALE[fill])
        box(axes, 6.6, y, 2.0, 0.42, kind, PALE[fill])
        arrow(axes, (1.65, y + 0.21), (2.85, y + 0.21))
        arrow(axes, (5.3, y + 0.21), (6.55, y + 0.21))
    axes.add_patch(
        FancyArrowPatch((8.65, 0.3), (8.65, 1.0), connectionstyle="arc3,rad=0.6",
                        arrowstyle="-|>", mutation_scale=11, color=RED, lw=1.1)
    )
    axes.text(8.95, 0.65, "keeps\nalive", color=RED, va="center")
    save(figure, path)


def architecture(path: Path) -> None:
    """The layers by rank, as the check of the includes has them."""
    by_rank: "dict[int, list[str]]" = {}
    for layer, rank in RANKS.items():
        by_rank.setdefault(rank, []).append(layer)
    figure, axes = canvas(8.6, 0.56 * (len(by_rank) + 1) + 0.1)
    width = 6.2
    for rank, layers in sorted(by_rank.items()):
        share = width / len(layers)
        for k, layer in enumerate(layers):
            fill = PALE["orange"] if layer == "api" else PALE["blue"]
            box(axes, 0.5 + k * share, 0.1 + 0.56 * rank, share - 0.12, 0.4, f"{layer}/", fill)
        axes.text(0.3, 0.3 + 0.56 * rank, str(rank), ha="right", va="center", color=GREY)
    top = 0.1 + 0.56 * len(by_rank)
    for k, caller in enumerate(("C programs", "Python package", "C++ programs")):
        share = width / 3
        box(axes, 0.5 + k * share, top, share - 0.12, 0.4, caller, PALE["grey"])
    arrow(axes, (7.2, top + 0.2), (7.2, 0.2))
    axes.text(7.35, top / 2 + 0.2, "includes only\nwhat is below", va="center", color=INK)
    save(figure, path)


def pictures(path: Path) -> None:
    """What the page on pictures is about, drawn by what it describes."""
    with morvel.Surface.torus((0, 0, 0), 3.0, 1.0) as ring:
        ring.save(path, curvature="gaussian", resolution=52, size=(820, 430))


PICTURES = {
    f"{make.__name__}.svg": make
    for make in (foundation, curves, numerics, registry, architecture, pictures)
}
plt.rcParams.update(STYLE)
