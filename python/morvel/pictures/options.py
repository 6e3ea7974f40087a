"""How a picture is to look: what callers may ask for, checked before anything is drawn."""

from __future__ import annotations

import math
import re
from dataclasses import dataclass, fields
from typing import Any, Optional, Sequence, Tuple, Union

import numpy as np

from .._arrays import FloatArray

Rgb = Tuple[float, float, float]
Colour = Union[str, Sequence[float]]

#: Fills of objects without a colour of their own, in their order.
PALETTE = ("#7f9fc3", "#d9a566", "#8fb28a", "#b98aa8", "#c98b77", "#74aeb0", "#a99fc9", "#b3ad7a")
#: The same for curves and points, which need more strength as thin lines.
LINE_PALETTE = ("#1f4e8c", "#b4532a", "#2f7d4f", "#8a3f7c", "#a03a3a", "#1d7a80", "#5b4ea3",
                "#7a6f1f")
NAMED = {
    "black": "#000000", "white": "#ffffff", "gray": "#808080", "grey": "#808080",
    "silver": "#c0c0c0", "red": "#d62f2f", "green": "#2e8b57", "blue": "#2f5fd0",
    "orange": "#e0802f", "yellow": "#e8c532", "purple": "#7d3fa0", "brown": "#8b5a2b",
    "pink": "#e58fb0", "cyan": "#28a6b8", "gold": "#c9a24b", "navy": "#1c2f5c",
    "teal": "#1f7f7f",
}
#: (azimuth, elevation) of the eye in degrees: 0, 0 looks along -x, azimuth -90 along +y.
VIEWS = {
    "iso": (-45.0, 35.2643896828), "front": (-90.0, 0.0), "back": (90.0, 0.0),
    "left": (180.0, 0.0), "right": (0.0, 0.0), "top": (-90.0, 90.0), "bottom": (-90.0, -90.0),
}
DEFAULT_VIEW = (-58.0, 24.0)
CURVATURES = ("gaussian", "mean")
RESOLUTIONS = (2, 1000)
MOST_ISOLINES = 200
SIZES = (16, 20000)
LUMINANCE, DARK = (0.2126, 0.7152, 0.0722), 0.45
_HEX = re.compile(r"#([0-9a-f]{3}|[0-9a-f]{6})", re.IGNORECASE)


def rgb(colour: Colour) -> Rgb:
    """Red, green and blue from 0 to 1.

    Args:
        colour: "#rgb", "#rrggbb", a common name as "orange", or three numbers from 0 to 1.
            ValueError for anything else.
    """
    if isinstance(colour, str):
        text = NAMED.get(colour.strip().lower(), colour.strip())
        if not _HEX.fullmatch(text):
            raise ValueError(f"{colour!r} is no colour: give '#rrggbb', one of "
                             f"{', '.join(sorted(NAMED))}, or three numbers from 0 to 1")
        digits = text[1:] if len(text) == 7 else "".join(digit * 2 for digit in text[1:])
        return tuple(int(digits[k : k + 2], 16) / 255 for k in (0, 2, 4))  # type: ignore
    values = np.asarray(colour, dtype=np.float64)
    if values.shape != (3,) or not ((values >= 0) & (values <= 1)).all():
        raise ValueError(f"{colour!r} is no colour: three numbers from 0 to 1 are needed")
    return tuple(values.tolist())  # type: ignore


def hex_of(colour: Union[Rgb, FloatArray]) -> str:
    """A colour as "#rrggbb"."""
    return "#" + "".join(f"{round(255 * min(max(float(c), 0.0), 1.0)):02x}" for c in colour)


def is_dark(colour: Rgb) -> bool:
    """Whether texts on a ground are to be light."""
    return float(np.dot(LUMINANCE, colour)) < DARK


def mixed(colour: Rgb, other: Rgb, share: float) -> Rgb:
    """A colour with a share of another one."""
    return tuple((1 - share) * a + share * b for a, b in zip(colour, other))  # type: ignore


@dataclass(frozen=True)
class Options:
    """What `plot` and `save` take beside the objects.

    Attributes:
        color: of all objects that bring none; a palette unless given.
        resolution: points along each side of a surface (2 to 1000); by the number of surfaces
            unless given.
        exact: spline surfaces on their stored knots, as `Surface.exact`; otherwise on uniform
            knots, as `Surface.__call__`.
        isolines: lines of constant parameter inside each surface and direction (0 to 200); by the
            number of surfaces unless given.
        edges: the rims of surfaces, and the outlines where they turn away from the eye.
        wireframe: the sides of all facets.
        net: control points and the lines between them.
        normals: a needle along the normal at some points of each surface.
        curvature: "gaussian" or "mean" to colour surfaces by it, with a legend.
        view: "iso", "front", "back", "left", "right", "top", "bottom", or (azimuth, elevation) of
            the eye in degrees.
        size: width and height in pixels.
        background: a colour, or None for a transparent one.
        line_width: of curves, in pixels; other lines follow it.
        title: written above the picture.
    """

    color: Optional[Colour] = None
    resolution: Optional[int] = None
    exact: bool = False
    isolines: Optional[int] = None
    edges: bool = True
    wireframe: bool = False
    net: bool = False
    normals: bool = False
    curvature: Optional[str] = None
    view: Union[str, Tuple[float, float], None] = None
    size: Tuple[int, int] = (960, 720)
    background: Optional[Colour] = "#ffffff"
    line_width: float = 2.0
    title: Optional[str] = None

    def __post_init__(self) -> None:
        for colour in (self.color, self.background):
            if colour is not None:
                rgb(colour)
        _check_count("resolution", self.resolution, *RESOLUTIONS)
        _check_count("isolines", self.isolines, 0, MOST_ISOLINES)
        if self.curvature is not None and self.curvature not in CURVATURES:
            raise ValueError(f"curvature must be {' or '.join(CURVATURES)}, not {self.curvature!r}")
        if len(self.size) != 2:
            raise ValueError(f"size needs a width and a height, not {self.size!r}")
        for side in self.size:
            _check_count("size", side, *SIZES)
        if not 0 < self.line_width < math.inf:
            raise ValueError(f"line_width must be above 0, not {self.line_width!r}")
        if self.view is not None:
            angles(self.view)


def options_from(style: "dict[str, Any]") -> Options:
    """Options by name; TypeError names those there are where one is unknown."""
    known = [field.name for field in fields(Options)]
    for name in style:
        if name not in known:
            raise TypeError(f"{name!r} is no option of pictures; there are {', '.join(known)}")
    return Options(**style)


def angles(view: Union[str, Tuple[float, float]]) -> Tuple[float, float]:
    """(azimuth, elevation) in degrees of a view; ValueError where it is none."""
    if isinstance(view, str):
        if view not in VIEWS:
            raise ValueError(f"view must be one of {', '.join(VIEWS)}, not {view!r}")
        return VIEWS[view]
    values = np.asarray(view, dtype=np.float64)
    if values.shape != (2,) or not np.isfinite(values).all():
        raise ValueError(f"view needs an azimuth and an elevation in degrees, not {view!r}")
    return float(values[0]), float(values[1])


def _check_count(name: str, value: Any, least: int, most: int) -> None:
    if value is None:
        return
    if isinstance(value, bool) or int(value) != value or not least <= value <= most:
        raise ValueError(f"{name} must be a whole number from {least} to {most}, not {value!r}")
