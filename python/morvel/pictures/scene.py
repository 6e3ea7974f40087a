"""What is in a picture: the objects that a caller gives, with names, colours and facets."""

from __future__ import annotations

from collections.abc import Iterable, Mapping
from dataclasses import dataclass, field
from typing import Any, Dict, List, Optional, Tuple, Union

import numpy as np

from .._arrays import FloatArray
from .._errors import MorvelError
from ..curve import Curve
from ..curve_on_surface import CurveOnSurface
from ..mesh import Mesh
from ..point import Point
from ..surface import Surface
from ..trimmed import TrimmedSurface
from .options import LINE_PALETTE, PALETTE, Colour, Options, Rgb, mixed, rgb
from .sampling import (
    Faces,
    Lines,
    curve_line,
    curve_on_surface_line,
    finite_runs,
    isolines,
    least_resolution,
    mesh_faces,
    mesh_rims,
    rims,
    surface_faces,
)

Drawable = Union[Curve, CurveOnSurface, Surface, Mesh, Point, np.ndarray]
KINDS = ((TrimmedSurface, "trimmed surface"), (Surface, "surface"), (Curve, "curve"),
         (CurveOnSurface, "curve on surface"), (Mesh, "mesh"), (Point, "point"),
         (np.ndarray, "point"))
ACCEPTED = "curves, surfaces, meshes, points, curves on surfaces or arrays of points (n, 3)"
MOST_APART = 12  # unnamed objects; more are put together by their kind
LEAST_RESOLUTION = 6
LEAST_STEPS = 16  # of a curve
LINE_BUDGET = 40_000  # steps of curves, and of each kind of line on surfaces, together
MOST_SPARED = 100  # surfaces that get isolines which nobody asked for
PLAIN_FLAT = 1e-9  # share of the size within which lines lie in one plane z = constant
AUTOMATIC_ISOLINES = ((2, 5), (6, 3), (12, 1))  # up to so many surfaces so many lines
SPOT = 1e-14  # size, beside the coordinates, of a single place
INK = (0.13, 0.15, 0.19)


@dataclass
class Part:
    """One object of the picture.

    Attributes:
        group: which entry of the scene it belongs to.
        fill, ink: colours of facets, and of curves and points.
        rims, isolines, curves, net: polylines of (n, 3) points.
        net_points, points: (n, 3).
    """

    group: int
    fill: Rgb
    ink: Rgb
    faces: Optional[Faces] = None
    rims: Lines = field(default_factory=list)
    isolines: Lines = field(default_factory=list)
    curves: Lines = field(default_factory=list)
    net: Lines = field(default_factory=list)
    net_points: FloatArray = field(default_factory=lambda: np.empty((0, 3)))
    points: FloatArray = field(default_factory=lambda: np.empty((0, 3)))

    def lines(self) -> Lines:
        """All polylines."""
        return [*self.rims, *self.isolines, *self.curves, *self.net]


@dataclass
class Group:
    """An entry of the caller: objects under one name."""

    name: str
    colour: Rgb


@dataclass
class Scene:
    """All parts.

    Attributes:
        low, high: corners of the box around everything but control nets.
        isolines_shown: whether isolines are asked for; pages have some to switch on.
    """

    parts: List[Part]
    groups: List[Group]
    low: FloatArray
    high: FloatArray
    options: Options
    isolines_shown: bool

    @property
    def centre(self) -> FloatArray:
        return self.low / 2 + self.high / 2

    @property
    def radius(self) -> float:
        """Half the diagonal of the box; 1 for a single place."""
        half = self.high / 2 - self.low / 2
        largest = float(half.max())
        if not largest > SPOT * max(np.abs(self.low).max(), np.abs(self.high).max()):
            return 1.0  # what is left is rounding
        return largest * float(np.linalg.norm(half / largest))

    @property
    def is_plan(self) -> bool:
        """Whether there are only lines and points, in one plane z = constant."""
        depth = float(self.high[2] - self.low[2])
        return depth <= PLAIN_FLAT * self.radius and all(part.faces is None for part in self.parts)


