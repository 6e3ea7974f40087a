"""Between numpy arrays and the flat arrays of the interface.

What cannot be a number is a TypeError, what has the wrong shape or size a ValueError; either names
the argument. Memory that is already as the kernel wants it is not copied.
"""

from __future__ import annotations

import ctypes
import math
import numbers
import operator
from typing import Any, Iterable, List, Mapping, Optional, Sequence, Sized, Tuple, TypeVar, Union

import numpy as np
import numpy.typing
from numpy.typing import NDArray

#: What numpy makes an array of. Checkers see no more than a sequence in lists of mixed numbers.
ArrayLike = Union[numpy.typing.ArrayLike, Sequence[Any]]
FloatArray = NDArray[np.float64]
IntArray = NDArray[np.int32]
BoolArray = NDArray[np.bool_]
#: Numbers that are an array already: anything but one number.
ManyNumbers = Union[NDArray[Any], Sequence[Any]]
Coded = TypeVar("Coded")

DIMENSIONS = 3
MOST_MEMBERS = 1_000_000
MOST = 2**31 - 1  # what the kernel counts with
NUMERIC_KINDS = "fiub"


def floats(values: ArrayLike, what: str = "the values") -> FloatArray:
    """Contiguous doubles of the same shape.

    >>> floats([[1, 2], [3, 4]]).dtype
    dtype('float64')
    >>> floats("near", "radius")
    Traceback (most recent call last):
        ...
    TypeError: radius needs numbers, not str
    """
    array = np.asarray(values)
    count_of(array.shape)  # before anything as large is copied
    if array.dtype.kind == "O" and all(isinstance(item, numbers.Real) for item in array.flat):
        array = _converted(array, what)
    if array.dtype.kind not in NUMERIC_KINDS:
        given = type(values).__name__ if array.ndim == 0 else f"an array of {array.dtype.name}"
        raise TypeError(f"{what} needs numbers, not {given}")
    return np.asarray(array, dtype=np.float64, order="C")


def _converted(array: "NDArray[Any]", what: str) -> FloatArray:
    try:
        return array.astype(np.float64)
    except OverflowError:
        raise ValueError(f"{what} is too large for a double") from None


def shaped(values: ArrayLike, what: str, *shape: Optional[int]) -> FloatArray:
    """Doubles of a shape; None stands for any number."""
    array = floats(values, what)
    fits = len(shape) == array.ndim and all(
        wanted in (None, given) for wanted, given in zip(shape, array.shape)
    )
    if not fits:
        letters = iter("nmk")
        wanted = [next(letters) if size is None else str(size) for size in shape]
        listed = f"({wanted[0]},)" if len(wanted) == 1 else f"({', '.join(wanted)})"
        raise ValueError(f"{what} needs shape {listed}, not {array.shape}")
    return array


def points(values: ArrayLike, what: str = "points") -> FloatArray:
    """An (n, 3) array of points."""
    array = floats(values, what)
    if array.ndim != 2 or array.shape[1] != DIMENSIONS:
        raise ValueError(f"{what} need shape (n, 3), not {array.shape}")
    return array


def points_or_none(values: ArrayLike, what: str) -> FloatArray:
    """The same, where an empty list stands for no points."""
    array = floats(values, what)
    return np.empty((0, DIMENSIONS)) if array.size == 0 else points(array, what)


def pairs(values: ArrayLike, what: str) -> FloatArray:
    """An (n, 2) array of parameters."""
    array = floats(values, what)
    if array.ndim != 2 or array.shape[1] != 2:
        raise ValueError(f"{what} need shape (n, 2), not {array.shape}")
    return array


def members(values: Iterable[Any], what: str) -> "List[Any]":
    """The members of a sequence that is no longer than the kernel could use."""
    try:
        count = len(values) if isinstance(values, Sized) else 0
    except TypeError:
        count = 0  # an array of no dimensions
    if count > MOST_MEMBERS:
        raise ValueError(f"{what} has {count} members; {MOST_MEMBERS} are the most")
    return list(values)


