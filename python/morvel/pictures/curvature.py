"""Points, normals and curvatures of surfaces, whatever kind they are."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np

from .._arrays import BoolArray, FloatArray
from ..surface import Surface

STEP = 1e-3  # of differences, as a share of the domain
NUDGE = 1e-3  # how far into the domain a degenerate place is looked at again
DEGENERATE = 1e-7  # |du x dv| below this share of the surface's largest has no normal
SAME = 1e-9  # relative, of points that two evaluations agree on


@dataclass(frozen=True)
class Jets:
    """What pictures need of places on a surface.

    Attributes:
        points: (n, 3).
        normals: (n, 3), unit; zero where there is none.
        gaussian: (n,) in 1 / model units squared; NaN where there is none.
        mean: (n,) in 1 / model units, above 0 where the surface bends towards its normal; NaN
            where there is none.
    """

    points: FloatArray
    normals: FloatArray
    gaussian: FloatArray
    mean: FloatArray


NO_JETS = Jets(np.empty((0, 3)), np.empty((0, 3)), np.empty(0), np.empty(0))


def surface_jets(surface: Surface, uv: FloatArray, exact: bool) -> Jets:
    """Jets at shares of the domain.

    Args:
        uv: (n, 2), each from 0 to 1.
        exact: on the stored knots.
    """
    values = _derivatives(surface, uv, exact)
    points, first, second = values[:, 0], values[:, 1:3], values[:, 4:7]
    with np.errstate(all="ignore"):
        bad = _degenerate(first)
        if bad.any():  # a pole: its limit is that of a place beside it
            beside = 0.5 + (uv[bad] - 0.5) * (1 - 2 * NUDGE)
            values = _derivatives(surface, beside, exact)
            first[bad], second[bad] = values[:, 1:3], values[:, 4:7]
            bad = _degenerate(first)
        # Products of derivatives in their own size stay in range.
        size = float(np.nanmax(np.abs(first), initial=0.0)) or 1.0
        normals, gaussian, mean = _normals_and_curvatures(first / size, second / size, bad)
        return Jets(points, normals, _finite(gaussian / size / size), _finite(mean / size))


def _finite(values: FloatArray) -> FloatArray:
    return np.where(np.isfinite(values), values, np.nan)


def _degenerate(first: FloatArray) -> BoolArray:
    size = float(np.nanmax(np.abs(first), initial=0.0)) or 1.0
    area = np.linalg.norm(np.cross(first[:, 0] / size, first[:, 1] / size), axis=1)
    largest = np.nanmax(area, initial=0.0)
    result: BoolArray = ~(area > DEGENERATE * largest)
    return result


def _normals_and_curvatures(
    first: FloatArray, second: FloatArray, bad: BoolArray
) -> "tuple[FloatArray, FloatArray, FloatArray]":
    du, dv = first[:, 0], first[:, 1]
    cross = np.cross(du, dv)
    area = np.linalg.norm(cross, axis=1)
    normals = np.where(bad[:, None], 0.0, cross / area[:, None])
    e, f, g = (np.einsum("ij,ij->i", a, b) for a, b in ((du, du), (du, dv), (dv, dv)))
    l, m, n = (np.einsum("ij,ij->i", second[:, k], normals) for k in range(3))
    gaussian = (l * n - m * m) / (area * area)
    mean = (e * n - 2 * f * m + g * l) / (2 * area * area)
    flawed = bad | ~np.isfinite(gaussian) | ~np.isfinite(mean)
    normals = np.where(np.isfinite(normals).all(axis=1)[:, None], normals, 0.0)
    return normals, np.where(flawed, np.nan, gaussian), np.where(flawed, np.nan, mean)


def _derivatives(surface: Surface, uv: FloatArray, exact: bool) -> FloatArray:
    """(n, 7, 3) as `Surface.derivatives` of order 2, true for rational surfaces too."""
    if exact:
        return surface.exact(_within(surface.exact_domain, uv), 2)
    at = _within(surface.domain, uv)
    values = surface.derivatives(at, 2)
    if not _are_placeholders(values):
        return values
    true = surface.exact(_within(surface.exact_domain, uv), 2)
    size = np.ptp(values[:, 0], axis=0).max(initial=0.0)
    if np.abs(true[:, 0] - values[:, 0]).max(initial=0.0) <= SAME * size:
        return true
    return _differences(surface, at, values)


def _within(domain: "tuple[float, float, float, float]", uv: FloatArray) -> FloatArray:
    low_u, high_u, low_v, high_v = domain
    return (low_u, low_v) + uv * (high_u - low_u, high_v - low_v)


def _are_placeholders(values: FloatArray) -> bool:
    """Whether these are the derivatives that rational surfaces give by contract."""
    return bool((values[:, 1] == (1, 0, 0)).all() and (values[:, 2] == (0, 1, 0)).all())


def _differences(surface: Surface, uv: FloatArray, values: FloatArray) -> FloatArray:
    """Central differences, about places far enough from the ends of the domain."""
    low_u, high_u, low_v, high_v = surface.domain
    h, k = STEP * (high_u - low_u), STEP * (high_v - low_v)
    about = np.clip(uv, (low_u + h, low_v + k), (high_u - h, high_v - k))
    steps = np.array([(a, b) for a in (-h, 0.0, h) for b in (-k, 0.0, k)])
    p = surface(about[:, None] + steps).reshape(-1, 3, 3, 3)
    result = np.array(values)
    middle = p[:, 1, 1]
    result[:, 1] = (p[:, 2, 1] - p[:, 0, 1]) / (2 * h)
    result[:, 2] = (p[:, 1, 2] - p[:, 1, 0]) / (2 * k)
    result[:, 4] = (p[:, 2, 1] - 2 * middle + p[:, 0, 1]) / (h * h)
    result[:, 5] = (p[:, 2, 2] - p[:, 2, 0] - p[:, 0, 2] + p[:, 0, 0]) / (4 * h * k)
    result[:, 6] = (p[:, 1, 2] - 2 * middle + p[:, 1, 0]) / (k * k)
    return result
