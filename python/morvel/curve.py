"""Curves."""

from __future__ import annotations

from typing import Optional, Tuple

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, address, choice
from ._curve_queries import CurveQueries
from ._library import call
from ._pictured import Pictured

ENDS = {"start": 0, "end": 1}
Z_AXIS = (0.0, 0.0, 1.0)


class Curve(CurveQueries, Pictured):
    """A curve in space.

    `curve(t)` evaluates it, for one parameter or an array of any shape. Parameters are in the
    curve's own `interval`: [0, 1] for lines, circles and Bezier curves, the angles for ellipses,
    the knot range for spline curves. Methods that change a curve return a new one; only
    `set_control_point`, `transform`, `apply_pending_transform` and `replace` change the curve
    itself.

    >>> curve = Curve.bspline([(0, 0, 0), (1, 2, 0), (2, -1, 1), (3, 1, 0), (4, 0, 0)], degree=3)
    >>> curve
    <Curve 20000, bspline>
    >>> curve.interval
    (0.0, 1.0)
    >>> curve(0.5)
    array([2.  , 0.25, 0.5 ])
    >>> curve([[0.0, 0.1], [0.9, 1.0]]).shape  # many parameters at once
    (2, 2, 3)
    >>> left, right = curve.split(0.5)
    >>> np.isclose(left.length() + right.length(), curve.length())
    True
    """

    __slots__ = ()

    # ---- making ----

    @classmethod
    def line(cls, start: ArrayLike, end: ArrayLike) -> "Curve":
        """The straight line between two points."""
        ends = (*arrays.triple(start, "start"), *arrays.triple(end, "end"))
        return Curve(call("create_curve_line", *ends))

    @classmethod
    def circle(
        cls, center: ArrayLike, radius: float, normal: ArrayLike = Z_AXIS
    ) -> "Curve":
        """A full circle about a normal."""
        middle = arrays.triple(center, "center")
        return Curve(
            call("create_curve_circle", *middle, radius, *arrays.triple(normal, "normal"))
        )

    @classmethod
    def arc(
        cls,
        center: ArrayLike,
        radius: float,
        start: float,
        end: float,
        normal: ArrayLike = Z_AXIS,
    ) -> "Curve":
        """A circular arc between two angles (radians)."""
        middle = arrays.triple(center, "center")
        axis = arrays.triple(normal, "normal")
        return Curve(call("create_arc", *middle, radius, *axis, start, end))

    @classmethod
    def arc_through(cls, start: ArrayLike, through: ArrayLike, end: ArrayLike) -> "Curve":
        """The circular arc through three points."""
        a, b, c = (
            arrays.vector(values, name)
            for values, name in ((start, "start"), (through, "through"), (end, "end"))
        )
        return Curve(call("create_arc_three_points", address(a), address(b), address(c)))

    @classmethod
    def arc_about(
        cls, center: ArrayLike, start: ArrayLike, end: ArrayLike, normal: ArrayLike = Z_AXIS
    ) -> "Curve":
        """The arc about a center from a start, by the right-hand rule, to the direction of an end.

        A full circle where both have the same direction from the center. Of the normal only the
        part across the radius counts.

        >>> Curve.arc_about((0, 0, 0), start=(2, 0, 0), end=(0, 5, 0)).length() / np.pi
        1.0
        """
        a, b, c, d = (
            arrays.vector(values, name)
            for values, name in (
                (center, "center"), (start, "start"), (end, "end"), (normal, "normal")
            )
        )
        made = (address(a), address(b), address(c), address(d))
        return Curve(call("create_arc_center_start_end", *made))

    @classmethod
    def ellipse(
        cls,
        center: ArrayLike,
        major_axis: ArrayLike,
        a: float,
        b: float,
        start: float = 0.0,
        end: float = 2.0 * np.pi,
        normal: ArrayLike = Z_AXIS,
    ) -> "Curve":
        """An ellipse or elliptic arc. The minor axis is z x major axis, whatever the normal."""
        middle, major, axis = (
            arrays.vector(v, name)
            for v, name in ((center, "center"), (major_axis, "major_axis"), (normal, "normal"))
        )
        return Curve(
            call(
                "create_ellipse_enhanced", address(middle), address(major), address(axis), a, b,
                start, end,
            )
        )

    @classmethod
    def bezier(cls, points: ArrayLike) -> "Curve":
        """A Bezier curve of degree n - 1 from (n, 3) control points."""
        net = arrays.points(points)
        return Curve(call("create_curve_bezier", address(net), len(net)))

    @classmethod
    def bspline(
        cls, points: ArrayLike, degree: int = 3, knots: Optional[ArrayLike] = None
    ) -> "Curve":
        """A B-spline curve from (n, 3) control points; clamped uniform knots unless given."""
        net = arrays.points(points)
        if knots is None:
            return Curve(call("create_curve_bspline_clamped", address(net), len(net), degree))
        steps = arrays.shaped(knots, "knots", None)
        return Curve(
            call(
                "create_curve_bspline", address(net), len(net), address(steps), steps.size, degree
            )
        )

    @classmethod
    def nurbs(
        cls, points: ArrayLike, weights: ArrayLike, knots: ArrayLike, degree: int
    ) -> "Curve":
        """A rational B-spline curve."""
        net, steps = arrays.points(points), arrays.shaped(knots, "knots", None)
        heaviness = arrays.shaped(weights, "weights", len(net))
        return Curve(
            call(
                "create_curve_nurbs", address(net), len(net), address(heaviness), address(steps),
                steps.size, degree,
            )
        )

    # ---- changing and deriving ----

    def set_control_point(self, index: int, point: ArrayLike) -> None:
        """Moves a control point of a Bezier, B-spline or NURBS curve, in place; its weight stays.

        ArgumentError for an index outside 0 to n - 1.
        """
        at = arrays.triple(point, "point")
        call("modify_curve_control_point", self, index, *at)

    def transform(self, matrix: ArrayLike) -> None:
        """Moves the curve itself by a 4 by 4 transform.

        A circle or ellipse that would no longer be one becomes its exact NURBS form.

        >>> circle = Curve.circle((0, 0, 0), radius=1.0)
        >>> circle.transform(np.diag([3, 1, 1, 1]))
        >>> circle
        <Curve 20000, nurbs>
        >>> circle.bounding_box
        (array([-3., -1.,  0.]), array([3., 1., 0.]))
        """
        m = arrays.matrix(matrix)
        self._take(call("transform_curve", self, address(m)))

    def copy(self) -> "Curve":
        """Another curve equal to this one."""
        return Curve(call("copy_curve", self))

    def reversed(self) -> "Curve":
        """The curve run through the other way."""
        return Curve(call("reverse_curve", self))

    def offset(self, distance: float, normal: ArrayLike = Z_AXIS) -> "Curve":
        """Offset by a signed distance (model units) to the side normal x tangent.

        >>> Curve.line((0, 0, 0), (1, 0, 0)).offset(0.5)(0.0)
        array([0. , 0.5, 0. ])
        """
        axis = arrays.triple(normal, "normal")
        return Curve(call("create_curve_normal_offset", self, distance, *axis))

    def moved(self, direction: ArrayLike, distance: float) -> "Curve":
        """The curve moved by a distance along a direction."""
        along = arrays.triple(direction, "direction")
        return Curve(call("create_curve_directional_offset", self, *along, distance))

    def split(self, u: float) -> "Tuple[Curve, Curve]":
        """Both exact parts at a parameter."""
        left, right = arrays.int_out(), arrays.int_out()
        call("split_curve", self, u, left, right)
        return Curve(left[0]), Curve(right[0])

    def trim(self, u0: float, u1: float) -> "Curve":
        """The exact part between two parameters, as a new curve.

        >>> Curve.line((0, 0, 0), (4, 0, 0)).trim(0.25, 0.75).length()
        2.0
        """
        return Curve(call("trim_curve", self, u0, u1))

    def trimmed(self, u0: float, u1: float) -> "Curve":
        """The same as `trim`."""
        return self.trim(u0, u1)

    def extended(self, length: float, end: str = "end", natural: bool = False) -> "Curve":
        """Longer by a length at its "start" or "end", straight or by its own shape."""
        side = choice(end, ENDS, "end")
        return Curve(call("extend_curve", self, length, side, int(bool(natural))))

    def elevated(self, times: int = 1) -> "Curve":
        """The same shape on a higher degree."""
        return Curve(call("elevate_curve_degree", self, times))

    def transformed(self, matrix: ArrayLike) -> "Curve":
        """The curve under a 4 by 4 transform."""
        m = arrays.matrix(matrix)
        return Curve(call("transform_curve", self, address(m)))

    def simplified(self, tolerance: float) -> "Curve":
        """A B-spline curve with few control points within a tolerance of this one."""
        return Curve(call("simplify_curve", self, tolerance))

    def rebuilt(self, count: int, degree: int = 3) -> "Tuple[Curve, float]":
        """A B-spline curve of `count` control points near this one, and its greatest deviation."""
        deviation = arrays.double_out()
        curve = Curve(call("rebuild_curve", self, count, degree, deviation))
        return curve, deviation[0]
