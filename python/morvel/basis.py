"""B-spline basis functions and knot vectors: the mathematics under all splines.

A knot vector never decreases; `degree` + 1 + n knots carry n basis functions. Parameters may have
any shape, and results have it too.

    >>> from morvel import basis
    >>> knots = basis.uniform_knots(4, degree=2)
    >>> knots
    array([0. , 0. , 0. , 0.5, 1. , 1. , 1. ])
    >>> basis.functions(2, knots, [0.0, 0.25])
    array([[1.   , 0.   , 0.   ],
           [0.25 , 0.625, 0.125]])
    >>> basis.spans(2, knots, [0.0, 0.25, 0.75])
    array([2, 2, 3], dtype=int32)
"""

from __future__ import annotations

from typing import Callable, Tuple

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, IntArray, address, whole
from ._library import call, call_expecting, functions as exported

MOST_DEGREE = 1000

__all__ = ["derivative", "domain", "function", "functions", "is_at_end", "spans", "uniform_knots"]


def uniform_knots(count: int, degree: int) -> FloatArray:
    """The (count + degree + 1,) clamped knots over [0, 1] with evenly spaced inner ones.

    >>> uniform_knots(2, degree=1)
    array([0., 0., 1., 1.])
    """
    p = whole(degree, "degree", 1, MOST_DEGREE)
    n = whole(count, "count", p + 1)
    return np.concatenate([np.zeros(p), np.linspace(0.0, 1.0, n - p + 1), np.ones(p)])


def function(index: int, degree: int, knots: ArrayLike, u: ArrayLike) -> FloatArray:
    """The values of basis function number `index` (from 0) at parameters of any shape.

    >>> function(1, 2, [0, 0, 0, 1, 1, 1], 0.5)
    0.5
    """
    return derivative(index, degree, knots, u, 0)


def derivative(
    index: int, degree: int, knots: ArrayLike, u: ArrayLike, order: int = 1
) -> FloatArray:
    """The derivatives of a basis function; zero above order `degree`.

    >>> derivative(0, 1, [0, 0, 1, 1], [0.2, 0.7])
    array([-1., -1.])
    """
    p, vector, at = _given(degree, knots, u)
    number = whole(index, "index", 0, vector.size - p - 2)
    k = whole(order, "order", 0)
    name = "foundation_evaluate_basis_derivative" if k else "foundation_evaluate_basis_function"
    more = (k,) if k else ()
    carried = (address(vector), vector.size, *more)
    return _mapped(lambda t: float(exported[name](number, p, t, *carried)), at)


def functions(degree: int, knots: ArrayLike, u: ArrayLike) -> FloatArray:
    """(..., degree + 1): the basis functions that do not vanish at parameters of shape (...).

    The first of them is number `spans(degree, knots, u) - degree`.
    """
    p, vector, at = _given(degree, knots, u)
    out = np.empty(at.shape + (p + 1,))
    rows = out.reshape(-1, p + 1)
    name = "foundation_evaluate_all_basis_functions"
    for t, row in zip(at.ravel().tolist(), rows):
        call(name, p, t, address(vector), vector.size, address(row))
    return out


def spans(degree: int, knots: ArrayLike, u: ArrayLike) -> IntArray:
    """For each parameter the index of the knot that its span begins with."""
    p, vector, at = _given(degree, knots, u)
    row = np.empty(p + 1)
    name = "foundation_evaluate_all_basis_functions"
    given = (address(vector), vector.size, address(row))
    found = [call(name, p, t, *given) for t in at.ravel().tolist()]
    result: IntArray = np.array(found, dtype=np.int32).reshape(at.shape)[()]
    return result


def domain(knots: ArrayLike) -> Tuple[float, float]:
    """The first and the last knot.

    >>> domain([2, 2, 3, 5, 5])
    (2.0, 5.0)
    """
    vector = arrays.shaped(knots, "knots", None)
    start, end = arrays.double_out(), arrays.double_out()
    given = (address(vector), vector.size, start, end)
    call_expecting(1, "foundation_get_domain_from_knots", *given)
    return start[0], end[0]


def is_at_end(knots: ArrayLike, u: float, tolerance: float = 1e-12) -> bool:
    """Whether a parameter is within a tolerance of the first or the last knot.

    >>> is_at_end([0, 0, 1, 1], 1.0), is_at_end([0, 0, 1, 1], 0.5)
    (True, False)
    """
    vector = arrays.shaped(knots, "knots", None)
    name = "foundation_is_at_domain_boundary"
    return bool(exported[name](u, address(vector), vector.size, tolerance))


def _given(degree: int, knots: ArrayLike, u: ArrayLike) -> Tuple[int, FloatArray, FloatArray]:
    """Checked, since the kernel's functions check no values."""
    vector, at = arrays.shaped(knots, "knots", None), arrays.floats(u, "u")
    p = whole(degree, "degree", 0, MOST_DEGREE)
    if vector.size < 2 * p + 2:
        raise ValueError(f"degree {p} needs {2 * p + 2} knots or more, not {vector.size}")
    if not (np.isfinite(vector).all() and (np.diff(vector) >= 0).all() and vector[0] < vector[-1]):
        raise ValueError("knots must be finite, never decrease, and not all be the same")
    if not np.isfinite(at).all():
        raise ValueError("u must be finite")
    return p, vector, at


def _mapped(function: Callable[[float], float], at: FloatArray) -> FloatArray:
    values = np.array([function(t) for t in at.ravel().tolist()]).reshape(at.shape)
    found: FloatArray = values[()]
    return found
