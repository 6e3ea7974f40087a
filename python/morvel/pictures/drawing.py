"""A scene seen from one side, as shapes in the order in which they are painted.

The eye is far away (a parallel projection). Facets are sorted from far to near; lines come after
them, without what a buffer of depths says is hidden. Facets that are hidden whole are left out.
"""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import List, Optional, Tuple

import numpy as np

from .._arrays import BoolArray, FloatArray, IntArray
from . import colours
from .depth import DepthBuffer
from .options import DEFAULT_VIEW, Options, Rgb, angles, mixed
from .sampling import Faces, Lines
from .scene import INK, Part, Scene, line_ink

LEAST_EXTENT = 1e-2  # in radii: of what is seen end on, and of a single place
MARGIN = 0.05  # of the smaller side
TITLE_SPACE = 46.0  # pixels
LEGEND_SPACE = 104.0
LINE_STEP = 3.0  # pixels between places where a line is tested
STRAIGHT = 0.06  # pixels that a line may be off when places are dropped
SLACK = 0.004  # of the radius, that a line may lie behind a facet and be seen
CUTS = 3  # in half, in each direction, of facets that cross others
SMALLEST = 2.0  # pixels of facets that are cut further
NOTHING = 0.01  # pixels of facets that nobody sees
PLACES = 9  # of a facet that are tested: corners, middle, and those between
HIDDEN_NET = 0.28  # opacity of a control net behind facets
NET_COLOUR: Rgb = (0.55, 0.22, 0.18)
NORMAL_COLOUR: Rgb = (0.10, 0.48, 0.50)
NEEDLE = 0.09  # of the radius
NEEDLE_GAP = 1.6  # needles' lengths between them
MOST_DOTS = 20_000
#: Widths beside that of curves.
RIM, ISOLINE, NET, WIRE, DOT = 0.62, 0.32, 0.5, 0.25, 1.5


@dataclass(frozen=True)
class Facets:
    """Filled polygons.

    Attributes:
        corners: (n, 4, 2) in pixels, y downward; all turn the same way, triangles repeat a corner.
        colours, sides: (n, 3) of the inside and of the sides.
        wired: whether the sides are to be seen.
    """

    corners: FloatArray
    colours: FloatArray
    sides: FloatArray
    wired: bool


NO_FACETS = Facets(np.empty((0, 4, 2)), np.empty((0, 3)), np.empty((0, 3)), False)


@dataclass(frozen=True)
class Stroke:
    """A line of (n, 2) points."""

    points: FloatArray
    colour: Rgb
    width: float
    opacity: float = 1.0


@dataclass(frozen=True)
class Dot:
    """A round mark."""

    place: FloatArray
    colour: Rgb
    radius: float
    opacity: float = 1.0


@dataclass(frozen=True)
class Legend:
    """Of curvature colours."""

    text: str
    limit: float


@dataclass
class Drawing:
    """What is painted, first things first."""

    width: int
    height: int
    facets: Facets
    strokes: List[Stroke] = field(default_factory=list)
    dots: List[Dot] = field(default_factory=list)
    legend: Optional[Legend] = None


def axes_of(view: Tuple[float, float]) -> FloatArray:
    """(3, 3): right, up and towards the eye, for an azimuth and an elevation in degrees."""
    a, e = np.radians(view)
    towards = np.array([np.cos(e) * np.cos(a), np.cos(e) * np.sin(a), np.sin(e)])
    right = np.array([-np.sin(a), np.cos(a), 0.0])
    return np.stack([right, np.cross(towards, right), towards])


def view_of(scene: Scene) -> Tuple[float, float]:
    """The wanted view; plane figures are seen from above unless told otherwise."""
    if scene.options.view is not None:
        return angles(scene.options.view)
    return angles("top") if scene.is_plan else DEFAULT_VIEW


def draw(scene: Scene) -> Drawing:
    """Projects, lights and sorts a scene."""
    return _Painter(scene).paint()


