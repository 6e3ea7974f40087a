"""Surfaces near unordered points and through grids of points."""

from __future__ import annotations

from typing import Any, NamedTuple, Optional, Tuple

import numpy as np
from numpy.typing import ArrayLike

from . import _arrays as arrays
from ._arrays import FloatArray, address, int_out
from ._errors import BAD_ARGUMENT, MorvelError
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


def _coded(value: str, codes: "dict[str, int]", what: str) -> int:
    if value not in codes:
        raise ValueError(f"{what} must be one of {sorted(codes)}, not {value!r}")
    return codes[value]


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
    """As `fit_surface`, with what the fit says about itself."""
    array = arrays.points(points)
    counts = control_counts or (0, 0)
    coded_method, coded_mode = _coded(method, METHODS, "method"), _coded(mode, MODES, "mode")
    given = (address(array), len(array), *degrees, *counts)
    if mode == "expert":
        number = call(
            "create_surface_engine1_with_expert_options",
            *given,
            _PARAMETERIZATION_FREE,
            int(condition_analysis),
            int(regularize),
            float(regularization),
            0,
            0,
            0,
            _DEFAULT_TOLERANCE,
            float(condition_threshold),
        )
    else:
        number = call("create_surface_engine1_with_fitting_mode", *given, coded_mode)
    with _Engine("surface_engine1", number) as engine:
        call_expecting(1, "initialize_surface_engine1", number)
        call_expecting(1, "fit_surface_engine1", number, coded_method)
        numbers, times = [arrays.double_out() for _ in range(3)], arrays.double_out(3)
        call("get_surface_engine1_report", number, *numbers, times)
        report = FitReport(
            *(value[0] for value in numbers),
            *times,
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
    number = call("create_surface_engine2", address(grid), *grid.shape[:2], *degrees, 0)
    engine = _Engine("surface_engine2", number)
    try:
        call_expecting(1, "initialize_surface_engine2", number)
        call_expecting(1, "create_surface_engine2_interpolated_surface", number)
    except MorvelError:
        engine.close()
        raise
    return engine


def interpolate_grid_with_report(
    grid: ArrayLike, degrees: Tuple[int, int] = (3, 3)
) -> Tuple[Surface, GridReport]:
    """As `interpolate_grid`, with the parameters of rows and columns and the deviation."""
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
    """
    with _interpolated(arrays.net(grid), degrees) as engine:
        return Surface(call("register_surface_engine2_in_main_system", engine.number))
