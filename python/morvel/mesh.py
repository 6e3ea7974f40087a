"""Triangle meshes."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Callable, Iterable, Optional, Tuple

import numpy as np

from ._arrays import DIMENSIONS, FloatArray, IntArray, address, members, points, shaped, triangles
from ._files import FilePath, path_bytes
from ._library import call
from ._pictured import Pictured


@dataclass(frozen=True, eq=False)
class Mesh(Pictured):
    """Triangles over vertices.

    >>> mesh = Surface.sphere((0, 0, 0), 1.0).mesh(100)
    >>> mesh.vertices.shape, mesh.triangles.shape
    ((10000, 3), (19602, 3))
    >>> round(abs(mesh.volume()) / (4 / 3 * np.pi), 2)
    1.0

    Attributes:
        vertices: (n, 3) positions in model units.
        triangles: (m, 3) indices into the vertices.
        vertex_normals: (n, 3) unit vectors, or None.
        uv: (n, 2) parameters or texture coordinates of the vertices, or None.
    """

    vertices: FloatArray
    triangles: IntArray
    vertex_normals: Optional[FloatArray] = None
    uv: Optional[FloatArray] = None

    def __post_init__(self) -> None:
        object.__setattr__(self, "vertices", points(self.vertices, "vertices"))
        object.__setattr__(self, "triangles", triangles(self.triangles, len(self.vertices)))
        for name, width in (("vertex_normals", DIMENSIONS), ("uv", 2)):
            values = getattr(self, name)
            if values is not None:
                of_vertices = shaped(values, name, len(self.vertices), width)
                object.__setattr__(self, name, of_vertices)

    def __repr__(self) -> str:
        return f"<Mesh, {len(self.vertices)} vertices, {len(self.triangles)} triangles>"

    @property
    def normals(self) -> FloatArray:
        """(m, 3) unit normals of the triangles; zero for a triangle without area."""
        cross = self._cross()
        length = np.linalg.norm(cross, axis=1, keepdims=True)
        return np.divide(cross, length, out=np.zeros_like(cross), where=length > 0)

    @property
    def bounds(self) -> Tuple[FloatArray, FloatArray]:
        """The least and the greatest corner of the vertices."""
        return self.vertices.min(axis=0), self.vertices.max(axis=0)

    def area(self) -> float:
        """The sum of the triangles' areas."""
        return float(np.linalg.norm(self._cross(), axis=1).sum() / 2)

    def volume(self) -> float:
        """The signed volume within a closed mesh whose triangles turn the same way."""
        a, b, c = (self.vertices[self.triangles[:, k]] for k in range(3))
        return float(np.einsum("ij,ij->i", a, np.cross(b, c)).sum() / 6)

    def _cross(self) -> FloatArray:
        a, b, c = (self.vertices[self.triangles[:, k]] for k in range(3))
        return np.asarray(np.cross(b - a, c - a))

    @staticmethod
    def joined(meshes: "Iterable[Mesh]") -> "Mesh":
        """Several meshes as one; vertices are not merged.

        It has normals and parameters where all of them do.
        """
        parts = members(meshes, "meshes")
        if not all(isinstance(part, Mesh) for part in parts):
            raise TypeError("meshes must be a sequence of Mesh")
        offsets = np.cumsum([0] + [len(part.vertices) for part in parts])

        def of_all(get: "Callable[[Mesh], Optional[FloatArray]]") -> Optional[FloatArray]:
            arrays = [array for array in map(get, parts) if array is not None]
            return np.concatenate(arrays) if len(arrays) == len(parts) else None

        return Mesh(
            np.concatenate([part.vertices for part in parts]),
            np.concatenate([part.triangles + k for part, k in zip(parts, offsets)]),
            of_all(lambda part: part.vertex_normals),
            of_all(lambda part: part.uv),
        )

    def export(self, path: FilePath) -> None:
        """Writes the mesh as OBJ, STL, PLY or GLB, which the extension decides.

        OBJ and PLY keep every bit of the vertices; STL and GLB round them to single precision. The
        file is written whole or not at all.

        Raises:
            ArgumentError: another extension, no triangles, a number that is not finite.
            MorvelError: the file cannot be written.
        """
        count, normals, uv = len(self.vertices), self.vertex_normals, self.uv
        given = (address(self.vertices), count, *(a if a is None else address(a) for a in (normals, uv)))
        indices = np.ascontiguousarray(self.triangles)
        call("export_mesh", path_bytes(path), *given, address(indices), len(indices))

    def write_obj(self, path: FilePath) -> None:
        """The same as `export` to a path that ends in .obj; ValueError for any other."""
        if not path_bytes(path).lower().endswith(b".obj"):
            raise ValueError(f"the path of an OBJ file ends in .obj: {path!r}")
        self.export(path)
