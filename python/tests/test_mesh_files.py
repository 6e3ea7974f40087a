"""Mesh files: what other programs make of those written, and what is made of those read."""

import os

import numpy as np
import pytest

import morvel
from morvel._library import functions, last_error
from readers import assimp_info, by_admesh, by_assimp, by_meshio, by_validator, complaints

FORMATS = ("obj", "ply", "stl", "glb")
TRIANGLE = "v 0 0 0\nv 1 0 0\nv 0 1 0\n"


def quarter_cylinder() -> morvel.Surface:
    """An exact rational one about z, radius 2, height 3."""
    net = [[(2, 0, z) for z in (0, 3)], [(2, 2, z) for z in (0, 3)], [(0, 2, z) for z in (0, 3)]]
    weights = np.repeat([[1], [np.sqrt(0.5)], [1]], 2, axis=1)
    return morvel.Surface.nurbs(net, weights, ([0, 0, 0, 1, 1, 1], [0, 0, 1, 1]), (2, 1))


def holed_plane() -> morvel.TrimmedSurface:
    """A square of side 4 with a round hole of radius 1."""
    plane = morvel.Surface.plane((-2, -2, 1), (4, 0, 0), (0, 4, 0))
    return morvel.TrimmedSurface.circular_hole(plane, (0.5, 0.5), 0.25)


#: Surfaces with their area and the corners of their box.
SHAPES = {
    "sphere": (lambda: morvel.Surface.sphere((1, 2, 3), 2.0), 16 * np.pi, ((-1, 0, 1), (3, 4, 5))),
    "torus": (
        lambda: morvel.Surface.torus((0, 0, 0), 3.0, 1.0), 12 * np.pi**2, ((-4, -4, -1), (4, 4, 1))
    ),
    "rational": (quarter_cylinder, 3 * np.pi, ((0, 0, 0), (2, 2, 3))),
    "trimmed": (holed_plane, 16 - np.pi, ((-2, -2, 1), (2, 2, 1))),
}


@pytest.mark.parametrize("shape", SHAPES)
def test_other_programs_read_what_was_written(shape, tmp_path):
    make, area, box = SHAPES[shape]
    surface = make()
    for extension in FORMATS:
        path = tmp_path / f"{shape}.{extension}"
        surface.export(path, samples=(121, 101))
        read = {"assimp": by_assimp(path, tmp_path)}
        if extension != "glb":
            read["meshio"] = by_meshio(path)
        for reader, mesh in read.items():
            assert mesh.area() == pytest.approx(area, rel=1e-3), (extension, reader)
            assert np.allclose(mesh.bounds, box, atol=2e-3), (extension, reader)


def test_vertices_normals_and_parameters_are_those_of_the_surface(tmp_path):
    sphere = morvel.Surface.sphere((0, 0, 0), 2.0)
    for extension in ("obj", "ply"):
        path = tmp_path / f"sphere.{extension}"
        sphere.export(path, samples=(31, 21))
        mesh = by_meshio(path)
        assert len(mesh.vertices) == 31 * 21 and len(mesh.triangles) == 2 * 30 * 20
        assert np.array_equal(mesh.vertices, sphere(mesh.uv))
        outward = mesh.vertices / 2.0
        sign = np.sign(np.sum(mesh.vertex_normals * outward, axis=1))
        assert (sign == sign[0]).all()
        assert np.abs(mesh.vertex_normals - sign[0] * outward).max() < 4e-4  # at the poles
        interior = np.abs(outward[:, 2]) < 0.999
        assert np.abs(mesh.vertex_normals - sign[0] * outward)[interior].max() < 4e-6
        turned = np.sum(mesh.normals * outward[mesh.triangles[:, 0]], axis=1)
        assert (turned * sign[0] > -1e-9).all()


def test_rational_surfaces_have_true_normals(tmp_path):
    quarter_cylinder().export(tmp_path / "quarter.ply", samples=20)
    mesh = by_meshio(tmp_path / "quarter.ply")
    radial = mesh.vertices * (0.5, 0.5, 0)
    assert np.abs(np.abs(np.sum(mesh.vertex_normals * radial, axis=1)) - 1).max() < 1e-5


