"""Projection through the package."""

from __future__ import annotations

import numpy as np
import pytest

import morvel


@pytest.fixture
def ball():
    with morvel.Surface.sphere((0, 0, 0), 2.0) as surface:
        yield surface


def test_points_of_any_shape(ball):
    cloud = np.random.default_rng(5).normal(size=(4, 25, 3)) * 3
    uv, points, distances = morvel.project_points(ball, cloud)
    lengths = np.linalg.norm(cloud, axis=-1)
    np.testing.assert_allclose(distances, abs(lengths - 2), atol=1e-9)
    np.testing.assert_allclose(points, 2 * cloud / lengths[..., None], atol=1e-9)
    np.testing.assert_allclose(ball(uv), points, atol=1e-12)
    assert morvel.project_points(ball, np.empty((0, 3))).uv.shape == (0, 2)
    with pytest.raises(morvel.ArgumentError):
        morvel.project_points(ball, [[0, np.nan, 0]])
    with pytest.raises(ValueError, match="shape"):
        morvel.project_points(ball, [0, 1])


def test_hits_along_a_direction(ball):
    _, points, distances = morvel.project_point(ball, (1, 0, 5), "view", (0, 0, -3), "all")
    np.testing.assert_allclose(points[:, 2], [np.sqrt(3), -np.sqrt(3)], atol=1e-9)
    np.testing.assert_allclose(distances, 5 - points[:, 2], atol=1e-9)
    with pytest.raises(morvel.MorvelError, match="misses"):
        morvel.project_point(ball, (3, 0, 5), "view")
    with pytest.raises(ValueError, match="kind"):
        morvel.project_point(ball, (3, 0, 5), "sideways")


def test_a_curve_on_a_cylinder_and_what_was_measured():
    line = morvel.Curve.line((3, -1, 0.5), (3, 1.5, 2))
    with morvel.Surface.cylinder((0, 0, 0), 2.0, 4.0) as tube:
        assert morvel.projection_report(tube) is None
        made = morvel.project_curves([line], [tube], tolerance=1e-6)
        for curve in (*made.on_surface, *made.in_space):
            t = np.linspace(*curve.interval, 200)
            exact = line(t)
            exact[:, :2] *= 2 / np.linalg.norm(exact[:, :2], axis=1)[:, None]
            assert np.linalg.norm(curve(t) - exact, axis=1).max() <= 2e-6
        assert sum(len(pieces) for pieces in (made.on_surface, made.in_space)) in (2, 4)
        report = morvel.projection_report(tube)
        assert report is not None and report.pieces == len(made.on_surface)
        assert max(report.max_deviation, report.max_fit_deviation) == made.deviation <= 2e-6
        with pytest.raises(morvel.MorvelError, match="parameters"):
            morvel.project_curves([line], [tube], tolerance=0.0)
