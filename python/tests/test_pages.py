"""Pages that turn geometry: what they hold, and what a browser shows of them."""

import base64
import json
import os
import re
import shutil
import subprocess
from html import unescape

import numpy as np
import pytest

import morvel
from morvel.pictures import page

BROWSER = shutil.which("chromium") or shutil.which("chromium-browser")
WIDTH, HEIGHT = 480, 360
TIMEOUT = 120
FLAGS = [
    "--headless=new", "--no-sandbox", "--disable-quic", "--no-first-run",
    "--disable-background-networking", "--disable-component-update", "--disable-sync",
    "--use-angle=swiftshader", "--enable-unsafe-swiftshader", "--hide-scrollbars",
    "--enable-logging=stderr", "--force-device-scale-factor=1",
    "--host-resolver-rules=MAP * ~NOTFOUND",
]

needs_viewer = pytest.mark.skipif(
    not page.VIEWER.exists(), reason="the viewer was not built (npm is missing, or its registry)")
needs_browser = pytest.mark.skipif(not BROWSER, reason="there is no chromium")


def scene_of(path):
    text = re.search(r'id="scene">(.*?)</script>', path.read_text(encoding="utf-8"))[1]
    return json.loads(text, parse_constant=lambda name: pytest.fail(f"{name} in the page"))


def array(text, kind):
    return np.frombuffer(base64.b64decode(text), dtype=kind)


def pieces(scene):
    return [piece for group in scene["groups"] for piece in group["pieces"]]


@needs_viewer
def test_a_page_holds_the_shape_to_single_precision_wherever_it_lies(tmp_path):
    for at in (0.0, 1e9):
        torus = morvel.Surface.torus((at, at, -at), 3.0, 1.0)
        morvel.save(tmp_path / "a.html", torus)
        scene = scene_of(tmp_path / "a.html")
        faces = pieces(scene)[0]["faces"]
        radius = np.linalg.norm(scene["size"]) / 2
        x, y, z = radius * array(faces["vertices"], "<f4").reshape(-1, 3).astype(float).T
        off = np.hypot(np.hypot(x, y) - 3.0, z) - 1.0
        assert abs(off).max() < (1e-6 if at == 0 else 1e-6 + 2 * np.spacing(at))
        tilt = array(faces["normals"], "<i2").reshape(-1, 3) / 32767
        np.testing.assert_allclose(np.linalg.norm(tilt, axis=1), 1.0, atol=1e-4)
        corners = array(faces["corners"], "<u4" if faces["wide"] else "<u2")
        assert corners.max() < len(x)
        shares = array(faces["gaussian"], "<i2")
        bend = np.clip((np.hypot(x, y) - 3) / np.hypot(x, y) / scene["limits"]["gaussian"], -1, 1)
        np.testing.assert_allclose(shares / 32767, bend, atol=1e-4)


@needs_viewer
def test_names_cannot_break_out_of_the_page(tmp_path):
    name = "</script><script>alert(1)</script><!-- \u2028 \ud800 & \" '"
    morvel.save(tmp_path / "a.html", {name: morvel.Point.at((0, 0, 0))}, title=name)
    text = (tmp_path / "a.html").read_text(encoding="utf-8")
    assert text.count("<script") == text.count("</script") == 2
    shown = name.replace("\ud800", " ")
    assert unescape(re.search("<title>(.*?)</title>", text, re.DOTALL)[1]) == shown
    scene = scene_of(tmp_path / "a.html")
    assert scene["title"] == scene["groups"][0]["name"] == shown
    assert "https:" not in text.replace(page.VIEWER.read_text(encoding="utf-8"), "")
    assert "default-src 'none'" in text


@needs_viewer
def test_places_without_curvature_are_marked_and_nothing_is_infinite(tmp_path):
    folded = np.ones((4, 4, 3)) * np.arange(4.0)[:, None, None]  # a line, as a surface
    things = [morvel.Surface.bspline(folded), morvel.Surface.cone((0, 0, 0), 1, 2)]
    morvel.save(tmp_path / "a.html", things)
    first, cone = (piece["faces"] for piece in pieces(scene_of(tmp_path / "a.html")))
    assert (array(first["gaussian"], "<i2") == -32768).all()
    for faces in (first, cone):
        assert np.isfinite(array(faces["vertices"], "<f4")).all()
    assert (array(cone["gaussian"], "<i2") != -32768).mean() > 0.9


@needs_viewer
def test_thousands_of_objects_become_one_entry_a_kind(tmp_path):
    things = [morvel.Point.at((k, 0, 0)) for k in range(3000)]
    things += [morvel.Curve.line((k, 0, 0), (k, 1, 0)) for k in range(1000)]
    morvel.save(tmp_path / "a.html", things)
    scene = scene_of(tmp_path / "a.html")
    assert [group["name"] for group in scene["groups"]] == ["points (3000)", "curves (1000)"]
    assert len(pieces(scene)) == 2 and (tmp_path / "a.html").stat().st_size < 3_000_000


def test_without_the_viewer_the_error_says_how_to_build_it(tmp_path, monkeypatch):
    monkeypatch.setattr(page, "VIEWER", tmp_path / "_viewer.js")
    with pytest.raises(ImportError, match="_viewer.js.*python_viewer"):
        morvel.Point.at((0, 0, 0)).save(tmp_path / "a.html")
    assert not list(tmp_path.iterdir())


# ---- in a browser ----


def browse(command):
    # What is preloaded under the sanitizers is not for the browser.
    environment = {k: v for k, v in os.environ.items() if k != "LD_PRELOAD"}
    return subprocess.run(command, capture_output=True, text=True, timeout=TIMEOUT, env=environment)