@pytest.mark.parametrize(
    "surfaces, volume",
    [
        (lambda: [morvel.Surface.sphere((7, 8, 9), 2.0)], 32 / 3 * np.pi),
        (lambda: [morvel.Surface.torus((0, 0, 0), 3.0, 1.0)], 6 * np.pi**2),
        (lambda: morvel.Surface.cube((1, 2, 3), 2.0), 8.0),
    ],
)
def test_closed_shapes_are_closed_in_stl(surfaces, volume, tmp_path):
    shape = surfaces()
    morvel.export(tmp_path / "closed.stl", shape, samples=80)
    found = by_admesh(tmp_path / "closed.stl")
    assert found["Total disconnected facets"] == 0, found
    assert found["Degenerate facets"] == 0, found
    assert abs(found["Volume"]) == pytest.approx(volume, rel=5e-3)


def test_the_validator_finds_nothing_in_glb(tmp_path):
    curve = morvel.Curve.bspline([(0, 0, 0), (1, 2, 0), (2, -1, 1), (3, 0, 0)])
    surfaces = [make() for make, _, _ in SHAPES.values()] + morvel.Surface.cube((0, 0, 0), 1.0)
    objects = [*surfaces, curve, morvel.CurveOnSurface.bspline(surfaces[0], [(0, 0), (1, 1)], 1)]
    path = tmp_path / "all.glb"
    morvel.export(path, objects, samples=9)
    report = by_validator(path)
    assert complaints(report) == []
    assert report["info"]["generator"].startswith("morvel")
    assert report["info"]["drawCallCount"] == len(objects)
    names = [f"surface_{s.handle}" for s in surfaces] + [f"curve_{c.handle}" for c in objects[-2:]]
    info = assimp_info(path)
    assert all(name in info for name in names), info


def test_raw_meshes_make_sound_glb_whatever_their_normals(tmp_path):
    vertices = np.array([[0, 0, 0], [1e7, 0, 0], [0, 1e-7, 0], [5, 5, 5]])
    normals = np.array([[0, 0, 3.0], [0, 0, 0], [1e-30, 0, 0], [1, 1, 1]])
    mesh = morvel.Mesh(vertices, np.array([[0, 1, 2]]), normals, vertices[:, :2])
    mesh.export(tmp_path / "mesh.glb")
    assert complaints(by_validator(tmp_path / "mesh.glb")) == []


def test_curves_are_lines(tmp_path):
    circle = morvel.Curve.circle((0, 0, 0), 2.0)
    with pytest.raises(morvel.ArgumentError, match="STL holds triangles only"):
        circle.export(tmp_path / "circle.stl")
    assert not list(tmp_path.iterdir())
    circle.export(tmp_path / "circle.obj", samples=50)
    lines = (tmp_path / "circle.obj").read_text().splitlines()
    vertices = np.array([line.split()[1:] for line in lines if line.startswith("v ")], float)
    assert np.allclose(vertices, circle(np.linspace(0, 1, 50)), rtol=0, atol=1e-14)
    assert lines[-1].split() == ["l"] + [str(k + 1) for k in range(50)]
    circle.export(tmp_path / "circle.ply", tolerance=1e-4)
    header = (tmp_path / "circle.ply").read_bytes().split(b"end_header")[0].decode()
    count = int(header.split("element vertex ")[1].split()[0])
    assert f"element edge {count - 1}" in header
    sagitta = 2.0 * (1 - np.cos(np.pi / (count - 1)))
    assert sagitta <= 1e-4 and count < 1200


@pytest.mark.parametrize("tolerance", [1e-1, 1e-3])
def test_tolerance_bounds_the_chords(tolerance, tmp_path):
    torus = morvel.Surface.torus((0, 0, 0), 3.0, 1.0)
    torus.export(tmp_path / "torus.ply", tolerance=tolerance)
    mesh = by_meshio(tmp_path / "torus.ply")
    corners = mesh.vertices[mesh.triangles]
    inside = np.concatenate([corners.mean(axis=1), (corners + np.roll(corners, 1, 1)).reshape(-1, 3) / 2])
    across = np.hypot(inside[:, 0], inside[:, 1]) - 3.0
    distance = np.abs(np.hypot(across, inside[:, 2]) - 1.0)
    assert 0.1 * tolerance < distance.max() <= 1.05 * tolerance


