import numpy as np
import pytest
from scipy.interpolate import BSpline

import morvel
from morvel.constrained_fitting import fit_surface_constrained, join_surface


def hill(uv):
    u, v = np.asarray(uv).T
    return np.column_stack([u, v, 0.3 * np.sin(4 * u) * np.cos(3 * v)])


def knots(count, degree=3):
    return np.r_[[0.0] * degree, np.linspace(0, 1, count - degree + 1), [1.0] * degree]


def basis(values, count, derivative=0):
    splines = BSpline(knots(count), np.eye(count), 3)
    return splines.derivative(derivative)(values) if derivative else splines(values)


def rows(uv, count, du=0, dv=0):
    """The tensor-product basis; control point (i, j) in column j * count + i."""
    u, v = basis(uv[:, 0], count, du), basis(uv[:, 1], count, dv)
    return np.einsum("kj,ki->kji", v, u).reshape(len(uv), -1)


@pytest.fixture
def scattered():
    return np.random.default_rng(7).random((800, 2))


@pytest.mark.parametrize("count", [6, 18])  # the system is written out for one, not for the other
def test_it_is_the_constrained_minimum(scattered, count):
    pins = np.array([[0.2, 0.3], [0.7, 0.6]])
    lifted = hill(pins) + [0, 0, 0.1]
    place, slope = np.array([[0.5, 0.5]]), np.array([[1.0, 0.2, 0.5]])
    weights = 1.0 + scattered[:, 0]
    fit = fit_surface_constrained(
        hill(scattered), scattered, weights=weights, interpolate=lifted, interpolate_uv=pins,
        tangents=(place, slope, None), control_points=(count, count),
    )  # fmt: skip
    a = rows(scattered, count)
    c = np.vstack([rows(pins, count), rows(place, count, du=1)])
    normal = a.T @ (weights[:, None] * a)
    n, k = normal.shape[0], len(c)
    h = normal + 1e-6 * np.linalg.norm(normal, 2) * np.eye(n)
    full = np.block([[h, c.T], [c, np.zeros((k, k))]])
    side = np.vstack([a.T @ (weights[:, None] * hill(scattered)), lifted, slope])
    expected = np.linalg.solve(full, side)[:n]
    net = fit.surface.control_points.transpose(1, 0, 2).reshape(-1, 3)
    assert np.abs(net - expected).max() < 1e-8
    assert fit.condition_number == pytest.approx(np.linalg.cond(full), rel=1e-3)
    assert fit.satisfaction == 1.0


def test_points_without_parameters_are_projected(scattered):
    points = hill(scattered)
    fit = fit_surface_constrained(points, interpolate=points[:3], control_points=(10, 10))
    assert np.abs(fit.surface(fit.interpolation_uv) - points[:3]).max() < 1e-9


def test_normals_are_met(scattered):
    normal, place = np.array([[0.0, 0.6, 0.8]]), np.array([[0.4, 0.4]])
    fit = fit_surface_constrained(hill(scattered), scattered, normals=(place, normal))
    assert abs(fit.surface.normals(place)[0] @ normal[0]) == pytest.approx(1.0, abs=1e-9)


def test_a_side_joins_its_neighbour(scattered):
    left = fit_surface_constrained(hill(scattered), scattered, control_points=(10, 10)).surface
    right = fit_surface_constrained(
        hill(scattered) + [1.05, 0, 0.05], scattered, control_points=(10, 10)
    ).surface
    met, errors = join_surface(right, 0, left, 1)
    assert met == 8 and errors[0] < 1e-6 and errors[1] < 1e-6


def test_refusals(scattered):
    points = hill(scattered)
    with pytest.raises(morvel.ArgumentError, match="Invalid constraints"):
        fit_surface_constrained(points, scattered, weights=np.zeros(len(points)))
    with pytest.raises(morvel.ArgumentError, match="contradict"):
        fit_surface_constrained(
            points, interpolate=[[0, 0, 0], [0, 0, 1]], interpolate_uv=[[0.5, 0.5]] * 2
        )
    with pytest.raises(ValueError, match="interpolate_uv"):
        fit_surface_constrained(points, scattered, interpolate=points[:1])
