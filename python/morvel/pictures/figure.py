"""Pictures by matplotlib: axes in space to turn and zoom, and drawings as PNG and PDF.

matplotlib is imported when the first picture is made, so that the package does without it.
"""

from __future__ import annotations

import importlib
import io
from typing import TYPE_CHECKING, Any, Callable, Dict, List, Optional, Sequence

import numpy as np

from .._arrays import FloatArray
from . import colours, svg
from .drawing import (
    ISOLINE,
    MOST_DOTS,
    NEEDLE,
    NET,
    NET_COLOUR,
    NORMAL_COLOUR,
    RIM,
    SLACK,
    Drawing,
    axes_of,
    facing,
    finite_mean,
    needles,
    view_of,
)
from .options import Options, Rgb, hex_of, mixed, rgb
from .sampling import Lines
from .scene import INK, Part, Scene, line_ink

if TYPE_CHECKING:
    from matplotlib.figure import Figure
    from mpl_toolkits.mplot3d import Axes3D

INCH = 100  # pixels
POINTS = 0.72  # of a pixel
PADDING = 0.04
ZOOM = 1.15  # the box in the figure; matplotlib leaves much room around it
MOST_TICKS = 7
SMALLEST_SIZE, LARGEST_SIZE = 1e-100, 1e100
LINE_CORNERS = 3  # there, along, and back
#: matplotlib's PDF writer puts the date into its files unless told not to.
UNDATED = {"CreationDate": None, "ModDate": None, "Producer": None, "Creator": "morvel"}
MARKER = 2.6


def _need_matplotlib() -> None:
    try:
        importlib.import_module("matplotlib")
    except ImportError as fault:
        raise ImportError(
            "plot() and pictures as PNG and PDF need matplotlib, which is not installed (Debian: "
            "python3-matplotlib; pip: matplotlib); save('x.svg') and save('x.html') do without"
        ) from fault


# ---- axes ----


def plot(scene: Scene, ax: "Optional[Axes3D]") -> "Axes3D":
    """Adds a scene to axes, new ones unless given. ValueError where they are not in space."""
    _need_matplotlib()
    if not SMALLEST_SIZE < scene.radius < LARGEST_SIZE:
        raise ValueError(f"matplotlib cannot show objects of the size {scene.radius:.1g}")
    if ax is None:
        ax = _new_axes(scene)
    elif getattr(ax, "name", "") != "3d":
        raise ValueError("ax must be axes in space, as add_subplot(projection='3d') makes them")
    _add_facets(ax, scene)
    _add_marks(ax, scene)
    _set_limits(ax, scene)
    if scene.options.title:
        ax.set_title(svg.clean(scene.options.title), parse_math=False)
    return ax


def _new_axes(scene: Scene) -> "Axes3D":
    import matplotlib.pyplot as plt

    options = scene.options
    width, height = options.size
    figure = plt.figure(figsize=(width / INCH, height / INCH), dpi=INCH)
    figure.subplots_adjust(left=0.0, right=1.0, bottom=0.03, top=0.93)
    ax: "Axes3D" = figure.add_subplot(projection="3d")
    azimuth, elevation = view_of(scene)
    ax.view_init(elev=elevation, azim=azimuth)
    ax.set_proj_type("ortho")
    ax.set(xlabel="x", ylabel="y", zlabel="z")
    for axis in (ax.xaxis, ax.yaxis, ax.zaxis):
        axis.set_pane_color((0.965, 0.97, 0.98, 1.0))
        axis._axinfo["grid"].update(color=(0.86, 0.87, 0.89, 1.0), linewidth=0.6)
    if options.background is not None:
        figure.set_facecolor(rgb(options.background))
        ax.set_facecolor(rgb(options.background))
    return ax


class _Pieces:
    """Polygons of facets and, as flat polygons, lines.

    All are one collection, which sorts them by depth together: by their farthest points, for then
    a piece of a line on a facet is never farther than the facet, and is painted after it.
    """

    def __init__(self) -> None:
        self.polygons: List[FloatArray] = []
        self.faces: List[Sequence[float]] = []
        self.edges: List[Sequence[float]] = []
        self.widths: List[float] = []

    def add_facets(self, corners: FloatArray, tints: FloatArray, side: Optional[Rgb]) -> None:
        for polygon, tint in zip(corners, tints):
            flat = (polygon[2] == polygon[3]).all()
            self.polygons.append(polygon[:3] if flat else polygon)
            self.faces.append((*tint, 1.0))
            self.edges.append((*(side or tint), 1.0))
            self.widths.append(0.3)

    def add_lines(self, lines: Lines, colour: Rgb, width: float) -> None:
        for line in lines:
            pairs = np.stack([line[:-1], line[1:], line[:-1]], axis=1)
            self.polygons.extend(pairs)
            self.faces.extend([(*colour, 0.0)] * len(pairs))
            self.edges.extend([(*colour, 1.0)] * len(pairs))
            self.widths.extend([width * POINTS] * len(pairs))


