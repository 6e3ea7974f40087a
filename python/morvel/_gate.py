"""One call of the kernel at a time, and deletions in between.

The interface is single-threaded by contract, while Python runs finalizers in any thread and at any
moment, even inside a function that the kernel calls back. Therefore calls of several threads take
turns, a call from inside a callback is refused where it could change what the kernel is at work on,
and deletions wait until no call is under way.
"""

from __future__ import annotations

import atexit
import os
import threading
from collections import deque
from typing import Callable, Deque

#: What a callback may still use: it neither works on an object nor removes one.
HARMLESS = (
    "clear_last_error",
    "get_all_",
    "get_curve_count",
    "get_curve_on_surface_count",
    "get_curves_count",
    "get_kernel_surface_count",
    "get_last_",
    "get_point_count",
    "get_registry_generation",
    "get_surfaces_count",
    "get_version_info",
    "mute_log",
    "set_log_",
    "set_progress_callback",
    "unmute_log",
)

#: Held during a call. Only `with` keeps it safe from Ctrl-C between taking and giving it back.
turn = threading.RLock()


class _Calls:
    """How many calls are under way, all in the thread that has the turn.

    Ctrl-C raises where a function begins or has ended, never in a plain assignment: whoever begins
    a call keeps the depth from before and assigns it first of all in its `finally`.
    """

    depth = 0


calls = _Calls()
waiting: Deque[Callable[[], None]] = deque()


def begin(name: str = "") -> None:
    """Begins a call; whoever calls it holds the `turn`.

    RuntimeError for a call from inside a callback; without a name, calls within calls are allowed.
    """
    if calls.depth:
        if name and not name.startswith(HARMLESS):
            raise RuntimeError(
                f"{name} cannot be called while the kernel is in a call: handlers of lines and of "
                "progress may look, but not work on objects"
            )
    elif waiting:
        empty()
    calls.depth += 1


def between_calls(work: Callable[[], None]) -> None:
    """Does the work now where no call is under way, else at the end of the one that is.

    Never waits: a finalizer may run in a thread that holds a lock which the thread in the kernel is
    about to take.
    """
    waiting.append(work)
    if turn.acquire(blocking=False):
        try:
            if not calls.depth:
                empty()
        finally:
            turn.release()


def empty() -> None:
    """Does what waits, between calls. Ctrl-C loses nothing: all of it can be done again."""
    before = calls.depth
    try:
        calls.depth = before + 1
        while waiting:
            waiting[0]()
            waiting.popleft()
    finally:
        calls.depth = before


# Where the process ends, the library frees what a daemon thread may be at work on: the turn is
# waited for and kept. This runs after what other modules do at the end.
atexit.register(turn.acquire)

# A child that is forked while another thread is in the kernel would wait for ever.
os.register_at_fork(
    before=turn.acquire, after_in_parent=turn.release, after_in_child=turn.release
)
