"""Many parameters or points through one call of the kernel, whatever the shape they come in."""

from __future__ import annotations

import math
import operator
from typing import Any, Tuple

import numpy as np
from numpy.typing import ArrayLike

from ._arrays import FloatArray, address, floats
from ._library import call

Shape = Tuple[int, ...]

NUMBER: Shape = ()
PAIR: Shape = (2,)
VECTOR: Shape = (3,)

MOST = 2**31 - 1  # what the kernel counts with
HIGHEST_CURVE_ORDER = 10
SURFACE_RESULTS = {0: VECTOR, 1: (4, 3), 2: (7, 3)}


def curve_result(order: int) -> Shape:
    """(order + 1, 3); ValueError for an order outside 0 to 10."""
    if not 0 <= operator.index(order) <= HIGHEST_CURVE_ORDER:
        raise ValueError(f"order must be from 0 to {HIGHEST_CURVE_ORDER}, not {order}")
    return operator.index(order) + 1, 3


def surface_result(order: int) -> Shape:
    """The shape of one result of a surface; ValueError for an order other than 0, 1 and 2."""
    if operator.index(order) not in SURFACE_RESULTS:
        raise ValueError(f"order must be 0, 1 or 2, not {order}")
    return SURFACE_RESULTS[operator.index(order)]


def count_of(shape: Shape) -> int:
    """How many items a shape holds; ValueError for more than the kernel can count."""
    count = math.prod(shape)
    if count > MOST:
        raise ValueError(f"{count} are more than one call can take")
    return count


def evaluate(
    name: str, handle: int, values: ArrayLike, item: Shape, result: Shape, *options: Any
) -> FloatArray:
    """Calls a batch of the kernel.

    Args:
        name: an exported function (handle, items, count, options..., results).
        values: shape (..., *item).

    Returns:
        Shape (..., *result); a scalar where that has no dimensions.
    """
    array = np.asarray(values, dtype=np.float64)
    leading = array.shape[: max(array.ndim - len(item), 0)]
    if array.shape != leading + item:
        wanted = ", ".join(["...", *map(str, item)])
        raise ValueError(f"{name} needs shape ({wanted}), not {array.shape}")
    items, out = floats(array), np.empty(leading + result)
    given = (address(items), count_of(leading), *map(operator.index, options))
    call(name, handle, *given, address(out))
    return out[()]


def broadcast_pairs(first: ArrayLike, second: ArrayLike) -> FloatArray:
    """Shape (..., 2) of two arrays that numpy broadcasts."""
    return np.stack(np.broadcast_arrays(first, second), axis=-1)
