"""The shaded pictures of the pages."""

from __future__ import annotations

import tempfile
from pathlib import Path
from typing import Callable, List, Sequence, Tuple

import numpy as np

import holes
import joint
import morvel
from scene import Scene
from teapot import read_patches
from trimming import circle, cut_gear

DATA = Path(__file__).resolve().parents[2] / "examples" / "data"
CLAY, SLATE, SAND, MOSS = "#cfae82", "#7f9fb8", "#d9c7a3", "#9db38a"
ORANGE, TEAL, RED, INK = "#e0702e", "#2f8f8b", "#b8382c", "#2b3238"
WHOLE = ((0.0, 0.0), (1.0, 0.0), (1.0, 1.0), (0.0, 1.0))
PATCH, FINE = 44, 90  # vertices on a side of a mesh


def teapot() -> List[morvel.Surface]:
    return [morvel.Surface.bezier(net) for net in read_patches(DATA / "teapot.txt")]


def wavy(height: float = 0.35, waves: float = 1.0, size: float = 4.0) -> morvel.Surface:
    """A bicubic B-spline surface over a square, with hills."""
    lines = np.linspace(0.0, size, 12)
    x, y = np.meshgrid(lines, lines, indexing="ij")
    z = height * np.sin(waves * 1.6 * x + 0.4) * np.cos(waves * 1.3 * y)
    return morvel.Surface.bspline(np.stack([x, y, z], axis=-1))


def moved(mesh: morvel.Mesh, by: Sequence[float]) -> morvel.Mesh:
    return morvel.Mesh(mesh.vertices + np.asarray(by), mesh.triangles)


def along(curve: Callable[[np.ndarray], np.ndarray], count: int = 60) -> np.ndarray:
    """(count, 3) points of something over [0, 1]."""
    return curve(np.linspace(0.0, 1.0, count))


def standing(mesh: morvel.Mesh, x: float, size: float) -> morvel.Mesh:
    """On the ground, its middle at x, its larger extent in x and z as given."""
    low, high = mesh.bounds
    scale = size / (high - low)[[0, 2]].max()
    foot = np.array([(low[0] + high[0]) / 2, (low[1] + high[1]) / 2, low[2]])
    return morvel.Mesh((mesh.vertices - foot) * scale + [x, 0.0, 0.0], mesh.triangles)


def readme(path: Path) -> None:
    """The teapot: a blended joint, openings cut into it, a hole of five sides filled."""
    scene = Scene((0.30, -1.0, 0.44), ground=0.0)
    patches = teapot()
    hole = holes.fill_hole(patches[4], holes.polygon((0.48, 0.5), 0.25, 5), 1e-3)
    middle = np.array([0.5, 0.5])
    around = [middle + 0.29 * np.array([np.cos(a), np.sin(a)]) for a in np.arange(8) * np.pi / 4]
    openings = [circle(middle, 0.13, 80), *(circle(place, 0.07, 60) for place in around)]
    trimmed = {
        4: holes.cut_mesh(patches[4], [hole], PATCH),
        5: morvel.TrimmedSurface.polygons(patches[5], [WHOLE], openings).mesh(PATCH),
    }
    for k, patch in enumerate(patches):
        scene.add(trimmed.get(k) or patch.mesh(PATCH), CLAY)
    scene.add(hole.surface.mesh(FINE), TEAL)
    for side in holes.boundary(patches[4], hole.outline):
        scene.line(along(side, 20), INK, 0.012)
    for a, b in joint.PAIRS:
        piece = morvel.blend(patches[a], patches[b], 0.16, joint.OUTSIDE)
        scene.add(piece.surface.mesh(60), ORANGE)
    scene.save(path, 1100, 600)


