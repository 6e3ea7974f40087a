"""Pictures of geometry: `plot` into matplotlib's axes, `save` into files.

Both take the same objects and the same options:

- one object: a Curve, CurveOnSurface, Surface, TrimmedSurface, Mesh, Point or an array (n, 3) of
  points;
- a sequence of objects, or a mapping from names to objects;
- in either, a sequence in place of an object for several under one name, and a pair
  (object, colour) for one in a colour of its own.

The options are the attributes of `Options`.
"""

from __future__ import annotations

from pathlib import Path
from typing import TYPE_CHECKING, Any, Callable, Dict, Optional

from . import drawing, figure, page, svg
from .files import AnyPath, write_whole
from .options import Options, options_from
from .scene import Detail, build

if TYPE_CHECKING:
    from mpl_toolkits.mplot3d import Axes3D

__all__ = ["Options", "plot", "save"]

FLAT = Detail(budget=20_000, most=64, line_steps=160, curve_steps=192)
IN_PAGE = Detail(budget=80_000, most=96, line_steps=160, curve_steps=256, spare_isolines=3)
# In axes lines have the steps of the facets: matplotlib sorts them by depth together.
IN_AXES = Detail(budget=10_000, most=40, line_steps=1, curve_steps=192)


def plot(objects: Any, ax: "Optional[Axes3D]" = None, **style: Any) -> "Axes3D":
    """Draws objects into matplotlib's axes in space, at equal scales.

    >>> import morvel
    >>> ball = morvel.Surface.sphere((0, 0, 0), 1.0)
    >>> ax = morvel.plot([ball, morvel.Curve.circle((0, 0, 0), 1.001)], net=True)
    >>> ax.name
    '3d'

    Args:
        objects: see `morvel.pictures`.
        ax: axes made with projection="3d"; new ones in a new figure unless given.
        style: see `morvel.pictures.Options`. What belongs to the figure (`size`, `background`,
            `view`) is set for new axes only.

    Returns:
        The axes; `ax.figure` is their figure.

    Raises:
        TypeError: for what cannot be drawn, and for an option that there is not.
        ValueError: for an option out of range, and where there is nothing to draw.
        ImportError: without matplotlib.
    """
    return figure.plot(build(objects, options_from(style), IN_AXES), ax)


def save(path: AnyPath, objects: Any, **style: Any) -> None:
    """Writes a picture of objects; its extension says what it is.

    .svg is vector graphics, .html a page to turn the objects in, .png and .pdf are drawn by
    matplotlib. The same objects and options give the same bytes.

    >>> import os, tempfile, morvel
    >>> ball, rim = morvel.Surface.sphere((0, 0, 0), 1.0), morvel.Curve.circle((0, 0, 0), 1.001)
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     path = os.path.join(folder, "globe.svg")
    ...     morvel.save(path, {"earth": (ball, "#8fb0c9"), "equator": rim}, isolines=8)
    ...     print(os.listdir(folder))
    ['globe.svg']

    Args:
        path: where to; what is there is replaced once the new file is whole.
        objects: see `morvel.pictures`.
        style: see `morvel.pictures.Options`.

    Raises:
        TypeError, ValueError, ImportError: as `plot`; ValueError for another extension too.
        OSError: names the path that cannot be written.
    """
    kind = Path(path).suffix.lower()
    if kind not in WRITERS:
        raise ValueError(f"{str(path)!r}: pictures are written as {', '.join(WRITERS)}, "
                         f"not {kind or 'without an extension'}")
    write_whole(path, WRITERS[kind](objects, options_from(style)))


def _html(objects: Any, options: Options) -> bytes:
    return page.document(build(objects, options, IN_PAGE)).encode("utf-8")


def _svg(objects: Any, options: Options) -> bytes:
    return svg.document(drawing.draw(build(objects, options, FLAT)), options).encode("utf-8")


def _drawn(kind: str) -> Callable[[Any, Options], bytes]:
    def write(objects: Any, options: Options) -> bytes:
        return figure.image(drawing.draw(build(objects, options, FLAT)), options, kind)

    return write


#: By extension.
WRITERS: Dict[str, Callable[[Any, Options], bytes]] = {
    ".svg": _svg, ".html": _html, ".png": _drawn("png"), ".pdf": _drawn("pdf"),
}
