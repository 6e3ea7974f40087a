"""What a failed call of the kernel becomes."""

from __future__ import annotations

from typing import Dict, Type

BAD_ARGUMENT = -1
TOO_SMALL = -2
UNKNOWN_HANDLE = -3


class MorvelError(Exception):
    """A function of the kernel failed.

    Attributes:
        code: the result that the function returned.
        function: the name of the exported function.
        text: the kernel's own words; empty where it gave none.

    >>> try:
    ...     Surface.sphere((0, 0, 0), 1.0).degrees
    ... except MorvelError as fault:
    ...     print(fault.code, fault.function, fault.text, sep="; ")
    -7; get_surface_u_degree; Surface type does not have a degree
    """

    def __init__(self, function: str, code: int, text: str = "") -> None:
        super().__init__(function, code, text)
        self.function = function
        self.code = code
        self.text = text

    def __str__(self) -> str:
        said = self.text.removeprefix(f"{self.function}: ")
        return f"{self.function}: {said or 'failed'} (code {self.code})"


class ArgumentError(MorvelError, ValueError):
    """An argument was refused: a `MorvelError` that is a `ValueError` too.

    >>> Curve.circle((0, 0, 0), radius=-1.0)
    Traceback (most recent call last):
        ...
    morvel.ArgumentError: create_curve_circle: Radius must be positive (code -1)
    """


class HandleError(MorvelError, KeyError):
    """The object behind a handle is gone, or was never there: a `KeyError` too.

    >>> ball = Surface.sphere((0, 0, 0), 1.0)
    >>> ball.close()
    >>> ball.area()
    Traceback (most recent call last):
        ...
    morvel.HandleError: Surface: 40000 is closed (code -3)
    """

    __str__ = MorvelError.__str__


class Cancelled(MorvelError):
    """The progress function asked the kernel to stop. Nothing was stored.

    Attributes:
        fraction: how far the call had come, from 0 to 1.
        stage: the kernel's name for the step that it was at.

    >>> try:
    ...     with morvel.progress(lambda fraction, stage: True):
    ...         Surface.sphere((0, 0, 0), 1.0).to_bspline()
    ... except morvel.Cancelled as stopped:
    ...     print(stopped.text)
    cancelled in stage 'converting to spline form' at 0 %
    """

    def __init__(self, function: str, code: int, fraction: float, stage: str) -> None:
        text = f"cancelled in stage '{stage}' at {100 * fraction:.0f} %"
        super().__init__(function, code, text)
        self.args = (function, code, fraction, stage)  # what a copy is made of
        self.fraction = fraction
        self.stage = stage


_USUAL: Dict[int, Type[MorvelError]] = {
    BAD_ARGUMENT: ArgumentError,
    TOO_SMALL: ArgumentError,
    UNKNOWN_HANDLE: HandleError,
}
#: Families and functions whose codes mean something else, by the beginnings of their names.
_OWN: Dict[str, Dict[int, Type[MorvelError]]] = {
    "create_surface_revolve": {-3: ArgumentError},
    "create_surface_engine": {-2: MorvelError, -3: MorvelError},
    "initialize_surface_engine": {0: ArgumentError, -2: MorvelError},
    "fit_surface_engine": {-2: MorvelError},
    "register_surface_engine": {-2: MorvelError},
    "create_rectangular_trimmed_surface": {-3: ArgumentError, -4: ArgumentError},
    "create_trimmed_surface_with_circular_hole": {-3: ArgumentError},
    "create_wire_trimmed_surface": {-3: ArgumentError},
    "snip_surface_with_plane": {-3: ArgumentError, -4: ArgumentError},
    "snip_surface_with_wire_3d": {-3: ArgumentError},
    "get_trimmed_surface_info": {-2: HandleError, -3: MorvelError},
    "validate_trimmed_surface": {-2: HandleError, -3: MorvelError},
}


def error_for(function: str, code: int, text: str) -> MorvelError:
    """The exception that fits a result code of a function."""
    for beginning, kinds in _OWN.items():
        if function.startswith(beginning) and code in kinds:
            return kinds[code](function, code, text)
    return _USUAL.get(code, MorvelError)(function, code, text)


for _kind in (MorvelError, ArgumentError, HandleError, Cancelled):
    _kind.__module__ = "morvel"  # where they are found, as tracebacks show them
