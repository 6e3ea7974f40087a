"""The shared library, with every exported function typed from the one list of signatures."""

from __future__ import annotations

import ctypes
import os
from ctypes.util import find_library
from pathlib import Path
from typing import Any, Callable, Dict, Iterator, List, Tuple

import numpy as np

from ._arrays import FloatArray, address, int_out, point_out
from ._errors import MorvelError, error_for
from ._signatures import SIGNATURES

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

_VALUES: Dict[str, Any] = {
    "void": None,
    "int": ctypes.c_int,
    "bool": ctypes.c_bool,
    "double": ctypes.c_double,
    "MorvelPoint3D": Point,
    "const char*": ctypes.c_char_p,
    "const void*": ctypes.c_void_p,  # a borrowed C++ object
    "MorvelSurfaceData*": ctypes.POINTER(SurfaceData),
    "MorvelLogCallback": LogCallback,
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
    for folder in (here, root / "build" / "release", root / "build" / "dev"):
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


def _typed(library: ctypes.CDLL) -> Dict[str, Callable[..., Any]]:
    functions: Dict[str, Callable[..., Any]] = {}
    for name, (result, parameters, doc) in SIGNATURES.items():
        function = getattr(library, name)
        function.restype = _ctype(result)
        function.argtypes = [_ctype(c_type) for c_type, _, _ in parameters]
        function.__doc__ = doc
        functions[name] = function
    return functions


_LIBRARY = _load()

#: Every exported function by name, typed, as plain ctypes: no checks, no exceptions.
functions: Dict[str, Callable[..., Any]] = _typed(_LIBRARY)


def last_error() -> str:
    """The text of the kernel's last error."""
    buffer = ctypes.create_string_buffer(TEXT_SIZE)
    functions["get_last_error"](buffer, TEXT_SIZE)
    return buffer.value.decode("utf-8", "replace")


def failure(name: str, code: int) -> MorvelError:
    """The exception for a failed call. Takes the text with it, so that no later failure shows it."""
    text = last_error()
    functions["clear_last_error"]()
    return error_for(name, code, text)


def call(name: str, *arguments: Any) -> Any:
    """Calls an exported function; a result below 0 raises with the kernel's text."""
    result = functions[name](*arguments)
    if result < 0:
        raise failure(name, int(result))
    return result


def values_of(name: str, *arguments: Any) -> FloatArray:
    """What a function writes that ends in (out, capacity, outCount), and tells the number of."""
    values, used = np.empty(USUAL_COUNT), int_out()
    result = functions[name](*arguments, address(values), values.size, used)
    if used[0] > values.size:
        values = np.empty(used[0])
        result = functions[name](*arguments, address(values), values.size, used)
    if result < 0:
        raise failure(name, int(result))
    return values[: used[0]].copy()


def box_of(name: str, handle: int) -> Tuple[FloatArray, FloatArray]:
    """The least and the greatest corner that a function writes."""
    lower, upper = point_out(), point_out()
    call(name, handle, address(lower), address(upper))
    return lower, upper


def call_expecting(success: int, name: str, *arguments: Any) -> None:
    """Calls a function that says success with one number."""
    result = functions[name](*arguments)
    if result != success:
        raise failure(name, int(result))


def text_of(name: str, *arguments: Any) -> str:
    """The text that a function writes into a buffer (its last two parameters)."""
    buffer = ctypes.create_string_buffer(TEXT_SIZE)
    call(name, *arguments, buffer, TEXT_SIZE)
    return buffer.value.decode("utf-8", "replace")


def signature(name: str) -> Tuple[str, list, str]:
    """Result type, parameters and doc of an exported function."""
    return SIGNATURES[name]
