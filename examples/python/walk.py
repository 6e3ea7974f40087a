"""The steps of the demo, with a bar for the long ones, and the table of what they said."""

from __future__ import annotations

import sys
import time
from contextlib import nullcontext
from typing import Callable, ContextManager, List, NamedTuple

import morvel


class Step(NamedTuple):
    """A line of the closing table."""

    name: str
    outcome: str
    seconds: float


def bar_on_terminal() -> ContextManager[object]:
    """Shows how far long calls are where somebody watches."""
    if not sys.stdout.isatty():
        return nullcontext()
    return morvel.progress(morvel.ProgressBar(sys.stdout))


class Log:
    """Runs the steps of the demo and keeps what they say."""

    def __init__(self) -> None:
        self.steps: List[Step] = []

    def run(self, name: str, work: Callable[[], str]) -> None:
        start = time.perf_counter()
        with bar_on_terminal():
            outcome = work()
        self.steps.append(Step(name, outcome, time.perf_counter() - start))

    def table(self) -> str:
        width = max(len(step.name) for step in self.steps)
        said = max(len(step.outcome) for step in self.steps)
        lines = [f"{'step':<{width}}  {'outcome':<{said}}  {'ms':>8}"]
        lines.append("-" * len(lines[0]))
        for name, outcome, seconds in self.steps:
            lines.append(f"{name:<{width}}  {outcome:<{said}}  {seconds * 1e3:8.1f}")
        return "\n".join(lines)
