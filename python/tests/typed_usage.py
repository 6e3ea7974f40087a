"""What a checker must accept, and what it must refuse: mypy reads this file, nothing runs it.

Every `type: ignore` here marks a mistake that has to be found; one that is not found is reported.
"""

from __future__ import annotations

from typing import Optional, Tuple

import numpy as np
from numpy.typing import NDArray

import morvel
from morvel import Curve, Surface, TrimmedSurface

Floats = NDArray[np.float64]


def accepted(curve: Curve, surface: Surface, part: TrimmedSurface) -> None:
    one: float = curve.curvature(0.5)
    many: Floats = curve.curvature([0.25, 0.5])
    whole: float = curve.length()
    lengths: Floats = curve.length(0.0, np.linspace(0, 1, 5))
    points: Floats = surface([[0, 0], [0.5, 1]])
    knots: Tuple[Floats, Floats] = surface.knots
    trimmed: TrimmedSurface = surface.trim(u=(0.2, 0.5)).copy()
    moved: TrimmedSurface = part.transformed(np.eye(4))
    surface.transform([[1, 0, 0, 0.5], [0, 1, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]])
    base: int = part.base
    report: Optional[morvel.ProjectionReport] = morvel.projection_report(surface)
    with Curve.circle((0, 0, 0), 1.0) as circle:
        tube: Surface = Surface.extrude(circle, (0, 0, 1), 2.0)
    leaks: Tuple[int, ...] = morvel.live().surfaces.ownerless
    print(one, many, whole, lengths, points, knots, trimmed, moved, base, report, tube, leaks)


def refused(curve: Curve, surface: Surface) -> None:
    Surface.extrude(surface, (0, 0, 1), 2.0)  # type: ignore[arg-type]
    morvel.blend(surface, surface, 1.0, "+")  # type: ignore[arg-type]
    surface.trim((0.2, 0.5))  # type: ignore[misc]
    surface.degres  # type: ignore[attr-defined]
    count: int = curve.length()  # type: ignore[assignment]
    surface + curve  # type: ignore[operator]
    morvel.project_point(surface, (0, 0, 0), kind="sideways")  # type: ignore[arg-type]
    Curve.bspline([(0, 0, 0)], degree="3")  # type: ignore[arg-type]
    print(count)
