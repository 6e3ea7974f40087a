"""The shared library, with every exported function typed from the one list of signatures."""

from __future__ import annotations

import ctypes
import os
import re
from ctypes.util import find_library
from pathlib import Path
from typing import Any, Callable, Container, Dict, Iterable, Iterator, List, Optional, Sequence
from typing import Tuple

import numpy as np

from ._arrays import MOST, FloatArray, address, int_out, number, point_out, whole
from ._errors import Cancelled, HandleError, MorvelError, error_for
from ._gate import begin, calls, empty, turn, waiting
from ._signatures import SIGNATURES, VERSION

LIBRARY_VARIABLE = "MORVEL_LIBRARY"  # a path to libmorvel.so that goes before all others
LIBRARY_NAME = "libmorvel.so.1"
TEXT_SIZE = 1024
USUAL_COUNT = 64  # knots or weights; where there are more they are asked for again


class Point(ctypes.Structure):
    """A point by value, as the interface returns it."""

    _fields_ = [("x", ctypes.c_double), ("y", ctypes.c_double), ("z", ctypes.c_double)]


class SurfaceData(ctypes.Structure):
    """The library's own mesh record; `free_surface_data` releases it."""

    _fields_ = [
        ("vertices", ctypes.POINTER(ctypes.c_double)),
        ("vertexCount", ctypes.c_int32),
        ("indices", ctypes.POINTER(ctypes.c_int32)),
        ("indexCount", ctypes.c_int32),
        ("surfaceId", ctypes.c_int32),
    ]


class MeshData(ctypes.Structure):
    """A mesh that the library read from a file; `free_mesh_data` releases it."""

    _fields_ = [
        ("vertices", ctypes.POINTER(ctypes.c_double)),
        ("normals", ctypes.POINTER(ctypes.c_double)),
        ("uv", ctypes.POINTER(ctypes.c_double)),
        ("vertexCount", ctypes.c_int32),
        ("triangles", ctypes.POINTER(ctypes.c_int32)),
        ("triangleCount", ctypes.c_int32),
    ]


class TrimOptions(ctypes.Structure):
    """How trimmed surfaces judge their loops; only the first member matters to the kernel."""

    _fields_ = [
        ("boundaryTolerance", ctypes.c_double),
        ("approximationTolerance", ctypes.c_double),
        ("firstSwitch", ctypes.c_int),
        ("secondSwitch", ctypes.c_int),
        ("thirdSwitch", ctypes.c_int),
        ("hostValue", ctypes.c_int),
    ]


#: The host's function for lines; whoever hands one over keeps it alive.
LogCallback = ctypes.CFUNCTYPE(None, ctypes.c_int, ctypes.c_char_p, ctypes.c_void_p)

#: The host's function for progress; likewise.
ProgressCallback = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_double, ctypes.c_char_p, ctypes.c_void_p)

NO_CALLBACK: Any = ctypes.cast(0, LogCallback)
NO_PROGRESS: Any = ctypes.cast(0, ProgressCallback)

_VALUES: Dict[str, Any] = {
    "void": None,
    "int": ctypes.c_int,
    "bool": ctypes.c_bool,
    "double": ctypes.c_double,
    "MorvelPoint3D": Point,
    "const char*": ctypes.c_char_p,
    "const void*": ctypes.c_void_p,  # a borrowed C++ object
    "MorvelSurfaceData*": ctypes.POINTER(SurfaceData),
    "MorvelMeshData*": ctypes.POINTER(MeshData),
    "MorvelLogCallback": LogCallback,
    "MorvelProgressCallback": ProgressCallback,
}


def _ctype(c_type: str) -> Any:
    """Arrays go as bare addresses, so that numpy's memory needs no copy; so do unnamed records."""
    if c_type in _VALUES:
        return _VALUES[c_type]
    if c_type.endswith("*"):
        return ctypes.c_void_p
    raise TypeError(f"the C type '{c_type}' has no Python counterpart")


def _candidates() -> Iterator[str]:
    named = os.environ.get(LIBRARY_VARIABLE)
    if named:
        yield named
        return
    here = Path(__file__).resolve().parent
    root = here.parents[1]
    installed = here.parents[2]  # the prefix's lib: installed, the package is two folders below it
    for folder in (here, root / "build" / "release", root / "build" / "dev", installed):
        yield str(folder / LIBRARY_NAME)
        yield str(folder / "lib" / LIBRARY_NAME)
    yield LIBRARY_NAME
    found = find_library("morvel")
    if found:
        yield found


def _load() -> ctypes.CDLL:
    tried: List[str] = []
    for name in _candidates():
        if os.sep in name and not Path(name).exists():
            tried.append(name)
            continue
        try:
            return ctypes.CDLL(name)
        except OSError as fault:
            tried.append(str(fault))
    raise ImportError(
        f"libmorvel.so was not found; build it with ./run demo, or set {LIBRARY_VARIABLE} to its "
        "path. Tried: " + "; ".join(tried)
    )