class _Painter:
    def __init__(self, scene: Scene) -> None:
        self.scene = scene
        self.options: Options = scene.options
        self.axes = axes_of(view_of(scene))
        width, height = self.options.size
        self.drawing = Drawing(int(width), int(height), NO_FACETS)
        self.limit = 0.0
        if self.options.curvature:
            self.limit = colours.curvature_limit(scene, self.options.curvature)
            self.drawing.legend = Legend(
                colours.curvature_text(self.options.curvature), self.limit)
        self._fit()
        size = self.drawing.width, self.drawing.height
        self.buffer = DepthBuffer(*self._triangles(), *size)

    # ---- from space to pixels ----

    def _turned(self, points: FloatArray) -> FloatArray:
        """Right, up and nearer from the scene's centre, in its radius."""
        return ((points - self.scene.centre) / self.scene.radius) @ self.axes.T

    def _fit(self) -> None:
        clouds = [self._turned(cloud)[:, :2] for part in self.scene.parts
                  for cloud in self._extent(part) if len(cloud)]
        low = np.min([cloud.min(axis=0) for cloud in clouds], axis=0)
        high = np.max([cloud.max(axis=0) for cloud in clouds], axis=0)
        width, height = float(self.drawing.width), float(self.drawing.height)
        margin = MARGIN * min(width, height)
        top = margin + (TITLE_SPACE if self.options.title else 0.0)
        side = margin + (LEGEND_SPACE if self.drawing.legend else 0.0)
        room = np.maximum((width - margin - side, height - margin - top), 1.0)
        extent = np.maximum(high - low, LEAST_EXTENT)
        self.scale = float((room / extent).min())
        middle = (margin + room[0] / 2, top + room[1] / 2)
        self.shift = np.array(middle) - self.scale * (low + high) / 2 * (1, -1)

    def _extent(self, part: Part) -> Lines:
        found = [part.points, *part.curves, *part.rims]
        if part.faces is not None:
            found.append(part.faces.vertices)
        if self.options.net:
            found.append(part.net_points)
        return found

    def _placed(self, points: FloatArray) -> FloatArray:
        """(n, 3): x and y in pixels, y downward, and depth in radii."""
        turned = self._turned(points)
        flat = turned[:, :2] * (self.scale, -self.scale) + self.shift
        return np.column_stack([flat, turned[:, 2]])

    def _triangles(self) -> Tuple[FloatArray, IntArray]:
        """Of all parts, with the parts' numbers."""
        found, owners = [np.empty((0, 3, 3))], [np.empty(0, dtype=np.int32)]
        for number, part in enumerate(self.scene.parts):
            if part.faces is not None:
                found.append(self._placed(part.faces.vertices)[part.faces.triangles])
                owners.append(np.full(len(found[-1]), number, dtype=np.int32))
        return np.concatenate(found), np.concatenate(owners)

    # ---- painting ----

    def paint(self) -> Drawing:
        self._paint_facets()
        for part in self.scene.parts:
            self._paint_lines(part)
        for part in self.scene.parts:
            self._paint_points(part)
        return self.drawing

    def _paint_facets(self) -> None:
        corners, tints, lines = [np.empty((0, 4, 3))], [np.empty((0, 3))], [np.empty((0, 3))]
        for number, part in enumerate(self.scene.parts):
            if part.faces is None or not len(part.faces.corners):
                continue
            placed = self._placed(part.faces.vertices)[part.faces.corners]
            placed, tint = self._seen(number, placed, self._tints(part, part.faces))
            corners.append(placed)
            tints.append(tint)
            lines.append(colours.spread(line_ink(part.fill), len(placed)))
        every, tint, line = (np.concatenate(found) for found in (corners, tints, lines))
        order = np.argsort(every[:, :, 2].mean(axis=1), kind="stable")
        flat = _turned_alike(every[order, :, :2])
        sides = line[order] if self.options.wireframe else tint[order]
        self.drawing.facets = Facets(flat, tint[order], sides, self.options.wireframe)

    def _seen(
        self, number: int, placed: FloatArray, tints: FloatArray
    ) -> Tuple[FloatArray, FloatArray]:
        """A part's facets that are not hidden whole; cut into small ones where they cross others'.

        Sorting alone paints of two facets that cross one over all of the other.
        """
        kept, cuts = [], 0 if self.options.wireframe else CUTS
        for level in range(cuts + 1):
            places = _spread(placed)
            behind = self.buffer.behind(places).reshape(len(placed), PLACES)
            others = (self.buffer.owner(places) != number).reshape(len(placed), PLACES)
            seen = behind <= SLACK
            crossing = self._is_crossing(placed, behind, others) & (level < cuts)
            extent = np.ptp(placed[:, :, :2], axis=1).max(axis=1, initial=0.0)
            whole = seen.any(axis=1) & ~crossing & (extent > NOTHING)
            kept.append((placed[whole], tints[whole]))
            placed, tints = _quartered(placed[crossing]), np.repeat(tints[crossing], 4, axis=0)
        return np.concatenate([k[0] for k in kept]), np.concatenate([k[1] for k in kept])

    def _is_crossing(
        self, placed: FloatArray, behind: FloatArray, others: BoolArray
    ) -> BoolArray:
        """Whether facets are seen in part, and hidden by others no farther than their own size."""
        pixels = np.ptp(placed[:, :, :2], axis=1).max(axis=1, initial=0.0)
        size = np.maximum(pixels / self.scale, np.ptp(placed[:, :, 2], axis=1))
        near = others & (behind > SLACK) & (behind < size[:, None])
        result: BoolArray = (behind <= SLACK).any(axis=1) & near.any(axis=1) & (pixels > SMALLEST)
        return result

    def _tints(self, part: Part, faces: Faces) -> FloatArray:
        normals = facing(faces.normals @ self.axes.T, faces.corners)
        if not self.options.curvature:
            return colours.shaded(colours.spread(part.fill, len(normals)), normals)
        values = colours.curvatures(part, self.options.curvature)
        assert values is not None
        tints = colours.curvature_colours(finite_mean(values[faces.corners]), self.limit)
        return colours.lightly_shaded(tints, normals)

    def _paint_lines(self, part: Part) -> None:
        ink, width = line_ink(part.fill), self.options.line_width
        for line in part.isolines:
            self._paint(line, mixed(part.fill, INK, 0.5), ISOLINE * width)
        if self.options.edges:
            for line in part.rims:
                self._paint(line, ink, RIM * width)
            self._paint_outlines(part, ink, RIM * width)
        for line in part.curves:
            self._paint(line, part.ink, width)
        if self.options.normals and part.faces is not None:
            for line in needles(part.faces, NEEDLE * self.scene.radius):
                self._paint(line, NORMAL_COLOUR, NET * width)
        if self.options.net:
            for line in part.net:
                self._paint(line, NET_COLOUR, NET * width, HIDDEN_NET)

    def _paint_outlines(self, part: Part, colour: Rgb, width: float) -> None:
        """Where facets turn away from the eye: pieces so short that they are seen or not."""
        if part.faces is None:
            return
        pieces = outlines(part.faces, self.axes[2])
        placed = self._placed(pieces.reshape(-1, 3)).reshape(-1, 2, 3)
        for piece in placed[self.buffer.visible(placed.mean(axis=1), SLACK), :, :2]:
            self.drawing.strokes.append(Stroke(piece, colour, width))

    def _paint(self, line: FloatArray, colour: Rgb, width: float, hidden: float = 0.0) -> None:
        """A line without its hidden parts, or with these at an opacity."""
        places = _refined(self._placed(line))
        seen = self.buffer.visible(places, SLACK)
        for opacity, kept in ((hidden, ~seen), (1.0, seen)):
            if not opacity:
                continue
            for run in _stretches(places[:, :2], kept):
                self.drawing.strokes.append(Stroke(_simplified(run), colour, width, opacity))

    def _paint_points(self, part: Part) -> None:
        radius = DOT * self.options.line_width
        self._dot(part.points, part.ink, radius, 0.0)
        if self.options.net:
            self._dot(part.net_points, NET_COLOUR, 0.8 * radius, HIDDEN_NET)

    def _dot(self, points: FloatArray, colour: Rgb, radius: float, hidden: float) -> None:
        if not len(points):
            return
        thin = 1 + (len(points) - 1) // MOST_DOTS
        placed = self._placed(points[::thin])
        if thin > 1:
            radius /= 2
        seen = self.buffer.visible(placed, SLACK)
        for k in np.argsort(placed[:, 2], kind="stable"):
            opacity = 1.0 if seen[k] else hidden
            if opacity:
                self.drawing.dots.append(Dot(placed[k, :2], colour, radius, opacity))


