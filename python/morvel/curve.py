"""Curves."""

from __future__ import annotations

from typing import ClassVar, Dict, Optional, Tuple

import numpy as np
from numpy.typing import ArrayLike

from . import _arrays as arrays
from ._arrays import FloatArray, address
from ._batches import NUMBER, PAIR, VECTOR, Shape, broadcast_pairs, curve_result, evaluate
from ._handles import Registered
from ._library import box_of, call, functions, text_of, values_of

TYPE_NAMES = {
    0: "curve",
    1: "line",
    2: "circle",
    3: "bezier",
    4: "bspline",
    5: "nurbs",
    6: "ellipse",
    7: "curve on surface",
    8: "offset",
}
SAMPLING = {"parameter": 0, "length": 1, "adaptive": 2}
Z_AXIS = (0.0, 0.0, 1.0)


class Curve(Registered):
    """A curve in space.

    `curve(t)` evaluates it, for one parameter or an array of any shape. Parameters are in the
    curve's own `interval`: [0, 1] for lines, circles and Bezier curves, the angles for ellipses,
    the knot range for spline curves. Methods that change a curve return a new one; only
    `set_control_point` changes the curve itself.
    """

    _kind: ClassVar[int] = 0
    _deleter: ClassVar[str] = "delete_curve"
    _counter: ClassVar[str] = "get_curves_count"
    _lister: ClassVar[str] = "get_all_curves"
    __slots__ = ()

    # ---- making ----

    @classmethod
    def line(cls, start: ArrayLike, end: ArrayLike) -> "Curve":
        """The straight line between two points."""
        ends = (*arrays.triple(start, "start"), *arrays.triple(end, "end"))
        return cls(call("create_curve_line", *ends))

    @classmethod
    def circle(
        cls, center: ArrayLike, radius: float, normal: ArrayLike = Z_AXIS
    ) -> "Curve":
        """A full circle about a normal."""
        middle = arrays.triple(center, "center")
        return cls(
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
        return cls(call("create_arc", *middle, radius, *axis, start, end))

    @classmethod
    def arc_through(cls, start: ArrayLike, through: ArrayLike, end: ArrayLike) -> "Curve":
        """The circular arc through three points."""
        a, b, c = (arrays.vector(p, "a point") for p in (start, through, end))
        return cls(call("create_arc_three_points", address(a), address(b), address(c)))

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
        return cls(
            call(
                "create_ellipse_enhanced", address(middle), address(major), address(axis), a, b,
                start, end,
            )
        )

    @classmethod
    def bezier(cls, points: ArrayLike) -> "Curve":
        """A Bezier curve of degree n - 1 from (n, 3) control points."""
        net = arrays.points(points)
        return cls(call("create_curve_bezier", address(net), len(net)))

    @classmethod
    def bspline(
        cls, points: ArrayLike, degree: int = 3, knots: Optional[ArrayLike] = None
    ) -> "Curve":
        """A B-spline curve from (n, 3) control points; clamped uniform knots unless given."""
        net = arrays.points(points)
        if knots is None:
            return cls(call("create_curve_bspline_clamped", address(net), len(net), degree))
        steps = arrays.floats(knots)
        return cls(
            call(
                "create_curve_bspline", address(net), len(net), address(steps), steps.size, degree
            )
        )

    @classmethod
    def nurbs(
        cls, points: ArrayLike, weights: ArrayLike, knots: ArrayLike, degree: int
    ) -> "Curve":
        """A rational B-spline curve."""
        net, steps = arrays.points(points), arrays.floats(knots)
        heaviness = arrays.floats(weights)
        if heaviness.shape != (len(net),):
            raise ValueError(f"{len(net)} points need as many weights, not {heaviness.shape}")
        return cls(
            call(
                "create_curve_nurbs", address(net), len(net), address(heaviness), address(steps),
                steps.size, degree,
            )
        )

    # ---- asking ----

    @property
    def type(self) -> str:
        """The kind of curve, e.g. "bspline"."""
        return TYPE_NAMES[call("get_curve_type", self.handle)]

    @property
    def degree(self) -> int:
        """The polynomial degree; MorvelError for curves without one."""
        return int(call("get_curve_degree", self.handle))

    @property
    def is_valid(self) -> bool:
        """Whether the curve's own checks hold."""
        return bool(call("is_curve_valid", self.handle))

    @property
    def info(self) -> str:
        """The kernel's one-line description."""
        return text_of("get_curve_info", self.handle)

    @property
    def control_points(self) -> FloatArray:
        """(n, 3) control points of a Bezier, B-spline or NURBS curve."""
        room = 16
        while True:
            points = arrays.empty_points(room)
            written = call("get_control_points", self.handle, address(points), room)
            if written < room:
                return points[:written].copy()
            room *= 4

    @property
    def interval(self) -> Tuple[float, float]:
        """The parameters of start and end; a reversed ellipse starts at the larger one."""
        start, end = arrays.double_out(), arrays.double_out()
        call("get_curve_parameter_interval", self.handle, start, end)
        return start[0], end[0]

    @property
    def knots(self) -> FloatArray:
        """The (n + degree + 1,) knots of a B-spline or NURBS curve; MorvelError for others."""
        return values_of("get_curve_knot_vector", self.handle)

    @property
    def weights(self) -> FloatArray:
        """The (n,) weights of a NURBS curve; MorvelError for others."""
        return values_of("get_curve_weights", self.handle)

    @property
    def bounding_box(self) -> Tuple[FloatArray, FloatArray]:
        """The least and the greatest corner of a box that holds the curve."""
        return box_of("get_curve_bounding_box", self.handle)

    # ---- evaluating: parameters of any shape, one call of the kernel ----

    def __call__(self, t: ArrayLike) -> FloatArray:
        """Points: (..., 3) for parameters of shape (...), so (3,) for one number.

        Parameters are in `interval`; ArgumentError where one is not finite.
        """
        return self._evaluate("evaluate_curve_batch", t, VECTOR, 0)

    def point(self, t: ArrayLike) -> FloatArray:
        """The same as calling the curve."""
        return self(t)

    def derivatives(self, t: ArrayLike, order: int) -> FloatArray:
        """(..., order + 1, 3): the points and their derivatives.

        Args:
            t: parameters of shape (...).
            order: the highest derivative, 0 to 10; ValueError outside.
        """
        return self._evaluate("evaluate_curve_batch", t, curve_result(order), order)

    def tangent(self, t: ArrayLike) -> FloatArray:
        """(..., 3) unit tangents for parameters of shape (...).

        The zero vector where the first derivative is shorter than 1e-4.
        """
        return self._evaluate("evaluate_curve_tangent_batch", t, VECTOR)

    def normal(self, t: ArrayLike) -> FloatArray:
        """(..., 3) unit principal normals."""
        return self._evaluate("evaluate_curve_normal_batch", t, VECTOR)

    def curvature(self, t: ArrayLike) -> FloatArray:
        """Curvatures of the parameters' shape, in 1 / model units."""
        return self._evaluate("evaluate_curve_curvature_batch", t, NUMBER)

    def length(self, t0: Optional[ArrayLike] = None, t1: Optional[ArrayLike] = None) -> FloatArray:
        """Arc lengths from t0 to t1, in model units, to 1e-8.

        Args:
            t0: parameters of any shape that broadcasts with t1; the curve's start unless given.
            t1: the curve's end unless given.
        """
        start, end = self.interval
        ranges = broadcast_pairs(start if t0 is None else t0, end if t1 is None else t1)
        return evaluate("evaluate_curve_length_batch", self.handle, ranges, PAIR, NUMBER)

    def closest(self, points: ArrayLike) -> FloatArray:
        """Parameters (...) of the closest points of the curve to points (..., 3).

        A B-spline curve is searched from the middle of its interval only.
        """
        name = "get_curve_closest_parameter_batch"
        return evaluate(name, self.handle, points, VECTOR, NUMBER)

    def _evaluate(self, name: str, t: ArrayLike, result: Shape, *order: int) -> FloatArray:
        return evaluate(name, self.handle, t, NUMBER, result, *order)

    def polyline(self) -> FloatArray:
        """(100, 3) points at equal parameter steps over the whole curve."""
        count = functions["get_curve_point_count"](self.handle)
        points = arrays.empty_points(count)
        call("get_curve_mesh_data", self.handle, address(points), count)
        return points

    def sample(
        self, count: int = 100, by: str = "parameter", tolerance: float = 1e-3
    ) -> FloatArray:
        """(n, 3) points along the curve.

        Args:
            count: how many; not used for by="adaptive".
            by: "parameter" or "length" for equal steps of either, "adaptive" for a polyline whose
                chords stay within `tolerance` of the curve.
        """
        if by not in SAMPLING:
            raise ValueError(f"by must be one of {', '.join(SAMPLING)}, not {by!r}")
        room, used = max(count, 1), arrays.int_out()
        points = arrays.empty_points(room)
        arguments = (self.handle, SAMPLING[by], count, tolerance)
        function = functions["sample_curve_advanced"]
        if function(*arguments, address(points), room, used) == -5:
            room = used[0]
            points = arrays.empty_points(room)
        call("sample_curve_advanced", *arguments, address(points), room, used)
        return points[: used[0]]

    # ---- changing and deriving ----

    def set_control_point(self, index: int, point: ArrayLike) -> None:
        """Moves a control point of a Bezier, B-spline or NURBS curve, in place; its weight stays.

        ArgumentError for an index outside 0 to n - 1.
        """
        at = arrays.triple(point, "point")
        call("modify_curve_control_point", self.handle, index, *at)

    def copy(self) -> "Curve":
        """Another curve equal to this one."""
        return Curve(call("copy_curve", self.handle))

    def reversed(self) -> "Curve":
        """The curve run through the other way."""
        return Curve(call("reverse_curve", self.handle))

    def offset(self, distance: float, normal: ArrayLike = Z_AXIS) -> "Curve":
        """Offset by a signed distance to the side normal x tangent."""
        axis = arrays.triple(normal, "normal")
        return Curve(call("create_curve_normal_offset", self.handle, distance, *axis))

    def moved(self, direction: ArrayLike, distance: float) -> "Curve":
        """The curve moved by a distance along a direction."""
        along = arrays.triple(direction, "direction")
        return Curve(call("create_curve_directional_offset", self.handle, *along, distance))

    def split(self, u: float) -> "Tuple[Curve, Curve]":
        """Both exact parts at a parameter."""
        left, right = arrays.int_out(), arrays.int_out()
        call("split_curve", self.handle, u, left, right)
        return Curve(left[0]), Curve(right[0])

    def trimmed(self, u0: float, u1: float) -> "Curve":
        """The exact part between two parameters."""
        return Curve(call("trim_curve", self.handle, u0, u1))

    def extended(self, length: float, end: str = "end", natural: bool = False) -> "Curve":
        """Longer by a length at its "start" or "end", straight or by its own shape."""
        sides = {"start": 0, "end": 1}
        if end not in sides:
            raise ValueError(f"end must be 'start' or 'end', not {end!r}")
        return Curve(call("extend_curve", self.handle, length, sides[end], int(natural)))

    def elevated(self, times: int = 1) -> "Curve":
        """The same shape on a higher degree."""
        return Curve(call("elevate_curve_degree", self.handle, times))

    def transformed(self, matrix: ArrayLike) -> "Curve":
        """The curve under a 4 by 4 transform."""
        m = arrays.matrix(matrix)
        return Curve(call("transform_curve", self.handle, address(m)))

    def simplified(self, tolerance: float) -> "Curve":
        """A B-spline curve with few control points within a tolerance of this one."""
        return Curve(call("simplify_curve", self.handle, tolerance))

    def rebuilt(self, count: int, degree: int = 3) -> "Tuple[Curve, float]":
        """A B-spline curve of `count` control points near this one, and its greatest deviation."""
        deviation = arrays.double_out()
        curve = Curve(call("rebuild_curve", self.handle, count, degree, deviation))
        return curve, deviation[0]

    def properties(self) -> Dict[str, object]:
        """Centre, axes, radii and angles of a circle, arc or ellipse."""
        return _ellipse(self.handle) if self.type == "ellipse" else _arc(self.handle)

    def _describe(self) -> str:
        return f", {self.type}"


def _arc(handle: int) -> Dict[str, object]:
    center, normal, numbers = np.empty(3), np.empty(3), np.empty(4)
    outs = [address(numbers[k:]) for k in range(4)]
    call("get_arc_properties", handle, address(center), address(normal), *outs)
    radius, start, end, length = arrays.as_tuple(numbers)
    return dict(center=center, normal=normal, radius=radius, start=start, end=end, length=length)


def _ellipse(handle: int) -> Dict[str, object]:
    center, major, normal, numbers = np.empty(3), np.empty(3), np.empty(3), np.empty(4)
    outs = [address(numbers[k:]) for k in range(4)]
    vectors = (address(center), address(major), address(normal))
    call("get_ellipse_properties", handle, *vectors, *outs)
    a, b, start, end = arrays.as_tuple(numbers)
    return dict(center=center, major_axis=major, normal=normal, a=a, b=b, start=start, end=end)