def _add_facets(ax: "Axes3D", scene: Scene) -> None:
    from mpl_toolkits.mplot3d.art3d import Poly3DCollection

    pieces, options = _Pieces(), scene.options
    limit = colours.curvature_limit(scene, options.curvature) if options.curvature else 0.0
    for part in scene.parts:
        if part.faces is not None:
            side = line_ink(part.fill) if options.wireframe else None
            corners = part.faces.vertices[part.faces.corners]
            pieces.add_facets(corners, _tints(part, scene, limit), side)
    for part in scene.parts:
        _add_lines(pieces, part, scene)
    if not pieces.polygons:
        return
    collection = Poly3DCollection(pieces.polygons, zsort="max", linewidths=pieces.widths)
    collection._zsortfunc = _farthest(ax, SLACK * scene.radius)  # its own knows no lines
    collection.set_facecolor(pieces.faces)
    collection.set_edgecolor(pieces.edges)
    ax.add_collection3d(collection)
    if options.curvature:
        _add_legend(ax, options.curvature, limit)


def _farthest(ax: "Axes3D", slack: float) -> "Callable[..., Any]":
    """The depth by which a piece is sorted; a line is as much nearer as it may sink into facets."""
    def depth(z: FloatArray, **options: Any) -> Any:
        if options or np.ndim(z) != 1:
            return np.max(z, **options)
        is_line = len(z) == LINE_CORNERS and z[0] == z[-1]
        return np.max(z) - is_line * slack * float(np.linalg.norm(ax.M[2, :3]))

    return depth


def _tints(part: Part, scene: Scene, limit: float) -> FloatArray:
    """(m, 3) colours, lit for the view that the axes open with."""
    faces, kind = part.faces, scene.options.curvature
    assert faces is not None
    normals = facing(faces.normals @ axes_of(view_of(scene)).T, faces.corners)
    if not kind:
        return colours.shaded(colours.spread(part.fill, len(normals)), normals)
    values = finite_mean((faces.gaussian if kind == "gaussian" else faces.mean)[faces.corners])
    return colours.lightly_shaded(colours.curvature_colours(values, limit), normals)


def _add_lines(pieces: _Pieces, part: Part, scene: Scene) -> None:
    options, width = scene.options, scene.options.line_width
    pieces.add_lines(part.isolines, mixed(part.fill, INK, 0.5), ISOLINE * width)
    if options.edges:
        pieces.add_lines(part.rims, line_ink(part.fill), RIM * width)
    pieces.add_lines(part.curves, part.ink, width)
    if options.normals and part.faces is not None:
        length = NEEDLE * scene.radius
        pieces.add_lines(needles(part.faces, length), NORMAL_COLOUR, NET * width)
    if options.net:
        pieces.add_lines(part.net, NET_COLOUR, NET * width)


def _add_marks(ax: "Axes3D", scene: Scene) -> None:
    size = (MARKER * scene.options.line_width * POINTS) ** 2
    marks: Dict[Rgb, List[FloatArray]] = {}
    for part in scene.parts:
        marks.setdefault(part.ink, []).append(part.points)
        if scene.options.net:
            marks.setdefault(NET_COLOUR, []).append(part.net_points)
    for colour, clouds in marks.items():
        points = np.concatenate(clouds)
        if len(points):
            thin = 1 + (len(points) - 1) // MOST_DOTS
            x, y, z = points[::thin].T
            ax.scatter(x, y, z, color=[colour], s=size, depthshade=False, linewidths=0)


def _set_limits(ax: "Axes3D", scene: Scene) -> None:
    """Equal scales about everything that the axes hold, from earlier calls too."""
    from matplotlib.ticker import MaxNLocator

    low, high = scene.low, scene.high
    before = getattr(ax, "_morvel_box", None)
    if before is not None:
        low, high = np.minimum(low, before[0]), np.maximum(high, before[1])
    ax._morvel_box = (low, high)
    size = np.maximum(high - low, 0.05 * max(float((high - low).max()), 0.0) or 1.0)
    middle, half = (low + high) / 2, size * (0.5 + PADDING)
    limits = np.column_stack([middle - half, middle + half])
    ax.set(xlim=limits[0], ylim=limits[1], zlim=limits[2])
    ax.set_box_aspect(tuple(size), zoom=ZOOM)
    for axis, share in zip((ax.xaxis, ax.yaxis, ax.zaxis), size / size.max()):
        axis.set_major_locator(MaxNLocator(max(1, round(MOST_TICKS * share)), steps=(1, 2, 5, 10)))


