"""Reads the teapot's patches."""

from __future__ import annotations

from pathlib import Path
from typing import List

import numpy as np

POINTS_PER_PATCH = 16


def read_patches(path: Path) -> List[np.ndarray]:
    """The (4, 4, 3) control nets of a file: a line 'patch k', then 16 lines x y z, row by row."""
    nets: List[np.ndarray] = []
    for block in path.read_text(encoding="ascii").split("patch ")[1:]:
        rows = [line.split() for line in block.splitlines()[1:] if line.strip()]
        if len(rows) != POINTS_PER_PATCH:
            raise ValueError(f"{path}: patch {len(nets)} has {len(rows)} points, not 16")
        nets.append(np.array(rows, dtype=float).reshape(4, 4, 3))
    return nets