def test_obj_keeps_every_bit(tmp_path):
    rng = np.random.default_rng(3)
    vertices = rng.normal(size=(300, 3)) * 10.0 ** rng.integers(-300, 300, (300, 1))
    normals = rng.normal(size=(300, 3))
    normals /= np.linalg.norm(normals, axis=1, keepdims=True)
    triangles = rng.permutation(300).reshape(-1, 3)
    mesh = morvel.Mesh(vertices, triangles, normals, rng.random((300, 2)))
    mesh.export(tmp_path / "mesh.OBJ")
    read = morvel.read_obj(tmp_path / "mesh.OBJ")
    assert np.array_equal(read.vertices, vertices) and np.array_equal(read.triangles, triangles)
    assert np.array_equal(read.uv, mesh.uv)
    assert np.abs(read.vertex_normals - normals).max() < 1e-15  # made unit vectors again


#: OBJ texts with the vertex count and the triangles that they stand for.
TEXTS = {
    "plain": (TRIANGLE + "f 1 2 3\n", 3, [[0, 1, 2]]),
    "no line feed at the end": (TRIANGLE + "f 1 2 3", 3, [[0, 1, 2]]),
    "CRLF, tabs, blanks": (" v\t0 0 0 \r\nv 1 0  0\r\nv 0 1 0\r\n f 1 2\t3 \r\n", 3, [[0, 1, 2]]),
    "old line ends": ((TRIANGLE + "f 1 2 3\n").replace("\n", "\r"), 3, [[0, 1, 2]]),
    "byte order mark": ("\ufeff" + TRIANGLE + "f 1 2 3\n", 3, [[0, 1, 2]]),
    "comments": ("# größe\\\n" + TRIANGLE + "\n   \nf 1 2 3 # last\n#", 3, [[0, 1, 2]]),
    "continued lines": ("v 0 0 \\\n 0\nv 1 0 0\nv 0 \\\r\n1 0\nf 1 2\\\n 3\\", 3, [[0, 1, 2]]),
    "indices from the end": (TRIANGLE + "f -3 -2 -1\nv 1 1 1\nf -1 2 -2\n", 4,
                             [[0, 1, 2], [3, 1, 2]]),
    "faces before vertices": ("f 1 2 3\n" + TRIANGLE, 3, [[0, 1, 2]]),
    "objects and groups": ("mtllib x.mtl\no a\n" + TRIANGLE + "usemtl x\ns 1\nf 1 2 3\no b b\n"
                           "g c d\nv 1 1 1\nf 2 4 3\nl 1 2\np 1\n", 4, [[0, 1, 2], [1, 3, 2]]),
    "vertices alone": (TRIANGLE, 3, []),
    "a vertex without face": (TRIANGLE + "v 9 9 9\nf 1 2 3", 4, [[0, 1, 2]]),
    "weights and colours": ("v 0 0 0 1\nv 1 0 0 .5 .5 1\nv 0 1 0 1 0 0 1\nf 1 2 3", 3, [[0, 1, 2]]),
    "square": (TRIANGLE.replace("v 0 1", "v 1 1") + "v 0 1 0\nf 1 2 3 4", 4, [[0, 1, 2], [0, 2, 3]]),
    "arrow": ("v 0 0 0\nv 2 -1 0\nv 9 0 0\nv 2 1 0\nv 1 0 0\nf 5 2 3 4", 5, [[4, 1, 2], [4, 2, 3]]),
    "numbers": ("v +1e2 -.5 1.\nv 1E-2 0 0\nv 0 1 0\nf 1 2 3", 3, [[0, 1, 2]]),
}


@pytest.mark.parametrize("case", TEXTS)
def test_obj_texts(case, tmp_path):
    text, count, triangles = TEXTS[case]
    (tmp_path / "case.obj").write_bytes(text.encode())
    mesh = morvel.read_obj(tmp_path / "case.obj")
    assert len(mesh.vertices) == count and mesh.triangles.tolist() == triangles
    assert mesh.vertex_normals is None and mesh.uv is None