def _spread(placed: FloatArray) -> FloatArray:
    """(PLACES m, 3): places all over each facet."""
    middle = placed.mean(axis=1, keepdims=True)
    places = np.concatenate([placed, middle, (placed + middle) / 2], axis=1)
    result: FloatArray = places.reshape(-1, 3)
    return result


def _quartered(placed: FloatArray) -> FloatArray:
    """(4 m, 4, 3): each facet as four, in their places."""
    a, b, c, d = (placed[:, k] for k in range(4))
    ab, bc, cd, da = (a + b) / 2, (b + c) / 2, (c + d) / 2, (d + a) / 2
    middle = placed.mean(axis=1)
    parts = [(a, ab, middle, da), (ab, b, bc, middle), (middle, bc, c, cd), (da, middle, cd, d)]
    stacked = np.stack([np.stack(part, axis=1) for part in parts], axis=1)
    result: FloatArray = stacked.reshape(-1, 4, 3)
    return result


def finite_mean(values: FloatArray) -> FloatArray:
    """Means along the rows of what is finite; NaN without any."""
    there = np.isfinite(values)
    count = there.sum(axis=1)
    total = np.where(there, values, 0.0).sum(axis=1)
    return np.divide(total, count, out=np.full(len(values), np.nan), where=count > 0)


