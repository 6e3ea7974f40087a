"""What goes in: memory of every kind, and what the wrong things become."""

# mypy: ignore-errors

import numpy as np
import pytest

import morvel
from morvel import Curve, CurveOnSurface, Point, Surface, TrimmedSurface
from morvel._library import raw

POINTS = np.random.default_rng(9).integers(-5, 6, (12, 3)).astype(float)
UNIT = np.random.default_rng(8).integers(0, 9, (6, 2)) / 8


def frozen(array):
    array = array.copy()
    array.setflags(write=False)
    return array


LAYOUTS = {
    "list": lambda a: a.tolist(),
    "big-endian": lambda a: a.astype(">f8"),
    "single precision": lambda a: a.astype(np.float32),
    "long double": lambda a: a.astype(np.longdouble),
    "read-only": frozen,
    "column by column": np.asfortranarray,
    "every other": lambda a: np.repeat(a, 2, axis=0)[::2],
    "backwards": lambda a: a[::-1].copy()[::-1],
    "objects": lambda a: a.astype(object),
    "a subclass": np.ma.asarray,
}
TAKERS = {
    "curve": lambda p, uv: Curve.bspline(p, 3).control_points,
    "interpolated": lambda p, uv: morvel.interpolate_curve(p, 2).control_points,
    "closest": lambda p, uv: Surface.sphere((0, 0, 0), 2.0).closest(p),
    "projected": lambda p, uv: morvel.project_points(Surface.sphere((0, 0, 0), 2.0), p).points,
    "evaluated": lambda p, uv: Surface.torus((0, 0, 0), 3.0, 1.0).derivatives(uv, 2),
    "classified": lambda p, uv: TrimmedSurface.rectangular(
        Surface.plane((0, 0, 0), (1, 0, 0), (0, 1, 0)), u=(0.25, 0.75)
    ).classify(uv),
    "in the parameter plane": lambda p, uv: CurveOnSurface.bspline(
        Surface.sphere((0, 0, 0), 1.0), uv, 1
    ).uv(0.5),
}


@pytest.mark.parametrize("taker", TAKERS)
def test_memory_of_every_kind_gives_the_same(taker):
    with morvel.quiet():
        expected = TAKERS[taker](POINTS, UNIT)
        for name, layout in LAYOUTS.items():
            assert np.array_equal(TAKERS[taker](layout(POINTS), layout(UNIT)), expected), name


def test_whole_and_single_numbers_of_numpy_are_numbers():
    for number in (np.float32(2), np.int8(2), np.array(2.0), np.uint64(2), True + 1):
        assert Curve.circle((0, 0, 0), radius=number).properties()["radius"] == 2.0
    assert Curve.bspline(POINTS, degree=np.int64(2)).degree == 2
    assert len(Surface.sphere((0, 0, 0), 1.0).mesh(np.int16(5)).vertices) == 25



def sphere(center=(0, 0, 0), radius=1.0):
    return Surface.sphere(center, radius)


HUGE = np.broadcast_to(0.5, (2**31, 3))


