"""The kernel's lines: printed, or handed to the `logging` module."""

from __future__ import annotations

import atexit
import logging
import traceback
from contextlib import contextmanager
from typing import Iterator, Union

from ._arrays import whole
from ._library import NO_CALLBACK, LogCallback, call, functions

LOGGER = "morvel"
LEVELS = (logging.DEBUG, logging.INFO, logging.WARNING, logging.ERROR)  # by the kernel's numbers

_target = logging.getLogger(LOGGER)


def _hand_on(level: int, line: bytes, _user: object) -> None:
    # An exception cannot pass through the kernel, so it ends here, told as logging tells its own.
    try:
        _target.log(LEVELS[level], "%s", line.decode("utf-8", "replace"))
    except Exception:
        if logging.raiseExceptions:
            traceback.print_exc()


# The kernel keeps its address: it lives as long as the module.
_callback = LogCallback(_hand_on)


def log_to(logger: Union[str, logging.Logger] = LOGGER) -> None:
    """From now on the kernel's lines go to a logger of the `logging` module and nowhere else.

    Levels become logging.DEBUG, INFO, WARNING and ERROR; `set_log_level` says which lines the
    kernel makes at all. An exception that a handler raises is printed and does not disturb the call
    of the kernel that made the line.

    >>> handler = logging.StreamHandler(sys.stdout)
    >>> logging.getLogger("morvel").addHandler(handler)
    >>> morvel.log_to("morvel")
    >>> morvel.set_log_level(logging.INFO)
    >>> logging.getLogger("morvel").setLevel(logging.INFO)
    >>> point = morvel.Point.at((1, 2, 3))
    ✅ Created point: (1, 2, 3) with handle 2000
    >>> point.close()
    ✅ Deleted point 2000

    Args:
        logger: the logger or its name.
    """
    global _target
    if not isinstance(logger, (str, logging.Logger)):
        raise TypeError(f"logger must be a logger or its name, not {type(logger).__name__}")
    _target = logging.getLogger(logger) if isinstance(logger, str) else logger
    functions["set_log_callback"](_callback, None)


def print_lines() -> None:
    """From now on the kernel's lines go to the standard streams, as at the start.

    >>> morvel.print_lines()
    """
    functions["set_log_callback"](NO_CALLBACK, None)


def set_log_level(level: int) -> None:
    """Drops the kernel's lines below a level, for the `logging` module as for printing.

    >>> morvel.set_log_level(logging.WARNING)

    Args:
        level: logging.DEBUG, logging.INFO (at the start), logging.WARNING or logging.ERROR;
            ValueError for any other number.
    """
    if whole(level, "level") not in LEVELS:
        raise ValueError(f"level must be one of {LEVELS} (logging.DEBUG to ERROR), not {level!r}")
    call("set_log_level", LEVELS.index(level))


@contextmanager
def quiet() -> Iterator[None]:
    """No line of the kernel inside the `with` block, whatever level and logger are set.

    It nests, and afterwards everything is as it was, also where another language set it.

    >>> with morvel.quiet():
    ...     curve = morvel.interpolate_curve([(0, 0, 0), (1, 1, 0), (2, 0, 0)], degree=2)
    """
    functions["mute_log"]()
    try:
        yield
    finally:
        functions["unmute_log"]()


# The library still prints while the process ends, when there is no interpreter to call any more.
atexit.register(print_lines)
