"""Shaded pictures of meshes for the pages: a depth buffer, smooth normals, one lamp with its shadow.

The drawing libraries that come with Python sort whole triangles, which shows where surfaces run through
each other, as blends and fills do. Here every pixel keeps what is nearest to the eye.
"""

from __future__ import annotations

from pathlib import Path
from typing import Callable, List, NamedTuple, Optional, Tuple

import numpy as np
from matplotlib.colors import to_rgb
from PIL import Image

import morvel

Light = Callable[[np.ndarray], np.ndarray]

LAMP = (0.45, -1.05, 1.1)  # from the scene to the lamp
SKY, EARTH = np.array([0.97, 0.99, 1.05]), np.array([0.80, 0.77, 0.74])  # light from above, below
LAMP_SHARE, SKY_SHARE = 0.66, 0.52
GLOSS, SHARPNESS = 0.30, 60.0
SHADOW_DEPTH = 0.30  # of the ground; what lies in shadow on a surface has the sky's light only
SHADOW_SIZE = 1000  # pixels of the lamp's own depth buffer
SHADOW_BLUR = 6  # steps to either side over which its edge is spread
SHADOW_SLACK = 0.008  # of the scene's size: what lies deeper than that is in shadow
OVERSAMPLING = 2
SHRUNK = 1  # a test draws smaller pictures, which takes less time
COLOURS = 256
MARGIN = 0.035
# Pixels: triangles go by the side of their box, of which every pixel is looked at.
BOX_SIDES = (2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64, 96, 128, 256, 512, 4096)
CHUNK = 2_000_000  # pixels that are looked at at a time


class Fragments(NamedTuple):
    """What is nearest to the eye in each pixel of (height, width)."""

    triangle: np.ndarray  # -1 where there is none
    weights: np.ndarray  # (height, width, 3), of the triangle's corners
    depth: np.ndarray  # towards the eye; -inf where there is none


class View(NamedTuple):
    """Parallel rays, and the window that the picture shows."""

    right: np.ndarray
    up: np.ndarray
    towards: np.ndarray

    @classmethod
    def along(cls, towards: "Tuple[float, float, float] | np.ndarray") -> "View":
        eye = unit(np.array(towards, dtype=float))
        right = unit(np.cross([0.0, 0.0, 1.0], eye))
        return cls(right, np.cross(eye, right), eye)

    def of(self, points: np.ndarray) -> np.ndarray:
        """(..., 3): to the right, up, towards the eye."""
        return points @ np.stack([self.right, self.up, self.towards], axis=1)


class Window(NamedTuple):
    left: float
    top: float
    scale: float  # pixels a model unit
    size: Tuple[int, int]  # width, height

    @classmethod
    def around(cls, points: np.ndarray, size: Tuple[int, int], margin: float = MARGIN) -> "Window":
        """Around (n, 2) points with a margin of a share of their extent."""
        lower, upper = points.min(axis=0), points.max(axis=0)
        extent = (upper - lower) * (1 + 2 * margin)
        scale = min(size[0] / extent[0], size[1] / extent[1])
        middle = (lower + upper) / 2
        return cls(middle[0] - size[0] / scale / 2, middle[1] + size[1] / scale / 2, scale, size)

    def pixels(self, points: np.ndarray) -> np.ndarray:
        """(..., 3) places of a view as column, row and depth."""
        columns = (points[..., 0] - self.left) * self.scale
        rows = (self.top - points[..., 1]) * self.scale
        return np.stack([columns, rows, points[..., 2]], axis=-1)


def unit(vectors: np.ndarray) -> np.ndarray:
    length = np.linalg.norm(vectors, axis=-1, keepdims=True)
    return np.divide(vectors, length, out=np.zeros_like(vectors), where=length > 0)


def vertex_normals(mesh: morvel.Mesh) -> np.ndarray:
    """(n, 3): the triangles' normals at each vertex, by area."""
    a, b, c = (mesh.vertices[mesh.triangles[:, k]] for k in range(3))
    faces = np.cross(b - a, c - a)
    count = len(mesh.vertices)
    corner = mesh.triangles.ravel()
    sums = [np.bincount(corner, np.repeat(faces[:, k], 3), count) for k in range(3)]
    return unit(np.stack(sums, axis=1))