class Handled:
    """Something that the kernel knows by a number; calls take it as it is."""

    __slots__ = ()

    @property
    def handle(self) -> int:
        """The number."""
        raise NotImplementedError


def _typed(library: ctypes.CDLL) -> Dict[str, Any]:
    functions: Dict[str, Any] = {}
    for name, (result, parameters, doc) in SIGNATURES.items():
        try:
            function = getattr(library, name)
        except AttributeError:
            raise ImportError(
                f"{library._name} is another version's: package {VERSION} needs its {name}"
            ) from None
        function.restype = _ctype(result)
        function.argtypes = [_ctype(c_type) for c_type, _, _ in parameters]
        function.__doc__ = doc
        functions[name] = function
    return functions


_LIBRARY = _load()

#: Every exported function by name, as plain ctypes: for calls that are made between two others.
raw: Dict[str, Any] = _typed(_LIBRARY)


def _in_turn(name: str) -> Callable[..., Any]:
    function = raw[name]

    def in_turn(*arguments: Any) -> Any:
        arguments = _plain(name, arguments)
        with turn:
            before = calls.depth
            try:
                begin(name)
                return function(*_with_numbers(arguments))
            except ctypes.ArgumentError:
                raise _misfit(name, arguments) from None
            finally:
                calls.depth = before
                if waiting and not before:
                    empty()

    in_turn.__name__ = in_turn.__qualname__ = name
    in_turn.__doc__ = function.__doc__
    in_turn.argtypes = function.argtypes  # type: ignore[attr-defined]
    in_turn.restype = function.restype  # type: ignore[attr-defined]
    return in_turn


#: Every exported function by name, typed: no checks of results, no exceptions but for misfits.
functions: Dict[str, Callable[..., Any]] = {name: _in_turn(name) for name in raw}


_CONVERSIONS: Dict[str, Callable[[Any, str], Any]] = {"int": whole, "double": number}
_CHECKS: Dict[str, List[Any]] = {
    name: [_CONVERSIONS.get(c_type) for c_type, _, _ in parameters]
    for name, (_, parameters, _) in SIGNATURES.items()
}


def _plain(name: str, arguments: Tuple[Any, ...]) -> Tuple[Any, ...]:
    """Numbers as Python's own, those of 32 bits within their bounds.

    It runs the caller's code, so before the turn. ctypes could do it on the way, but would cut whole
    numbers and make an ArgumentError of Ctrl-C.
    """
    checks = _CHECKS[name]
    if len(checks) != len(arguments):
        return arguments  # which ctypes refuses
    for check, argument in zip(checks, arguments):
        kind = type(argument)
        if check is whole:
            fits = kind is int and -MOST - 1 <= argument <= MOST or isinstance(argument, Handled)
        else:
            fits = check is None or kind is float or kind is int
        if not fits:
            return tuple(map(_converted, SIGNATURES[name][1], arguments))
    return arguments


def _converted(parameter: Tuple[str, str, Optional[str]], argument: Any) -> Any:
    c_type, name, _ = parameter
    if c_type not in _CONVERSIONS or isinstance(argument, Handled):
        return argument
    return _CONVERSIONS[c_type](argument, name)


def _with_numbers(arguments: Iterable[Any]) -> List[Any]:
    """Objects become their handles here, at the last moment, so that none is stale by then."""
    return [a.handle if isinstance(a, Handled) else a for a in arguments]


def _misfit(name: str, arguments: Sequence[Any]) -> Exception:
    """Why arguments do not fit a function's parameters, in the parameters' names."""
    parameters = SIGNATURES[name][1]
    if len(arguments) != len(parameters):
        return TypeError(f"{name} takes {len(parameters)} arguments, not {len(arguments)}")
    for (c_type, parameter, _), argument in zip(parameters, _with_numbers(arguments)):
        try:
            if c_type in _CONVERSIONS:
                _CONVERSIONS[c_type](argument, parameter)
        except (TypeError, ValueError) as fault:
            return fault
    return TypeError(f"{name} cannot take these arguments")


def last_error() -> str:
    """The text of the kernel's last error."""
    buffer = ctypes.create_string_buffer(TEXT_SIZE)
    raw["get_last_error"](buffer, TEXT_SIZE)
    return buffer.value.decode("utf-8", "replace")


class Interruption:
    """Why the progress function stopped a call, until that call has failed."""

    def __init__(self) -> None:
        self.fault: Optional[BaseException] = None  # what it raised, or Ctrl-C
        self.stopped_at: Optional[Tuple[float, str]] = None  # where it said stop

    def raise_for(self, name: str, code: int) -> None:
        """Raises where the call failed because it was stopped."""
        fault, stopped_at = self.fault, self.stopped_at
        self.fault = self.stopped_at = None
        if fault is not None:
            raise fault
        if stopped_at is not None:
            raise Cancelled(name, code, *stopped_at)


interruption = Interruption()