def _add_legend(ax: "Axes3D", kind: str, limit: float) -> None:
    from matplotlib.cm import ScalarMappable
    from matplotlib.colors import LinearSegmentedColormap, Normalize

    colour_map = LinearSegmentedColormap.from_list("curvature", colours.CURVATURE_STOPS)
    scale = ScalarMappable(Normalize(-(limit or 1.0), limit or 1.0), colour_map)
    ticks = [-limit, 0, limit] if limit else [0]
    ax.figure.colorbar(scale, ax=ax, shrink=0.5, pad=0.13, ticks=ticks,
                       label=colours.curvature_text(kind))


# ---- drawings ----


def image(drawing: Drawing, options: Options, kind: str) -> bytes:
    """A drawing as "png" or "pdf". The same drawing gives the same bytes."""
    _need_matplotlib()
    figure = _painted(drawing, options)
    out = io.BytesIO()
    metadata = UNDATED if kind == "pdf" else {"Software": "morvel"}
    figure.savefig(out, format=kind, metadata=metadata, transparent=options.background is None,
                   facecolor=figure.get_facecolor())
    return out.getvalue()


def _painted(drawing: Drawing, options: Options) -> "Figure":
    from matplotlib.backends.backend_agg import FigureCanvasAgg
    from matplotlib.collections import LineCollection, PolyCollection
    from matplotlib.figure import Figure

    figure = Figure(figsize=(drawing.width / INCH, drawing.height / INCH), dpi=INCH)
    FigureCanvasAgg(figure)
    ground = "none" if options.background is None else hex_of(rgb(options.background))
    figure.set_facecolor(ground)
    ax = figure.add_axes((0, 0, 1, 1))
    ax.set(xlim=(0, drawing.width), ylim=(drawing.height, 0))
    ax.axis("off")
    facets = drawing.facets
    ax.add_collection(PolyCollection(
        facets.corners, facecolors=facets.colours, edgecolors=facets.sides, joinstyle="round",
        linewidths=(svg.WIRE if facets.wired else svg.SEAM) * POINTS, zorder=1))
    strokes = drawing.strokes
    ax.add_collection(LineCollection(
        [stroke.points for stroke in strokes], capstyle="round", joinstyle="round", zorder=2,
        colors=[(*stroke.colour, stroke.opacity) for stroke in strokes],
        linewidths=[stroke.width * POINTS for stroke in strokes]))
    if drawing.dots:
        x, y = np.array([dot.place for dot in drawing.dots]).T
        sizes = [(2 * dot.radius * POINTS) ** 2 for dot in drawing.dots]
        ax.scatter(x, y, s=sizes, c=[(*dot.colour, dot.opacity) for dot in drawing.dots],
                   linewidths=0, zorder=3)
        ax.set(xlim=(0, drawing.width), ylim=(drawing.height, 0))
    _write_texts(ax, drawing, options)
    return figure


def _write_texts(ax: Any, drawing: Drawing, options: Options) -> None:
    colour = svg.text_colour(options)
    if options.title:
        ax.text(drawing.width / 2, 38, svg.clean(options.title), size=20 * POINTS,
                weight="semibold", ha="center", va="baseline", color=colour, parse_math=False)
    if drawing.legend is None:
        return
    x = drawing.width - svg.LEGEND_RIGHT
    y = (drawing.height - svg.LEGEND_HEIGHT) / 2
    stops = np.repeat(colours.curvature_colours(np.linspace(1, -1, 256), 1.0)[:, None], 2, axis=1)
    ax.imshow(stops, extent=(x, x + svg.LEGEND_WIDTH, y + svg.LEGEND_HEIGHT, y), zorder=4,
              aspect="auto", interpolation="bilinear")
    ax.set(xlim=(0, drawing.width), ylim=(drawing.height, 0))
    limit = drawing.legend.limit
    for share, label in ((0.0, limit), (0.5, 0.0), (1.0, -limit)):
        ax.text(x + svg.LEGEND_WIDTH + 8, y + share * svg.LEGEND_HEIGHT, svg.signed(label),
                size=13 * POINTS, va="center", color=colour)
    ax.text(x + svg.LEGEND_WIDTH / 2, y - 16, drawing.legend.text, size=13 * POINTS, ha="center",
            va="baseline", color=colour)
