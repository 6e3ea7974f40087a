"""Objects of the kernel's registries as Python objects.

A handle is a number that the kernel may give to another object once a clear function has restarted
the numbering. Each Python object therefore remembers the generation of its registry, a number that
changes with every such restart: an object of an earlier generation is stale. It refuses to be used,
and letting it go deletes nothing. No two Python objects stand for one handle.
"""

from __future__ import annotations

import ctypes
import weakref
from typing import (
    Any,
    Callable,
    ClassVar,
    Dict,
    Iterable,
    List,
    Sequence,
    Tuple,
    Type,
    TypeVar,
    Union,
)

import numpy as np

from ._arrays import IntArray, address, int_out, whole
from ._errors import BAD_ARGUMENT, TOO_SMALL, UNKNOWN_HANDLE, ArgumentError, HandleError
from ._gate import between_calls
from ._library import Handled, call, failure, functions, is_registered, raw

Self = TypeVar("Self", bound="Registered")
Kind = TypeVar("Kind", bound="Registered")

#: A generation of a registry, and how often `disown` ran, which restarts no numbering.
Since = Tuple[int, int]

#: The kinds in the names of the functions that write and read records.
_RECORDS = ("curve", "surface", "point", "curve_on_surface")
USUAL_RECORD = 1 << 14  # bytes; where there are more they are asked for again

_disowned: Dict[int, int] = {}
_owned: Dict[int, Dict[int, Since]] = {}  # by kind: the handles that Python objects stand for


def _now(kind: int) -> Since:
    return int(raw["get_registry_generation"](kind)), _disowned.get(kind, 0)


def _release(deleter: str, kind: int, handle: int, since: Since) -> None:
    """Deletes the object, at the next moment without a call under way."""
    owned = _owned.get(kind, {})
    if owned.get(handle) == since:
        owned.pop(handle, None)

    def delete() -> None:
        if _now(kind) == since:
            raw[deleter](handle)

    between_calls(delete)


class Registered(Handled):
    """An object in one of the kernel's registries.

    It is deleted there when the Python object is closed, leaves its `with` block or is no longer
    referred to. Objects are equal to themselves only: no two stand for one handle.

    >>> with Point.at((1, 2, 3)) as point:
    ...     point.closed
    False
    >>> point.closed
    True
    """

    _kind: ClassVar[int]
    _deleter: ClassVar[str]
    _counter: ClassVar[str]
    _lister: ClassVar[str]
    __slots__ = ("_handle", "_since", "_finalizer", "__weakref__")

    def __init__(self, handle: int) -> None:
        """Takes over the object behind a handle, as `adopt` does."""
        self._handle = self._checked(whole(handle, "handle"))
        self._since = _now(self._kind)
        self._finalizer = weakref.finalize(
            self, _release, self._deleter, self._kind, self._handle, self._since
        )
        self._finalizer.atexit = False  # at the end of the process the library frees all
        _owned.setdefault(self._kind, {})[self._handle] = self._since

    @classmethod
    def _checked(cls, handle: int) -> int:
        name = cls.__name__
        if not is_registered(cls._kind, handle):
            raise HandleError(name, UNKNOWN_HANDLE, f"{handle} is no registered {name}")
        if _owned.get(cls._kind, {}).get(handle) == _now(cls._kind):
            text = f"{handle} belongs to another Python object"
            raise ArgumentError(name, BAD_ARGUMENT, text)
        return handle

    @classmethod
    def adopt(cls: Type[Self], handle: int) -> Self:
        """The object behind a handle that a C function gave out; it is deleted with the result.

        HandleError where nothing is registered under the number, ArgumentError where another Python
        object stands for it.
        """
        return cls(handle)

    def to_json(self) -> str:
        """The object and what it is built on as a JSON document, exact to the last bit.

        MorvelError where a number is not finite.
        """
        name = f"{_RECORDS[self._kind]}_to_json"
        room, needed = USUAL_RECORD, int_out()
        for _ in range(2):  # the first time tells the size
            buffer = ctypes.create_string_buffer(room)
            result = functions[name](self, buffer, room, needed)
            if result != TOO_SMALL:
                break
            room = needed[0]
        if result < 0:
            raise failure(name, int(result), (self,))
        return buffer.value.decode("utf-8")

    @classmethod
    def from_json(cls: Type[Self], text: "Union[str, bytes]") -> Self:
        """A new object from a document that `to_json` wrote; ArgumentError for another text.

        What the object is built on comes with it, without a handle of its own.
        """
        if not isinstance(text, (str, bytes)):
            raise TypeError(f"the text must be a str or bytes, not {type(text).__name__}")
        encoded = text.encode("utf-8") if isinstance(text, str) else text
        handle = call(f"create_{_RECORDS[cls._kind]}_from_json", encoded, len(encoded))
        try:
            return cls.adopt(handle)
        except HandleError:
            functions[cls._deleter](handle)
            fault = f"the document holds no {cls.__name__}"
            raise ArgumentError("from_json", BAD_ARGUMENT, fault) from None

    def __reduce__(self) -> "Tuple[Callable[..., Any], Tuple[str]]":
        """Copies and pickles are new objects of the same record."""
        return type(self).from_json, (self.to_json(),)

    @classmethod
    def handles(cls) -> List[int]:
        """The handles of all registered objects of this kind, rising; nothing is taken over."""
        room = max(functions[cls._counter](), 1)
        out = int_out(room)
        return sorted(out[: call(cls._lister, out, room)])

    @classmethod
    def delete_all(cls) -> None:
        """Deletes every registered object of this kind; Python objects of them are closed."""
        for handle in cls.handles():
            functions[cls._deleter](handle)
        disown(cls._kind)

    @property
    def handle(self) -> int:
        """The kernel's number for the object; HandleError once it is closed or stale."""
        if self.closed:
            raise HandleError(type(self).__name__, UNKNOWN_HANDLE, f"{self._handle} is closed")
        return self._handle

    @property
    def closed(self) -> bool:
        """Whether the object is gone: closed, released, or cleared with its registry."""
        return not self._finalizer.alive or _now(self._kind) != self._since

    def close(self) -> None:
        """Deletes the object in the kernel. Closing again does nothing."""
        self._finalizer()

    def release(self) -> int:
        """Gives the handle away: the kernel's object stays, this one is closed."""
        handle = self.handle
        self._finalizer.detach()
        _owned[self._kind].pop(handle, None)
        return handle

    def __enter__(self: Self) -> Self:
        self.handle
        return self

    def __exit__(self, *_: Any) -> None:
        self.close()

    def _describe(self) -> str:
        return ""

    def __repr__(self) -> str:
        name = type(self).__name__
        if self.closed:
            return f"<{name} {self._handle}, closed>"
        try:
            return f"<{name} {self._handle}{self._describe()}>"
        except KeyError:  # deleted by a C function
            return f"<{name} {self._handle}, deleted>"


