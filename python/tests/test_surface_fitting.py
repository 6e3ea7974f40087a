"""Surfaces fitted to points and grids, beside scipy."""

import morvel
import numpy as np
import pytest
from morvel.surface_fitting import (
    fit_surface,
    fit_surface_with_report,
    interpolate_grid,
    interpolate_grid_with_report,
)
from scipy import sparse
from scipy.interpolate import BSpline, RectBivariateSpline, make_interp_spline


def scattered(count: int, seed: int = 4) -> np.ndarray:
    xy = np.random.default_rng(seed).random((count, 2)) * [2.0, 1.0]
    return np.column_stack([xy, 0.2 * np.sin(5 * xy[:, 0]) * np.cos(4 * xy[:, 1])])


def clamped_knots(count: int, degree: int) -> np.ndarray:
    inner = np.arange(1, count - degree) / (count - degree)
    return np.concatenate([np.zeros(degree + 1), inner, np.ones(degree + 1)])


@pytest.mark.parametrize("count,net,degrees", [(900, (7, 6), (3, 2)), (8000, (22, 20), (3, 3))])
def test_fit_is_scipys_least_squares_solution(count, net, degrees):
    points = scattered(count)
    surface, report = fit_surface_with_report(points, net, degrees, "plane", condition_analysis=True)
    rows = [
        BSpline.design_matrix(t, clamped_knots(n, p), p).tocsr()
        for t, n, p in zip(report.parameters.T, net, degrees)
    ]
    basis = sparse.vstack([sparse.kron(u, v) for u, v in zip(*rows)])
    controls = np.linalg.lstsq(basis.toarray(), points, rcond=None)[0].reshape(*net, 3)
    np.testing.assert_allclose(surface.control_points, controls, atol=1e-9)
    residual = np.linalg.norm(basis @ controls.reshape(-1, 3) - points, axis=1)
    assert report.max_deviation == pytest.approx(residual.max(), rel=1e-6)
    assert report.rms_deviation == pytest.approx(np.sqrt(np.mean(residual**2)), rel=1e-6)
    singular = np.linalg.svd(basis.toarray(), compute_uv=False)
    assert report.condition_number == pytest.approx((singular[0] / singular[-1]) ** 2, rel=1e-6)
    assert report.method == "Least Squares Plane Projection" and report.warnings == ()


def test_grid_interpolation_is_scipys():
    x, y = np.meshgrid(np.arange(12.0), np.arange(9.0) ** 1.2, indexing="ij")
    heights = np.sin(x) + 0.1 * y**2
    surface, report = interpolate_grid_with_report(np.dstack([x, y, heights]))
    knots = [np.asarray(k) for k in surface.knots]
    by_rows = make_interp_spline(report.u_parameters, np.dstack([x, y, heights]), t=knots[0])
    both = make_interp_spline(report.v_parameters, by_rows.c.transpose(1, 0, 2), t=knots[1])
    np.testing.assert_allclose(surface.control_points, both.c.transpose(1, 0, 2), atol=1e-10)
    u, v = np.meshgrid(report.u_parameters, report.v_parameters, indexing="ij")
    np.testing.assert_allclose(surface.exact(np.dstack([u, v]))[..., 2], heights, atol=1e-11)
    assert report.max_deviation < 1e-11
    # An even grid: parameters are proportional to x and y, so heights are those of the spline in x, y.
    even = np.dstack(np.meshgrid(np.arange(8.0), np.arange(10.0), indexing="ij") + [np.zeros((8, 10))])
    flat = interpolate_grid(even)
    spline = RectBivariateSpline(np.arange(8.0), np.arange(10.0), even[..., 0], s=0)
    assert flat.exact([0.3, 0.6])[0] == pytest.approx(spline(2.1, 5.4)[0, 0])


def test_modes_methods_and_refusals():
    points = scattered(400)
    for method in ("plane", "hull", "pca", "automatic"):
        assert fit_surface_with_report(points, method=method, mode="smart")[1].max_deviation < 0.15
    before = morvel.counts()
    with pytest.raises(ValueError):
        fit_surface(points, method="magic")
    with pytest.raises(morvel.MorvelError, match="at least 4 points"):
        fit_surface(points[:3])
    with pytest.raises(morvel.MorvelError, match="Point validation failed"):
        fit_surface(np.where(np.arange(1200).reshape(400, 3) == 77, np.nan, points))
    with pytest.raises(morvel.MorvelError, match="Failed to compute surface parameterization"):
        fit_surface(np.outer(np.arange(30.0), [1, 2, 3]))
    with pytest.raises(morvel.MorvelError, match="Not enough rows for U degree 3"):
        interpolate_grid(np.random.default_rng(1).random((3, 3, 3)))
    assert morvel.counts() == before