@dataclass(frozen=True)
class Detail:
    """How fine a kind of picture is.

    Attributes:
        budget: vertices of all surfaces together.
        most: vertices along the side of one surface.
        line_steps: of lines on surfaces, about; never fewer than those of the facets.
        curve_steps: of curves, at least, where there are few.
        spare_isolines: how many there are where none are asked for.
    """

    budget: int
    most: int
    line_steps: int
    curve_steps: int
    spare_isolines: int = 0


@dataclass(frozen=True)
class _Item:
    thing: Drawable
    colour: Optional[Colour]


def kind_of(thing: object) -> Optional[str]:
    """What a thing is called in a picture; None for what cannot be drawn."""
    return next((name for kind, name in KINDS if isinstance(thing, kind)), None)


def build(objects: Any, options: Options, detail: Detail) -> Scene:
    """Samples everything.

    Args:
        objects: as `morvel.plot` takes them. TypeError for what cannot be drawn, ValueError where
            nothing is there to draw.
        detail: how finely surfaces are sampled whose resolution is not given.
    """
    entries = _entries(objects)
    things = [item.thing for _, items in entries for item in items]
    surfaces = sum(isinstance(thing, Surface) for thing in things)
    curves = sum(isinstance(thing, (Curve, CurveOnSurface)) for thing in things)
    sampler = _Sampler(options, surfaces, curves, detail)
    scene = Scene([], [], np.zeros(3), np.zeros(3), options, sampler.isolines_shown)
    for number, (name, items) in enumerate(entries):
        fill, ink = _own_colours(number, items, options)
        scene.groups.append(Group(name, fill if _has_faces(items) else ink))
        for item in items:
            scene.parts.append(sampler.part(number, item, fill, ink))
    _measure(scene)
    return scene


def _has_faces(items: List[_Item]) -> bool:
    return any(isinstance(item.thing, (Surface, Mesh)) for item in items)


def _own_colours(number: int, items: List[_Item], options: Options) -> Tuple[Rgb, Rgb]:
    colours = [item.colour for item in items if item.colour is not None]
    given = colours[0] if colours else options.color
    if given is not None:
        return rgb(given), rgb(given)
    return rgb(PALETTE[number % len(PALETTE)]), rgb(LINE_PALETTE[number % len(LINE_PALETTE)])


def _measure(scene: Scene) -> None:
    """The box; ValueError where there is nothing."""
    lows, highs = [], []
    for part in scene.parts:
        clouds = [part.points, *part.curves, *part.rims]
        if part.faces is not None:
            clouds.append(part.faces.vertices)
        for cloud in clouds:
            if len(cloud):
                lows.append(cloud.min(axis=0))
                highs.append(cloud.max(axis=0))
    if not lows:
        raise ValueError("there is nothing to draw: no object has a point at a finite place")
    scene.low, scene.high = np.min(lows, axis=0), np.max(highs, axis=0)
    if not np.isfinite(scene.high - scene.low).all():
        raise ValueError("the objects are too far apart for one picture")


# ---- what the caller gave ----


def _entries(objects: Any) -> List[Tuple[str, List[_Item]]]:
    if isinstance(objects, Mapping):
        return [(str(name), list(_items(value))) for name, value in objects.items()]
    single = kind_of(objects) is not None or _is_coloured(objects)
    unnamed = [list(_items(value)) for value in ([objects] if single else _each(objects))]
    unnamed = [items for items in unnamed if items]
    if len(unnamed) > MOST_APART:
        return _by_kind([item for items in unnamed for item in items])
    kinds = [kind_of(items[0].thing) or "" for items in unnamed]
    names = [kind if kinds.count(kind) == 1 else f"{kind} {kinds[:k].count(kind) + 1}"
             for k, kind in enumerate(kinds)]
    return list(zip(names, unnamed))


def _by_kind(items: List[_Item]) -> List[Tuple[str, List[_Item]]]:
    """One entry for all objects of a kind and colour."""
    found: Dict[Tuple[str, str], List[_Item]] = {}
    for item in items:
        found.setdefault((kind_of(item.thing) or "", repr(item.colour)), []).append(item)
    return [(f"{kind}s ({len(same)})", same) for (kind, _), same in found.items()]


def _is_coloured(value: object) -> bool:
    """Whether this is a pair (what to draw, its colour)."""
    if not isinstance(value, tuple) or len(value) != 2:
        return False
    colour = value[1]
    return isinstance(colour, str) or (
        isinstance(colour, (tuple, list)) and len(colour) == 3
        and all(isinstance(c, (int, float)) for c in colour)
    )


