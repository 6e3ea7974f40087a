"""Objects of the kernel's registries as Python objects.

A handle is a number that the kernel may give to another object once a clear function has restarted
the numbering. Each Python object therefore remembers the generation of its registry, a number that
changes with every such restart: an object of an earlier generation is stale. It refuses to be used,
and letting it go deletes nothing.
"""

from __future__ import annotations

import weakref
from typing import Any, ClassVar, Dict, List, Tuple, Type, TypeVar

from ._errors import UNKNOWN_HANDLE, HandleError
from ._arrays import int_out
from ._library import call, functions

Self = TypeVar("Self", bound="Registered")


Generation = Tuple[int, int]

_emptied: Dict[int, int] = {}  # by kind: how often `delete_all` ran, which restarts no numbering


def _generation(kind: int) -> Generation:
    return int(functions["get_registry_generation"](kind)), _emptied.get(kind, 0)


def _release(deleter: str, kind: int, handle: int, generation: Generation) -> None:
    if _generation(kind) == generation:
        functions[deleter](handle)


class Registered:
    """An object in one of the kernel's registries.

    It is deleted there when the Python object is closed, leaves its `with` block or is no longer
    referred to.
    """

    _kind: ClassVar[int]
    _deleter: ClassVar[str]
    _counter: ClassVar[str]
    _lister: ClassVar[str]
    __slots__ = ("_handle", "_since", "_finalizer", "__weakref__")

    def __init__(self, handle: int) -> None:
        """Takes over the object behind a handle."""
        self._handle = handle
        self._since = _generation(self._kind)
        self._finalizer = weakref.finalize(
            self, _release, self._deleter, self._kind, handle, self._since
        )
        self._finalizer.atexit = False  # at the end of the process the library frees all

    @classmethod
    def adopt(cls: Type[Self], handle: int) -> Self:
        """The object behind a handle that a C function gave out; it is deleted with the result."""
        return cls(handle)

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
        _emptied[cls._kind] = _emptied.get(cls._kind, 0) + 1

    @property
    def handle(self) -> int:
        """The kernel's number for the object; HandleError once it is closed or stale."""
        if self.closed:
            raise HandleError(type(self).__name__, UNKNOWN_HANDLE, f"{self._handle} is closed")
        return self._handle

    @property
    def closed(self) -> bool:
        """Whether the object is gone: closed, released, or cleared with its registry."""
        return not self._finalizer.alive or _generation(self._kind) != self._since

    def close(self) -> None:
        """Deletes the object in the kernel. Closing again does nothing."""
        self._finalizer()

    def release(self) -> int:
        """Gives the handle away: the kernel's object stays, this one is closed."""
        handle = self.handle
        self._finalizer.detach()
        return handle

    def __enter__(self: Self) -> Self:
        return self

    def __exit__(self, *_: Any) -> None:
        self.close()

    def _describe(self) -> str:
        return ""

    def __repr__(self) -> str:
        name = type(self).__name__
        if self.closed:
            return f"<{name} {self._handle}, closed>"
        return f"<{name} {self._handle}{self._describe()}>"
