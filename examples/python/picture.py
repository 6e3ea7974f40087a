"""A shaded picture of meshes: triangles sorted from far to near, lit by one lamp."""

from __future__ import annotations

from pathlib import Path
from typing import List, Tuple

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np
from matplotlib.collections import PolyCollection
from matplotlib.colors import to_rgb

import morvel

VIEW = np.array([0.55, -1.0, 0.55])  # from the scene towards the eye
LAMP = np.array([0.9, -0.6, 1.4])
AMBIENT = 0.28
SHINE = 0.35


def view_axes() -> Tuple[np.ndarray, np.ndarray, np.ndarray]:
    """Right, up and towards the eye, as unit vectors."""
    towards = VIEW / np.linalg.norm(VIEW)
    right = np.cross([0.0, 0.0, 1.0], towards)
    right /= np.linalg.norm(right)
    return right, np.cross(towards, right), towards


def shaded(mesh: morvel.Mesh, colour: str) -> np.ndarray:
    """(m, 3) colours of the triangles; both of their sides are lit."""
    lamp = LAMP / np.linalg.norm(LAMP)
    towards = view_axes()[2]
    normals = mesh.normals
    normals = normals * np.where(normals @ towards < 0, -1.0, 1.0)[:, None]
    light = np.clip(normals @ lamp, 0.0, 1.0)
    half = (lamp + towards) / np.linalg.norm(lamp + towards)
    gloss = SHINE * np.clip(normals @ half, 0.0, 1.0) ** 40
    tone = AMBIENT + (1.0 - AMBIENT) * light
    return np.clip(tone[:, None] * np.array(to_rgb(colour)) + gloss[:, None], 0.0, 1.0)


def draw(parts: List[Tuple[morvel.Mesh, str]], path: Path) -> None:
    """Writes a PNG of meshes with their colours."""
    right, up, towards = view_axes()
    corners = np.concatenate([mesh.vertices[mesh.triangles] for mesh, _ in parts])
    colours = np.concatenate([shaded(mesh, colour) for mesh, colour in parts])
    flat = np.stack([corners @ right, corners @ up], axis=-1)
    order = np.argsort((corners @ towards).mean(axis=1))
    figure, axes = plt.subplots(figsize=(12, 8), dpi=110)
    faces = PolyCollection(flat[order], facecolors=colours[order], edgecolors=colours[order])
    faces.set_linewidth(0.2)
    axes.add_collection(faces)
    axes.autoscale()
    axes.set_aspect("equal")
    axes.axis("off")
    figure.savefig(path, bbox_inches="tight", facecolor="white")
    plt.close(figure)
