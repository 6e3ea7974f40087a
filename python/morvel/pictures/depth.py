"""Which places of a picture are hidden: a buffer of the depths nearest to the eye."""

from __future__ import annotations

from typing import Tuple

import numpy as np

from .._arrays import BoolArray, FloatArray, IntArray

MOST_WORK = 60_000_000  # pixels looked at for all triangles; larger buffers are made coarser
CHUNK = 1 << 18
AROUND = (-1, 0, 1)
EDGE = 1e-9
NOBODY = -1


class DepthBuffer:
    """The depth nearest to the eye at each pixel; larger is nearer."""

    def __init__(
        self, triangles: FloatArray, owners: IntArray, width: int, height: int
    ) -> None:
        """Draws (n, 3, 3) corners x, y in pixels and depth; `owners` (n,) says whose they are."""
        sides = np.ptp(triangles[:, :, :2], axis=1).max(axis=1, initial=0.0) + 2
        work = float((sides**2).sum())
        self.scale = min(1.0, np.sqrt(MOST_WORK / work)) if work > 0 else 1.0
        self.width, self.height = (max(1, int(np.ceil(s * self.scale))) for s in (width, height))
        self._nearest = np.full(self.width * self.height, -np.inf)
        self._owner = np.full(len(self._nearest), NOBODY, dtype=np.int32)
        self._draw(triangles * (self.scale, self.scale, 1.0), owners)
        self._farthest = self._around(self._nearest.reshape(self.height, self.width))

    def visible(self, places: FloatArray, slack: float) -> BoolArray:
        """Whether each of (n, 3) places x, y, depth is seen, or behind what is by `slack` at most.
        """
        return self.behind(places) <= slack

    def owner(self, places: FloatArray) -> IntArray:
        """Whose triangle is nearest at each of (n, 3) places."""
        x, y, inside = self._pixels(places)
        return np.where(inside, self._owner[y * self.width + x], NOBODY)

    def behind(self, places: FloatArray) -> FloatArray:
        """How far (n, 3) places x, y, depth lie behind what is seen there.

        That is behind all of a pixel and the eight around it, so that what lies on a facet, at any
        slope, is not behind it.
        """
        x, y, inside = self._pixels(places)
        nearest = np.where(inside, self._farthest[y, x], -np.inf)
        return np.asarray(nearest - places[:, 2])

    def _pixels(self, places: FloatArray) -> Tuple[IntArray, IntArray, BoolArray]:
        """Columns, rows, and whether they are there: the first pixel stands for those that are not.
        """
        x = np.floor(places[:, 0] * self.scale).astype(np.int32)
        y = np.floor(places[:, 1] * self.scale).astype(np.int32)
        inside = (x >= 0) & (y >= 0) & (x < self.width) & (y < self.height)
        return x * inside, y * inside, inside

    @staticmethod
    def _around(nearest: FloatArray) -> FloatArray:
        padded = np.pad(nearest, 1, constant_values=-np.inf)
        rows, columns = nearest.shape
        parts = [padded[1 + a : 1 + a + rows, 1 + b : 1 + b + columns]
                 for a in AROUND for b in AROUND]
        result: FloatArray = np.minimum.reduce(parts)
        return result

    def _draw(self, triangles: FloatArray, owners: IntArray) -> None:
        """By classes of size, so that each chunk is one array of pixels."""
        first = np.floor(triangles[:, :, :2].min(axis=1))
        sides = (np.floor(triangles[:, :, :2].max(axis=1)) - first).max(axis=1) + 1
        classes = np.ceil(np.log2(np.maximum(sides, 1))).astype(int)
        for level in np.unique(classes):
            members = np.flatnonzero(classes == level)
            step = max(1, CHUNK >> (2 * int(level)))
            for start in range(0, len(members), step):
                chosen = members[start : start + step]
                self._draw_chunk(triangles[chosen], owners[chosen], first[chosen], 1 << int(level))

    def _draw_chunk(
        self, triangles: FloatArray, owners: IntArray, first: FloatArray, side: int
    ) -> None:
        a, b, c = (triangles[:, k] for k in range(3))
        area = _cross(b - a, c - a)
        good = np.abs(area) > EDGE
        a, b, c, area, first = a[good], b[good], c[good], area[good], first[good]
        steps = np.arange(side)
        x = (first[:, 0, None] + steps)[:, None, :]
        y = (first[:, 1, None] + steps)[:, :, None]
        right, down = x + 0.5 - a[:, 0, None, None], y + 0.5 - a[:, 1, None, None]
        p, q = ((side / area[:, None])[:, :, None, None] for side in (b - a, c - a))
        of_b = right * q[:, 1] - down * q[:, 0]  # shares of the corners b and c
        of_c = down * p[:, 0] - right * p[:, 1]
        inside = (of_b >= -EDGE) & (of_c >= -EDGE) & (of_b + of_c <= 1 + EDGE)
        inside &= (x >= 0) & (y >= 0) & (x < self.width) & (y < self.height)
        triangle, row, column = np.nonzero(inside)
        share_b, share_c = of_b[inside], of_c[inside]
        z = triangles[good][:, :, 2]
        rise = (z[:, 1:] - z[:, :1])[triangle]
        depth = z[triangle, 0] + share_b * rise[:, 0] + share_c * rise[:, 1]
        pixel = (y[triangle, row, 0] * self.width + x[triangle, 0, column]).astype(np.int64)
        np.maximum.at(self._nearest, pixel, depth)
        won = depth == self._nearest[pixel]
        self._owner[pixel[won]] = owners[good][triangle[won]]


def _cross(p: FloatArray, q: FloatArray) -> FloatArray:
    return p[..., 0] * q[..., 1] - p[..., 1] * q[..., 0]
