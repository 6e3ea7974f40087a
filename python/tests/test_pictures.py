"""Pictures as SVG, PNG and PDF, and into matplotlib's axes."""

import os
import re
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

import numpy as np
import pytest

import morvel
from morvel.pictures.curvature import surface_jets
from morvel.pictures.options import CURVATURES

SVG = "{http://www.w3.org/2000/svg}"
FAR = 1e9


@pytest.fixture
def ball():
    return morvel.Surface.sphere((1.0, 2.0, 3.0), 2.0)


@pytest.fixture
def torus():
    return morvel.Surface.torus((0, 0, 0), 3.0, 1.0)


def elements(path, name):
    return list(ElementTree.parse(path).iter(SVG + name))


def polygons(path):
    """Corners and colours of all facets, in the order of painting."""
    found = []
    for element in elements(path, "path"):
        for text in element.get("d").split("M")[1:] if element.get("fill") else []:
            numbers = [float(t) for t in re.findall(r"-?\d*\.?\d+", text)]
            corners = np.cumsum(np.reshape(numbers, (-1, 2)), axis=0)
            found.append((corners, np.array([int(element.get("fill")[k : k + 2], 16)
                                             for k in (1, 3, 5)])))
    return found


def painted(path, width, height):
    """The picture's facets as pixels, later ones over earlier ones; -1 where there is none."""
    from matplotlib.path import Path

    pixels = np.stack(np.meshgrid(np.arange(width) + 0.5, np.arange(height) + 0.5), axis=-1)
    image = np.full((height, width, 3), -1)
    for corners, colour in polygons(path):
        low = np.maximum(np.floor(corners.min(axis=0)).astype(int) - 1, 0)
        high = np.ceil(corners.max(axis=0)).astype(int) + 1
        window = (slice(low[1], high[1]), slice(low[0], high[0]))
        tested = Path(corners).contains_points(pixels[window].reshape(-1, 2))
        image[window][tested.reshape(image[window].shape[:2])] = colour
    return image


def test_a_sphere_covers_its_disc_and_is_written_the_same_each_time(ball, tmp_path):
    for name in ("a.svg", "b.svg"):
        ball.save(tmp_path / name, size=(400, 400), resolution=40)
    assert (tmp_path / "a.svg").read_bytes() == (tmp_path / "b.svg").read_bytes()
    places = np.concatenate([corners for corners, _ in polygons(tmp_path / "a.svg")])
    radius = np.ptp(places, axis=0).mean() / 2
    assert radius == pytest.approx(180, rel=0.01)  # 5 % are left free on each side
    area = (painted(tmp_path / "a.svg", 400, 400)[..., 0] >= 0).sum()
    assert area == pytest.approx(np.pi * radius**2, rel=0.01)
    assert (tmp_path / "a.svg").stat().st_size < 300_000


def test_what_is_nearer_is_painted_over_what_is_behind(tmp_path):
    """Two plates that cross each other, against the depths of their planes."""
    flat = morvel.Surface.plane((-1, -1, 0), (2, 0, 0), (0, 2, 0))
    tilted = morvel.Surface.plane((-1, -1, -0.8), (2, 0, 1.6), (0, 2, 0))
    path = tmp_path / "plates.svg"
    morvel.save(path, [(flat, "red"), (tilted, "blue")], view="top", size=(300, 300))
    image = painted(path, 300, 300)
    red = image[..., 0] > image[..., 2]
    assert (image[20:280, 20:280] >= 0).all()
    assert red[:, 20:146].mean() > 0.99 * 260 / 300 and not red[:, 154:].any()


def test_hidden_lines_are_left_out(ball, tmp_path):
    behind = morvel.Curve.line((1.0, 5.0, 3.0), (1.0, 5.0, 6.0))  # its upper third stands out
    morvel.save(tmp_path / "a.svg", {"ball": ball, "rod": (behind, "#00ff00")}, view="front",
                size=(500, 500))
    rod, = (e for e in elements(tmp_path / "a.svg", "path") if e.get("stroke") == "#00ff00")
    steps = [float(t) for t in re.findall(r"-?\d*\.?\d+", rod.get("d"))]
    scale = 450 / 5.0  # the scene is from 1 to 6 high
    assert abs(steps[3]) == pytest.approx(scale, rel=0.03)


def test_trimmed_surfaces_are_drawn_where_they_are_visible(tmp_path):
    plate = morvel.Surface.plane((0, 0, 0), (1, 0, 0), (0, 1, 0))
    part = morvel.TrimmedSurface.circular_hole(plate, (0.5, 0.5), 0.25)
    part.save(tmp_path / "a.svg", view="top", size=(400, 400))
    image = painted(tmp_path / "a.svg", 400, 400)[..., 0] >= 0
    assert image.sum() == pytest.approx(360**2 * (1 - np.pi / 16), rel=0.01)
    assert not image[200, 200]


