"""Blends and intersections through the package, against closed forms."""

import numpy as np
import pytest

import morvel

RADIUS = 0.5


@pytest.fixture
def corner():
    """A floor and a wall on it; the wall's normal points to +x."""
    ground = morvel.Surface.plane((-4, -4, 0), (8, 0, 0), (0, 8, 0))
    wall = morvel.Surface.plane((0, -3, 0), (0, 6, 0), (0, 0, 5))
    return ground, wall


def test_a_blend_comes_with_its_parts(corner):
    joint = morvel.blend(*corner, RADIUS, "++")
    points = joint.surface(np.random.default_rng(1).random((200, 2)))
    distances = np.hypot(points[:, 0] - RADIUS, points[:, 2] - RADIUS)
    assert abs(distances - RADIUS).max() < 1e-3 * RADIUS
    assert joint.sides == "++"
    assert np.allclose(joint.contacts[:, 0, [0, 2]], RADIUS)
    assert np.allclose(joint.contacts[:, 1, 2], 0.0, atol=1e-12)
    assert np.allclose(joint.contacts[:, 2, 0], 0.0, atol=1e-12)
    assert np.allclose(joint.offsets[1]([[0.3, 0.4]])[0, 0], RADIUS)
    assert morvel.blend(*corner, RADIUS).sides[0] == "+"
    with pytest.raises(morvel.MorvelError, match="do not meet"):
        morvel.blend(*corner, RADIUS, "--")
    with pytest.raises(ValueError):
        morvel.blend(*corner, RADIUS, "up")


def test_a_radius_follows_its_law(corner):
    surface, spine = morvel.variable_blend(*corner, [0, 1], [0.2, 0.4], "++")
    t = np.linspace(0, 1, 21)
    centres = spine(t)
    for v in (0.0, 0.5, 1.0):
        points = surface(np.column_stack([t, np.full_like(t, v)]))
        assert np.allclose(np.linalg.norm(points - centres, axis=1), 0.2 + 0.2 * t, rtol=1e-3)


def test_intersections_have_branches_tangencies_and_coincidence(corner):
    ground, _ = corner
    ball = morvel.Surface.sphere((0.2, 0.1, 0.5), 1.0)
    met = morvel.intersect(ground, ball)
    assert [branch.closed for branch in met.branches] == [True]
    branch = met.branches[0]
    radii = np.hypot(branch.points[:, 0] - 0.2, branch.points[:, 1] - 0.1)
    assert np.allclose(radii, np.sqrt(0.75))
    assert np.allclose(ball(branch.uv2), branch.points, atol=1e-8)
    assert np.allclose(ground(branch.uv1), branch.points, atol=1e-8)
    resting = morvel.Surface.sphere((0.2, 0.1, 1.0), 1.0)
    touching = morvel.intersect(ground, resting)
    assert not touching.branches and len(touching.tangencies) > 0
    assert morvel.intersect(ground, ground).coincide


def test_contacts_make_a_canal(corner):
    centres = [[RADIUS, y, RADIUS] for y in (-0.5, 0.0, 1.0)]
    touched = morvel.contact_points(*corner, centres, 0.5)
    assert touched.converged[1].all()
    surface = morvel.canal(centres, *(touched.points[:, k] for k in (0, 1)), RADIUS)
    points = surface.grid(np.linspace(0, 1, 5), np.linspace(0, 1, 5)).reshape(-1, 3)
    assert np.allclose(np.hypot(points[:, 0] - 0.5, points[:, 2] - 0.5), 0.5, atol=1e-4)
    raised = morvel.variable_offset(corner[0], [0, 1], [0.1, 0.3])
    assert np.allclose(raised([[0.5, 0.2]])[0, 2], 0.2)


def test_ends_and_warnings_reach_the_caller(corner):
    ground, wall = corner
    assert morvel.intersect(ground, wall).branches[0].ends == ("edge", "edge")
    ball = morvel.Surface.sphere((0.2, 0.1, 0.5), 1.0)
    assert morvel.intersect(ground, ball).branches[0].ends == ("closed", "closed")
    assert morvel.blend(*corner, RADIUS, "++").warnings == ()
    upright = morvel.Surface.cylinder((0, 0, -3), 0.8, 6.0)
    lying = morvel.Surface.cylinder((-3, 0, 0), 0.4, 6.0, (1, 0, 0))
    sides = next(s for s in ("+-", "-+") if morvel.blend(upright, lying, 0.2, s).warnings)
    assert "tangent" in morvel.blend(upright, lying, 0.2, sides).warnings[0]
    with pytest.warns(RuntimeWarning, match="tangent"):
        morvel.variable_blend(upright, lying, [0, 1], [0.2, 0.2], sides)
