"""Between numpy arrays and the flat arrays of the interface."""

from __future__ import annotations

import ctypes
from typing import Any, Sequence, Tuple

import numpy as np
from numpy.typing import ArrayLike, NDArray

FloatArray = NDArray[np.float64]
IntArray = NDArray[np.int32]

DIMENSIONS = 3


def floats(values: ArrayLike) -> FloatArray:
    """Contiguous doubles; the same memory where the values already are that."""
    return np.ascontiguousarray(values, dtype=np.float64)


def points(values: ArrayLike) -> FloatArray:
    """An (n, 3) array of points."""
    array = floats(values)
    if array.ndim != 2 or array.shape[1] != DIMENSIONS:
        raise ValueError(f"points need shape (n, 3), not {array.shape}")
    return array


def net(values: ArrayLike) -> FloatArray:
    """An (nU, nV, 3) array of control points."""
    array = floats(values)
    if array.ndim != 3 or array.shape[2] != DIMENSIONS:
        raise ValueError(f"a control net needs shape (nU, nV, 3), not {array.shape}")
    return array


def triple(values: ArrayLike, what: str) -> Tuple[float, float, float]:
    """Three numbers: a point or a direction."""
    array = np.asarray(values, dtype=np.float64)
    if array.shape != (DIMENSIONS,):
        raise ValueError(f"{what} needs three numbers, not shape {array.shape}")
    return float(array[0]), float(array[1]), float(array[2])


def vector(values: ArrayLike, what: str) -> FloatArray:
    """The same as an array."""
    return np.array(triple(values, what))


def matrix(values: ArrayLike) -> FloatArray:
    """A 4 by 4 transform, row by row."""
    array = floats(values)
    if array.shape != (4, 4):
        raise ValueError(f"a transform needs shape (4, 4), not {array.shape}")
    return array


def empty_points(count: int) -> FloatArray:
    return np.empty((count, DIMENSIONS))


def address(array: NDArray[Any]) -> int:
    """Where an array's memory begins. The array must outlive the call."""
    return int(array.ctypes.data)


def int_out(count: int = 1) -> "ctypes.Array[ctypes.c_int]":
    return (ctypes.c_int * count)()


def point_out() -> FloatArray:
    return np.empty(DIMENSIONS)


def double_out(count: int = 1) -> "ctypes.Array[ctypes.c_double]":
    return (ctypes.c_double * count)()


def as_tuple(values: Sequence[float]) -> Tuple[float, ...]:
    return tuple(float(value) for value in values)
