"""Arrays of parameters and points through the Python objects."""

import numpy as np
from scipy.interpolate import BSpline, insert

from morvel import Curve, CurveOnSurface, Surface
from morvel._arrays import address
from morvel._library import functions

QUARTER = np.array([[1, 0, 1], [1, 1, 1], [0, 2, 2]]) * [[1], [np.sqrt(0.5)], [0.5]]  # x w, y w, w


def random(*shape):
    """In [0, 1), the same at every call."""
    return np.random.default_rng(11).uniform(size=shape)


def cubic():
    return Curve.bspline(random(7, 3), knots=[1, 1, 1, 1, 1.2, 1.3, 2.5, 4, 4, 4, 4])


def uneven_surface():
    knots = ([0, 0, 0, 0, 0.1, 0.2, 1, 1, 1, 1], [2, 2, 2, 2.1, 4, 4.5, 5, 5, 5])
    return Surface.bspline(random(6, 6, 3), (3, 2), knots)


def sphere_octant():
    """The unit sphere's octant on uneven knots: a quarter circle turned about z, then refined."""
    rows = np.einsum("ia,jb->ijab", QUARTER, QUARTER)
    net = rows[..., [0, 0, 1, 2], [0, 1, 2, 2]]  # x w, y w, z w, w
    knots = [np.array([2, 2, 2, 5, 5, 5.0]), np.array([0, 0, 0, 1, 1, 1.0])]
    for axis, places in enumerate(([2.3, 4.7], [0.15, 0.2, 0.8])):
        net = np.moveaxis(net, axis, 0)
        for place in places:
            flat = net.reshape(len(net), -1)
            finer = [insert(place, (knots[axis], c, 2)) for c in flat.T]
            knots[axis] = finer[0][0]
            kept = len(knots[axis]) - 3  # the rest is padding
            net = np.stack([c[:kept] for _, c, _ in finer], axis=1).reshape(-1, *net.shape[1:])
        net = np.moveaxis(net, 0, axis)
    weights = net[..., 3]
    return Surface.nurbs(net[..., :3] / weights[..., None], weights, knots, (2, 2))


def test_batches_give_the_bits_of_the_single_calls():
    curve, surface = cubic(), uneven_surface()
    t, u, v = np.linspace(*curve.interval, 40), np.linspace(0, 1, 7), np.linspace(0.1, 0.9, 5)
    one, two = np.empty(3), np.empty(3)
    batches = dict(at_parameter=curve, tangent=curve.tangent, normal=curve.normal)
    for name, batch in batches.items():
        for parameter, row in zip(t, batch(t)):
            assert functions[f"evaluate_curve_{name}"](curve.handle, parameter, address(one)) == 0
            assert np.array_equal(row, one), name
    pairs = np.stack(np.meshgrid(u, v, indexing="ij"), axis=-1)
    derivatives = surface.derivatives(pairs, 2)
    assert np.array_equal(surface.grid(u, v, 2), derivatives)
    for uv, result in zip(pairs.reshape(-1, 2), derivatives.reshape(-1, 7, 3)):
        at = functions["evaluate_surface_at_parameter"](surface.handle, *uv)
        functions["get_surface_first_derivatives"](surface.handle, *uv, address(one), address(two))
        assert np.array_equal(result[:3], [[at.x, at.y, at.z], one, two])


