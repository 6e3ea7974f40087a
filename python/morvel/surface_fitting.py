"""Surfaces near unordered points and through grids of points."""

from __future__ import annotations

from typing import Any, NamedTuple, Optional, Tuple

import numpy as np

from . import _arrays as arrays
from ._arrays import ArrayLike, FloatArray, address, choice, int_out, two
from ._errors import BAD_ARGUMENT
from ._library import call, call_expecting, failure, functions, text_of
from .surface import Surface

METHODS = {"plane": 2, "hull": 3, "pca": 4, "automatic": 5}
MODES = {"fast": 0, "smart": 1, "expert": 2}
_PARAMETERIZATION_FREE = 2  # of the expert options; the method is named at the fit
_DEFAULT_LAMBDA = 1e-6
_DEFAULT_THRESHOLD = 1e12
_DEFAULT_TOLERANCE = 1e-6


class FitReport(NamedTuple):
    """How well a surface fits its points."""

    max_deviation: float  #: distance of a point to the surface at the point's parameters
    rms_deviation: float
    condition_number: float  #: of the normal equations; 1e6 where it was not computed
    total_ms: float
    parameterization_ms: float
    solve_ms: float
    method: str
    warnings: Tuple[str, ...]
    parameters: FloatArray  #: (n, 2), u and v of each point


class GridReport(NamedTuple):
    """How a surface goes through its grid."""

    max_deviation: float  #: on the stored knots, as `surface.exact` evaluates it
    u_parameters: FloatArray  #: of the rows
    v_parameters: FloatArray  #: of the columns


class _Engine:
    """An engine of the kernel for the length of a `with` block."""

    def __init__(self, kind: str, number: int) -> None:
        self.kind, self.number = kind, number

    def __enter__(self) -> "_Engine":
        return self

    def __exit__(self, *_: Any) -> None:
        self.close()

    def close(self) -> None:
        functions[f"destroy_{self.kind}"](self.number)

    def parameters(self, name: str, count: int) -> FloatArray:
        values, used = np.empty(count), int_out()
        call(f"get_{self.kind}_{name}_parameters", self.number, address(values), count, used)
        return values[: used[0]]


def fit_surface_with_report(
    points: ArrayLike,
    control_counts: Optional[Tuple[int, int]] = None,
    degrees: Tuple[int, int] = (3, 3),
    method: str = "automatic",
    mode: str = "expert",
    condition_analysis: bool = False,
    regularize: bool = False,
    regularization: float = _DEFAULT_LAMBDA,
    condition_threshold: float = _DEFAULT_THRESHOLD,
) -> Tuple[Surface, FitReport]:
    """As `fit_surface`, with what the fit says about itself.

    >>> xy = np.random.default_rng(1).uniform(-1, 1, (500, 2))
    >>> with morvel.quiet():
    ...     surface, report = morvel.fit_surface_with_report(np.column_stack([xy, xy.prod(axis=1)]))
    >>> report.max_deviation < 0.01, report.parameters.shape
    (True, (500, 2))
    """
    array = arrays.points(points)
    counts = (0, 0) if control_counts is None else two(control_counts, "control_counts")
    coded_method, coded_mode = choice(method, METHODS, "method"), choice(mode, MODES, "mode")
    given = (address(array), len(array), *two(degrees, "degrees"), *counts)
    if mode == "expert":
        number = call(
            "create_surface_engine1_with_expert_options",
            *given,
            _PARAMETERIZATION_FREE,
            int(bool(condition_analysis)),
            int(bool(regularize)),
            regularization,
            0,
            0,
            0,
            _DEFAULT_TOLERANCE,
            condition_threshold,
        )
    else:
        number = call("create_surface_engine1_with_fitting_mode", *given, coded_mode)
    with _Engine("surface_engine1", number) as engine:
        call_expecting(1, "initialize_surface_engine1", number)
        call_expecting(1, "fit_surface_engine1", number, coded_method)
        numbers, times = [arrays.double_out() for _ in range(3)], arrays.double_out(3)
        call("get_surface_engine1_report", number, *numbers, times)
        report = FitReport(
            numbers[0][0],
            numbers[1][0],
            numbers[2][0],
            times[0],
            times[1],
            times[2],
            text_of("get_surface_engine1_method", number),
            tuple(text_of("get_surface_engine1_warnings", number).splitlines()),
            np.column_stack([engine.parameters(name, len(array)) for name in "uv"]),
        )
        return Surface(call("register_surface_engine1_in_main_system", number)), report


