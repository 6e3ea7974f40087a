"""Reads the teapot's patches."""

from __future__ import annotations

from pathlib import Path
from typing import List

import numpy as np

POINTS_PER_PATCH = 16


def read_patches(path: Path) -> List[np.ndarray]:
    """The (4, 4, 3) control nets of a file: a line 'patch k', then 16 lines x y z, row by row."""
    patches: List[List[List[float]]] = []
    for line in path.read_text(encoding="ascii").splitlines():
        words = line.split()
        if not words or words[0] == "#":
            continue
        if words[0] == "patch":
            patches.append([])
        else:
            patches[-1].append([float(word) for word in words])
    for k, rows in enumerate(patches):
        if len(rows) != POINTS_PER_PATCH:
            raise ValueError(f"{path}: patch {k} has {len(rows)} points, not {POINTS_PER_PATCH}")
    return [np.array(rows).reshape(4, 4, 3) for rows in patches]