def facing(normals: FloatArray, corners: IntArray) -> FloatArray:
    """(m, 3) means of the corners' normals."""
    total = normals[corners].sum(axis=1)
    length = np.linalg.norm(total, axis=1, keepdims=True)
    result: FloatArray = np.divide(total, length, out=np.zeros_like(total), where=length > 0)
    return result


def _turned_alike(corners: FloatArray) -> FloatArray:
    """(n, 4, 2) corners, in the other order where they turn the other way."""
    one, other = corners[:, 2] - corners[:, 0], corners[:, 3] - corners[:, 1]
    turn = one[:, 0] * other[:, 1] - one[:, 1] * other[:, 0]
    return np.where((turn < 0)[:, None, None], corners[:, ::-1], corners)


def _refined(placed: FloatArray) -> FloatArray:
    """A line with places close enough to be tested one by one."""
    length = np.linalg.norm(np.diff(placed[:, :2], axis=0), axis=1)
    steps = np.clip(np.ceil(length / LINE_STEP), 1, 4096).astype(int)
    first = np.repeat(np.arange(len(steps)), steps)
    share = (np.arange(len(first)) - np.repeat(np.cumsum(steps) - steps, steps)) / steps[first]
    between = placed[first] + share[:, None] * (placed[first + 1] - placed[first])
    return np.vstack([between, placed[-1:]])


def _stretches(points: FloatArray, kept: BoolArray) -> Lines:
    ends = np.flatnonzero(np.diff(np.concatenate([[False], kept, [False]]).astype(np.int8)))
    return [points[a:b] for a, b in zip(ends[::2], ends[1::2]) if b - a > 1]


def _simplified(points: FloatArray) -> FloatArray:
    """A line without places that are straight between others (Ramer 1972, Douglas-Peucker 1973)."""
    keep = np.zeros(len(points), dtype=bool)
    keep[[0, -1]] = True
    open_ranges = [(0, len(points) - 1)]
    while open_ranges:
        first, last = open_ranges.pop()
        if last - first < 2:
            continue
        off = _distances(points[first + 1 : last], points[first], points[last])
        worst = int(off.argmax())
        if off[worst] > STRAIGHT:
            middle = first + 1 + worst
            keep[middle] = True
            open_ranges += [(first, middle), (middle, last)]
    result: FloatArray = points[keep]
    return result


def _distances(points: FloatArray, start: FloatArray, end: FloatArray) -> FloatArray:
    along = end - start
    length = float(np.hypot(*along))
    if length < STRAIGHT:
        result: FloatArray = np.hypot(*(points - start).T)
        return result
    apart = points - start
    result = np.abs(apart[:, 0] * along[1] - apart[:, 1] * along[0]) / length
    return result


def needles(faces: Faces, length: float) -> Lines:
    """Short lines along the normals, at vertices about twice as far apart."""
    if not len(faces.vertices) or not length > 0:
        return []
    cells = np.floor((faces.vertices - faces.vertices.min(axis=0)) / (NEEDLE_GAP * length))
    chosen = np.sort(np.unique(cells, axis=0, return_index=True)[1])
    chosen = chosen[faces.normals[chosen].any(axis=1)]
    tips = faces.vertices[chosen] + length * faces.normals[chosen]
    return list(np.stack([faces.vertices[chosen], tips], axis=1))


def outlines(faces: Faces, towards: FloatArray) -> FloatArray:
    """(k, 2, 3): ends of lines over facets where the normal is square to a direction."""
    triangles = faces.triangles
    side = (faces.normals @ towards)[triangles]
    front = side > 0
    mixed_rows = np.flatnonzero(front.any(axis=1) & ~front.all(axis=1))
    side, front = side[mixed_rows], front[mixed_rows]
    corners = faces.vertices[triangles[mixed_rows]]
    alone = np.where(front.sum(axis=1) == 1, front.argmax(axis=1), (~front).argmax(axis=1))
    rows = np.arange(len(alone))
    ends = []
    for step in (1, 2):
        other = (alone + step) % 3
        share = side[rows, alone] / (side[rows, alone] - side[rows, other])
        apart = corners[rows, other] - corners[rows, alone]
        ends.append(corners[rows, alone] + share[:, None] * apart)
    return np.stack(ends, axis=1)