def failure(name: str, code: int, arguments: Sequence[Any] = ()) -> MorvelError:
    """The exception for a failed call. Takes the text with it, so that no later failure shows it.

    Families differ in the code for an unknown handle: where one of the arguments is one, that is
    what the exception says. Raises by itself where the call was stopped: `Cancelled`, or what the
    progress function raised.
    """
    text = last_error()
    gone = _unknown_handle(name, arguments)
    raw["clear_last_error"]()
    interruption.raise_for(name, code)
    if gone:
        return HandleError(name, code, text or f"{gone} is gone")
    return error_for(name, code, text)


def error_of(name: str, code: int, text: Optional[str]) -> MorvelError:
    """The exception for a failure whose text is known, else with the kernel's."""
    error = failure(name, code)
    return error_for(name, code, text) if text else error


_KINDS = {"curve": 0, "surface": 1, "point": 2, "curveonsurface": 3}
_KIND_OF_PARAMETER = re.compile(
    r"(curveonsurface|curve|surface|point)[123]?"
    r"|(?:edit|constraint)_(surface)|(?:profile|path)(curve)"
)


def is_registered(kind: int, handle: int) -> bool:
    """Whether a registry holds something under a number."""
    numbers = (ctypes.c_double * 3)()
    at = [ctypes.addressof(numbers) + 8 * k for k in range(3)]
    questions: Tuple[Tuple[str, List[int], int], ...] = (
        ("get_curve_point_count", [], 1),
        ("get_surface_u_knots_count", [], 0),
        ("get_point_coordinates", at, 0),
        ("get_curve_on_surface_interval", at[:2], 0),
    )
    name, outs, least = questions[kind]
    with turn:
        before = calls.depth
        try:
            begin()
            return bool(raw[name](handle, *outs) >= least)
        finally:
            calls.depth = before
            if waiting and not before:
                empty()


def is_trimmed(handle: int) -> bool:
    """Whether a registered surface is a trimmed one."""
    with turn:
        before = calls.depth
        try:
            begin()
            found = raw["get_trim_loop_count"](handle) >= 0
            if not found:
                raw["clear_last_error"]()
            return bool(found)
        finally:
            calls.depth = before
            if waiting and not before:
                empty()


def _unknown_handle(name: str, arguments: Sequence[Any]) -> str:
    """The first argument that is a handle of nothing, in words; else empty."""
    for (c_type, parameter, _), argument in zip(SIGNATURES[name][1], arguments):
        match = _KIND_OF_PARAMETER.fullmatch(parameter.lower())
        if c_type == "int" and match and isinstance(argument, Handled):
            kind = next(word for word in match.groups() if word)
            if not is_registered(_KINDS[kind], argument.handle):
                return f"{kind} {argument.handle}"
    return ""


def call(name: str, *arguments: Any, passing: Container[int] = ()) -> Any:
    """Calls an exported function; a result below 0 raises with the kernel's text.

    Args:
        arguments: numbers, addresses, texts; objects of the kernel's stand for their handles.
        passing: results below 0 that do not raise.
    """
    arguments = _plain(name, arguments)
    with turn:
        before = calls.depth
        try:
            begin(name)
            result = raw[name](*_with_numbers(arguments))
            if result < 0 and result not in passing:
                raise failure(name, int(result), arguments)
            return result
        except ctypes.ArgumentError:
            raise _misfit(name, arguments) from None
        finally:
            calls.depth = before
            if waiting and not before:
                empty()


def call_expecting(success: int, name: str, *arguments: Any) -> None:
    """Calls a function that says success with one number."""
    arguments = _plain(name, arguments)
    with turn:
        before = calls.depth
        try:
            begin(name)
            result = raw[name](*_with_numbers(arguments))
            if result != success:
                raise failure(name, int(result), arguments)
        except ctypes.ArgumentError:
            raise _misfit(name, arguments) from None
        finally:
            calls.depth = before
            if waiting and not before:
                empty()


def values_of(name: str, *arguments: Any) -> FloatArray:
    """What a function writes that ends in (out, capacity, outCount), and tells the number of."""
    values, used = np.empty(USUAL_COUNT), int_out()
    room = (-2, -5)  # in the families of surfaces and of curves
    call(name, *arguments, address(values), values.size, used, passing=room)
    if used[0] > values.size:
        values = np.empty(used[0])
        call(name, *arguments, address(values), values.size, used)
    return values[: used[0]].copy()


def box_of(name: str, handle: Any) -> Tuple[FloatArray, FloatArray]:
    """The least and the greatest corner that a function writes."""
    lower, upper = point_out(), point_out()
    call(name, handle, address(lower), address(upper))
    return lower, upper


def text_of(name: str, *arguments: Any) -> str:
    """The text that a function writes into a buffer (its last two parameters)."""
    buffer = ctypes.create_string_buffer(TEXT_SIZE)
    call(name, *arguments, buffer, TEXT_SIZE)
    return buffer.value.decode("utf-8", "replace")
