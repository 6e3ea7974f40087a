"""Curves in the parameter plane of a surface."""

from __future__ import annotations

from typing import ClassVar, Tuple

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, address
from ._batches import NUMBER, PAIR, VECTOR, Shape, evaluate
from ._handles import Registered, checked
from ._library import call
from ._pictured import Pictured
from .surface import Surface


class CurveOnSurface(Registered, Pictured):
    """A curve in the (u, v) plane of a surface, and with it a curve in space.

    It keeps its surface alive: it works on after the surface was closed, and follows changes made
    to the surface in place. Points outside [0, 1] x [0, 1] are taken to the edge.

    >>> ball = Surface.sphere((0, 0, 0), 2.0)
    >>> curve = CurveOnSurface.bspline(ball, [(0.1, 0.5), (0.4, 0.6), (0.7, 0.5)], degree=2)
    >>> curve.uv(0.0)
    array([0.1, 0.5])
    >>> np.allclose(np.linalg.norm(curve(np.linspace(0, 1, 9)), axis=1), 2.0)
    True
    """

    _kind: ClassVar[int] = 3
    _deleter: ClassVar[str] = "delete_curve_on_surface"
    _counter: ClassVar[str] = "get_curve_on_surface_count"
    _lister: ClassVar[str] = "get_all_curves_on_surfaces"
    __slots__ = ()

    @classmethod
    def bspline(cls, surface: Surface, uv: ArrayLike, degree: int = 3) -> "CurveOnSurface":
        """A B-spline curve on clamped uniform knots over [0, 1]; degree 1 is a polyline.

        Args:
            surface: what it lies on.
            uv: (n, 2) control points, more than `degree` of them (ArgumentError).
            degree: at least 1.
        """
        points = arrays.pairs(uv, "points in the parameter plane")
        base = checked(surface, Surface, "surface")
        return CurveOnSurface(
            call("create_curve_on_surface", base, address(points), len(points), degree)
        )

    @property
    def interval(self) -> Tuple[float, float]:
        """The first and the last parameter."""
        start, end = arrays.double_out(), arrays.double_out()
        call("get_curve_on_surface_interval", self, start, end)
        return start[0], end[0]

    @property
    def base(self) -> int:
        """The handle of its surface; MorvelError once that is not registered any more."""
        return int(call("get_curve_on_surface_base", self))

    def __call__(self, t: ArrayLike) -> FloatArray:
        """Points in space: (..., 3) for parameters of shape (...)."""
        return self._evaluate("evaluate_curve_on_surface_batch", t, VECTOR)

    def uv(self, t: ArrayLike) -> FloatArray:
        """Points in the parameter plane: (..., 2) for parameters of shape (...)."""
        return self._evaluate("evaluate_curve_on_surface_uv_batch", t, PAIR)

    def _evaluate(self, name: str, t: ArrayLike, result: Shape) -> FloatArray:
        return np.asarray(evaluate(name, self, t, NUMBER, result))

    def _describe(self) -> str:
        return ", parameters {:g} to {:g}".format(*self.interval)
