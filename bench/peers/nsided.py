"""Thin plates by scipy's RBFInterpolator, at the sizes of bench/nsided.cpp.

    OPENBLAS_NUM_THREADS=1 python3 bench/peers/nsided.py
"""

from __future__ import annotations

import time
from typing import Callable

import numpy as np
from scipy.interpolate import RBFInterpolator

SIZES = (100, 400, 1600)
GRID = 50
REPEATS = 5


def best_milliseconds(work: Callable[[], object]) -> float:
    taken = []
    for _ in range(REPEATS):
        start = time.perf_counter()
        work()
        taken.append(time.perf_counter() - start)
    return 1e3 * min(taken)


def main() -> None:
    random = np.random.default_rng(3)
    axis = np.linspace(0.0, 1.0, GRID)
    grid = np.stack(np.meshgrid(axis, axis, indexing="ij"), axis=-1).reshape(-1, 2)
    print(f"{'centres':>8}  {'fit ms':>8}  {'50x50 ms':>8}")
    for count in SIZES:
        centres = random.random((count, 2))
        heights = np.sin(3.0 * centres[:, 0]) * centres[:, 1]
        plate = RBFInterpolator(centres, heights, degree=2)
        fit = best_milliseconds(lambda: RBFInterpolator(centres, heights, degree=2))
        print(f"{count:8d}  {fit:8.2f}  {best_milliseconds(lambda: plate(grid)):8.2f}")


if __name__ == "__main__":
    main()
