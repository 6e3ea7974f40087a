"""Paths, and shapes written to mesh files."""

from __future__ import annotations

import os
from typing import Any, Optional, Sequence, Tuple, Union

from ._arrays import address, number, two, whole
from ._handles import Registered, handles_of
from ._library import call

FilePath = Union[str, "os.PathLike[str]"]
Samples = Union[int, Tuple[int, int]]

SURFACE_SAMPLES = 50
CURVE_SAMPLES = 200
MOST_SURFACE_SAMPLES = 2000
MOST_CURVE_SAMPLES = 10_000_000


def path_bytes(path: FilePath) -> bytes:
    """A path as the system takes it; ValueError for one that holds a zero."""
    name = os.fsencode(path)
    if b"\0" in name:
        raise ValueError(f"a path cannot hold a zero byte: {path!r}")
    return name


def export_shapes(
    path: FilePath,
    surfaces: "Sequence[Registered]",
    curves: "Sequence[Registered]",
    samples: Samples = SURFACE_SAMPLES,
    curve_samples: int = CURVE_SAMPLES,
    tolerance: Optional[float] = None,
) -> None:
    """Writes registered surfaces and curves; see `morvel.export`."""
    within = 0.0 if tolerance is None else number(tolerance, "tolerance")
    if tolerance is not None and not within > 0:
        raise ValueError(f"tolerance must be above 0, not {tolerance}")
    sampling = (*_pair(samples), whole(curve_samples, "curve_samples", 2, MOST_CURVE_SAMPLES))
    faces, lines = handles_of(surfaces), handles_of(curves)
    given = (address(faces), faces.size, address(lines), lines.size)
    call("export_geometry", path_bytes(path), *given, *sampling, within)


def _pair(samples: Any) -> Tuple[int, int]:
    if hasattr(samples, "__index__"):
        samples = (samples, samples)
    u, v = two(samples, "samples")
    return (
        whole(u, "samples", 2, MOST_SURFACE_SAMPLES),
        whole(v, "samples", 2, MOST_SURFACE_SAMPLES),
    )
