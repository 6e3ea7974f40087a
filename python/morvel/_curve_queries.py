"""What curves tell of themselves."""

from __future__ import annotations

from typing import ClassVar, Dict, Optional, Tuple, Union, overload

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, ManyNumbers, address, choice, whole
from ._batches import NUMBER, PAIR, VECTOR, Shape, broadcast_pairs, curve_result, evaluate
from ._files import CURVE_SAMPLES, FilePath, export_shapes
from ._library import Handled, box_of, call, functions, text_of, values_of
from ._transforms import Transformable

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
MOST_SAMPLES = 10_000_000


class CurveQueries(Transformable):
    """What a curve is and where it runs."""

    _kind: ClassVar[int] = 0
    _noun: ClassVar[str] = "curve"
    _deleter: ClassVar[str] = "delete_curve"
    _counter: ClassVar[str] = "get_curves_count"
    _lister: ClassVar[str] = "get_all_curves"
    __slots__ = ()

    # ---- asking ----

    @property
    def type(self) -> str:
        """The kind of curve, e.g. "bspline"."""
        return TYPE_NAMES[call("get_curve_type", self)]

    @property
    def degree(self) -> int:
        """The polynomial degree; MorvelError for curves without one."""
        return int(call("get_curve_degree", self))

    @property
    def is_valid(self) -> bool:
        """Whether the curve's own checks hold."""
        return bool(call("is_curve_valid", self))

    @property
    def info(self) -> str:
        """The kernel's one-line description."""
        return text_of("get_curve_info", self)

    @property
    def control_points(self) -> FloatArray:
        """(n, 3) control points of a Bezier, B-spline or NURBS curve."""
        room = 16
        while True:
            points = arrays.empty_points(room)
            written = call("get_control_points", self, address(points), room)
            if written < room:
                return np.array(points[:written])
            room *= 4

    @property
    def interval(self) -> Tuple[float, float]:
        """The parameters of start and end; a reversed ellipse starts at the larger one."""
        start, end = arrays.double_out(), arrays.double_out()
        call("get_curve_parameter_interval", self, start, end)
        return start[0], end[0]

    @property
    def knots(self) -> FloatArray:
        """The (n + degree + 1,) knots of a B-spline or NURBS curve; MorvelError for others."""
        return values_of("get_curve_knot_vector", self)

    @property
    def weights(self) -> FloatArray:
        """The (n,) weights of a NURBS curve; MorvelError for others."""
        return values_of("get_curve_weights", self)

    @property
    def bounding_box(self) -> Tuple[FloatArray, FloatArray]:
        """The least and the greatest corner of a box that holds the curve."""
        return box_of("get_curve_bounding_box", self)

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

    @overload
    def curvature(self, t: float) -> float:
        ...

    @overload
    def curvature(self, t: ManyNumbers) -> FloatArray:
        ...

    def curvature(self, t: ArrayLike) -> Union[float, FloatArray]:
        """Curvatures of the parameters' shape, in 1 / model units.

        >>> round(Curve.circle((0, 0, 0), radius=4.0).curvature(0.3), 9)
        0.25
        """
        return self._evaluate("evaluate_curve_curvature_batch", t, NUMBER)

    @overload
    def length(self, t0: Optional[float] = None, t1: Optional[float] = None) -> float:
        ...

    @overload
    def length(self, t0: ManyNumbers, t1: Optional[ArrayLike] = None) -> FloatArray:
        ...

    @overload
    def length(self, t0: Optional[float], t1: ManyNumbers) -> FloatArray:
        ...

    def length(
        self, t0: Optional[ArrayLike] = None, t1: Optional[ArrayLike] = None
    ) -> Union[float, FloatArray]:
        """Arc lengths from t0 to t1, in model units, to 1e-8.

        >>> Curve.line((0, 0, 0), (3, 4, 0)).length()
        5.0
        >>> Curve.line((0, 0, 0), (3, 4, 0)).length(0, [0.2, 0.4])
        array([1., 2.])

        Args:
            t0: parameters of any shape that broadcasts with t1; the curve's start unless given.
            t1: the curve's end unless given.
        """
        start, end = self.interval
        ranges = broadcast_pairs(start if t0 is None else t0, end if t1 is None else t1)
        return self._evaluate("evaluate_curve_length_batch", ranges, NUMBER, item=PAIR)

    def closest(self, points: ArrayLike) -> FloatArray:
        """Parameters (...) of the closest points of the curve to points (..., 3).

        A B-spline curve is searched from the middle of its interval only.

        >>> Curve.line((0, 0, 0), (4, 0, 0)).closest([(1, 2, 0), (9, 0, 0)])
        array([0.25, 1.  ])
        """
        name = "get_curve_closest_parameter_batch"
        return self._evaluate(name, points, NUMBER, item=VECTOR)

    def _evaluate(
        self, name: str, t: ArrayLike, result: Shape, *order: int, item: Shape = NUMBER
    ) -> FloatArray:
        return evaluate(name, self, t, item, result, *order)

    def polyline(self) -> FloatArray:
        """(100, 3) points at equal parameter steps over the whole curve."""
        count = functions["get_curve_point_count"](self)
        points = arrays.empty_points(count)
        call("get_curve_mesh_data", self, address(points), count)
        return points

    def sample(
        self, count: int = 100, by: str = "parameter", tolerance: float = 1e-3
    ) -> FloatArray:
        """(n, 3) points along the curve.

        >>> Curve.line((0, 0, 0), (3, 0, 0)).sample(4)[:, 0]
        array([0., 1., 2., 3.])

        Args:
            count: how many, 2 to 10 000 000; not used for by="adaptive".
            by: "parameter" or "length" for equal steps of either, "adaptive" for a polyline whose
                chords stay within `tolerance` (model units) of the curve.
        """
        mode, room = choice(by, SAMPLING, "by"), whole(count, "count", 2, MOST_SAMPLES)
        points, used = arrays.empty_points(room), arrays.int_out()
        arguments = (self, mode, count, tolerance)
        name, too_small = "sample_curve_advanced", -5
        first = call(name, *arguments, address(points), room, used, passing=[too_small])
        if first == too_small:
            points = arrays.empty_points(used[0])
            call(name, *arguments, address(points), len(points), used)
        return points[: used[0]]

    def export(
        self, path: FilePath, samples: int = CURVE_SAMPLES, tolerance: Optional[float] = None
    ) -> None:
        """Writes the curve as a polyline: OBJ, PLY or GLB, as the extension says.

        Args:
            path: where; an earlier file is replaced.
            samples: points at equal parameter steps, 2 to 10 000 000.
            tolerance: in model units; replaces `samples` by as many points as keep the chords
                within it (100 000 at most).

        Raises:
            ArgumentError: another extension (STL holds no curves).
            MorvelError: the file cannot be written; nothing is left of it then.
        """
        export_shapes(path, [], [self], curve_samples=samples, tolerance=tolerance)

    def properties(self) -> Dict[str, object]:
        """Centre, axes, radii and angles (radians) of a circle, arc or ellipse.

        >>> Curve.circle((1, 2, 3), radius=2.0).properties()["radius"]
        2.0
        """
        return _ellipse(self) if self.type == "ellipse" else _arc(self)

    def _describe(self) -> str:
        return f", {self.type}"


def _arc(curve: Handled) -> Dict[str, object]:
    center, normal, numbers = np.empty(3), np.empty(3), np.empty(4)
    outs = [address(numbers[k:]) for k in range(4)]
    call("get_arc_properties", curve, address(center), address(normal), *outs)
    radius, start, end, length = arrays.as_tuple(numbers)
    return dict(center=center, normal=normal, radius=radius, start=start, end=end, length=length)


def _ellipse(curve: Handled) -> Dict[str, object]:
    center, major, normal, numbers = np.empty(3), np.empty(3), np.empty(3), np.empty(4)
    outs = [address(numbers[k:]) for k in range(4)]
    vectors = (address(center), address(major), address(normal))
    call("get_ellipse_properties", curve, *vectors, *outs)
    a, b, start, end = arrays.as_tuple(numbers)
    return dict(center=center, major_axis=major, normal=normal, a=a, b=b, start=start, end=end)
