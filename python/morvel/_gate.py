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

_turn = threading.RLock()
_depth = 0  # of calls under way, all in the thread that has the turn
_waiting: Deque[Callable[[], None]] = deque()


def enter(name: str = "") -> None:
    """Waits for the turn; `leave` gives it on.

    RuntimeError for a call from inside a callback; without a name, calls within calls are allowed.
    """
    global _depth
    _turn.acquire()
    if _depth:
        if name and not name.startswith(HARMLESS):
            _turn.release()
            raise RuntimeError(
                f"{name} cannot be called while the kernel is in a call: handlers of lines and of "
                "progress may look, but not work on objects"
            )
    elif _waiting:
        _empty()
    _depth += 1


def leave() -> None:
    """Ends what `enter` began."""
    global _depth
    _depth -= 1
    if _waiting and not _depth:
        _empty()
    _turn.release()


def between_calls(work: Callable[[], None]) -> None:
    """Does the work now where no call is under way, else at the end of the one that is.

    Never waits: a finalizer may run in a thread that holds a lock which the thread in the kernel is
    about to take.
    """
    _waiting.append(work)
    if _turn.acquire(blocking=False):
        try:
            if not _depth:
                _empty()
        finally:
            _turn.release()


def _empty() -> None:
    global _depth
    _depth += 1
    try:
        while _waiting:
            _waiting.popleft()()
    finally:
        _depth -= 1


# Where the process ends, the library frees what a daemon thread may be at work on: the turn is
# waited for and kept. This runs after what other modules do at the end.
atexit.register(_turn.acquire)

# A child that is forked while another thread is in the kernel would wait for ever.
os.register_at_fork(
    before=_turn.acquire, after_in_parent=_turn.release, after_in_child=_turn.release
)
