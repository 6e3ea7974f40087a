"""Corners of the interface that the package reaches, beside closed forms and other programs."""

import numpy as np
import pytest
from scipy.interpolate import BSpline

import morvel
from morvel import Curve, CurveOnSurface, Surface, TrimmedSurface, basis


@pytest.fixture(autouse=True)
def quiet():
    with morvel.quiet():
        yield


def plate(x=0.0, z=0.0, side=1.0):
    return Surface.plane((x, 0, z), (side, 0, 0), (0, side, 0))


KNOTS = np.array([0, 0, 0, 0, 0.2, 0.5, 0.5, 0.9, 2, 2, 2, 2.0])


def test_basis_functions_are_those_of_scipy():
    u = np.random.default_rng(2).uniform(0, 2, (4, 25))
    count = len(KNOTS) - 4
    for index in range(count):
        one = BSpline(KNOTS, np.eye(count)[index], 3)
        assert np.allclose(basis.function(index, 3, KNOTS, u), one(u), atol=1e-13)
        for order in (1, 2):
            found = basis.derivative(index, 3, KNOTS, u, order)
            assert np.allclose(found, one.derivative(order)(u), atol=1e-9)
    values, spans = basis.functions(3, KNOTS, u), basis.spans(3, KNOTS, u)
    assert np.all((KNOTS[spans] <= u) & (u < KNOTS[spans + 1]))
    whole = BSpline.design_matrix(u.ravel(), KNOTS, 3).toarray()
    rows = np.take_along_axis(whole, spans.reshape(-1, 1) + np.arange(-3, 1), axis=1)
    assert np.allclose(values.reshape(-1, 4), rows, atol=1e-14)
    assert basis.domain(KNOTS) == (0.0, 2.0)


AREAS = [
    (lambda: Surface.sphere((0, 0, 0), 2.0), 16 * np.pi),
    (lambda: Surface.torus((1, 2, 3), 3.0, 1.0), 12 * np.pi**2),
    (lambda: Surface.cone((0, 0, 0), 1.0, 2.0), np.pi * np.sqrt(5)),
    (lambda: Surface.cylinder((0, 0, 0), 2.0, 3.0), 12 * np.pi),
    (lambda: plate(side=3.0), 9.0),
    (lambda: plate(side=3.0).trim(circle=((0.5, 0.5), 0.25)), 9 - 9 * np.pi / 16),
]


@pytest.mark.parametrize("make, area", AREAS)
def test_areas_are_those_of_closed_forms(make, area):
    rough = 2e-3 if type(make()) is TrimmedSurface else 2e-6  # a round hole is a polygon
    assert make().area() == pytest.approx(area, rel=rough)


def test_meshes_of_unequal_sides_lie_on_the_surface():
    ball = Surface.sphere((0, 0, 0), 2.0)
    mesh = ball.mesh(300, 40)
    assert mesh.vertices.shape == (12000, 3) and len(mesh.triangles) == 2 * 299 * 39
    assert np.allclose(np.linalg.norm(mesh.vertices, axis=1), 2.0)
    assert mesh.area() == pytest.approx(16 * np.pi, rel=2e-3)


def test_arcs_about_a_center():
    arc = Curve.arc_about((1, 1, 1), (3, 1, 1), (1, 9, 1))
    assert arc.length() == pytest.approx(np.pi) and np.allclose(arc(1.0), (1, 3, 1))
    assert Curve.arc_about((0, 0, 0), (2, 0, 0), (1, 0, 0)).length() == pytest.approx(4 * np.pi)


@pytest.mark.parametrize(
    "make",
    [
        lambda: Curve.circle((1, 2, 3), 2.0, normal=(1, 1, 1)),
        lambda: Curve.bspline(np.random.default_rng(1).random((7, 3))),
        lambda: Surface.bspline(np.random.default_rng(1).random((5, 6, 3))),
        lambda: Surface.sphere((1, 2, 3), 2.0),
        lambda: plate().trim(u=(0.2, 0.7)),
    ],
)
def test_transforms_in_place_and_of_copies_move_points(make):
    turn = np.array([[0, -2, 0, 5], [2, 0, 0, -1], [0, 0, 2, 0.5], [0, 0, 0, 1]])
    item, twin = make(), make()
    at = np.random.default_rng(3).random((20, 2) if isinstance(item, Surface) else 20)
    moved = item(at) @ turn[:3, :3].T + turn[:3, 3]
    other = item.transformed(turn)
    assert type(other) is type(item)
    item.transform(turn)
    for result in (item, other):
        is_round = isinstance(item, Curve) and item.type == "circle"
        where = result.closest(moved) if is_round else at  # its angle 0 may lie elsewhere
        assert np.allclose(result(where), moved, atol=1e-9)
    assert np.array_equal(twin(at), make()(at))


def test_hits_along_a_direction_are_those_of_a_line_with_a_sphere():
    ball = Surface.sphere((0, 0, 0), 2.0)
    xyz = np.random.default_rng(4).uniform(-2.5, 2.5, (5, 20, 3)) + [0, 0, 6]
    along = np.array([0.1, -0.2, -1.0])
    unit = along / np.linalg.norm(along)
    b = xyz @ unit
    under = b * b - (xyz * xyz).sum(axis=-1) + 4
    hits = morvel.project_points_along(ball, xyz, along)
    assert np.array_equal(np.isnan(hits.distances), under < 0)
    met = under >= 0
    assert met.any() and not met.all()
    near = np.abs(-b - np.sqrt(np.where(met, under, 0)))
    assert np.allclose(hits.distances[met], near[met], atol=1e-8)
    assert np.allclose(ball(hits.uv[met]), hits.points[met], atol=1e-9)


