"""The Python objects over the kernel."""

import gc

import numpy as np
import pytest

import morvel
from morvel import Curve, CurveOnSurface, Mesh, Point, Surface


def wavy_net(nu=5, nv=6):
    u, v = np.meshgrid(np.arange(nu, dtype=float), np.arange(nv, dtype=float), indexing="ij")
    return np.stack([u, v, np.sin(u) * np.cos(v)], axis=-1)


class TestHandles:
    def test_an_object_is_deleted_once_it_is_let_go(self):
        Curve.line((0, 0, 0), (1, 0, 0))
        gc.collect()
        assert morvel.counts().curves == 0

    def test_with_block_and_close_delete_and_a_closed_object_raises(self):
        with Surface.sphere((0, 0, 0), 1.0) as sphere:
            assert morvel.counts().surfaces == 1
        sphere.close()
        assert morvel.counts().surfaces == 0
        with pytest.raises(KeyError, match="closed"):
            sphere.area()
        assert "closed" in repr(sphere)

    @pytest.mark.parametrize(
        "make, count",
        [
            (lambda: Curve.line((0, 0, 0), (1, 0, 0)), lambda: morvel.counts().curves),
            (lambda: Surface.sphere((0, 0, 0), 1.0), lambda: morvel.counts().surfaces),
            (lambda: Point.at((0, 0, 0)), lambda: morvel.counts().points),
        ],
    )
    def test_a_stale_object_never_deletes_the_newer_one_under_its_number(self, make, count):
        old = make()
        morvel.clear()
        new = make()
        assert new.handle == old._handle  # the numbering began anew
        assert old.closed
        with pytest.raises(morvel.HandleError):
            old.handle
        old.close()
        del old
        gc.collect()
        assert count() == 1 and not new.closed

    def test_a_curve_on_a_surface_outlives_the_surface_but_not_a_clear(self):
        sphere = Surface.sphere((0, 0, 0), 1.0)
        curve = CurveOnSurface.bspline(sphere, [[0.1, 0.1], [0.5, 0.9], [0.9, 0.1]], 2)
        assert curve.base == sphere.handle and curve.handle in CurveOnSurface.handles()
        t = np.linspace(*curve.interval, 9)
        assert np.array_equal(curve(t), sphere(curve.uv(t)))
        sphere.close()
        assert np.allclose(np.linalg.norm(curve(t), axis=-1), 1.0)
        with pytest.raises(morvel.MorvelError, match="not registered any more"):
            curve.base
        morvel.clear()
        assert curve.closed and morvel.counts().curves_on_surfaces == 0
        with pytest.raises(KeyError):
            curve(t)

    def test_a_released_object_stays_in_the_kernel(self):
        number = Point.at((1, 2, 3)).release()
        assert np.array_equal(Point.adopt(number).position, [1, 2, 3])


class TestErrors:
    def test_code_function_and_text_reach_the_caller(self):
        with pytest.raises(ValueError) as caught:
            Curve.circle((0, 0, 0), radius=-1.0)
        assert caught.value.text == "Radius must be positive"
        assert caught.value.function == "create_curve_circle" and caught.value.code == -1

    def test_an_older_text_does_not_stick_to_a_later_failure(self):
        with pytest.raises(morvel.MorvelError):
            Curve.circle((0, 0, 0), radius=-1.0)
        with Surface.sphere((0, 0, 0), 1.0) as sphere:
            with pytest.raises(morvel.MorvelError) as caught:
                sphere.weights
            assert caught.value.text == "Surface type does not have weights"

    @pytest.mark.parametrize(
        "call",
        [
            lambda: Curve.bezier([[0, 0], [1, 1]]),
            lambda: Curve.nurbs(np.zeros((3, 3)), [1.0], [0, 0, 0, 1, 1, 1], 2),
            lambda: Surface.bspline(np.zeros((4, 3))),
            lambda: Surface.sphere((0, 0), 1.0),
            lambda: Surface.sphere((0, 0, 0), 1.0).point(float("nan"), 0.0),
            lambda: Surface.sphere((0, 0, 0), 1.0)([0.1, 0.2, 0.3]),
            lambda: Surface.sphere((0, 0, 0), 1.0).derivatives([0.1, 0.2], order=3),
            lambda: Surface.nurbs(wavy_net(3, 3), np.ones(9), ([0, 0, 0, 1, 1, 1],) * 2, (2, 2)),
            lambda: CurveOnSurface.bspline(Surface.sphere((0, 0, 0), 1.0), [[0, 0]], 1),
            lambda: Curve.line((0, 0, 0), (1, 0, 0)).derivatives(0.5, 11),
            lambda: morvel.set_log_level(1),
            lambda: Surface.sphere((0, 0, 0), 1.0).mesh(2),
            lambda: Curve.line((0, 0, 0), (1, 0, 0)).sample(by="guess"),
        ],
    )
    def test_wrong_shapes_and_values_are_value_errors(self, call):
        with pytest.raises(ValueError):
            call()

    def test_a_sphere_has_no_degree(self):
        with pytest.raises(morvel.MorvelError) as caught:
            Surface.sphere((0, 0, 0), 1.0).degrees
        assert caught.value.code == -7


