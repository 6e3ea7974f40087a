"""Meshes in files: OBJ read, and curves, surfaces and meshes written as OBJ, STL, PLY and GLB."""

from __future__ import annotations

from typing import Any, Optional, Sequence, Union

import numpy as np
from numpy.typing import NDArray

from ._arrays import DIMENSIONS, whole
from ._files import CURVE_SAMPLES, SURFACE_SAMPLES, FilePath, Samples, export_shapes, path_bytes
from ._library import MeshData, failure, functions
from .curve import Curve
from .curve_on_surface import CurveOnSurface
from .mesh import Mesh
from .surface import Surface

PAIR = 2
MOST_MEGABYTES = 16384
EXCEPTION_CAUGHT = -4

Exportable = Union[Curve, CurveOnSurface, Surface, Mesh]


def read_obj(path: FilePath, max_megabytes: int = 1024) -> Mesh:
    """All faces of a Wavefront OBJ file as one mesh.

    >>> import os, tempfile
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     path = os.path.join(folder, "square.obj")
    ...     with open(path, "w") as file:
    ...         used = file.write("v 0 0 0 \\n v 2 0 0 \\n v 2 2 0 \\n v 0 2 0 \\n f 1 2 3 4")
    ...     read_obj(path).area()
    4.0

    Polygons are cut into triangles, concave ones too; objects, groups and materials are passed
    over. The mesh has `vertex_normals` (`uv`) where every corner names some; a vertex that its
    corners give several of them is repeated at the end. Numbers keep every bit.

    Args:
        path: an ordinary file, in UTF-8.
        max_megabytes: a larger file is refused (1 to 16384; a megabyte is 2**20 bytes). Reading
            takes about twice the size of the file in memory.

    Raises:
        MorvelError: the file cannot be read or is wrong; the text names the path, and the line
            where there is one.
    """
    most = whole(max_megabytes, "max_megabytes", 1, MOST_MEGABYTES)
    record = functions["read_obj_mesh"](path_bytes(path), most)
    if not record:
        raise failure("read_obj_mesh", EXCEPTION_CAUGHT)
    try:
        return _copied(record.contents)
    finally:
        functions["free_mesh_data"](record)


def _copied(data: MeshData) -> Mesh:
    def array(name: str, count: int, width: int) -> "Optional[NDArray[Any]]":
        pointer = getattr(data, name)
        return np.ctypeslib.as_array(pointer, (count, width)).copy() if pointer else None

    vertices = array("vertices", data.vertexCount, DIMENSIONS)
    triangles = array("triangles", data.triangleCount, DIMENSIONS)
    return Mesh(
        np.empty((0, DIMENSIONS)) if vertices is None else vertices,
        np.empty((0, DIMENSIONS), np.int32) if triangles is None else triangles,
        array("normals", data.vertexCount, DIMENSIONS),
        array("uv", data.vertexCount, PAIR),
    )


def export(
    path: FilePath,
    objects: "Union[Exportable, Sequence[Exportable]]",
    samples: Samples = SURFACE_SAMPLES,
    curve_samples: int = CURVE_SAMPLES,
    tolerance: Optional[float] = None,
) -> None:
    """Writes curves and surfaces, or meshes, into one file.

    >>> import os, tempfile
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     path = os.path.join(folder, "sphere.obj")
    ...     export(path, [Surface.sphere((0, 0, 0), 1.0), Curve.circle((0, 0, 0), 2.0)], samples=40)
    ...     read_obj(path).triangles.shape
    (3042, 3)

    The extension decides: .obj, .stl (no curves), .ply or .glb. The file is written whole or not at
    all. Surfaces and curves are objects named after their handles, with normals and (u, v) where
    the format has them; several meshes become one object.

    Args:
        path: where; an earlier file is replaced.
        objects: curves, curves on surfaces and surfaces (of trimmed ones the visible part), or
            meshes.
        samples: vertices of a surface along u and v, 2 to 2000 each.
        curve_samples: points of a curve.
        tolerance: in model units; replaces the counts by as many as keep the chords within it.

    Raises:
        ArgumentError: another extension; a curve for STL.
        ValueError: a count or a tolerance out of range.
        MorvelError: the file cannot be written, or a surface is not finite.
        TypeError: meshes beside curves and surfaces, or none of these.
    """
    alone = isinstance(objects, (Curve, CurveOnSurface, Surface, Mesh))
    items: Sequence[Any] = [objects] if alone else list(objects)  # type: ignore[arg-type]
    meshes = [item for item in items if isinstance(item, Mesh)]
    surfaces = [item for item in items if isinstance(item, Surface)]
    curves = [item for item in items if isinstance(item, (Curve, CurveOnSurface))]
    if len(meshes) + len(surfaces) + len(curves) != len(items) or not items:
        raise TypeError("export takes curves, surfaces and meshes, at least one")
    if not meshes:
        export_shapes(path, surfaces, curves, samples, curve_samples, tolerance)
    elif len(meshes) == len(items):
        Mesh.joined(meshes).export(path)
    else:
        raise TypeError("meshes go into a file of their own: mesh the surfaces, or export twice")