def disown(kind: int) -> None:
    """Closes the Python objects of a kind without deleting anything."""
    _disowned[kind] = _disowned.get(kind, 0) + 1
    _owned.pop(kind, None)


def owned_handles(kind: int) -> List[int]:
    """The handles that open Python objects of a kind stand for."""
    now = _now(kind)
    return sorted(h for h, since in list(_owned.get(kind, {}).items()) if since == now)


def checked(value: Any, kind: "Union[Type[Kind], Tuple[Type[Kind], ...]]", what: str) -> Kind:
    """The value, which is an object of that kind; TypeError for another."""
    if not isinstance(value, kind):
        kinds = kind if isinstance(kind, tuple) else (kind,)
        wanted = " or ".join(k.__name__ for k in kinds)
        raise TypeError(f"{what} must be a {wanted}, not {type(value).__name__}")
    found: Kind = value
    return found


def listed(
    values: "Iterable[Kind]", kind: "Union[Type[Kind], Tuple[Type[Kind], ...]]", what: str
) -> "List[Kind]":
    """The objects, held for as long as the list is; TypeError for others among them."""
    if isinstance(values, Registered) or not isinstance(values, Iterable):
        raise TypeError(f"{what} must be a sequence, not a {type(values).__name__}")
    return [checked(value, kind, f"{what}[{k}]") for k, value in enumerate(values)]


class Handles(Handled):
    """The handles of several objects, which it keeps alive: an argument for a call.

    Like those of single objects they are asked for as late as can be: none is stale by then.
    """

    __slots__ = ("objects", "_array")

    def __init__(self, objects: "Sequence[Registered]") -> None:
        self.objects = objects

    def __len__(self) -> int:
        return len(self.objects)

    @property
    def handle(self) -> int:
        """Where the array of the handles begins; it lives until the next question."""
        self._array = handles_of(self.objects)
        return address(self._array)


def handles_of(objects: "Iterable[Registered]") -> IntArray:
    """Their handles, as the kernel takes them. The objects must outlive the call."""
    return np.array([item.handle for item in objects], dtype=np.int32)
