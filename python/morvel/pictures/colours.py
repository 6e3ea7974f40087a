"""Colours of facets: by light, and by curvature."""

from __future__ import annotations

import math
from typing import List, Optional

import numpy as np

from .._arrays import FloatArray
from .options import Rgb
from .scene import Part, Scene

#: From the most negative curvature to the most positive.
CURVATURE_STOPS = np.array([
    [0x1f, 0x4e, 0x8c], [0x6f, 0xa3, 0xd0], [0xf3, 0xf0, 0xe9], [0xe8, 0x9a, 0x6d],
    [0xb2, 0x38, 0x1e],
]) / 255
NEUTRAL = np.array([0.62, 0.62, 0.62])  # where there is no curvature
PERCENTILE = 95  # of the curvatures, which has the strongest colour
FLAT = 1e-9  # curvature times the scene's radius below which all is flat
LAMP = np.array([-0.42, 0.62, 0.66])  # right, up, towards the eye
AMBIENT, SKY, LIGHT, GLOSS, SHARPNESS = 0.50, 0.14, 0.48, 0.12, 28
CURVATURE_LIGHT = 0.55  # how much of the light and shade is left where colours tell values
UNLIT = 0.8  # the tone of what has no normal


def shaded(colours: FloatArray, normals: FloatArray, strength: float = 1.0) -> FloatArray:
    """(n, 3) colours in light from above the eye's left; both sides are lit.

    Args:
        colours: (n, 3).
        normals: (n, 3) along right, up and towards the eye; zero where there is none.
        strength: 1 for all of the light and shade, 0 for none.
    """
    lamp = LAMP / np.linalg.norm(LAMP)
    half = lamp + (0, 0, 1)
    half /= np.linalg.norm(half)
    facing = normals * np.where(normals[:, 2:] < 0, -1.0, 1.0)
    light = np.clip(facing @ lamp, 0.0, 1.0)
    shine = strength * GLOSS * np.clip(facing @ half, 0.0, 1.0) ** SHARPNESS
    tone = AMBIENT + SKY * (0.5 + 0.5 * facing[:, 1]) + LIGHT * light
    tone = np.where(normals.any(axis=1), tone, UNLIT)
    tone = 1.0 + strength * (tone - 1.0)
    result: FloatArray = np.clip(tone[:, None] * colours + shine[:, None], 0.0, 1.0)
    return result


def lightly_shaded(colours: FloatArray, normals: FloatArray) -> FloatArray:
    """The same for colours that tell values."""
    return shaded(colours, normals, CURVATURE_LIGHT)


def curvatures(part: Part, kind: str) -> Optional[FloatArray]:
    """(n,) at the vertices of a part's facets; None without facets."""
    if part.faces is None:
        return None
    return part.faces.gaussian if kind == "gaussian" else part.faces.mean


def curvature_limit(scene: Scene, kind: str) -> float:
    """The curvature with the strongest colour, of two digits; 0 where all is flat."""
    values: List[FloatArray] = []
    for part in scene.parts:
        found = curvatures(part, kind)
        if found is not None:
            values.append(np.abs(found[np.isfinite(found)]))
    together = np.concatenate(values) if values else np.empty(0)
    if not together.size:
        return 0.0
    limit = float(np.percentile(together, PERCENTILE))
    power = 2 if kind == "gaussian" else 1
    if limit * scene.radius**power < FLAT:
        return 0.0
    return _rounded_up(limit)


def _rounded_up(value: float) -> float:
    unit = 10.0 ** (math.floor(math.log10(value)) - 1)
    return float(f"{math.ceil(value / unit - FLAT) * unit:.1e}")


def curvature_colours(values: FloatArray, limit: float) -> FloatArray:
    """(n, 3) colours; neutral where there is no curvature."""
    shares = np.clip(values / limit, -1.0, 1.0) if limit > 0 else np.where(
        np.isfinite(values), 0.0, np.nan)
    there = np.isfinite(shares)
    at = np.linspace(-1.0, 1.0, len(CURVATURE_STOPS))
    bands = [np.interp(np.where(there, shares, 0.0), at, CURVATURE_STOPS[:, k]) for k in range(3)]
    return np.where(there[:, None], np.stack(bands, axis=-1), NEUTRAL)


def curvature_text(kind: str) -> str:
    """What a legend calls a curvature."""
    return "Gaussian curvature" if kind == "gaussian" else "Mean curvature"


def spread(colour: Rgb, count: int) -> FloatArray:
    """(count, 3) of one colour."""
    return np.broadcast_to(np.asarray(colour), (count, 3))
