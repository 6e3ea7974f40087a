"""Where facets end or meet in a crease."""

from __future__ import annotations

from typing import Dict, List, Tuple

import numpy as np

from .._arrays import FloatArray, IntArray

CREASE = float(np.cos(np.radians(35.0)))  # facets that meet under more are shaded apart


def scaled(vertices: FloatArray) -> FloatArray:
    """Vertices about their middle, of size 1: products of such numbers stay in range."""
    there = vertices[np.isfinite(vertices).all(axis=1)]
    if not len(there):
        return vertices
    low, high = there.min(axis=0), there.max(axis=0)
    size = float((high / 2 - low / 2).max()) or 1.0
    return np.asarray((vertices - (low / 2 + high / 2)) / size)


def facet_areas(vertices: FloatArray, corners: IntArray) -> FloatArray:
    """(m, 3) normals as long as twice the facets' areas, by the diagonals of quadrangles."""
    a, b, c, d = (vertices[corners[:, k]] for k in range(4))
    three = (corners[:, 2] == corners[:, 3])[:, None]
    return np.where(three, np.cross(b - a, c - a), np.cross(c - a, d - b))


def unit(vectors: FloatArray) -> FloatArray:
    """Vectors of length 1; zero where they are."""
    length = np.linalg.norm(vectors, axis=-1, keepdims=True)
    return np.divide(vectors, length, out=np.zeros_like(vectors), where=length > 0)


def sharp_edges(vertices: FloatArray, triangles: IntArray) -> List[FloatArray]:
    """Polylines along sides of one triangle alone, and of two that meet in a crease."""
    pairs = np.sort(np.concatenate([triangles[:, [k, (k + 1) % 3]] for k in range(3)]), axis=1)
    owners = np.tile(np.arange(len(triangles)), 3)
    order = np.lexsort((pairs[:, 1], pairs[:, 0]))
    pairs, owners = pairs[order], owners[order]
    first = np.flatnonzero(np.concatenate([[True], (pairs[1:] != pairs[:-1]).any(axis=1)])
                           if len(pairs) else np.empty(0, dtype=bool))
    counts = np.diff(np.append(first, len(pairs)))
    normals = unit(facet_areas(scaled(vertices), triangles[:, [0, 1, 2, 2]]))
    second = np.minimum(first + 1, len(pairs) - 1)
    along = np.einsum("ij,ij->i", normals[owners[first]], normals[owners[second]])
    sharp = first[(counts == 1) | ((counts == 2) & (along < CREASE))]
    return [vertices[chain] for chain in _chains(pairs[sharp].tolist())]


def _chains(pairs: "List[List[int]]") -> List[List[int]]:
    """Pairs of indices joined end to end."""
    beside: Dict[int, List[Tuple[int, int]]] = {}
    for number, (a, b) in enumerate(pairs):
        beside.setdefault(a, []).append((number, b))
        beside.setdefault(b, []).append((number, a))
    used = [False] * len(pairs)
    chains = []
    # Ends and forks first, so that a line is not begun in its middle.
    for start in sorted(beside, key=lambda at: len(beside[at]) == 2):
        for number, other in beside[start]:
            if not used[number]:
                used[number] = True
                chains.append(_walk([start, other], beside, used))
    return chains


def _walk(
    chain: List[int], beside: "Dict[int, List[Tuple[int, int]]]", used: List[bool]
) -> List[int]:
    while len(beside[chain[-1]]) == 2:
        onward = [step for step in beside[chain[-1]] if not used[step[0]]]
        if not onward:
            break
        used[onward[0][0]] = True
        chain.append(onward[0][1])
    return chain
