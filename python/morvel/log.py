"""The kernel's lines: printed, or handed to the `logging` module."""

from __future__ import annotations

import atexit
import logging
import traceback
from typing import Union

from ._library import LogCallback, call, functions

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

    Args:
        logger: the logger or its name.
    """
    global _target
    _target = logging.getLogger(logger) if isinstance(logger, str) else logger
    functions["set_log_callback"](_callback, None)


def print_lines() -> None:
    """From now on the kernel's lines go to the standard streams, as at the start."""
    functions["set_log_callback"](LogCallback(), None)


def set_log_level(level: int) -> None:
    """Drops the kernel's lines below a level, for the `logging` module as for printing.

    Args:
        level: logging.DEBUG, logging.INFO (at the start), logging.WARNING or logging.ERROR;
            ValueError for any other number.
    """
    if level not in LEVELS:
        raise ValueError(f"level must be one of {LEVELS} (logging.DEBUG to ERROR), not {level!r}")
    call("set_log_level", LEVELS.index(level))


# The library still prints while the process ends, when there is no interpreter to call any more.
atexit.register(print_lines)