def test_normals_and_texture_coordinates_of_corners(tmp_path):
    vt, vn = "vt 0 0\nvt 1 0\nvt 0 1\nvt 1 1\n", "vn 0 0 2\nvn 1 0 0\n"
    path = tmp_path / "corners.obj"
    path.write_text(TRIANGLE + "v 5 5 5\n" + vt + vn + "f 1/1/1 2/2/1 3/3/1\nf 3/3/1 2/4/2 1/1/1\n")
    mesh = morvel.read_obj(path)
    assert mesh.triangles.tolist() == [[0, 1, 2], [2, 4, 0]]  # the second vertex got a copy
    assert mesh.vertices[4].tolist() == mesh.vertices[1].tolist() and len(mesh.vertices) == 5
    assert mesh.uv[[0, 1, 2, 4]].tolist() == [[0, 0], [1, 0], [0, 1], [1, 1]]
    assert mesh.vertex_normals.tolist() == [[0, 0, 1], [0, 0, 1], [0, 0, 1], [0, 0, 0], [1, 0, 0]]
    path.write_text(TRIANGLE + vn + "f 1//1 2//1 3//1\nf 3 2 1\n")
    assert morvel.read_obj(path).vertex_normals is None


def test_polygons_keep_their_area_wherever_they_lie(tmp_path):
    rng = np.random.default_rng(11)
    lines, areas, first = [], [], 1
    for count in rng.integers(4, 60, 200):
        angle = (np.arange(count) + 0.8 * rng.random(count)) * 2 * np.pi / count
        radius = rng.uniform(0.1, 1.0, count)  # sharp inward corners
        flat = np.stack([radius * np.cos(angle), radius * np.sin(angle)], axis=1)
        frame, _ = np.linalg.qr(rng.normal(size=(3, 3)))
        points = flat @ frame[:2] + rng.normal(size=3) * 10.0 ** rng.integers(0, 5)
        lines += [f"v {x!r} {y!r} {z!r}" for x, y, z in points.tolist()]
        lines += ["f " + " ".join(str(first + k) for k in range(count))]
        first += count
        following = np.roll(flat, -1, axis=0)
        areas.append(np.sum(flat[:, 0] * following[:, 1] - flat[:, 1] * following[:, 0]) / 2)
    (tmp_path / "stars.obj").write_text("\n".join(lines))
    mesh = morvel.read_obj(tmp_path / "stars.obj")
    # Triangles that overlapped or left the polygon would add to the sum of their areas.
    assert mesh.area() == pytest.approx(np.abs(areas).sum(), rel=1e-6)


#: What is wrong, and what must be said of it.
WRONG_TEXTS = {
    "empty": (b"", "no vertices"),
    "no obj at all": (b"<html>\n<p>v</p>\n", "no vertices"),
    "two coordinates": (b"v 1 2 3\nv 1 2\n", "Line 2: A vertex has 3 to 7 numbers, not 2"),
    "comma": (b"v 1,5 2 3\n", 'Line 1: "1,5" is no finite number'),
    "not a number": (b"v 0 0 nan\n", "Line 1"),
    "infinite": (b"# a\n\nv 0 -inf 0\n", "Line 3"),
    "beyond doubles": (b"v 1e999 0 0\n", "Line 1"),
    "normal": (TRIANGLE.encode() + b"vn 0 0\n", "Line 4: A normal has 3 numbers"),
    "cut off": (TRIANGLE.encode() + b"f 1 2", "Line 4: A face has 3 corners"),
    "index 0": (TRIANGLE.encode() + b"f 0 1 2", 'Line 4: "0" is no corner'),
    "index beyond": (TRIANGLE.encode() + b"f 1 2 4\nf 1 2 3", "Line 4: There is no vertex 4, only 3"),
    "index before": (TRIANGLE.encode() + b"f 1 2 -4", "Line 4: There is no vertex -4, only 3"),
    "normal beyond": (TRIANGLE.encode() + b"f 1//1 2//1 3//1", "no normal 1, only 0"),
    "huge index": (TRIANGLE.encode() + b"f 1 2 99999999999", "Line 4"),
    "fraction": (TRIANGLE.encode() + b"f 1.5 2 3", "Line 4"),
    "too many slashes": (TRIANGLE.encode() + b"f 1/1/1/1 2 3", "Line 4"),
    "empty part": (TRIANGLE.encode() + b"f 1/ 2/ 3/", "Line 4"),
    "latin 1": (b"# gr\xf6\xdfe\n" + TRIANGLE.encode(), "Line 1: The bytes are not UTF-8"),
    "zero byte": (b"v 0 0\0 0\n", "Line 1: The bytes are not UTF-8"),
    "continued for good": (b"v 1 2 \\\n" * 9, "Line 1"),
    "many corners": (TRIANGLE.encode() + b"f" + b" 1 2 3" * 9000, "at most 10000 corners"),
}