def fit_surface(
    points: ArrayLike,
    control_counts: Optional[Tuple[int, int]] = None,
    degrees: Tuple[int, int] = (3, 3),
    method: str = "automatic",
    mode: str = "expert",
    **options: Any,
) -> Surface:
    """The least-squares B-spline surface near (n, 3) points in no order, n at least 4.

    >>> xy = np.random.default_rng(1).uniform(-1, 1, (500, 2))
    >>> with morvel.quiet():
    ...     surface = morvel.fit_surface(np.column_stack([xy, xy.prod(axis=1)]))
    >>> surface
    <Surface 40001, bspline_surface>

    Args:
        control_counts: of the net in u and v; by the number of points where it is not given. Either
            is capped at sqrt(n) / (larger degree + 1), but never below 4.
        method: the projection that gives the points their parameters: onto the least-squares
            "plane", the smallest rectangle about the "hull", the principal axes ("pca"), or chosen
            by the data ("automatic").
        mode: "fast" leaves the condition number alone, "smart" computes it, "expert" takes
            `condition_analysis`, `regularize`, `regularization` (times the largest singular value)
            and `condition_threshold` (above it the fit is regularised) from `options`.
    """
    return fit_surface_with_report(points, control_counts, degrees, method, mode, **options)[0]


def _interpolated(grid: FloatArray, degrees: Tuple[int, int]) -> _Engine:
    given = (address(grid), *grid.shape[:2], *two(degrees, "degrees"), 0)
    number = call("create_surface_engine2", *given)
    engine = _Engine("surface_engine2", number)
    try:
        call_expecting(1, "initialize_surface_engine2", number)
        call_expecting(1, "create_surface_engine2_interpolated_surface", number)
    except BaseException:
        engine.close()
        raise
    return engine


def interpolate_grid_with_report(
    grid: ArrayLike, degrees: Tuple[int, int] = (3, 3)
) -> Tuple[Surface, GridReport]:
    """As `interpolate_grid`, with the parameters of rows and columns and the deviation.

    >>> x, y = np.meshgrid([0.0, 1, 3, 4], [0.0, 2, 3, 4], indexing="ij")
    >>> grid = np.stack([x, y, x * y], axis=-1)
    >>> with morvel.quiet():
    ...     surface, report = morvel.interpolate_grid_with_report(grid)
    >>> uv = np.stack(np.meshgrid(report.u_parameters, report.v_parameters, indexing="ij"), axis=-1)
    >>> np.allclose(surface.exact(uv), grid)
    True
    """
    array = arrays.net(grid)
    with _interpolated(array, degrees) as engine:
        deviation = functions["get_surface_engine2_max_deviation"](engine.number)
        if deviation < 0:
            raise failure("get_surface_engine2_max_deviation", BAD_ARGUMENT)
        u, v = (engine.parameters(name, n) for name, n in zip("uv", array.shape))
        surface = Surface(call("register_surface_engine2_in_main_system", engine.number))
        return surface, GridReport(deviation, u, v)


def interpolate_grid(grid: ArrayLike, degrees: Tuple[int, int] = (3, 3)) -> Surface:
    """The B-spline surface through a (rows, columns, 3) grid of points; u runs from row to row.

    It passes through the grid on its stored knots: `surface.exact` at the parameters that
    `interpolate_grid_with_report` tells. Either degree is below the number of rows or columns.

    >>> x, y = np.meshgrid(np.arange(4.0), np.arange(5.0), indexing="ij")
    >>> with morvel.quiet():
    ...     surface = morvel.interpolate_grid(np.stack([x, y, x * y], axis=-1))
    >>> surface.control_points.shape
    (4, 5, 3)
    """
    with _interpolated(arrays.net(grid), degrees) as engine:
        return Surface(call("register_surface_engine2_in_main_system", engine.number))