def fragments(corners: np.ndarray, size: Tuple[int, int]) -> Fragments:
    """Draws (m, 3, 3) triangles, corner by corner column, row and depth."""
    width, height = size
    depth = np.full(width * height, -np.inf)
    triangle = np.full(width * height, -1)
    weights = np.zeros((width * height, 3))
    lower = np.floor(corners[..., :2].min(axis=1)).astype(int)
    extent = (np.ceil(corners[..., :2].max(axis=1)).astype(int) - lower).max(axis=1)
    smaller = 0
    for side in BOX_SIDES:
        chosen = np.flatnonzero((extent > smaller) & (extent <= side))
        smaller = side
        share = max(CHUNK // side**2, 1)
        for which in np.split(chosen, range(share, len(chosen), share)):
            owner, column, row, w = covered(corners[which], lower[which], side)
            x, y = lower[which][owner, 0] + column, lower[which][owner, 1] + row
            pixel = np.where((x >= 0) & (x < width) & (y >= 0) & (y < height), y * width + x, -1)
            near = (w * corners[which][owner, :, 2]).sum(axis=1)
            order = np.argsort(near)  # of several in one pixel the nearest is written last
            order = order[(pixel[order] >= 0) & (near[order] > depth[pixel[order]])]
            depth[pixel[order]] = near[order]
            triangle[pixel[order]] = which[owner[order]]
            weights[pixel[order]] = w[order]
    shape = (height, width)
    return Fragments(triangle.reshape(shape), weights.reshape(*shape, 3), depth.reshape(shape))


def covered(
    corners: np.ndarray, lower: np.ndarray, side: int
) -> Tuple[np.ndarray, np.ndarray, np.ndarray, np.ndarray]:
    """Which pixels of their boxes triangles cover: triangle, column, row, weights of the corners.

    A weight is linear in column and row: one value at the box's corner, and two slopes.
    """
    a, b, c = (corners[:, k, :2] - lower - 0.5 for k in range(3))
    area = cross(b - a, c - a)
    area[area == 0] = np.inf  # covers nothing
    at = np.stack([cross(b, c), cross(c, a)]) / area
    along_x = np.stack([(b - c)[:, 1], (c - a)[:, 1]]) / area
    along_y = np.stack([(c - b)[:, 0], (a - c)[:, 0]]) / area
    at[:, np.isinf(area)] = -1.0
    steps = np.arange(side + 1, dtype=np.float32)
    first, second = (
        at[k].astype(np.float32)[:, None, None]
        + along_x[k].astype(np.float32)[:, None, None] * steps
        + along_y[k].astype(np.float32)[:, None, None] * steps[:, None]
        for k in range(2)
    )
    inside = (first >= 0) & (second >= 0) & (first + second <= 1)
    owner, row, column = np.nonzero(inside)
    u, v = first[inside], second[inside]
    return owner, column, row, np.stack([u, v, 1 - u - v], axis=1)


def cross(a: np.ndarray, b: np.ndarray) -> np.ndarray:
    return a[..., 0] * b[..., 1] - a[..., 1] * b[..., 0]


class Scene:
    """Meshes with colours, under a lamp, on a white ground or on nothing."""

    def __init__(
        self, view: Tuple[float, float, float] = (0.55, -1.0, 0.55),
        lamp: Tuple[float, float, float] = LAMP, ground: Optional[float] = None,
    ) -> None:
        """`view` points from the scene to the eye, z is up; `ground` is a height."""
        self.view, self.lamp = View.along(view), View.along(lamp)
        self.ground = ground
        self.corners: List[np.ndarray] = []
        self.normals: List[np.ndarray] = []
        self.paints: List[np.ndarray] = []

    def add(self, mesh: morvel.Mesh, colour: str, back: Optional[str] = None) -> None:
        """A mesh; `back` is the colour of the sides that its normals do not point to."""
        self.corners.append(mesh.vertices[mesh.triangles])
        self.normals.append(vertex_normals(mesh)[mesh.triangles])
        front = (mesh.normals @ self.view.towards > 0)[:, None]
        self.paints.append(np.where(front, to_rgb(colour), to_rgb(back or colour)))

    def line(self, points: np.ndarray, colour: str, radius: float) -> None:
        """A thin tube along (n, 3) points; two of them are joined by a straight one."""
        points = np.asarray(points, dtype=float)
        path = morvel.Curve.line(*points) if len(points) == 2 else morvel.interpolate_curve(points)
        # Long triangles have large boxes, which take long to draw.
        self.add(morvel.Surface.pipe(path, radius).mesh(120 if len(points) > 2 else 50), colour)

    def ball(self, centre: np.ndarray, radius: float, colour: str) -> None:
        self.add(morvel.Surface.sphere(centre, radius).mesh(50), colour)

    def save(self, path: Path, width: int, height: int) -> None:
        """A PNG with a palette; the scene fills it."""
        picture = self.picture(width, height).quantize(COLOURS, kmeans=1)
        picture.save(path, optimize=True)

    def picture(self, width: int, height: int) -> Image.Image:
        width, height = width // SHRUNK, height // SHRUNK
        size = (width * OVERSAMPLING, height * OVERSAMPLING)
        colours = (np.clip(self.colours(size), 0.0, 1.0) * 255).astype(np.uint8)
        return Image.fromarray(colours).resize((width, height), Image.Resampling.LANCZOS)

    def colours(self, size: Tuple[int, int]) -> np.ndarray:
        """(height, width, 3)."""
        corners = np.concatenate(self.corners)
        window = Window.around(self.view.of(self.outline(corners))[:, :2], size)
        seen = fragments(window.pixels(self.view.of(corners)), size)
        hit = seen.triangle >= 0
        owner, weights = seen.triangle[hit], seen.weights[hit][..., None]
        points = (corners[owner] * weights).sum(axis=1)
        normals = unit((np.concatenate(self.normals)[owner] * weights).sum(axis=1))
        shade = self.shade(corners)
        image = np.ones((size[1], size[0], 3))
        image[~hit] *= self.ground_light(window, ~hit, shade)
        image[hit] = self.lit(np.concatenate(self.paints)[owner], normals, shade(points))
        return image

    def outline(self, corners: np.ndarray) -> np.ndarray:
        """(n, 3) points that the picture is to show: the scene and its shadow."""
        points = corners.reshape(-1, 3)
        if self.ground is None:
            return points
        lamp = self.lamp.towards
        return np.concatenate([points, points - (points[:, 2:] - self.ground) / lamp[2] * lamp])

    def shade(self, corners: np.ndarray) -> Light:
        """A function of (n, 3) points: the share of the lamp's light that reaches them."""
        places = self.lamp.of(corners)
        window = Window.around(places[..., :2].reshape(-1, 2), (SHADOW_SIZE, SHADOW_SIZE))
        nearest = fragments(window.pixels(places), window.size).depth
        slack = SHADOW_SLACK * np.ptp(places.reshape(-1, 3), axis=0).max()

        def light(points: np.ndarray) -> np.ndarray:
            column, row, depth = window.pixels(self.lamp.of(points)).T
            reached, count = np.zeros(len(points)), 0
            for dx in range(-SHADOW_BLUR, SHADOW_BLUR + 1, 2):
                for dy in range(-SHADOW_BLUR, SHADOW_BLUR + 1, 2):
                    x = np.clip(column + dx, 0, SHADOW_SIZE - 1).astype(int)
                    y = np.clip(row + dy, 0, SHADOW_SIZE - 1).astype(int)
                    reached += nearest[y, x] <= depth + slack
                    count += 1
            return reached / count

        return light

    def ground_light(self, window: Window, where: np.ndarray, shade: Light) -> np.ndarray:
        """(n, 1): how bright the ground is behind pixels that nothing covers."""
        if self.ground is None:
            return np.ones((np.count_nonzero(where), 1))
        row, column = np.nonzero(where)
        x = (column + 0.5) / window.scale + window.left
        y = window.top - (row + 0.5) / window.scale
        start = x[:, None] * self.view.right + y[:, None] * self.view.up
        reach = (self.ground - start[:, 2]) / self.view.towards[2]
        light = shade(start + reach[:, None] * self.view.towards)
        return (1.0 - SHADOW_DEPTH * (1.0 - light))[:, None]

    def lit(self, paint: np.ndarray, normals: np.ndarray, light: np.ndarray) -> np.ndarray:
        """(n, 3) colours of points, either side of whose surface is lit."""
        facing = normals * np.where(normals @ self.view.towards < 0, -1.0, 1.0)[:, None]
        direct = (np.clip(facing @ self.lamp.towards, 0.0, 1.0) * light)[:, None]
        height = 0.5 + 0.5 * facing[:, 2:]
        half = unit(self.lamp.towards + self.view.towards)
        gloss = GLOSS * (np.clip(facing @ half, 0.0, 1.0) ** SHARPNESS * light)[:, None]
        around = SKY_SHARE * (height * SKY + (1.0 - height) * EARTH)
        return paint * (LAMP_SHARE * direct + around) + gloss
