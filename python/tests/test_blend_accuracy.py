"""Blends as they come back from the exported functions, measured against closed forms and scipy.

Surfaces are shapes of their own here: planes and cylinders in closed form, splines by scipy.
"""

from __future__ import annotations

import logging
from typing import Any, Callable, Tuple

import numpy as np
import pytest
from scipy.interpolate import BSpline

import morvel
from morvel._library import call

STATIONS, ACROSS = 200, 17
SHARE = 1e-3  # of the radius
U = np.linspace(0.0, 1.0, STATIONS)
V = np.linspace(0.0, 1.0, ACROSS)

Foot = Callable[[np.ndarray], Tuple[np.ndarray, np.ndarray]]  # points to distances, unit normals


@pytest.fixture(autouse=True)
def quiet():
    morvel.set_log_level(logging.ERROR)
    yield
    morvel.set_log_level(logging.INFO)


def unit(vectors: np.ndarray) -> np.ndarray:
    return vectors / np.linalg.norm(vectors, axis=-1, keepdims=True)


def plane(corner: Any, u: Any, v: Any) -> Tuple[morvel.Surface, Foot]:
    normal = unit(np.cross(u, v))

    def foot(points):
        return abs((points - corner) @ normal), np.broadcast_to(normal, points.shape)

    return morvel.Surface.plane(corner, u, v), foot


def cylinder(base: Any, radius: float, height: float, axis: Any) -> Tuple[morvel.Surface, Foot]:
    along = unit(np.asarray(axis, dtype=float))

    def foot(points):
        out = points - base
        out = out - (out @ along)[:, None] * along
        return abs(np.linalg.norm(out, axis=1) - radius), unit(out)

    return morvel.Surface.cylinder(base, radius, height, axis), foot


def spline(net: np.ndarray) -> Tuple[morvel.Surface, Foot]:
    """Bicubic on clamped uniform knots; feet by Newton's steps from the nearest of many points."""
    n = len(net)
    knots = np.r_[[0.0] * 3, np.linspace(0, 1, n - 2), [1.0] * 3]

    def basis(t, order):
        return BSpline(knots, np.eye(n), 3)(np.clip(t, 0.0, 1.0), nu=order)

    def at(u, v, i, j):
        return np.einsum("ka,kb,abc->kc", basis(u, i), basis(v, j), net)

    lattice = np.stack(np.meshgrid(*[np.linspace(0, 1, 121)] * 2, indexing="ij"), -1).reshape(-1, 2)
    samples = at(lattice[:, 0], lattice[:, 1], 0, 0)

    def foot(points):
        u, v = lattice[[np.argmin(((samples - p) ** 2).sum(1)) for p in points]].T
        for _ in range(15):
            off, su, sv = at(u, v, 0, 0) - points, at(u, v, 1, 0), at(u, v, 0, 1)
            gradient = np.stack([(off * su).sum(1), (off * sv).sum(1)], 1)
            mixed = (su * sv).sum(1) + (off * at(u, v, 1, 1)).sum(1)
            uu = (su * su).sum(1) + (off * at(u, v, 2, 0)).sum(1)
            vv = (sv * sv).sum(1) + (off * at(u, v, 0, 2)).sum(1)
            matrix = np.stack([uu, mixed, mixed, vv], 1).reshape(-1, 2, 2)
            step = np.linalg.solve(matrix, gradient[..., None])[..., 0]
            u, v = np.clip(u - step[:, 0], 0, 1), np.clip(v - step[:, 1], 0, 1)
        normal = unit(np.cross(at(u, v, 1, 0), at(u, v, 0, 1)))
        return np.linalg.norm(at(u, v, 0, 0) - points, axis=1), normal

    return morvel.Surface.bspline(net), foot


def field() -> Tuple[morvel.Surface, Foot]:
    x, y = np.meshgrid(*[np.linspace(0, 4, 10)] * 2, indexing="ij")
    return spline(np.stack([x, y, 0.15 * np.sin(1.7 * x + 0.3) * np.cos(1.3 * y - 0.3)], -1))


def wavy_wall() -> Tuple[morvel.Surface, Foot]:
    y, z = np.meshgrid(np.linspace(0, 4, 10), np.linspace(-2, 2, 10), indexing="ij")
    return spline(np.stack([2 + 0.2 * np.sin(1.9 * y + 0.5) * np.cos(z), y, z], -1))


def ground() -> Tuple[morvel.Surface, Foot]:
    return plane((-4, -4, 0), (8, 0, 0), (0, 8, 0))


def upright() -> Tuple[morvel.Surface, Foot]:
    return cylinder((0.2, 0.1, -2), 1.0, 4.0, (0, 0, 1))


def lying() -> Tuple[morvel.Surface, Foot]:
    return cylinder((-3, 0, 0), 0.5, 6.0, (1, 0, 0))


def leaning_plane() -> Tuple[morvel.Surface, Foot]:
    return plane((1.9, 0, -2), (0.2, 4, 0), (0.1, 0, 4))


def angles(a: np.ndarray, b: np.ndarray) -> np.ndarray:
    """Between the lines of two fields of vectors, degrees."""
    sine, cosine = np.linalg.norm(np.cross(a, b), axis=-1), abs((a * b).sum(-1))
    return np.degrees(np.arctan2(sine, cosine))


