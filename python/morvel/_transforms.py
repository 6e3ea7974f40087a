"""Transforms of registered objects, at once or recorded to be applied later."""

from __future__ import annotations

from typing import ClassVar, TypeVar

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, address
from ._errors import UNKNOWN_HANDLE, HandleError
from ._handles import Registered, checked
from ._library import call, functions
from .log import quiet

Self = TypeVar("Self", bound="Transformable")

NONE_WITHIN = 1e-4  # a transform so near to the identity is none for the kernel


def is_near_identity(matrix: FloatArray) -> bool:
    """Whether the kernel takes a transform for none."""
    return bool(np.all(abs(matrix - np.eye(4)) <= 2 * NONE_WITHIN))


class Transformable(Registered):
    """A curve or surface with a pending transform.

    >>> line = Curve.line((0, 0, 0), (1, 0, 0))
    >>> line.pending_transform = [[1, 0, 0, 5], [0, 1, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]]
    >>> line(0.0), line.has_pending_transform
    (array([0., 0., 0.]), True)
    >>> line.apply_pending_transform()
    >>> line(0.0), line.has_pending_transform
    (array([5., 0., 0.]), False)
    """

    _noun: ClassVar[str]
    __slots__ = ()

    @property
    def pending_transform(self) -> FloatArray:
        """The (4, 4) transform that is recorded at the object without moving it."""
        out = np.empty((4, 4))
        call(f"get_{self._noun}_matrix", self, address(out))
        return out

    @pending_transform.setter
    def pending_transform(self, matrix: ArrayLike) -> None:
        m = arrays.matrix(matrix)
        call(f"set_{self._noun}_matrix", self, address(m))

    @property
    def has_pending_transform(self) -> bool:
        """Whether one is recorded that is further than 1e-4 from the identity."""
        return bool(call(f"{self._noun}_has_pending_transform", self))

    def apply_pending_transform(self) -> None:
        """Moves the object by the recorded transform and forgets that.

        By contract one within 1e-4 of the identity counts as none. MorvelError where the kind of
        object cannot take it, such as a sphere that would become an ellipsoid.
        """
        call(f"apply_{self._noun}_matrix", self)

    def reset_pending_transform(self) -> None:
        """Forgets the recorded transform."""
        call(f"reset_{self._noun}_matrix", self)

    def replace(self: Self, other: Self) -> None:
        """Takes over the geometry of another object, which is closed; the handle stays.

        Who knows the object by its number, in another language too, finds the new geometry there.

        >>> line, circle = Curve.line((0, 0, 0), (1, 0, 0)), Curve.circle((0, 0, 0), 2.0)
        >>> line.replace(circle)
        >>> line, circle
        (<Curve 20000, circle>, <Curve 20001, closed>)
        """
        if checked(other, type(self), "other") is not self:
            self.handle
            self._take(other.release())

    def _take(self, number: int) -> None:
        with quiet():
            taken = functions[f"replace_{self._noun}_handle"](self, number)
        if not taken:
            functions[self._deleter](number)
            raise HandleError(type(self).__name__, UNKNOWN_HANDLE, f"{self._handle} is gone")