def test_leading_dimensions_are_kept_whatever_the_memory_looks_like():
    curve, surface = cubic(), uneven_surface()
    on_surface = CurveOnSurface.bspline(surface, [[0, 0], [1, 1]], 1)
    for leading in ((), (0,), (4,), (2, 3), (2, 0, 3)):
        t, uv, points = (np.full(leading + item, 0.5) for item in ((), (2,), (3,)))
        for result, shape in (
            (curve(t), (3,)),
            (curve.derivatives(t, 2), (3, 3)),
            (curve.curvature(t), ()),
            (curve.length(t), ()),
            (curve.closest(points), ()),
            (surface(uv), (3,)),
            (surface.derivatives(uv), (4, 3)),
            (surface.exact(uv, 2), (7, 3)),
            (surface.normals(uv), (3,)),
            (surface.closest(points), (2,)),
            (surface.grid(t, [0.5, 0.6]), (2, 3)),
            (on_surface(t), (3,)),
            (on_surface.uv(t), (2,)),
        ):
            assert np.shape(result) == leading + shape
    strided, swapped = np.linspace(1, 4, 30)[::3], random(20, 2)[:, ::-1]
    assert np.array_equal(curve(strided), [curve(t) for t in strided.tolist()])
    assert np.array_equal(surface(swapped), [surface(uv) for uv in swapped.tolist()])
    assert np.array_equal(surface.grid(strided, 0), surface.point(strided, 0))


def test_exact_takes_the_stored_knots_and_the_call_uniform_ones():
    surface = uneven_surface()
    net, degrees = surface.control_points, surface.degrees
    u_min, u_max, v_min, v_max = surface.exact_domain
    unit = random(200, 2)
    uv = unit * [u_max - u_min, v_max - v_min] + [u_min, v_min]

    def tensor(parameters, knots):
        rows = [
            BSpline.design_matrix(parameters[:, k], knots[k], degrees[k]).toarray() for k in (0, 1)
        ]
        return np.einsum("ni,nj,ijc->nc", *rows, net)

    uniform = [np.r_[[0.0] * p, np.linspace(0, 1, 7 - p), [1.0] * p] for p in degrees]
    assert np.allclose(surface.exact(uv), tensor(uv, surface.knots), atol=1e-13)
    assert np.allclose(surface(unit), tensor(unit, uniform), atol=1e-13)
    assert abs(surface.exact(uv) - surface(unit)).max() > 0.1


def test_a_rational_octant_on_uneven_knots_is_on_the_sphere_with_its_normals():
    octant = sphere_octant()
    u_min, u_max, v_min, v_max = octant.exact_domain
    assert (u_min, u_max) == (2, 5) and octant.weights.shape == (5, 6)
    sides = np.linspace(u_min, u_max, 23), np.linspace(v_min, v_max, 17)
    uv = np.stack(np.meshgrid(*sides), axis=-1)
    point, du, _, normal = np.moveaxis(octant.exact(uv, 1), -2, 0)
    assert abs(np.linalg.norm(point, axis=-1) - 1).max() < 1e-12
    assert abs(np.einsum("...i,...i", normal, point)).min() > 1 - 1e-12
    inner, step = uv[1:-1, 1:-1], np.array([1e-6, 0])
    difference = (octant.exact(inner + step) - octant.exact(inner - step)) / 2e-6
    assert np.allclose(du[1:-1, 1:-1], difference, atol=1e-8)


def test_closest_parameters_lengths_boxes_and_copies():
    circle, plane = Curve.circle((0, 0, 0), 2.0), Surface.plane((0, 0, 1), (2, 0, 0), (0, 3, 0))
    assert np.allclose(circle.length(0, [0.25, 1]), [np.pi, 4 * np.pi])
    assert np.allclose(plane.closest([[0.5, 1.5, 7.0], [-4, 4, 0]]), [[0.25, 0.5], [0, 1]])
    assert np.allclose(plane.bounding_box, [[0, 0, 1], [2, 3, 1]])
    curve = Curve.nurbs(np.eye(3), [1, 2, 1], [0, 0, 0, 1, 1, 1], 2)
    twin = curve.copy()
    curve.set_control_point(1, (5, 6, 7))
    assert np.array_equal(curve.control_points[1], [5, 6, 7])
    assert np.array_equal(twin.control_points, np.eye(3)) and twin.weights.tolist() == [1, 2, 1]
    assert Curve.bspline(random(400, 3)).knots.shape == (404,)  # more than is asked for at first
