"""Trimmed surfaces through the package."""

import numpy as np
import pytest

import morvel
from morvel.trimmed import INNER, INSIDE, ON_BOUNDARY, OUTSIDE


@pytest.fixture
def plate():
    return morvel.Surface.plane((0, 0, 0), (2, 0, 0), (0, 1, 0))


def square(low, high):
    return [(low, low), (high, low), (high, high), (low, high)]


def test_polygons_are_classified_meshed_and_read_back(plate):
    part = morvel.TrimmedSurface.polygons(plate, [square(0.1, 0.9)], [square(0.4, 0.6)])
    uv = np.array([[[0.2, 0.2], [0.5, 0.5]], [[0.95, 0.5], [0.1, 0.3]]])
    np.testing.assert_array_equal(part.classify(uv), [[INSIDE, OUTSIDE], [OUTSIDE, ON_BOUNDARY]])
    assert part.area() == pytest.approx(2 * (0.64 - 0.04), abs=1e-9)
    mesh = part.mesh(7, 30)
    assert mesh.area() == pytest.approx(part.area(), abs=1e-7)
    hole = part.loops[1]
    assert (hole.type, hole.is_outer, hole.curves) == (INNER, False, 0)
    np.testing.assert_array_equal(sorted(map(tuple, hole.polygon)), sorted(square(0.4, 0.6)))
    plate.close()
    assert part((0.5, 0.5)) == pytest.approx((1, 0.5, 0))


def test_other_ways_of_trimming(plate):
    wave = [morvel.Curve.circle((1, 0.5, 1), 0.3)]
    cases = [
        (morvel.TrimmedSurface.rectangular(plate, u=(0.2, 0.5)), 0.6),
        (morvel.TrimmedSurface.circular_hole(plate, (0.5, 0.5), 0.25), 2 - 2 * np.pi / 16),
        (morvel.TrimmedSurface.wires(plate, holes=[wave]), 2 - np.pi * 0.09),
        (morvel.TrimmedSurface.snipped(plate, (0.5, 0, 0), (1, 0, 0)), 1.5),
    ]
    for part, area in cases:
        assert part.area() == pytest.approx(area, rel=1e-3)
        assert part.mesh(12).area() == pytest.approx(area, rel=1e-3)


@pytest.mark.parametrize(
    "make, text",
    [
        (lambda base: morvel.TrimmedSurface.rectangular(base, u=(0.5, 0.2)), "out of order"),
        (lambda base: morvel.TrimmedSurface.rectangular(base, v=(0.5, 1.2)), "domain"),
        (lambda base: morvel.TrimmedSurface.circular_hole(base, (0, 0), 0.0), "radius"),
        (lambda base: morvel.TrimmedSurface.snipped(base, (0, 0, 5), (0, 0, 1)), "does not cut"),
        (lambda base: morvel.TrimmedSurface.polygons(base, [[(0, 0), (np.nan, 0)]]), "finite"),
    ],
)
def test_refusals_say_why(plate, make, text):
    with pytest.raises(morvel.MorvelError, match=text):
        make(plate)
