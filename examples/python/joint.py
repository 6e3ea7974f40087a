"""The teapot's spout blended into its body by a rolling ball, with a picture of the joint.

    ./run python examples/python/joint.py [FOLDER]
"""

from __future__ import annotations

import logging
import sys
from pathlib import Path
from typing import Dict, List, Literal, Tuple

import numpy as np

import morvel
from picture import draw
from teapot import read_patches

TEAPOT = Path(__file__).resolve().parent.parent / "data" / "teapot.txt"
RADIUS = 0.1
OUTSIDE: Literal["--"] = "--"  # both patches' normals point inward
# The spout's halves meet four quarters of the body; each pair has its piece of the joint.
PAIRS = ((16, 4), (16, 8), (17, 11), (17, 7))
BODY, SPOUT = (4, 7, 8, 11), (16, 17)
COLOURS = {"body": "#8fb0c9", "spout": "#a9c4a4", "blend": "#e08a3c", "spine": "#303030",
           "contact": "#b03030"}
LINE_RADIUS = 0.008
RESOLUTION = 40


def blends(patches: List[morvel.Surface]) -> List[morvel.Blend]:
    return [morvel.blend(patches[a], patches[b], RADIUS, OUTSIDE) for a, b in PAIRS]


def worst_gap(pieces: List[morvel.Blend]) -> float:
    """The largest distance from an end of a spine to the nearest end of another one."""
    ends = np.array([piece.spine(np.array([0.0, 1.0])) for piece in pieces]).reshape(-1, 3)
    apart = np.linalg.norm(ends[:, None] - ends[None], axis=2) + np.eye(len(ends)) * 1e9
    return float(apart.min(axis=1).max())


def roundness(pieces: List[morvel.Blend]) -> float:
    """How far the blends are from the ball, as a share of its radius, by their spines' points."""
    worst = 0.0
    for piece in pieces:
        t = np.linspace(0.0, 1.0, 41)
        points = piece.surface.grid(t, np.linspace(0.0, 1.0, 9))
        centres = piece.spine(np.linspace(0.0, 1.0, 2001))
        apart = np.linalg.norm(points[:, :, None] - centres, axis=3).min(axis=2)
        worst = max(worst, float(abs(apart - RADIUS).max()))
    return worst / RADIUS


def lines(pieces: List[morvel.Blend]) -> List[Tuple[morvel.Mesh, str]]:
    """Spines and contact curves as thin tubes."""
    tubes = []
    for piece in pieces:
        paths: Dict[int, str] = {0: "spine", 1: "contact", 2: "contact"}
        for column, name in paths.items():
            curve = morvel.interpolate_curve(piece.contacts[:, column])
            tube = morvel.Surface.pipe(curve, LINE_RADIUS)
            tubes.append((tube.mesh(RESOLUTION), COLOURS[name]))
    return tubes


def picture(patches: List[morvel.Surface], pieces: List[morvel.Blend], path: Path) -> None:
    parts = [(patches[k].mesh(RESOLUTION), COLOURS["body"]) for k in BODY]
    parts += [(patches[k].mesh(RESOLUTION), COLOURS["spout"]) for k in SPOUT]
    parts += [(piece.surface.mesh(RESOLUTION), COLOURS["blend"]) for piece in pieces]
    draw(parts + lines(pieces), path)


def page(patches: List[morvel.Surface], pieces: List[morvel.Blend], path: Path) -> None:
    """The same, to be turned in a browser."""
    contacts = [morvel.interpolate_curve(piece.contacts[:, k]) for piece in pieces for k in (1, 2)]
    parts = {
        "body": ([patches[k] for k in BODY], COLOURS["body"]),
        "spout": ([patches[k] for k in SPOUT], COLOURS["spout"]),
        "blend": ([piece.surface for piece in pieces], COLOURS["blend"]),
        "contacts": (contacts, COLOURS["contact"]),
        "spines": ([piece.spine for piece in pieces], COLOURS["spine"]),
    }
    morvel.save(path, parts, title="The spout, joined by a rolling ball")


def main() -> None:
    folder = Path(sys.argv[1] if len(sys.argv) > 1 else "out")
    folder.mkdir(parents=True, exist_ok=True)
    morvel.set_log_level(logging.ERROR)
    patches = [morvel.Surface.bezier(net) for net in read_patches(TEAPOT)]
    pieces = blends(patches)
    print(f"{len(pieces)} pieces, spines joined within {worst_gap(pieces):.0e}, "
          f"round within {roundness(pieces):.0e} of the radius")
    picture(patches, pieces, folder / "joint.png")
    page(patches, pieces, folder / "joint.html")


if __name__ == "__main__":
    main()