def triangles(values: ArrayLike, vertices: int) -> IntArray:
    """(m, 3) indices into so many vertices."""
    array = np.asarray(values)
    if array.size == 0:
        return np.empty((0, 3), dtype=np.int32)
    if array.dtype.kind not in "iu":
        raise TypeError(f"triangles need whole numbers, not {array.dtype.name}")
    if array.ndim != 2 or array.shape[1] != 3:
        raise ValueError(f"triangles need shape (m, 3), not {array.shape}")
    if array.min() < 0 or array.max() >= vertices:
        raise ValueError(f"triangles need indices from 0 to {vertices - 1}")
    return np.asarray(array, dtype=np.int32)


def net(values: ArrayLike) -> FloatArray:
    """An (nU, nV, 3) array of control points."""
    array = floats(values, "a control net")
    if array.ndim != 3 or array.shape[2] != DIMENSIONS:
        raise ValueError(f"a control net needs shape (nU, nV, 3), not {array.shape}")
    return array


def triple(values: ArrayLike, what: str) -> Tuple[float, float, float]:
    """Three numbers: a point or a direction."""
    array = floats(values, what)
    if array.shape != (DIMENSIONS,):
        raise ValueError(f"{what} needs three numbers, not shape {array.shape}")
    return float(array[0]), float(array[1]), float(array[2])


def vector(values: ArrayLike, what: str) -> FloatArray:
    """The same as an array."""
    return np.array(triple(values, what))


def matrix(values: ArrayLike) -> FloatArray:
    """A 4 by 4 transform, row by row."""
    array = floats(values, "a transform")
    if array.shape != (4, 4):
        raise ValueError(f"a transform needs shape (4, 4), not {array.shape}")
    return array


def two(values: Any, what: str) -> Tuple[Any, Any]:
    """The two members of a pair: something for u and the same for v."""
    try:
        first, second = values
    except (TypeError, ValueError):
        raise type_or_value(values)(f"{what} needs two, one for u and one for v") from None
    return first, second


def type_or_value(values: Any) -> "type[Exception]":
    """ValueError for a sequence of the wrong length, TypeError for what is none."""
    return ValueError if hasattr(values, "__len__") else TypeError


def number(value: Any, what: str) -> float:
    """One number, also as an array of no dimensions."""
    if type(value) is float:
        return value
    array = floats(value, what)
    if array.ndim:
        raise ValueError(f"{what} must be one number, not of shape {array.shape}")
    return float(array)


def whole(value: Any, what: str, least: int = -MOST - 1, most: int = MOST) -> int:
    """One whole number within bounds, those of 32 bits at most."""
    try:
        found = operator.index(value)
    except TypeError:
        name = type(value).__name__
        raise TypeError(f"{what} must be a whole number, not {name}") from None
    if not least <= found <= most:
        raise ValueError(f"{what} must be from {least} to {most}, not {found}")
    return found


def choice(value: Any, table: Mapping[str, Coded], what: str) -> Coded:
    """What stands in a table under a word."""
    if not isinstance(value, str):
        raise TypeError(f"{what} must be a text, not {type(value).__name__}")
    if value not in table:
        known = ", ".join(map(repr, table))
        raise ValueError(f"{what} must be one of {known}, not {value!r}")
    return table[value]


def count_of(shape: Sequence[int]) -> int:
    """How many items a shape holds; ValueError for more than the kernel can count."""
    count = math.prod(shape)
    if count > MOST:
        raise ValueError(f"{count} are more than one call can take")
    return count


def empty_points(count: int) -> FloatArray:
    """Room for points."""
    return np.empty((count, DIMENSIONS))


def address(array: NDArray[Any]) -> int:
    """Where an array's memory begins. The array must outlive the call."""
    return int(array.ctypes.data)


def int_out(count: int = 1) -> "ctypes.Array[ctypes.c_int]":
    """Room for whole numbers."""
    return (ctypes.c_int * count)()


def point_out() -> FloatArray:
    """Room for a point."""
    return np.empty(DIMENSIONS)


def double_out(count: int = 1) -> "ctypes.Array[ctypes.c_double]":
    """Room for numbers."""
    return (ctypes.c_double * count)()


def as_tuple(values: Iterable[float]) -> Tuple[float, ...]:
    """Plain Python numbers."""
    return tuple(float(value) for value in values)
