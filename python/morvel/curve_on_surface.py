"""Curves in the parameter plane of a surface."""

from __future__ import annotations

from typing import ClassVar, Tuple

from numpy.typing import ArrayLike

from . import _arrays as arrays
from ._arrays import FloatArray, address
from ._batches import NUMBER, PAIR, VECTOR, evaluate
from ._handles import Registered
from ._library import call
from .surface import Surface


class CurveOnSurface(Registered):
    """A curve in the (u, v) plane of a surface, and with it a curve in space.

    It keeps its surface alive: it works on after the surface was closed, and follows changes made
    to the surface in place. Points outside [0, 1] x [0, 1] are taken to the edge.
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
        points = arrays.floats(uv)
        if points.ndim != 2 or points.shape[1:] != PAIR:
            raise ValueError(f"points in the parameter plane need shape (n, 2), not {points.shape}")
        made = (surface.handle, address(points), len(points), degree)
        return cls(call("create_curve_on_surface", *made))

    @property
    def interval(self) -> Tuple[float, float]:
        """The first and the last parameter."""
        start, end = arrays.double_out(), arrays.double_out()
        call("get_curve_on_surface_interval", self.handle, start, end)
        return start[0], end[0]

    @property
    def base(self) -> int:
        """The handle of its surface; MorvelError once that is not registered any more."""
        return int(call("get_curve_on_surface_base", self.handle))

    def __call__(self, t: ArrayLike) -> FloatArray:
        """Points in space: (..., 3) for parameters of shape (...)."""
        return evaluate("evaluate_curve_on_surface_batch", self.handle, t, NUMBER, VECTOR)

    def uv(self, t: ArrayLike) -> FloatArray:
        """Points in the parameter plane: (..., 2) for parameters of shape (...)."""
        return evaluate("evaluate_curve_on_surface_uv_batch", self.handle, t, NUMBER, PAIR)
