"""How far long calls of the kernel have come, and stopping them."""

from __future__ import annotations

import atexit
import shutil
import signal
import sys
import threading
import time
from types import FrameType, TracebackType
from typing import Any, Callable, List, Optional, TextIO, Type, Union

import numpy as np

from ._library import NO_PROGRESS, ProgressCallback, functions, interruption

#: Gets the fraction from 0 to 1 and the stage; True cancels, None and False go on.
ProgressFunction = Callable[[float, str], Optional[bool]]

BAR_WIDTH = 30
LINE_WIDTH = 80  # where the terminal does not tell its own
SOON = 0.15  # seconds: what ends sooner is not worth a bar
CLEAR_TO_END = "\x1b[K"

_active: List[ProgressFunction] = []  # the last one is told


def _asked_to_stop(function: ProgressFunction, fraction: float, stage: str) -> bool:
    answer = function(fraction, stage)
    if answer is not None and not isinstance(answer, (bool, np.bool_)):
        raise TypeError(f"a progress function returns True, False or None, not {answer!r}")
    return bool(answer)


def _hear(fraction: float, name: bytes, _user: object) -> int:
    # No exception can pass through the kernel: it is kept, and raised where the call has ended.
    try:
        interruption.stopped_at = None
        if interruption.fault is None and _active:
            stage = name.decode("utf-8", "replace")
            if _asked_to_stop(_active[-1], fraction, stage):
                interruption.stopped_at = (fraction, stage)
                return 1
    except BaseException as fault:
        interruption.fault = fault
    return int(interruption.fault is not None)


# The kernel keeps its address: it lives as long as the module.
_callback = ProgressCallback(_hear)


class _Interrupts:
    """While it is installed, Ctrl-C stops a call of the kernel.

    Python runs the handler as soon as the kernel calls back, inside `_hear` but before its first
    statement, where nothing could catch what the handler raises.
    """

    def __init__(self) -> None:
        self.previous: Any = None

    def install(self) -> None:
        found = signal.getsignal(signal.SIGINT)
        if threading.current_thread() is threading.main_thread() and callable(found):
            self.previous = found
            signal.signal(signal.SIGINT, self.handle)

    def remove(self) -> None:
        if self.previous is not None and signal.getsignal(signal.SIGINT) == self.handle:
            signal.signal(signal.SIGINT, self.previous)
        self.previous = None

    def handle(self, number: int, frame: Optional[FrameType]) -> None:
        try:
            self.previous(number, frame)
        except BaseException as fault:
            if frame is None or frame.f_code is not _hear.__code__:
                raise
            interruption.fault = fault


class progress:  # a function in all but name
    """Tells a function how far each call of the kernel has come.

        with morvel.progress(lambda fraction, stage: fraction > 0.5):
            surface = morvel.fit_surface(points)  # morvel.Cancelled, half-way through

    Each call of the kernel that fits, interpolates, blends, intersects, fills, projects, trims by
    curves, meshes a visible part or converts to spline form tells 0 at its start, then about every
    percent or every 20 ms, and 1 at its end. Some functions of this package make two such calls.

    The function gets the fraction and the kernel's name for the step ("assembling"). It returns
    None or False to go on and True to cancel: the call then raises `Cancelled` and stores nothing.
    An exception that it raises cancels, too, and comes out of the call; so does Ctrl-C, which the
    kernel notices at its next report. It must not call the kernel: that raises RuntimeError.

    Blocks may lie inside each other; the innermost function is told. One thread at a time.

        >>> points = np.random.default_rng(1).random((2000, 3))
        >>> heard = []
        >>> with morvel.progress(lambda fraction, stage: heard.append(fraction)):
        ...     surface = morvel.fit_surface(points)
        >>> heard[0], heard[-1]
        (0.0, 1.0)
        >>> try:
        ...     with morvel.progress(lambda fraction, stage: True):
        ...         morvel.interpolate_curve(points)
        ... except morvel.Cancelled as cancelled:
        ...     print(cancelled.stage, cancelled.fraction)
        interpolating 0.0
    """

    def __init__(self, function: Union[ProgressFunction, "ProgressBar"]) -> None:
        if not callable(function):
            raise TypeError(f"a progress function can be called, {function!r} cannot")
        self.function = function
        self._interrupts = _Interrupts()

    def __enter__(self) -> "progress":
        self._interrupts.install()
        _active.append(self.function)
        functions["set_progress_callback"](_callback, None)
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        _value: Optional[BaseException],
        _trace: Optional[TracebackType],
    ) -> None:
        _active.pop()
        if not _active:
            functions["set_progress_callback"](NO_PROGRESS, None)
        self._interrupts.remove()
        if isinstance(self.function, ProgressBar):
            self.function.close()
        # What came too late for the call to stop.
        fault, interruption.fault, interruption.stopped_at = interruption.fault, None, None
        if fault is not None and kind is None:
            raise fault