def photograph(folder, address, size, *flags):
    """The pixels, 0 to 255, and what the browser logged."""
    import matplotlib.image

    shot = folder / "shot.png"
    command = [BROWSER, *FLAGS, *flags, f"--user-data-dir={folder / 'profile'}",
               f"--window-size={size[0]},{size[1]}", f"--screenshot={shot}",
               "--virtual-time-budget=3000", address]
    run = browse(command)
    assert shot.exists(), run.stderr
    console = [line for line in run.stderr.splitlines() if "CONSOLE" in line]
    return np.rint(255 * matplotlib.image.imread(shot)[..., :3]).astype(int), console


@pytest.fixture(scope="module")
def views(tmp_path_factory):
    """One photograph of frames that show the same page in several states."""
    folder = tmp_path_factory.mktemp("pages")
    net = np.stack(np.meshgrid(*[np.linspace(-1, 1, 4)] * 2, indexing="ij"), axis=-1)
    sheet = morvel.Surface.bspline(np.concatenate([net, 0.2 * net[..., :1] ** 2], axis=-1))
    ring = morvel.Surface.torus((0, 0, 0), 3, 1)
    ring.save(folder / "torus.html", title="Ring", resolution=48)
    morvel.save(folder / "sheet.html", sheet)
    morvel.save(folder / "ball.html", morvel.Surface.sphere((1e9, 0, 0), 2.0), isolines=0)
    shots = {
        "ball": "ball.html#bare,-edges", "plain": "torus.html#bare,-edges,-isolines",
        "wireframe": "torus.html#bare,-edges,-isolines,wireframe",
        "normals": "torus.html#bare,-edges,-isolines,normals",
        "gaussian": "torus.html#bare,-edges,-isolines,gaussian",
        "dark": "torus.html#bare,-edges,-isolines,dark", "controls": "torus.html#mean",
        "sheet": "sheet.html#bare", "net": "sheet.html#bare,net",
    }
    frames = "".join(f'<iframe src="{address}"></iframe>' for address in shots.values())
    style = (f"body{{margin:0;width:{3 * WIDTH}px;font-size:0}}"
             f"iframe{{border:0;width:{WIDTH}px;height:{HEIGHT}px}}")
    (folder / "all.html").write_text(f"<style>{style}</style>{frames}")
    size = (3 * WIDTH, 3 * HEIGHT)
    pixels, console = photograph(folder, (folder / "all.html").as_uri(), size)
    cells = pixels.reshape(3, HEIGHT, 3, WIDTH, 3).swapaxes(1, 2).reshape(-1, HEIGHT, WIDTH, 3)
    return dict(zip(shots, cells)), console


def differing(one, other):
    return np.abs(one - other).max(axis=-1) > 24


def like(image, colour):
    """Pixels with the hue of a colour."""
    apart = image - image.mean(axis=-1, keepdims=True)
    hue = np.array(colour) - np.mean(colour)
    strength = np.linalg.norm(apart, axis=-1)
    return (strength > 20) & (apart @ hue > 0.9 * strength * np.linalg.norm(hue))


@needs_viewer
@needs_browser
class TestInABrowser:
    def test_it_runs_without_a_word_of_complaint(self, views):
        assert views[1] == []

    def test_a_ball_has_its_size_and_stands_in_the_middle(self, views):
        there = like(views[0]["ball"], (0x7F, 0x9F, 0xC3))
        down, across = np.nonzero(there)
        height = np.ptp(down) + 1
        assert height == pytest.approx(HEIGHT - 48, rel=0.03)  # 24 pixels are left free
        assert there.sum() == pytest.approx(np.pi * height**2 / 4, rel=0.03)
        assert (down.mean(), across.mean()) == pytest.approx((HEIGHT / 2, WIDTH / 2), abs=2)

    def test_the_ground_is_light_or_dark(self, views):
        for name, low, high in (("plain", 225, 255), ("dark", 10, 60)):
            corners = views[0][name][:: HEIGHT - 1, :: WIDTH - 1]
            assert ((corners >= low) & (corners <= high)).all()

    def test_switches_change_what_they_should(self, views):
        images = views[0]
        ring = ~differing(images["plain"], images["dark"])  # what does not follow the ground
        wired = differing(images["plain"], images["wireframe"])
        assert 0.03 < wired[ring].mean() < 0.9 and wired[~ring].mean() < 0.02
        needles = like(images["normals"], (0x16, 0x7A, 0x80)) & differing(
            images["plain"], images["normals"])
        assert 300 < needles.sum() < 0.3 * ring.sum()
        net = like(images["net"], (0x8C, 0x38, 0x2E))
        assert net.sum() > 300 and not like(images["sheet"], (0x8C, 0x38, 0x2E)).any()

    def test_a_torus_shows_both_signs_of_its_curvature(self, views):
        image = views[0]["gaussian"]
        red, blue = like(image, (0xE8, 0x9A, 0x6D)), like(image, (0x1F, 0x4E, 0x8C))
        assert red.sum() > 8000 and blue.sum() > 3000
        assert not like(views[0]["plain"], (0xE8, 0x9A, 0x6D)).any()

    def test_controls_and_legend_are_there(self, views):
        apart = differing(views[0]["controls"], views[0]["plain"])
        assert apart[-60:-20].any(axis=0).mean() > 0.5  # the bar
        assert apart[:40, :120].any()  # the title

    def test_without_webgl_it_says_so(self, tmp_path):
        morvel.Point.at((0, 0, 0)).save(tmp_path / "a.html")
        command = [BROWSER, *FLAGS, "--disable-3d-apis", f"--user-data-dir={tmp_path / 'profile'}",
                   "--virtual-time-budget=2000", "--dump-dom", (tmp_path / "a.html").as_uri()]
        run = browse(command)
        assert 'role="alert"' in run.stdout and "needs WebGL" in run.stdout
