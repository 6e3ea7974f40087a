"""Fitted curves beside those of scipy."""

import logging

import numpy as np
import pytest
from scipy.interpolate import make_interp_spline, make_lsq_spline

import morvel
from morvel import fit_curve, fit_curve_constrained, interpolate_curve
from morvel.fitting import chord_parameters


@pytest.fixture(autouse=True)
def quiet():
    morvel.set_log_level(logging.ERROR)
    yield
    morvel.set_log_level(logging.INFO)


def wave(count):
    t = np.linspace(0.0, 9.0, count) + 0.02 * np.sin(np.arange(count))
    return np.stack([t, np.sin(t), np.cos(0.7 * t)], axis=1)


@pytest.mark.parametrize("count", [30, 150, 20_000])
@pytest.mark.parametrize("degree", [2, 3, 5])
def test_a_fit_is_the_least_squares_spline_of_its_knots(count, degree):
    points = wave(count)
    curve = fit_curve(points, degree)
    peer = make_lsq_spline(chord_parameters(points), points, curve.knots, degree)
    assert abs(curve.control_points - peer.c).max() < 1e-9


@pytest.mark.parametrize("count", [8, 5_000])
@pytest.mark.parametrize("degree", [1, 3, 4])
def test_an_interpolant_is_the_spline_through_its_points(count, degree):
    points = wave(count)
    curve = interpolate_curve(points, degree)
    t = chord_parameters(points)
    assert abs(curve(t) - points).max() < 1e-12
    peer = make_interp_spline(t, points, degree, t=curve.knots)
    between = np.linspace(0.0, 1.0, 999)
    assert abs(curve(between) - peer(between)).max() < 1e-10


def test_a_round_set_is_fitted_by_its_angle():
    angles = np.linspace(0.0, 2.0 * np.pi, 200, endpoint=False)
    ring = np.stack([np.cos(angles), np.sin(angles), 0.0 * angles], axis=1)
    curve = fit_curve(ring, method="automatic")
    assert abs(np.linalg.norm(curve(np.linspace(0, 1, 500)), axis=1) - 1.0).max() < 1e-5


def test_constraints_are_met_and_the_rest_is_near():
    points = wave(400)
    t = chord_parameters(points)
    fixed = np.zeros(400, dtype=bool)
    fixed[::50] = True
    noisy = points + np.random.default_rng(3).normal(scale=0.01, size=points.shape)
    curve = fit_curve_constrained(
        points[fixed], noisy[~fixed], through_at=t[fixed], near_at=t[~fixed], control_points=40
    )
    assert len(curve.control_points) == 40
    assert abs(curve(t[fixed]) - points[fixed]).max() < 1e-9
    assert np.sqrt(((curve(t) - points) ** 2).sum(axis=1).mean()) < 0.01
    assert len(fit_curve_constrained(points[:4], []).control_points) == 4


@pytest.mark.parametrize(
    "make, text",
    [
        (lambda: fit_curve(wave(5), 5), "degree"),
        (lambda: fit_curve(np.zeros((9, 3))), "Engine 1"),
        (lambda: interpolate_curve(wave(9)[[0, 1, 1, 2, 3]]), "indices 1 and 2"),
        (lambda: interpolate_curve([[0, 0, 0], [np.nan, 0, 0]], 1), "finite"),
        (lambda: fit_curve(wave(9), method="best"), "method"),
        (lambda: fit_curve_constrained(wave(9), [], 6), "1-5"),
        (lambda: fit_curve_constrained(wave(9), [], near_at=[]), "both"),
    ],
)
def test_bad_input_is_named(make, text):
    with pytest.raises(ValueError, match=text):
        make()
    assert morvel.counts().curves == 0
