"""Holes filled by handle."""

import ctypes

import numpy as np
import pytest

import morvel
from morvel import Curve, CurveOnSurface, Surface, fill, sort_loop, validate_loop
from morvel._library import functions, last_error

SQUARE = [(0.0, 0.0, 0.0), (1.0, 0.0, 0.3), (1.0, 1.0, 0.0), (0.0, 1.0, 0.3)]


def lines(corners):
    return [Curve.line(a, b) for a, b in zip(corners, corners[1:] + corners[:1])]


def sphere_loop(sides):
    """A loop of straight lines in the parameter plane of a sphere."""
    sphere = Surface.sphere((0, 0, 0), 2.0)
    angles = 2 * np.pi * np.arange(sides + 1) / sides
    uv = np.stack([0.4 + 0.08 * np.cos(angles), 0.5 + 0.12 * np.sin(angles)], axis=-1)
    return sphere, [CurveOnSurface.bspline(sphere, uv[k : k + 2], degree=1) for k in range(sides)]


@pytest.mark.parametrize("sides", [3, 4, 5, 6])
def test_a_hole_in_a_sphere_is_filled_on_its_edge_and_along_its_tangent_planes(sides):
    sphere, loop = sphere_loop(sides)
    surface, report = fill(loop, 1)
    edge = np.linspace(0.0, 1.0, 97)
    zero, one = np.zeros_like(edge), np.ones_like(edge)
    rim = np.concatenate([surface.point(*uv) for uv in [(edge, zero), (one, edge), (edge, one), (zero, edge)]])
    assert np.abs(np.linalg.norm(rim, axis=1) - 2.0).max() < 1e-3
    points = np.concatenate([curve(np.linspace(0, 1, 20)) for curve in loop])
    assert np.linalg.norm(surface(surface.closest(points)) - points, axis=1).max() < 1e-3
    assert report.max_deviation < 1e-3
    _, du, dv, normal = np.moveaxis(surface.derivatives(np.stack([edge, zero], -1)), -2, 0)
    sine = np.linalg.norm(np.cross(du, dv), axis=1) / np.linalg.norm(du, axis=1) / np.linalg.norm(dv, axis=1)
    radial = surface.point(edge, zero) / 2.0
    angles = np.degrees(np.arccos(np.clip(np.abs((normal * radial).sum(axis=1)), 0, 1)))
    clear = (sine > 0.05) & (np.linalg.norm(du, axis=1) > 0.05)
    assert clear.sum() > 40
    assert angles[clear].max() < 1.0 and np.degrees(report.max_angle) < 1.0


def test_a_height_field_agrees_with_scipy():
    interpolate = pytest.importorskip("scipy.interpolate")
    corners = [np.array(corner) for corner in SQUARE]
    surface, report = fill(lines(SQUARE), in_space=False, smoothness=1.0)
    t = np.arange(15)[:, None] / 15
    samples = np.concatenate([a + t * (b - a) for a, b in zip(corners, corners[1:] + corners[:1])])
    peer = interpolate.RBFInterpolator(samples[:, :2], samples[:, 2], degree=2)
    inside = surface.control_points[5:45:5, 5:45:5].reshape(-1, 3)
    # Not the same problem: no side conditions, another regularisation. The same surface to a few %.
    assert np.abs(peer(inside[:, :2]) - inside[:, 2]).max() < 0.05
    assert report.max_deviation < 0.05 and report.condition_number > 1


def test_shuffled_and_reversed_curves_become_a_loop():
    loop = lines([(np.cos(a), np.sin(a), 0.1 * a) for a in np.arange(6.0)])
    shuffled = [loop[k] if k % 2 else Curve(functions["reverse_curve"](loop[k].handle)) for k in (3, 0, 5, 2, 4, 1)]
    assert not validate_loop(shuffled).valid
    ordered = sort_loop(shuffled)
    report = validate_loop(ordered)
    assert report.valid and report.closed and not report.crossing and max(report.gaps) < 1e-9
    assert ordered[0] is shuffled[0]


def create(curves, count=None, levels=None, weights=None, spans=(8, 8), tolerance=1e-3):
    handles = (ctypes.c_int * 32)(*curves)
    levels = (ctypes.c_int * 32)(*(levels or []))
    heaviness = (ctypes.c_double * 32)(*([1.0] * 32 if weights is None else weights))
    out, patch = (ctypes.c_double * 4)(), ctypes.c_int()
    at = [ctypes.addressof(out) + 8 * k for k in range(4)]
    pointers = [ctypes.addressof(a) for a in (handles, levels, heaviness)]
    return functions["create_nsided_patch_rbf"](
        pointers[0], len(curves) if count is None else count, *pointers[1:], *spans, 0.5, 50, 1e-6,
        tolerance, 0, 1, 0, 0.0, *at, ctypes.addressof(patch),
    ), patch.value


def test_bad_input_has_its_code_and_text_and_stores_nothing():
    curves = [curve for curve in lines(SQUARE)]
    handles = [curve.handle for curve in curves]
    deleted = Curve.line((0, 0, 0), (1, 0, 0))
    gone = deleted.handle
    deleted.close()
    cases = [
        (dict(curves=handles[:2]), -2, "Boundary validation failed: Minimum 3 boundary curves required"),
        (dict(curves=handles[:2] + [gone]), -3, "Invalid curve handle at index 2"),
        (dict(curves=handles[:3]), -2, "Boundary validation failed: Boundary gap (1"),
        (dict(curves=[handles[0]] * 4), -2, "Boundary validation failed: Boundary gap"),
        (dict(curves=handles, weights=[0.0] * 32), -2, "Boundary validation failed: Boundary weights"),
        (dict(curves=handles, levels=[9]), -2, "Boundary validation failed: Continuity levels"),
        (dict(curves=handles, spans=(0, 8)), -1, "Invalid input parameters"),
        (dict(curves=handles, spans=(8, 10_000)), -1, "Invalid input parameters"),
        (dict(curves=handles, tolerance=float("nan")), -1, "Invalid input parameters"),
        (dict(curves=handles, count=-1), -1, "Invalid input parameters"),
    ]
    buffer = ctypes.create_string_buffer(200)
    for arguments, code, text in cases:
        assert create(**arguments)[0] == code, arguments
        assert functions["get_last_nsided_error"](ctypes.addressof(buffer), 200) > 0
        assert buffer.value.decode().startswith(text) and last_error() == buffer.value.decode()
    assert morvel.counts().surfaces == 0
    handle, patch = create(handles)
    assert handle >= 40000 and patch >= 30000
    quality = (ctypes.c_double * 4)()
    assert functions["analyze_nsided_surface_quality_rbf"](patch, ctypes.addressof(quality)) == 0
    assert quality[0] < 1e-3
    assert functions["delete_nsided_patch_rbf"](patch) == 0
    assert functions["analyze_nsided_surface_quality_rbf"](patch, ctypes.addressof(quality)) == -3
    assert list(quality) == [1.0, 1.0, 1e15, 1.0]
    functions["free_nsided_validation_results"](None)


def test_argument_counts_are_those_of_the_interface():
    for name, count in (("create_nsided_patch_rbf", 19), ("generate_nsided_preview_rbf", 13)):
        assert len(functions[name].argtypes) == count