@pytest.mark.parametrize(
    "call, kind, text",
    [
        (lambda: sphere(radius="big"), TypeError, "radius needs numbers, not str"),
        (lambda: sphere(radius=None), TypeError, "radius needs numbers, not None"),
        (lambda: sphere(radius=1j), TypeError, "not complex"),
        (lambda: sphere(radius=[1, 2]), ValueError, "radius must be one number"),
        (lambda: sphere(radius=10**400), ValueError, "too large for a double"),
        (lambda: sphere(center="abc"), TypeError, "center needs numbers"),
        (lambda: sphere(center=(1, 2)), ValueError, r"not .*\(2,\)"),
        (lambda: Curve.line((0, 0, np.nan), (1, 0, 0)), ValueError, "finite"),
        (lambda: Curve.bspline(POINTS, degree=2.0), TypeError, "degree must be a whole number"),
        (lambda: Curve.bspline(POINTS, degree=2**32 + 2), ValueError, "degree must be from"),
        (lambda: Curve.bspline(POINTS[:, :2]), ValueError, r"shape \(n, 3\), not \(12, 2\)"),
        (lambda: Curve.bspline([["a", "b", "c"]]), TypeError, "points needs numbers"),
        (lambda: Curve.bspline([[1, 2, 3], [4, 5]]), ValueError, "inhomogeneous|setting an array"),
        (lambda: Curve.bspline(POINTS, knots=[[0, 1]]), ValueError, r"knots needs shape \(n,\)"),
        (lambda: Surface.bspline(POINTS), ValueError, r"\(nU, nV, 3\), not \(12, 3\)"),
        (lambda: Surface.bspline(POINTS.reshape(3, 4, 3), 3), TypeError, "degrees needs two"),
        (lambda: Surface.bspline(POINTS.reshape(3, 4, 3), (1, 2, 3)), ValueError, "needs two"),
        (lambda: sphere()(np.zeros((4, 3))), ValueError, r"\(..., 2\), not \(4, 3\)"),
        (lambda: sphere().closest(HUGE), ValueError, "more than one call can take"),
        (lambda: sphere().mesh(10**6), ValueError, "3 to 200"),
        (lambda: sphere().mesh(10**6, 10**6), ValueError, "in all"),
        (lambda: sphere().extension("up", 1.0), ValueError, "'u_min', 'u_max'"),
        (lambda: Surface.loft([sphere()] * 2), TypeError, r"sections\[0\] must be a Curve"),
        (lambda: Surface.loft(sphere()), TypeError, "sections must be a sequence"),
        (lambda: morvel.blend(sphere(), None, 1.0), TypeError, "second must be a Surface"),
        (lambda: sphere().trim(), TypeError, "one kind of cut"),
        (lambda: morvel.basis.functions(2, [0, 0, 1, 0, 1, 1], 0.5), ValueError, "never decrease"),
        (lambda: morvel.Mesh(np.eye(3), [[0, 1, 3]]), ValueError, "indices from 0 to 2"),
    ],
)
def test_what_cannot_be_taken_is_named(call, kind, text):
    before = morvel.counts()
    with pytest.raises(kind, match=text):
        call()
    assert morvel.counts() == before


def gone(make):
    """An object that C has deleted behind Python's back."""
    item = make()
    raw[type(item)._deleter](item.handle)
    return item


def plate():
    return Surface.plane((0, 0, 0), (1, 0, 0), (0, 1, 0))


def line():
    return Curve.line((0, 0, 0), (1, 0, 0))


@pytest.mark.parametrize(
    "call, kind",
    [  # one for every family, whose codes for the same thing differ
        (lambda: gone(line).degree, KeyError),
        (lambda: gone(line).pending_transform, KeyError),
        (lambda: gone(line).transform(np.eye(4)), KeyError),
        (lambda: gone(plate).type, KeyError),
        (lambda: gone(plate).pending_transform, KeyError),
        (lambda: gone(plate)((0.5, 0.5)), KeyError),
        (lambda: gone(plate).reversed_u(), KeyError),
        (lambda: gone(plate) + plate(), KeyError),
        (lambda: gone(lambda: Point.at((1, 2, 3))).position, KeyError),
        (lambda: Surface.extrude(gone(line), (0, 0, 1), 1.0), KeyError),
        (lambda: Surface.sweep(line(), gone(line)), KeyError),
        (lambda: gone(plate).trim(u=(0.2, 0.5)), KeyError),
        (lambda: gone(plate).trim(outer=[[(0, 0), (1, 0), (1, 1)]]), KeyError),
        (lambda: gone(lambda: plate().trim(u=(0.2, 0.5))).area(), KeyError),
        (lambda: gone(lambda: plate().trim(u=(0.2, 0.5))).classify((0, 0)), KeyError),
        (lambda: CurveOnSurface.bspline(gone(plate), [(0, 0), (1, 1)], 1), KeyError),
        (lambda: morvel.fill([line(), line(), gone(line)]), KeyError),
        (lambda: morvel.project_points(gone(plate), POINTS), KeyError),
        (lambda: morvel.intersect(gone(plate), plate()), KeyError),
        (lambda: morvel.join_surface(gone(plate), 0, plate(), 1), KeyError),
        (lambda: Surface.revolve(line(), start=2.0, end=1.0), ValueError),
        (lambda: plate().trim(u=(0.5, 0.2)), ValueError),
        (lambda: plate().trim(plane=((0, 0, 9), (0, 0, 1))), ValueError),
        (lambda: plate().to_bspline().split_u(0.0), ValueError),
        (lambda: morvel.interpolate_grid(np.zeros((2, 2, 3))), ValueError),
        (lambda: morvel.fill([line(), line(), line()]), ValueError),
        (lambda: plate().weights, morvel.MorvelError),
    ],
)
def test_every_familys_codes_become_the_right_kind_of_error(call, kind):
    with morvel.quiet(), pytest.raises(kind) as caught:
        call()
    assert isinstance(caught.value, morvel.MorvelError)
    assert caught.value.code <= 0 and caught.value.function and caught.value.text
    others = {KeyError, ValueError} - {kind}
    assert not isinstance(caught.value, tuple(others))