def rational():
    """A quarter of a cylinder of radius 2, whose own derivatives are placeholders."""
    arc = np.array([[2.0, 0, 0], [2, 2, 0], [0, 2, 0]])
    net = np.stack([arc, arc + (0, 0, 3)], axis=1)
    weights = np.array([[1.0, 1], [np.sqrt(0.5)] * 2, [1, 1]])
    return morvel.Surface.nurbs(net, weights, ([0, 0, 0, 1, 1, 1], [0, 0, 1, 1]), (2, 1))


@pytest.mark.parametrize(
    "make, gaussian, mean",
    [
        (lambda: morvel.Surface.sphere((FAR, 0, 0), 2.0), 0.25, 0.5),
        (lambda: morvel.Surface.cylinder((0, 0, 0), 2.0, 1.0), 0.0, 0.25),
        (rational, 0.0, 0.25),
        (lambda: morvel.TrimmedSurface.rectangular(rational(), u=(0.2, 0.7)), 0.0, 0.25),
        (lambda: morvel.Surface.plane((0, 0, 0), (1, 0, 0), (0, 1, 0)), 0.0, 0.0),
    ],
)
def test_curvatures_are_those_of_the_shape(make, gaussian, mean):
    uv = np.stack(np.meshgrid(*[np.linspace(0, 1, 9)] * 2), axis=-1).reshape(-1, 2)
    jets = surface_jets(make(), uv, exact=False)  # with the poles
    np.testing.assert_allclose(jets.gaussian, gaussian, atol=1e-5)
    np.testing.assert_allclose(np.abs(jets.mean), mean, atol=1e-5)
    np.testing.assert_allclose(np.linalg.norm(jets.normals, axis=1), 1.0)


def test_a_torus_shows_both_signs_of_its_curvature(torus, tmp_path):
    torus.save(tmp_path / "a.svg", curvature="gaussian", size=(480, 360))
    colours = np.array([colour for _, colour in polygons(tmp_path / "a.svg")])
    red, blue = colours[:, 0] > colours[:, 2] + 60, colours[:, 2] > colours[:, 0] + 60
    assert red.sum() > 200 and blue.sum() > 200
    texts = [element.text for element in elements(tmp_path / "a.svg", "text")]
    assert "Gaussian curvature" in texts and "0" in texts


def test_texts_are_safe_and_broken_numbers_never_written(torus, tmp_path):
    title = "</title><script>alert(1)</script> & \x00\ud800"
    morvel.save(tmp_path / "a.svg", {title: torus}, title=title)
    shown, = elements(tmp_path / "a.svg", "text")
    assert shown.text == title.replace("\x00", " ").replace("\ud800", " ")


AWKWARD = ("far", "huge", "tiny", "a place", "a line", "end on", "a point", "not finite", "many")


def awkward():
    net = np.random.default_rng(1).normal(size=(4, 4, 3))
    vertices = np.array([[0.0, 0, 0], [1, 0, 0], [0, 1, 0], [np.nan, 0, 1]])
    return {
        "far": [morvel.Surface.torus((FAR, FAR, -FAR), 3, 1), morvel.Curve.circle((FAR,) * 3, 4)],
        "huge": morvel.Surface.bspline(net * 1e150),
        "tiny": morvel.Surface.bspline(net * 1e-200),
        "a place": morvel.Surface.bspline(np.ones((4, 4, 3))),
        "a line": morvel.Surface.bspline(np.ones((4, 4, 3)) * np.arange(4.0)[:, None, None]),
        "end on": morvel.Curve.line((0, 0, 0), (0, 0, 1)),
        "a point": morvel.Point.at((1, 2, 3)),
        "not finite": morvel.Mesh(vertices, np.array([[0, 1, 2], [0, 1, 3]], dtype=np.int32)),
        "many": [morvel.Curve.circle((k, 0, 0), 1) for k in range(300)],
    }


@pytest.mark.filterwarnings("error")
@pytest.mark.parametrize("name", AWKWARD)
def test_awkward_objects_make_clean_pictures(name, tmp_path):
    things = awkward()[name]
    for kind in ("svg", "png"):
        for curvature in (None, *CURVATURES):
            morvel.save(tmp_path / f"a.{kind}", things, net=True, normals=True,
                        curvature=curvature, view="top", size=(200, 150))
    text = (tmp_path / "a.svg").read_text()
    assert not re.search(r"nan|inf", text)
    assert elements(tmp_path / "a.svg", "path") or elements(tmp_path / "a.svg", "circle")