def surfaces(path: Path) -> None:
    """Revolved, extruded, lofted, swept, a pipe and a torus."""
    scene = Scene((0.0, -1.0, 0.42), (-0.5, -0.9, 1.2), ground=0.0)
    profile = morvel.Curve.bspline(
        [[0.0, 0, 0], [0.62, 0, 0], [0.62, 0, 0.12], [0.1, 0, 0.2], [0.12, 0, 0.9], [0.75, 0, 1.1],
         [0.5, 0, 1.8], [0.62, 0, 2.1]]
    )
    wave = morvel.Curve.bspline(
        [[x, 0.45 * (-1) ** k, 0] for k, x in enumerate(np.linspace(-0.8, 0.8, 7))]
    )
    sections = [
        morvel.Curve.bspline(
            [[(0.65 - 0.1 * k) * np.cos(a) * (1 + 0.35 * np.cos(4 * a) * (k % 2)),
              (0.65 - 0.1 * k) * np.sin(a) * (1 + 0.35 * np.cos(4 * a) * (k % 2)), 0.5 * k]
             for a in np.linspace(0, 2 * np.pi, 25)]
        )
        for k in range(5)
    ]
    ribbon = morvel.Curve.bspline([[-0.2, 0, 0], [-0.07, 0, 0.08], [0.07, 0, -0.08], [0.2, 0, 0]])
    path_up = morvel.Curve.bspline(
        [[0.6 * np.cos(a), 0.6 * np.sin(a), 0.16 * a] for a in np.linspace(0, 4.5 * np.pi, 40)]
    )
    knot = morvel.Curve.bspline(
        [[np.sin(t) + 2 * np.sin(2 * t), np.cos(t) - 2 * np.cos(2 * t), -1.2 * np.sin(3 * t)]
         for t in np.linspace(0, 2 * np.pi, 48)]
    )
    made = [
        (morvel.Surface.revolve(profile).mesh(FINE), CLAY),
        (morvel.Surface.extrude(wave, (0, 0, 1), 1.6).mesh(FINE), SLATE),
        (morvel.Surface.loft(sections).mesh(FINE), MOSS),
        (morvel.Surface.sweep(ribbon, path_up).mesh(FINE), ORANGE),
        (morvel.Surface.pipe(knot, 0.42).mesh(200), TEAL),
        (morvel.Surface.torus((0, 0, 0), 0.6, 0.28).mesh(FINE), SAND),
    ]
    for k, (mesh, colour) in enumerate(made):
        scene.add(standing(mesh, 2.1 * k, 1.7), colour)
    scene.save(path, 1100, 270)


def fitting(path: Path) -> None:
    """A surface near scattered measurements and exactly through the red ones."""
    rng = np.random.default_rng(3)
    ground = wavy(0.4, 0.8)
    uv = rng.random((700, 2))
    points = ground(uv) + rng.normal(0.0, 0.02, (700, 3))
    places = np.stack(np.meshgrid([0.2, 0.5, 0.8], [0.2, 0.5, 0.8]), axis=-1).reshape(-1, 2)
    fixed = ground(places) + [0.0, 0.0, 0.05]
    fit = morvel.fit_surface_constrained(
        points, uv, interpolate=fixed, interpolate_uv=places, control_points=(8, 8)
    )
    scene = Scene((-0.35, -1.0, 0.75))
    scene.add(fit.surface.mesh(FINE), SLATE)
    bead = morvel.Surface.sphere((0, 0, 0), 1.0).mesh(9)
    for point in points:
        scene.add(morvel.Mesh(bead.vertices * 0.022 + point, bead.triangles), SAND)
    for point in fixed:
        scene.ball(point, 0.06, RED)
    scene.save(path, 1000, 480)


def projection(path: Path) -> None:
    """A circle carried down onto hills, and points with their closest ones."""
    scene = Scene((-0.45, -1.0, 0.75))
    hills = wavy()
    scene.add(hills.mesh(FINE), MOSS)
    ring = morvel.Curve.circle((1.55, 2.0, 1.5), 1.05)
    scene.line(along(ring, 90), INK, 0.022)
    down = morvel.project_curves([ring], [hills], kind="view", tolerance=1e-4)
    for curve in down.in_space:
        scene.line(along(lambda t, c=curve: c(c.interval[0] + t * np.ptp(c.interval)), 120), RED, 0.03)
    for start in along(ring, 25)[:-1]:
        end = morvel.project_point(hills, start, "view").points[0]
        scene.line([start, end], INK, 0.007)
    cloud = np.array([[2.9, 0.6, 0.9], [3.3, 1.4, 1.0], [3.5, 2.4, 0.8], [3.0, 3.2, 0.9]])
    found = morvel.project_points(hills, cloud)
    for point, foot in zip(cloud, found.points):
        scene.ball(point, 0.06, TEAL)
        scene.ball(foot, 0.045, ORANGE)
        scene.line([point, foot], TEAL, 0.012)
    scene.save(path, 1000, 520)


