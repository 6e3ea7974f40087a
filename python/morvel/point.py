"""Points in the kernel's registry."""

from __future__ import annotations

from typing import ClassVar

import numpy as np
from numpy.typing import ArrayLike

from . import _arrays as arrays
from ._arrays import FloatArray, address
from ._handles import Registered
from ._library import call


class Point(Registered):
    """A registered point."""

    _kind: ClassVar[int] = 2
    _deleter: ClassVar[str] = "delete_point"
    _counter: ClassVar[str] = "get_point_count"
    _lister: ClassVar[str] = "get_all_points"
    __slots__ = ()

    @classmethod
    def at(cls, position: ArrayLike) -> "Point":
        """Registers a point."""
        return cls(call("create_point", *arrays.triple(position, "position")))

    @property
    def position(self) -> FloatArray:
        """The three coordinates."""
        out = np.empty(3)
        call("get_point_coordinates", self.handle, *(address(out[k:]) for k in range(3)))
        return out

    def _describe(self) -> str:
        return f", {self.position.tolist()}"
