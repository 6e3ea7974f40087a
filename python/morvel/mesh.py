"""Triangle meshes."""

from __future__ import annotations

from dataclasses import dataclass
from os import PathLike
from typing import Iterable, Tuple, Union

import numpy as np

from ._arrays import FloatArray, IntArray, members, points, triangles
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
    """

    vertices: FloatArray
    triangles: IntArray

    def __post_init__(self) -> None:
        object.__setattr__(self, "vertices", points(self.vertices, "vertices"))
        object.__setattr__(self, "triangles", triangles(self.triangles, len(self.vertices)))

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
        """Several meshes as one; vertices are not merged."""
        parts = members(meshes, "meshes")
        if not all(isinstance(part, Mesh) for part in parts):
            raise TypeError("meshes must be a sequence of Mesh")
        offsets = np.cumsum([0] + [len(part.vertices) for part in parts])
        return Mesh(
            np.concatenate([part.vertices for part in parts]),
            np.concatenate([part.triangles + k for part, k in zip(parts, offsets)]),
        )

    def write_obj(self, path: "Union[str, PathLike[str]]") -> None:
        """Writes a Wavefront OBJ file; coordinates keep every bit."""
        with open(path, "w", encoding="ascii") as file:
            for x, y, z in self.vertices.tolist():
                file.write(f"v {x!r} {y!r} {z!r}\n")
            for a, b, c in (self.triangles + 1).tolist():
                file.write(f"f {a} {b} {c}\n")
