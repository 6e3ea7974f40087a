"""The steps of the demo and the table of what they said."""

from __future__ import annotations

import time
from typing import Callable, List, NamedTuple


class Step(NamedTuple):
    """A line of the closing table."""

    name: str
    outcome: str
    seconds: float


class Log:
    """Runs the steps of the demo and keeps what they say."""

    def __init__(self) -> None:
        self.steps: List[Step] = []

    def run(self, name: str, work: Callable[[], str]) -> None:
        start = time.perf_counter()
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
