"""Drawings as SVG. The same drawing gives the same bytes."""

from __future__ import annotations

from itertools import groupby
from typing import Any, Iterable, List
from xml.sax.saxutils import escape

import numpy as np

from .._arrays import FloatArray
from .colours import CURVATURE_STOPS
from .drawing import Dot, Drawing, Facets, Legend, Stroke
from .options import Options, hex_of, is_dark, rgb

HUNDREDTHS = 100
FACET_STEP = 10  # facets overlap by more
SEAM = 1.1  # pixels that facets overlap, so that the ground does not shine through between them
WIRE = 0.5
FONT = "'Helvetica Neue',Helvetica,Arial,'DejaVu Sans',sans-serif"
LEGEND_WIDTH, LEGEND_HEIGHT = 14, 190
LEGEND_RIGHT = 98  # pixels between the legend's bar and the right side
TEXT_COLOUR = "#23272f"
LIGHT_TEXT = "#e8eaee"


def document(drawing: Drawing, options: Options) -> str:
    """The whole file."""
    size = f'width="{drawing.width}" height="{drawing.height}"'
    box = f'viewBox="0 0 {drawing.width} {drawing.height}"'
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" {size} {box} role="img">']
    if options.title:
        lines.append(f"<title>{_text(options.title)}</title>")
    if options.background is not None:
        ground = hex_of(rgb(options.background))
        lines.append(f'<rect width="100%" height="100%" fill="{ground}"/>')
    lines += _facets(drawing.facets)
    lines += _strokes(drawing.strokes)
    lines += _dots(drawing.dots)
    lines += _texts(drawing, options)
    lines.append("</svg>")
    return "\n".join(lines) + "\n"


def _facets(facets: Facets) -> Iterable[str]:
    if not len(facets.corners):
        return
    paths = [_path(corners) + "z" for corners in _whole(facets.corners, FACET_STEP)]
    tints = zip(_hexes(facets.colours), _hexes(facets.sides), paths)
    yield f'<g stroke-width="{WIRE if facets.wired else SEAM}" stroke-linejoin="round">'
    for (tint, side), same in groupby(tints, lambda facet: facet[:2]):
        path = "".join(facet[2] for facet in same)
        yield f'<path d="{path}" fill="{tint}" stroke="{side}"/>'
    yield "</g>"


def _hexes(colours: FloatArray) -> List[str]:
    levels = np.rint(np.clip(colours, 0.0, 1.0) * 255).astype(int).tolist()
    return [f"#{red:02x}{green:02x}{blue:02x}" for red, green, blue in levels]


def _strokes(strokes: List[Stroke]) -> Iterable[str]:
    if not strokes:
        return
    yield '<g fill="none" stroke-linecap="round" stroke-linejoin="round">'
    style = lambda s: (hex_of(s.colour), s.width, s.opacity)  # noqa: E731
    for (colour, width, opacity), same in groupby(strokes, style):
        path = "".join(_path(_whole(stroke.points)) for stroke in same)
        fading = "" if opacity == 1 else f' stroke-opacity="{opacity:g}"'
        yield f'<path d="{path}" stroke="{colour}" stroke-width="{width:g}"{fading}/>'
    yield "</g>"


def _dots(dots: List[Dot]) -> Iterable[str]:
    for dot in dots:
        x, y = dot.place
        fading = "" if dot.opacity == 1 else f' fill-opacity="{dot.opacity:g}"'
        yield (f'<circle cx="{x:.2f}" cy="{y:.2f}" r="{dot.radius:g}" '
               f'fill="{hex_of(dot.colour)}"{fading}/>')


def _whole(points: FloatArray, step: int = 1) -> "List[Any]":
    """In hundredths of a pixel, of which only every `step`-th is used."""
    whole = step * np.rint(points * (HUNDREDTHS / step)).astype(np.int64)
    return whole.tolist()  # type: ignore[no-any-return]


def _path(points: "List[List[int]]") -> str:
    """A move, and lines from point to point that lead anywhere; a dot where none does."""
    (x, y), steps = points[0], []
    for to_x, to_y in points[1:]:
        if (to_x, to_y) != (x, y):
            steps += [to_x - x, to_y - y]
            x, y = to_x, to_y
    return f"M{_numbers(points[0])}l{_numbers(steps or [0, 0])}"


def _numbers(values: List[int]) -> str:
    texts = [_number(value) for value in values]
    return texts[0] + "".join(text if text[0] == "-" else " " + text for text in texts[1:])


def _number(hundredths: int) -> str:
    """Hundredths as a short decimal: 1.5, -.25, 0."""
    sign, (whole, part) = "-" if hundredths < 0 else "", divmod(abs(hundredths), HUNDREDTHS)
    digits = f"{part:02d}".rstrip("0")
    if not digits:
        return f"{sign}{whole}" if whole else "0"
    return f"{sign}{whole or ''}.{digits}"


def _texts(drawing: Drawing, options: Options) -> Iterable[str]:
    if not options.title and drawing.legend is None:
        return
    yield f'<g font-family="{FONT}" fill="{text_colour(options)}">'
    if options.title:
        yield (f'<text x="{drawing.width / 2:g}" y="38" font-size="20" font-weight="600" '
               f'text-anchor="middle">{_text(options.title)}</text>')
    if drawing.legend is not None:
        yield from _legend(drawing, drawing.legend)
    yield "</g>"


def _legend(drawing: Drawing, legend: Legend) -> Iterable[str]:
    x, y = drawing.width - LEGEND_RIGHT, (drawing.height - LEGEND_HEIGHT) / 2
    last = len(CURVATURE_STOPS) - 1
    stops = "".join(f'<stop offset="{1 - k / last:g}" stop-color="{hex_of(stop)}"/>'
                    for k, stop in reversed(list(enumerate(CURVATURE_STOPS))))
    yield ('<defs><linearGradient id="curvature" x1="0" y1="0" x2="0" y2="1">'
           f"{stops}</linearGradient></defs>")
    yield (f'<rect x="{x:g}" y="{y:g}" width="{LEGEND_WIDTH}" height="{LEGEND_HEIGHT}" rx="2" '
           'fill="url(#curvature)" stroke="#888" stroke-width=".5"/>')
    for share, label in ((0.0, signed(legend.limit)), (0.5, "0"), (1.0, signed(-legend.limit))):
        yield (f'<text x="{x + LEGEND_WIDTH + 8:g}" y="{y + share * LEGEND_HEIGHT + 4.5:g}" '
               f'font-size="13">{label}</text>')
    yield (f'<text x="{x + LEGEND_WIDTH / 2:g}" y="{y - 16:g}" font-size="13" '
           f'text-anchor="middle">{_text(legend.text)}</text>')


def signed(value: float) -> str:
    """A number with its sign, as texts write it."""
    return f"{value:+.3g}".replace("-", "\N{MINUS SIGN}") if value else "0"


def text_colour(options: Options) -> str:
    """Dark on light grounds, light on dark ones."""
    if options.background is None:
        return TEXT_COLOUR
    return LIGHT_TEXT if is_dark(rgb(options.background)) else TEXT_COLOUR


def clean(text: str) -> str:
    """A text without characters that neither XML nor UTF-8 has."""
    return "".join(
        c if c >= " " and not "\ud800" <= c <= "\udfff" and c not in "\ufffe\uffff" else " "
        for c in text
    )


def _text(text: str) -> str:
    return escape(clean(text))