def test_a_preview_of_a_projection_lies_on_the_surface():
    tube = Surface.cylinder((0, 0, -9), 2.0, 18.0)
    lines = [Curve.line((3, -1, k), (3, 1.5, k + 1)) for k in range(120)]
    pieces = morvel.projection_preview(lines, [tube])
    assert len(pieces) >= 120
    assert all(np.allclose(np.hypot(*piece.T[:2]), 2.0) for piece in pieces)


def test_a_fit_continues_its_neighbour():
    uv = np.random.default_rng(1).random((900, 2))
    near = np.column_stack([1 + uv[:, 0], uv[:, 1], 0.3 * uv[:, 0] ** 2])
    left = plate().to_bspline()
    fit = morvel.fit_surface_constrained(
        near, uv, neighbours=[morvel.Neighbour("u_min", left, "u_max", 6)], control_points=(12, 12)
    )
    v = np.linspace(0, 1, 6)
    ours = fit.surface.exact(np.column_stack([0 * v, v]), 1)
    theirs = left.exact(np.column_stack([0 * v + 1, v]), 1)
    assert np.allclose(ours[:, 0], theirs[:, 0], atol=1e-8)
    assert np.allclose(abs(np.einsum("nc,nc->n", ours[:, 3], theirs[:, 3])), 1.0, atol=1e-8)


def test_a_surface_is_adjusted_only_where_it_may_move():
    i, j = np.meshgrid(np.arange(10.0), np.arange(10.0), indexing="ij")
    sheet, floor = Surface.bspline(np.stack([i, j, 0 * i], axis=-1)), plate(z=0.3, side=9.0)
    before = sheet.control_points
    movable = morvel.movable_control_points(sheet, "n-sided")
    places = [(0.45, 0.5, 0.45, 0.5)]
    made = morvel.adjust_surface(sheet, floor, places, movable=movable)
    moved = np.argwhere((sheet.control_points != before).any(axis=-1))
    assert made.met == 1 and made.distance < 1e-6 and np.isclose(sheet((0.45, 0.5))[2], 0.3)
    assert set(map(tuple, moved)) <= {divmod(n, 10) for n in movable[0].tolist()}


def test_wires_and_snips_leave_nothing_behind_and_cut_what_they_enclose():
    ring = Curve.circle((0.5, 0.5, 2), 0.3)
    half, nick = [(0, 0), (1, 0), (0, 1)], [(0.1, 0.1), (0.3, 0.1), (0.1, 0.3)]
    base = plate()
    kept = CurveOnSurface.bspline(base, [(0, 0), (1, 1)], 1)
    for part, share in (
        (base.trim(inside=[ring]), np.pi * 0.09),
        (base.trim(outside=(c for c in [ring])), 1 - np.pi * 0.09),
        (base.trim(holes=[[ring]]), 1 - np.pi * 0.09),
        (base.trim(outer=[ring]), np.pi * 0.09),
        (base.trim(outer=[half], holes=[nick]), 0.48),
        (base.trim(holes=[nick]), 0.98),
        (base.trim(v=(0.25, 0.5)), 0.25),
    ):
        assert part.area() == pytest.approx(share, rel=2e-3)
        uv = np.random.default_rng(5).random((20_000, 2))
        assert part.is_visible(uv).mean() == pytest.approx(share, abs=0.02)
        assert part.base == base.handle
    assert CurveOnSurface.handles() == [kept.handle]
    assert not any(held.ownerless for held in morvel.live())
    crossing = base.trim(outer=[[(0, 0), (1, 1), (1, 0), (0, 1)]])
    assert crossing.faults == [] or all(isinstance(fault, str) for fault in crossing.faults)
    assert base.trim(u=(0.2, 0.3)).faults  # by contract a rectangle has a loop without points


def test_a_preview_of_a_filling_is_the_filling():
    corners = [(0, 0, 0), (1, 0, 0.4), (1.2, 1, 0), (0.5, 1.6, 0.3), (0, 1, 0)]
    sides = [Curve.line(a, b) for a, b in zip(corners, corners[1:] + corners[:1])]
    points, deviation = morvel.fill_preview(sides, resolution=7)
    surface, report = morvel.fill(sides)
    t = np.linspace(0, 1, 7)
    assert np.allclose(points, surface.grid(t, t), atol=1e-12)
    assert deviation == pytest.approx(report.max_deviation)
    assert morvel.suitable_spans(5, 1e-4) == (14, 14)


def test_a_ball_rests_in_a_corner():
    floor, wall = plate(side=4.0), Surface.plane((0, 0, 0), (0, 4, 0), (0, 0, 4))
    ball = morvel.ball_contact(
        floor, wall, (0.75, 0.75), ((0, 1.5, 0), (0, 1, 0)), [(0.2, 0.4), (0.3, 0.2)]
    )
    assert np.allclose(ball.centre, (0.75, 1.5, 0.75)) and ball.residual < 1e-9
    assert np.allclose(ball.contacts, [(0.75, 1.5, 0), (0, 1.5, 0.75)])


def test_sums_of_surfaces_are_sums_of_nets():
    a, b, c = (plate(z=z).to_bspline() for z in (1.0, 2.0, 4.0))
    assert np.allclose(Surface.boolean_sum(a, b, c)((0.3, 0.6)), (0.3, 0.6, -1.0))
    assert (a == a) and (a != a.copy()) and len({a, b, a}) == 2
