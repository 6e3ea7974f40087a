"""Points in the kernel's registry."""

from __future__ import annotations

from typing import Any, ClassVar, Iterable, List, Optional

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, address
from ._handles import Registered, listed
from ._library import call
from ._pictured import Pictured


class Point(Registered, Pictured):
    """A registered point; numpy takes it for its three coordinates.

    >>> point = Point.at((1, 2, 3))
    >>> point
    <Point 2000, [1.0, 2.0, 3.0]>
    >>> np.asarray(point) + 1
    array([2., 3., 4.])
    >>> cloud = Point.many([(0, 0, 0), (1, 0, 0)])
    >>> Point.positions(cloud).shape
    (2, 3)
    """

    _kind: ClassVar[int] = 2
    _deleter: ClassVar[str] = "delete_point"
    _counter: ClassVar[str] = "get_point_count"
    _lister: ClassVar[str] = "get_all_points"
    __slots__ = ()

    @classmethod
    def at(cls, position: ArrayLike) -> "Point":
        """Registers a point; ArgumentError where a coordinate is not finite."""
        return Point(call("create_point", *arrays.triple(position, "position")))

    @classmethod
    def many(cls, positions: ArrayLike) -> "List[Point]":
        """Registers (n, 3) points; none where one cannot be."""
        return [Point(call("create_point", *row)) for row in arrays.points(positions).tolist()]

    @staticmethod
    def positions(points: "Iterable[Point]") -> FloatArray:
        """The (n, 3) coordinates of several points."""
        held = listed(points, Point, "points")
        return np.array([point.position for point in held]).reshape(-1, arrays.DIMENSIONS)

    @property
    def position(self) -> FloatArray:
        """The three coordinates."""
        out = np.empty(arrays.DIMENSIONS)
        call("get_point_coordinates", self, *(address(out[k:]) for k in range(3)))
        return out

    def transformed(self, matrix: ArrayLike) -> "Point":
        """Another point: this one under a 4 by 4 transform.

        ValueError for one that sends the point to infinity.
        """
        *xyz, scale = arrays.matrix(matrix) @ [*self.position, 1.0]
        if scale == 0.0:
            raise ValueError("the transform sends the point to infinity")
        return Point.at(np.array(xyz) / scale)

    def __array__(self, dtype: Any = None, copy: Optional[bool] = None) -> "np.ndarray[Any, Any]":
        return np.asarray(self.position, dtype=dtype)

    def _describe(self) -> str:
        return f", {self.position.tolist()}"