def assert_tangent(blend: morvel.Surface, v: float, foot: Foot, radii: Any, degrees: float) -> None:
    point, _, _, normal = np.moveaxis(blend.grid(U, [v], order=1)[:, 0], -2, 0)
    distance, surface_normal = foot(point)
    assert (distance / radii).max() < SHARE
    assert angles(normal, surface_normal).max() < degrees


def assert_circular(points: np.ndarray, radius: float) -> None:
    """(stations, across, 3): each row is an arc of the radius."""
    a, b, c = points[:, 0], points[:, ACROSS // 2], points[:, -1]
    ab, ac = b - a, c - a
    normal = np.cross(ab, ac)
    out = np.cross(normal, ab) * (ac**2).sum(1)[:, None]
    out += np.cross(ac, normal) * (ab**2).sum(1)[:, None]
    out /= 2.0 * (normal**2).sum(1)[:, None]
    assert abs(np.linalg.norm(out, axis=1) - radius).max() < SHARE * radius
    from_centre = points - (a + out)[:, None]
    height = (from_centre * unit(normal)[:, None]).sum(-1)
    in_plane = np.sqrt((from_centre**2).sum(-1) - height**2)
    assert np.hypot(height, in_plane - radius).max() < SHARE * radius


@pytest.mark.parametrize("radius", [0.02, 0.5, 1.7])
def test_perpendicular_planes_get_a_quarter_cylinder(radius):
    floor, wall = ground()[0], plane((0, -3, -2), (0, 6, 0), (0, 0, 5))[0]
    counts = (20, 20, 50, 20, 1, 1, None, None, None)
    pair = (floor.handle, wall.handle)
    by_radius = morvel.Surface(call("create_rolling_ball_blend", *pair, radius, *counts))
    manual = "create_rolling_ball_blend_manual_directions"
    for blend, z in (
        (by_radius, 1),
        (morvel.Surface(call(manual, *pair, radius, radius, *counts)), 1),
        (morvel.Surface(call(manual, *pair, -radius, radius, *counts)), -1),
        (morvel.blend(floor, wall, radius, "++").surface, 1),
    ):
        points = blend.grid(U, V)
        x, y, height = np.moveaxis(points, -1, 0)
        assert abs(np.hypot(x - radius, height * z - radius) - radius).max() < SHARE * radius
        assert x.max() < radius * (1 + SHARE) and (height * z).max() < radius * (1 + SHARE)
        assert abs(points[:, 0, [0, 2]] - [radius, 0]).max() < SHARE * radius
        assert abs(points[:, -1, [0, 2]] - [0, radius * z]).max() < SHARE * radius
        assert np.allclose(np.sort(y[[0, -1], 0]), [-3, 3])
        normals = blend.grid(U, [0.0, 1.0], order=1)[..., 3, :]
        assert angles(normals[:, 0], np.array([0, 0, 1.0])).max() < 0.5
        assert angles(normals[:, 1], np.array([1.0, 0, 0])).max() < 0.5


@pytest.mark.parametrize("sides", ["auto", "++", "--", "+-", "-+"])
@pytest.mark.parametrize(
    "shapes, radius",
    [
        ((ground, upright), 0.3),
        ((upright, lying), 0.2),
        ((field, leaning_plane), 0.25),
        ((field, wavy_wall), 0.2),
    ],
    ids=["plane-cylinder", "cylinders", "plane-field", "fields"],
)
def test_sections_are_arcs_of_the_radius_tangent_to_both(shapes, radius, sides):
    (first, first_foot), (second, second_foot) = (shape() for shape in shapes)
    joint = morvel.blend(first, second, radius, sides)
    assert_circular(joint.surface.grid(U, V), radius)
    assert_tangent(joint.surface, 0.0, first_foot, radius, 1.0)
    assert_tangent(joint.surface, 1.0, second_foot, radius, 1.0)
    if shapes[1] in (upright, lying) and not joint.warnings:  # round and back to the start
        point, along, _, normal = np.moveaxis(joint.surface.grid([0.0, 1.0], V, order=1), -2, 0)
        assert abs(point[0] - point[1]).max() < 1e-9
        assert angles(along[0], along[1]).max() < 1e-4 and angles(normal[0], normal[1]).max() < 1e-4



@pytest.mark.parametrize("shapes", [(ground, leaning_plane), (field, wavy_wall)])
@pytest.mark.parametrize("start, rise", [(0.15, 0.2), (0.3, -0.1)])
def test_a_radius_follows_its_law(shapes, start, rise):
    (first, first_foot), (second, second_foot) = (shape() for shape in shapes)
    surface, spine = morvel.variable_blend(first, second, [0, 1], [start, start + rise], "++")
    centres, radii = spine(U), start + rise * U
    reach = np.linalg.norm(surface.grid(U, V) - centres[:, None], axis=2)
    assert (abs(reach - radii[:, None]) / radii[:, None]).max() < SHARE
    for foot in (first_foot, second_foot):
        assert (abs(foot(centres)[0] - radii) / radii).max() < SHARE
    assert_tangent(surface, 0.0, first_foot, radii, 1.0)
    assert_tangent(surface, 1.0, second_foot, radii, 1.0)