def test_far_objects_look_like_near_ones(tmp_path):
    for name, at in (("near", 0.0), ("far", FAR)):
        morvel.Surface.torus((at,) * 3, 3, 1).save(tmp_path / f"{name}.svg", size=(200, 150))
    near, far = (painted(tmp_path / f"{name}.svg", 200, 150) for name in ("near", "far"))
    assert (np.abs(near - far).max(axis=-1) > 8).mean() < 0.01


@pytest.mark.parametrize(
    "objects, style, error, text",
    [
        ([], {}, ValueError, "nothing to draw"),
        (morvel.Mesh(np.empty((0, 3)), np.empty((0, 3), dtype=np.int32)), {}, ValueError,
         "nothing to draw"),
        ([3.0], {}, TypeError, "float cannot be drawn"),
        ("teapot", {}, TypeError, "str cannot be drawn"),
        (np.zeros((4, 2)), {}, ValueError, r"\(n, 3\)"),
        (np.zeros((4, 3)), {"colour": "red"}, TypeError, "'colour' is no option.*color"),
        (np.zeros((4, 3)), {"color": "reddish"}, ValueError, "'reddish' is no colour"),
        (np.zeros((4, 3)), {"curvature": "normal"}, ValueError, "gaussian or mean"),
        (np.zeros((4, 3)), {"resolution": 1}, ValueError, "from 2 to 1000"),
        (np.zeros((4, 3)), {"view": "above"}, ValueError, "one of iso, front"),
        (np.zeros((4, 3)), {"view": (np.nan, 0)}, ValueError, "azimuth"),
    ],
)
def test_refusals_say_what_would_be_right(objects, style, error, text, tmp_path):
    with pytest.raises(error, match=text):
        morvel.save(tmp_path / "a.svg", objects, **style)
    assert not list(tmp_path.iterdir())


def test_what_cannot_be_written_is_named_and_leaves_what_was_there(tmp_path):
    point = morvel.Point.at((0, 0, 0))
    cases = [("missing/a.svg", FileNotFoundError), ("folder.svg", IsADirectoryError),
             ("full.svg", OSError), ("a.gif", ValueError), ("svg", ValueError)]
    (tmp_path / "folder.svg").mkdir()
    (tmp_path / "full.svg").symlink_to("/dev/full")
    for name, error in cases:
        with pytest.raises(error, match=re.escape(str(tmp_path / name))):
            point.save(tmp_path / name)
    if os.geteuid():  # root may write anywhere
        (tmp_path / "folder.svg").chmod(0o500)
        with pytest.raises(PermissionError, match="folder.svg/a.svg"):
            point.save(tmp_path / "folder.svg" / "a.svg")
    assert sorted(p.name for p in tmp_path.iterdir()) == ["folder.svg", "full.svg"]


# ---- matplotlib ----


def test_axes_hold_everything_at_equal_scales(torus, ball):
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    ax = torus.plot(curvature="mean", net=True, title="$x_1")
    ball.plot(ax)
    limits = np.array([ax.get_xlim(), ax.get_ylim(), ax.get_zlim()])
    low, high = (-4, -4, -1), (4, 4, 5)
    assert (limits[:, 0] <= low).all() and (limits[:, 1] >= high).all()
    sizes = np.ptp(limits, axis=1)
    np.testing.assert_allclose(ax._box_aspect / ax._box_aspect[0], sizes / sizes[0])
    ax.figure.canvas.draw()
    with pytest.raises(ValueError, match="projection='3d'"):
        torus.plot(plt.figure().add_subplot())
    plt.close("all")


def test_png_and_pdf_are_drawn_the_same_each_time(ball, tmp_path):
    import matplotlib.image

    for kind, start in (("png", b"\x89PNG"), ("pdf", b"%PDF")):
        for name in "ab":
            ball.save(tmp_path / f"{name}.{kind}", size=(200, 200), title="$", net=True)
        assert (tmp_path / f"a.{kind}").read_bytes().startswith(start)
        assert (tmp_path / f"a.{kind}").read_bytes() == (tmp_path / f"b.{kind}").read_bytes()
    ball.save(tmp_path / "a.png", size=(200, 200), background="white", color="#202020")
    image = matplotlib.image.imread(tmp_path / "a.png")
    assert image.shape[:2] == (200, 200)
    assert (image[..., 0] < 0.9).sum() == pytest.approx(np.pi * 90**2, rel=0.03)


def test_without_matplotlib_vector_graphics_remain(tmp_path):
    script = f"""
import sys
sys.modules["matplotlib"] = None
import morvel
morvel.Surface.sphere((0, 0, 0), 1).save({str(tmp_path / "a.svg")!r})
try:
    morvel.Surface.sphere((0, 0, 0), 1).plot()
except ImportError as fault:
    assert "python3-matplotlib" in str(fault), fault
else:
    raise SystemExit("no error")
"""
    subprocess.run([sys.executable, "-c", script], check=True)
    assert elements(tmp_path / "a.svg", "path")