class TestCurves:
    def test_a_quarter_circle_as_nurbs_is_round_and_measured_right(self):
        quarter = Curve.nurbs(
            [[1, 0, 0], [1, 1, 0], [0, 1, 0]], [1, np.sqrt(0.5), 1], [0, 0, 0, 1, 1, 1], 2
        )
        assert np.allclose(np.linalg.norm(quarter.sample(33), axis=1), 1.0, atol=1e-14)
        assert quarter.length(0, 1) == pytest.approx(np.pi / 2, abs=1e-8)
        assert quarter.curvature(0.3) == pytest.approx(1.0, abs=1e-9)

    def test_arrays_go_in_and_come_out_unchanged(self):
        points = np.random.default_rng(3).normal(size=(40, 3))
        curve = Curve.bspline(points, degree=4)
        assert np.array_equal(curve.control_points, points)
        assert curve.degree == 4 and curve.type == "bspline"

    def test_splitting_and_trimming_keep_the_curve(self):
        curve = Curve.bspline(np.random.default_rng(5).normal(size=(9, 3)), knots=
                              [0, 0, 0, 0, 0.1, 0.5, 0.6, 0.9, 2, 3, 3, 3, 3])
        left, right = curve.split(0.7)
        assert curve.interval == (0, 3) and left.interval == (0, 0.7)
        for piece in (left, right):
            u = np.linspace(*piece.interval, 31)
            assert np.allclose(piece(u), curve(u), atol=1e-9)
        assert left.length() + right.length() == pytest.approx(curve.length(), abs=1e-7)

    def test_equal_steps_of_length_and_adaptive_samples(self):
        ellipse = Curve.ellipse((0, 0, 0), (1, 0, 0), a=3.0, b=1.0)
        steps = np.linalg.norm(np.diff(ellipse.sample(200, by="length"), axis=0), axis=1)
        assert steps.max() / steps.min() < 1.01
        polyline = ellipse.sample(by="adaptive", tolerance=1e-3)
        middles = (polyline[1:] + polyline[:-1]) / 2
        inside = (middles[:, 0] / 3) ** 2 + middles[:, 1] ** 2
        assert len(polyline) > 20 and inside.min() > 1 - 4e-3


class TestSurfaces:
    def test_nets_keep_their_order_in_every_maker(self):
        net = wavy_net(4, 4)
        for surface in (Surface.bezier(net), Surface.bspline(net), Surface.bspline(net, (2, 1))):
            assert np.array_equal(surface.control_points, net)
        clamped = np.array([0, 0, 0, 0, 1, 1, 1, 1.0])
        given = Surface.bspline(net, (3, 3), knots=(clamped, 2 * clamped))
        assert np.array_equal(given.knots[1], 2 * clamped)
        assert np.array_equal(given.control_points, net)

    def test_derivatives_follow_differences(self):
        surface = Surface.bspline(wavy_net())
        uv, h = np.random.default_rng(4).uniform(0.1, 0.9, (20, 2)), 1e-5
        _, du, dv, normal, _, _, dvv = np.moveaxis(surface.derivatives(uv, order=2), -2, 0)
        along_u, along_v = np.array([h, 0]), np.array([0, h])
        assert np.allclose(du, (surface(uv + along_u) - surface(uv - along_u)) / (2 * h), atol=1e-7)
        dv_up, dv_down = (surface.derivatives(uv + s)[:, 2] for s in (along_v, -along_v))
        assert np.allclose(dvv, (dv_up - dv_down) / (2 * h), atol=1e-6)
        cross = np.cross(du, dv)
        assert np.allclose(normal, cross / np.linalg.norm(cross, axis=1, keepdims=True))

    def test_meshes_measure_right(self):
        sphere = Surface.sphere((1, 2, 3), 2.0).mesh(150)
        assert isinstance(sphere, Mesh)
        assert sphere.area() == pytest.approx(16 * np.pi, rel=1e-3)
        assert abs(sphere.volume()) == pytest.approx(32 * np.pi / 3, rel=2e-3)

    def test_arithmetic_splitting_and_conversion(self):
        a, b = Surface.bspline(wavy_net()), Surface.bspline(2 * wavy_net(), (2, 3))
        assert np.allclose((a + a).control_points, 2 * wavy_net())
        assert (a - b).degrees == (3, 3)
        low, high = Surface.bezier(wavy_net(4, 5)).split_v(0.25)
        assert np.allclose(low.point(0.3, 1.0), high.point(0.3, 0.0), atol=1e-12)
        spline = Surface.torus((0, 0, 0), 2.0, 0.5).to_nurbs()
        assert spline.type == "bspline_surface"

    def test_the_kernel_object_keeps_surfaces_of_its_own(self):
        knots = np.array([0, 0, 0, 0, 1, 1, 1, 1.0])
        with morvel.KernelSession() as kernel:
            identifier = kernel.add(wavy_net(4, 4), (3, 3), (knots, knots))
            mesh = kernel.mesh(identifier, 11)
            direct = Surface.bspline(wavy_net(4, 4)).mesh(11)
            assert identifier == 1 and len(kernel) == 1
            assert np.array_equal(mesh.vertices, direct.vertices)
            with pytest.raises(morvel.MorvelError):
                kernel.mesh(2)


def test_a_mesh_written_as_obj_reads_back_to_the_bit(tmp_path):
    mesh = Surface.bspline(wavy_net()).mesh(7)
    mesh.write_obj(tmp_path / "mesh.obj")
    rows = [line.split() for line in (tmp_path / "mesh.obj").read_text().splitlines()]
    vertices = np.array([row[1:] for row in rows if row[0] == "v"], dtype=float)
    faces = np.array([row[1:] for row in rows if row[0] == "f"], dtype=int) - 1
    assert np.array_equal(vertices, mesh.vertices) and np.array_equal(faces, mesh.triangles)
