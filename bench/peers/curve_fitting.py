"""Least-squares cubics with 50 control points, by morvel and by scipy, in one process.

Run it with the package on the path and one thread of linear algebra:

    OPENBLAS_NUM_THREADS=1 PYTHONPATH=python python3 bench/peers/curve_fitting.py

scipy gets parameters and knots; morvel computes both, and measures the deviation. The control points
of the two are compared before anything is timed.
"""

from __future__ import annotations

import logging
import statistics
import time
from typing import Callable

import numpy as np
from scipy.interpolate import make_lsq_spline

import morvel

SIZES = (1_000, 10_000, 100_000)
DEGREE = 3
REPEATS = 15


def wavy_points(count: int) -> np.ndarray:
    """A wavy helix with uneven steps."""
    i = np.arange(count)
    t = 40.0 * (i + 0.3 * np.sin(i)) / count
    return np.stack([np.cos(t), np.sin(t) + 0.1 * np.sin(7.0 * t), 0.2 * t], axis=1)


def median_seconds(works: list[Callable[[], object]]) -> list[float]:
    """Of each work, taken in turns."""
    seconds: list[list[float]] = [[] for _ in works]
    for _ in range(REPEATS):
        for work, taken in zip(works, seconds):
            start = time.perf_counter()
            work()
            taken.append(time.perf_counter() - start)
    return [statistics.median(taken) for taken in seconds]


def main() -> None:
    morvel.set_log_level(logging.ERROR)
    print(f"{'points':>8}  {'morvel ms':>9}  {'scipy ms':>9}  ratio")
    for count in SIZES:
        points = wavy_points(count)
        t = morvel.chord_parameters(points)
        curve = morvel.fit_curve(points, DEGREE)
        knots = curve.knots
        difference = abs(make_lsq_spline(t, points, knots, DEGREE).c - curve.control_points).max()
        if not difference < 1e-9:
            raise SystemExit(f"the control points differ by {difference:.1e}")
        own, peer = median_seconds(
            [
                lambda: morvel.fit_curve(points, DEGREE),
                lambda: make_lsq_spline(t, points, knots, DEGREE),
            ]
        )
        print(f"{count:>8}  {own * 1e3:9.3f}  {peer * 1e3:9.3f}  {peer / own:5.1f}")


if __name__ == "__main__":
    main()