def trimmed(path: Path) -> None:
    """A gear cut out of a patch of the teapot, and what was left of the patch."""
    patch = teapot()[4]
    gear = cut_gear(patch, 60)
    scene = Scene(tuple(-patch.normal(0.5, 0.5) + [0.25, 0.0, 0.35]), (0.1, -1.0, 1.1))
    scene.add(gear.mesh, CLAY)
    outline = gear.part.loops[0].polygon
    rest = morvel.TrimmedSurface.polygons(patch, [WHOLE], [outline]).mesh(60)
    aside = np.array([2.6, 2.0, 0.0])
    scene.add(moved(rest, aside), SLATE)
    for loop in gear.part.loops:
        closed = patch(np.vstack([loop.polygon, loop.polygon[:1]]))
        for start, end in zip(closed, closed[1:]):
            tube = morvel.Surface.pipe(morvel.Curve.line(start, end), 0.006)
            scene.add(tube.mesh(8), INK)
    scene.save(path, 1000, 400)


def blending(path: Path) -> None:
    """A cylinder on a hilly surface: the ball, its path, its contacts, the blend."""
    scene = Scene((0.5, -1.0, 0.62))
    hills = wavy(0.22)
    post = morvel.Surface.cylinder((2.0, 2.0, -0.6), 0.75, 2.4)
    blend = morvel.blend(hills, post, 0.38)
    foot = {side: blend.contacts[:, side] for side in (0, 1, 2)}
    uv1 = hills.closest(foot[1])
    uv2 = post.closest(foot[2])
    lower = float(np.sort(uv2[:, 1])[0])
    scene.add(morvel.TrimmedSurface.polygons(hills, [WHOLE], [uv1]).mesh(FINE), SLATE)
    scene.add(morvel.TrimmedSurface.rectangular(post, v=(lower, 1.0)).mesh(FINE), SAND)
    scene.add(blend.surface.mesh(FINE), ORANGE)
    for side, colour, radius in ((0, INK, 0.012), (1, RED, 0.014), (2, RED, 0.014)):
        scene.line(foot[side], colour, radius)
    station = int(np.argmin(blend.contacts[:, 0] @ [-0.9, 1.0, 0.0]))
    scene.ball(blend.contacts[station, 0], 0.38, TEAL)
    scene.save(path, 1000, 560)


def nsided(path: Path) -> None:
    """Openings of 3 to 6 sides in a surface, open on the left, filled on the right."""
    scene = Scene((0.12, -1.0, 0.7))
    hills = wavy(0.3, 0.9)
    places: Tuple[Tuple[float, float], ...] = ((0.25, 0.27), (0.74, 0.27), (0.27, 0.74), (0.73, 0.74))
    outlines = [holes.polygon(p, 0.17, n) for p, n in zip(places, (3, 4, 5, 6))]
    found = [holes.fill_hole(hills, outline, 1e-3) for outline in outlines]
    opened = holes.cut_mesh(hills, found, FINE)
    for k in (0, 1):
        scene.add(moved(opened, (4.5 * k, 0, 0)), SAND)
    for hole in found:
        scene.add(moved(hole.surface.mesh(FINE), (4.5, 0, 0)), TEAL)
        for k in (0, 1):
            for side in holes.boundary(hills, hole.outline):
                scene.line(along(side, 20) + [4.5 * k, 0, 0], RED, 0.018)
    scene.save(path, 1100, 430)


def files(path: Path) -> None:
    """A ring written within three tolerances, and read back."""
    scene = Scene((0.2, -1.0, 0.9))
    ring = morvel.Surface.torus((0.0, 0.0, 0.0), 1.0, 0.42)
    with tempfile.TemporaryDirectory() as folder:
        for k, tolerance in enumerate((0.1, 0.02, 0.004)):
            ring.export(f"{folder}/ring.obj", tolerance=tolerance)
            mesh = moved(morvel.read_obj(f"{folder}/ring.obj"), (3.1 * k, 0.0, 0.0))
            corners = mesh.vertices[mesh.triangles].reshape(-1, 3)  # apart, so that facets show
            facets = np.arange(len(corners)).reshape(-1, 3)
            scene.add(morvel.Mesh(corners, facets), (SAND, MOSS, SLATE)[k])
    scene.save(path, 1000, 360)


PICTURES = {
    f"{make.__name__}.png": make
    for make in (readme, surfaces, fitting, projection, trimmed, blending, nsided, files)
}
