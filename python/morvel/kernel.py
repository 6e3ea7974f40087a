"""The kernel as a whole: counts, clearing, version, and the kernel object's own surfaces."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import Any, NamedTuple, Tuple, Type

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, address, two, whole
from ._errors import BAD_ARGUMENT
from ._handles import Registered, disown, owned_handles
from ._library import call, call_expecting, failure, functions, text_of
from .curve import Curve
from .curve_on_surface import CurveOnSurface
from .mesh import Mesh
from .point import Point
from .surface import Surface


@dataclass(frozen=True)
class Counts:
    """How many objects are registered."""

    curves: int
    surfaces: int
    points: int
    curves_on_surfaces: int


class Held(NamedTuple):
    """The registered objects of one kind."""

    registered: int  #: in the kernel
    owned: int  #: of those, how many a Python object stands for
    ownerless: Tuple[int, ...]  #: the handles of the others: nobody deletes them


class Census(NamedTuple):
    """All registered objects; printed, a line for each kind."""

    curves: Held
    surfaces: Held
    points: Held
    curves_on_surfaces: Held

    def __str__(self) -> str:
        return "\n".join(_line(kind, held) for kind, held in zip(self._fields, self))


MOST_LISTED = 8


def _line(kind: str, held: Held) -> str:
    text = f"{kind.replace('_', ' ') + ':':20}{held.registered} registered, {held.owned} owned"
    if held.ownerless:
        shown = ", ".join(map(str, held.ownerless[:MOST_LISTED]))
        more = ", ..." if len(held.ownerless) > MOST_LISTED else ""
        text += f", without owner: {shown}{more}"
    return text


def counts() -> Counts:
    """How many objects of each kind the kernel holds.

    >>> line = morvel.Curve.line((0, 0, 0), (1, 0, 0))
    >>> morvel.counts()
    Counts(curves=1, surfaces=0, points=0, curves_on_surfaces=0)
    """
    kinds = ("curves", "surfaces", "point", "curve_on_surface")
    return Counts(*(int(functions[f"get_{kind}_count"]()) for kind in kinds))


def live() -> Census:
    """What the kernel holds and which of it Python objects own: the way to find leaks.

    >>> ball = morvel.Surface.sphere((0, 0, 0), 1.0)
    >>> number = morvel.Point.at((1, 2, 3)).release()
    >>> print(morvel.live())
    curves:             0 registered, 0 owned
    surfaces:           1 registered, 1 owned
    points:             1 registered, 0 owned, without owner: 2000
    curves on surfaces: 0 registered, 0 owned
    >>> morvel.live().points.ownerless
    (2000,)
    """
    return Census(_held(Curve), _held(Surface), _held(Point), _held(CurveOnSurface))


def _held(kind: Type[Registered]) -> Held:
    registered = set(kind.handles())
    owned = registered.intersection(owned_handles(kind._kind))
    return Held(len(registered), len(owned), tuple(sorted(registered - owned)))


def clear() -> None:
    """Removes all objects; the numbering of curves, surfaces and points starts anew.

    Python objects that stood for them are closed by it.

    >>> line = morvel.Curve.line((0, 0, 0), (1, 0, 0))
    >>> morvel.clear()
    >>> line
    <Curve 20000, closed>
    """
    CurveOnSurface.delete_all()
    for kind, clearing in (
        (Curve, "clear_all_curves"),
        (Surface, "cleanup_all_surfaces"),
        (Point, "clear_all_points"),
    ):
        functions[clearing]()
        disown(kind._kind)


def version() -> str:
    """The kernel's banner; `morvel.__version__` is the package's version.

    >>> morvel.version().startswith("morvel")
    True
    """
    return text_of("get_version_info")


class KernelSession:
    """The kernel object and its NURBS surfaces, which have identifiers of their own.

    A context manager: the kernel object lives as long as the `with` block.

    >>> net = np.stack(np.meshgrid([0, 1, 2], [0, 1, 2], [0], indexing="ij"), axis=-1)[:, :, 0]
    >>> knots = [0, 0, 0, 1, 1, 1]
    >>> with morvel.KernelSession() as kernel:
    ...     number = kernel.add(net, degrees=(2, 2), knots=(knots, knots))
    ...     kernel.mesh(number, 5).area()
    4.0
    """

    def __enter__(self) -> "KernelSession":
        call_expecting(1, "initialize_kernel")
        return self

    def __exit__(self, *_: Any) -> None:
        functions["cleanup_kernel"]()

    def __len__(self) -> int:
        return int(functions["get_kernel_surface_count"]())

    def add(
        self, net: ArrayLike, degrees: Tuple[int, int], knots: Tuple[ArrayLike, ArrayLike]
    ) -> int:
        """Makes a surface of (nU, nV, 3) control points; returns its identifier."""
        points = arrays.net(net)
        u, v = (arrays.floats(k, "knots") for k in two(knots, "knots"))
        shape = (*points.shape[:2], address(u), u.size, address(v), v.size)
        made = call("create_nurbs_surface", address(points), *shape, *two(degrees, "degrees"))
        return int(made)

    def mesh(self, identifier: int, resolution: int = 20) -> Mesh:
        """A mesh of resolution x resolution vertices; resolution 2 to 2000."""
        name = "get_surface_mesh"
        record = functions[name](identifier, whole(resolution, "resolution", 2, MOST_ROWS))
        if not record:
            raise failure(name, BAD_ARGUMENT)
        try:
            return _copied(record.contents)
        finally:
            functions["free_surface_data"](record)


MOST_ROWS = 2000


def _copied(data: Any) -> Mesh:
    vertices = np.empty((data.vertexCount, 3))
    triangles = np.empty((data.indexCount // 3, 3), dtype=np.int32)
    ctypes.memmove(address(vertices), data.vertices, vertices.nbytes)
    ctypes.memmove(address(triangles), data.indices, triangles.nbytes)
    return Mesh(vertices, triangles)
