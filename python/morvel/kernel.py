"""The kernel as a whole: counts, clearing, version, and the kernel object's own surfaces."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import Any, Tuple

import numpy as np
from numpy.typing import ArrayLike

from . import _arrays as arrays
from ._arrays import address
from ._library import failure, functions, text_of
from .curve_on_surface import CurveOnSurface
from .mesh import Mesh


@dataclass(frozen=True)
class Counts:
    """How many objects are registered."""

    curves: int
    surfaces: int
    points: int
    curves_on_surfaces: int


def counts() -> Counts:
    """How many objects of each kind the kernel holds."""
    kinds = ("curves", "surfaces", "point", "curve_on_surface")
    return Counts(*(functions[f"get_{kind}_count"]() for kind in kinds))


def clear() -> None:
    """Removes all objects; the numbering of curves, surfaces and points starts anew.

    Python objects that stood for them are closed by it.
    """
    CurveOnSurface.delete_all()
    functions["clear_all_curves"]()
    functions["cleanup_all_surfaces"]()
    functions["clear_all_points"]()


def version() -> str:
    """The kernel's banner."""
    return text_of("get_version_info")


class KernelSession:
    """The kernel object and its NURBS surfaces, which have identifiers of their own.

    A context manager: the kernel object lives as long as the `with` block.
    """

    def __enter__(self) -> "KernelSession":
        if functions["initialize_kernel"]() != 1:
            raise failure("initialize_kernel", 0)
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
        u, v = arrays.floats(knots[0]), arrays.floats(knots[1])
        name = "create_nurbs_surface"
        result = functions[name](
            address(points), *points.shape[:2], address(u), u.size, address(v), v.size, *degrees
        )
        if result < 0:
            raise failure(name, result)
        return int(result)

    def mesh(self, identifier: int, resolution: int = 20) -> Mesh:
        """A mesh of resolution x resolution vertices."""
        name = "get_surface_mesh"
        record = functions[name](identifier, resolution)
        if not record:
            raise failure(name, -1)
        try:
            return _copied(record.contents)
        finally:
            functions["free_surface_data"](record)


def _copied(data: Any) -> Mesh:
    vertices = np.empty((data.vertexCount, 3))
    triangles = np.empty((data.indexCount // 3, 3), dtype=np.int32)
    ctypes.memmove(address(vertices), data.vertices, vertices.nbytes)
    ctypes.memmove(address(triangles), data.indices, triangles.nbytes)
    return Mesh(vertices, triangles)