@pytest.mark.parametrize("case", WRONG_TEXTS)
def test_wrong_obj_texts(case, tmp_path):
    text, says = WRONG_TEXTS[case]
    path = tmp_path / "wrong.obj"
    path.write_bytes(text)
    before = morvel.counts()
    with pytest.raises(morvel.MorvelError) as caught:
        morvel.read_obj(path)
    assert says in str(caught.value) and "wrong.obj" in str(caught.value)
    assert morvel.counts() == before


def test_files_that_are_none(tmp_path):
    large = tmp_path / "large.obj"
    with open(large, "wb") as file:
        file.truncate(1_200_000_000)
    with pytest.raises(morvel.MorvelError, match="more than the 1073741824 bytes allowed"):
        morvel.read_obj(large)
    for path in (tmp_path, tmp_path / "missing.obj", "/dev/zero", "", "/dev/stdin"):
        with pytest.raises(morvel.MorvelError, match="Cannot read"):
            morvel.read_obj(path)
    with pytest.raises(ValueError, match="zero byte"):
        morvel.read_obj("a\0b.obj")
    with pytest.raises(ValueError, match="max_megabytes"):
        morvel.read_obj(large, max_megabytes=0)


@pytest.mark.parametrize("extension", FORMATS)
def test_targets_that_cannot_be_written(extension, tmp_path):
    surface = morvel.Surface.sphere((0, 0, 0), 1.0)
    (tmp_path / f"folder.{extension}").mkdir()
    (tmp_path / f"full.{extension}").symlink_to("/dev/full")
    for name in ("folder", "full", "missing/part"):
        with pytest.raises(morvel.MorvelError, match=os.path.basename(name)):
            surface.export(tmp_path / f"{name}.{extension}")
    earlier = tmp_path / f"earlier.{extension}"
    earlier.write_text("earlier")
    with pytest.raises(morvel.ArgumentError):
        morvel.Mesh(np.array([[0, 0, np.nan]] * 3), np.array([[0, 1, 2]])).export(earlier)
    assert earlier.read_text() == "earlier"
    assert len(list(tmp_path.iterdir())) == 3 and morvel.counts().surfaces == 1


def test_arguments_that_are_refused(tmp_path):
    corner, triangle = np.eye(3), np.array([[0, 1, 2]], dtype=np.int32)
    path = tmp_path / "mesh.obj"
    for indices, says in [(triangle + 1, "index 3"), (triangle - 1, "index -1")]:
        given = (bytes(path), corner.ctypes.data, 3, None, None, indices.ctypes.data, 1)
        assert functions["export_mesh"](*given) == -1 and says in last_error()
    for mesh, says in [
        (morvel.Mesh(corner, triangle[:0]), "out of range"),
        (morvel.Mesh(corner, triangle, np.full((3, 3), np.inf)), "normal 0"),
    ]:
        with pytest.raises(morvel.ArgumentError, match=says):
            mesh.export(path)
    with pytest.raises(morvel.ArgumentError, match="single precision"):
        morvel.Mesh(corner * 1e39, triangle).export(tmp_path / "mesh.glb")
    with pytest.raises(ValueError, match="shape"):
        morvel.Mesh(corner, triangle, np.eye(2)).export(path)
    surface = morvel.Surface.sphere((0, 0, 0), 1.0)
    for wrong in ({"samples": 1}, {"samples": (2001, 5)}, {"tolerance": 1e-12}, {"tolerance": -1.0}):
        with pytest.raises(ValueError):
            surface.export(path, **wrong)
    for name in ("a.step", "a", "obj"):
        with pytest.raises(morvel.ArgumentError, match="extension must be .obj, .stl, .ply or .glb"):
            surface.export(tmp_path / name)
    with pytest.raises(TypeError):
        morvel.export(path, [surface, morvel.Mesh(corner, triangle)])
    assert not list(tmp_path.iterdir())