def _items(value: Any, colour: Optional[Colour] = None) -> "Iterable[_Item]":
    if kind_of(value) is not None:
        yield _Item(value, colour)
    elif _is_coloured(value):
        rgb(value[1])
        yield from _items(value[0], value[1])
    else:
        for member in _each(value):
            yield from _items(member, colour)


def _each(value: Any) -> "Iterable[Any]":
    if isinstance(value, (str, bytes, Mapping)) or not isinstance(value, Iterable):
        raise TypeError(f"{type(value).__name__} cannot be drawn; pictures take {ACCEPTED}")
    return value


# ---- sampling ----


class _Sampler:
    """Makes parts, as finely as all of them together allow."""

    def __init__(
        self, options: Options, surfaces: int, curves: int, detail: Detail
    ) -> None:
        each = int(np.sqrt(detail.budget / max(surfaces, 1)))
        self.options = options
        self.resolution = options.resolution or min(max(each, LEAST_RESOLUTION), detail.most)
        self.line_steps = min(detail.line_steps, LINE_BUDGET // max(surfaces, 1))
        self.curve_steps = min(max(LINE_BUDGET // max(curves, 1), LEAST_STEPS), detail.curve_steps)
        automatic = next((n for upto, n in AUTOMATIC_ISOLINES if surfaces <= upto), 0)
        wanted = automatic if options.isolines is None else options.isolines
        spare = detail.spare_isolines if surfaces <= MOST_SPARED else 0
        self.isolines, self.isolines_shown = wanted or spare, wanted > 0

    def part(self, group: int, item: _Item, fill: Rgb, ink: Rgb) -> Part:
        if item.colour is not None:
            fill = ink = rgb(item.colour)
        part, thing = Part(group, fill, ink), item.thing
        if isinstance(thing, Surface):
            self._add_surface(part, thing)
        elif isinstance(thing, Mesh):
            part.faces = mesh_faces(thing)
            part.rims = mesh_rims(thing)
        elif isinstance(thing, Point):
            part.points = thing.position[None]
        elif isinstance(thing, np.ndarray):
            part.points = _cloud(thing)
        else:
            self._add_curve(part, thing)
        return part

    def _add_surface(self, part: Part, surface: Surface) -> None:
        exact = self.options.exact and not isinstance(surface, TrimmedSurface)
        count = self.resolution
        if self.options.resolution is None and not self.options.curvature:
            count = least_resolution(surface, count, exact)
        cells = count - 1
        steps = cells * max(1, round(self.line_steps / cells))
        part.faces = surface_faces(surface, count, exact)
        part.isolines = isolines(surface, self.isolines, cells, steps, exact)
        part.rims = rims(surface, part.faces, steps, exact)
        net = _net_of(surface)
        if net is not None and net.ndim == 3:
            part.net = [*net, *net.transpose(1, 0, 2)]
            part.net_points = net.reshape(-1, 3)

    def _add_curve(self, part: Part, curve: Union[Curve, CurveOnSurface]) -> None:
        if isinstance(curve, CurveOnSurface):
            part.curves = finite_runs(curve_on_surface_line(curve, self.curve_steps))
            return
        part.curves = finite_runs(curve_line(curve, self.curve_steps))
        net = _net_of(curve)
        if net is not None and len(net):
            part.net, part.net_points = [net], net


def _net_of(thing: Union[Curve, Surface]) -> Optional[FloatArray]:
    try:
        net = thing.control_points
    except MorvelError:  # a kind without control points
        return None
    return net if np.isfinite(net).all() else None


def _cloud(values: "np.ndarray[Any, Any]") -> FloatArray:
    points = np.asarray(values, dtype=np.float64)
    if points.ndim == 1 and points.shape == (3,):
        points = points[None]
    if points.ndim != 2 or points.shape[1] != 3:
        raise ValueError(f"points need shape (n, 3), not {points.shape}")
    result: FloatArray = points[np.isfinite(points).all(axis=1)]
    return result


def line_ink(fill: Rgb) -> Rgb:
    """The colour of lines on facets of a colour."""
    return mixed(fill, INK, 0.72)