class ProgressBar:
    """A bar of text for `progress`, for each call of the kernel that takes a while.

        with morvel.progress(morvel.ProgressBar()):
            surface = morvel.fit_surface(points)

    draws on a terminal, on one line again and again,

        [#############-----------------]  43 %  assembling

    which is gone when the call has ended; that of a call that was stopped or failed stays.
    Elsewhere it prints nothing, or with `lines` one line whenever the stage changes. Kernel lines
    that go to the same terminal would break the bar: `quiet()` keeps them away.

        >>> bar = morvel.ProgressBar(sys.stdout, lines=True)
        >>> with morvel.quiet(), morvel.progress(bar):
        ...     ball = morvel.Surface.sphere((0, 0, 0), 1.0).to_bspline()
          0 %  converting to spline form

    Args:
        stream: sys.stderr where none is given.
        width: of the bar between its brackets, in characters.
        lines: where the stream is no terminal, a line for each stage.
    """

    def __init__(
        self, stream: Optional[TextIO] = None, width: int = BAR_WIDTH, lines: bool = False
    ) -> None:
        if width < 1:
            raise ValueError(f"width must be at least 1, not {width}")
        self.stream = sys.stderr if stream is None else stream
        self.width = width
        self.lines = lines
        self._is_terminal = bool(getattr(self.stream, "isatty", lambda: False)())
        self._shown = ""  # on the line that is not ended yet, or as the last line
        self._began = 0.0

    def __call__(self, fraction: float, stage: str) -> None:
        if fraction == 0.0:
            self.close()
            self._began = time.monotonic()
        if self._is_terminal:
            self._draw(fraction, stage)
        elif self.lines:
            self._tell(fraction, stage)
        if fraction == 1.0:
            self._end(f"\r{CLEAR_TO_END}")

    def close(self) -> None:
        """Leaves the line of a call that was stopped or has failed."""
        self._end("\n")

    def _end(self, text: str) -> None:
        if self._shown and self._is_terminal:
            self.stream.write(text)
            self.stream.flush()
        self._shown = ""

    def _draw(self, fraction: float, stage: str) -> None:
        if not self._shown and time.monotonic() - self._began < SOON:
            return
        filled = int(fraction * self.width)
        bar = "#" * filled + "-" * (self.width - filled)
        room = shutil.get_terminal_size((LINE_WIDTH, 1)).columns - 1
        line = f"[{bar}] {int(100 * fraction):3d} %  {stage}"[: max(room, 1)]
        if line != self._shown:
            self.stream.write(f"\r{line}{CLEAR_TO_END}")
            self.stream.flush()
            self._shown = line

    def _tell(self, fraction: float, stage: str) -> None:
        if stage != self._shown:
            self.stream.write(f"{int(100 * fraction):3d} %  {stage}\n")
            self.stream.flush()
            self._shown = stage


# The kernel must not call while the process ends, when there is no interpreter any more.
atexit.register(functions["set_progress_callback"], NO_PROGRESS, None)
