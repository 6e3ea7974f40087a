"""Many parameters or points through one call of the kernel, whatever the shape they come in."""

from __future__ import annotations

from typing import Tuple

import numpy as np

from ._arrays import ArrayLike, FloatArray, address, count_of, floats, whole
from ._library import Handled, call

Shape = Tuple[int, ...]

NUMBER: Shape = ()
PAIR: Shape = (2,)
VECTOR: Shape = (3,)

HIGHEST_CURVE_ORDER = 10
SURFACE_RESULTS = {0: VECTOR, 1: (4, 3), 2: (7, 3)}


def curve_result(order: int) -> Shape:
    """(order + 1, 3); ValueError for an order outside 0 to 10."""
    return whole(order, "order", 0, HIGHEST_CURVE_ORDER) + 1, 3


def surface_result(order: int) -> Shape:
    """The shape of one result of a surface; ValueError for an order other than 0, 1 and 2."""
    return SURFACE_RESULTS[whole(order, "order", 0, max(SURFACE_RESULTS))]


def items_of(values: ArrayLike, item: Shape, what: str) -> Tuple[FloatArray, Shape]:
    """Contiguous items and the shape in front of one."""
    array = floats(values, what)
    leading = array.shape[: max(array.ndim - len(item), 0)]
    if array.shape != leading + item:
        wanted = ", ".join(["...", *map(str, item)])
        raise ValueError(f"{what} needs shape ({wanted}), not {array.shape}")
    return array, leading


def evaluate(
    name: str, owner: Handled, values: ArrayLike, item: Shape, result: Shape, *options: int
) -> FloatArray:
    """Calls a batch of the kernel.

    Args:
        name: an exported function (handle, items, count, options..., results).
        values: shape (..., *item).

    Returns:
        Shape (..., *result); a scalar where that has no dimensions.
    """
    items, leading = items_of(values, item, name)
    count_of(leading + result)
    out = np.empty(leading + result)
    call(name, owner, address(items), count_of(leading), *options, address(out))
    found: FloatArray = out[()]
    return found


def broadcast_pairs(first: ArrayLike, second: ArrayLike) -> FloatArray:
    """Shape (..., 2) of two arrays that numpy broadcasts."""
    sides = np.broadcast_arrays(floats(first), floats(second))
    return np.asarray(np.stack(sides, axis=-1))
