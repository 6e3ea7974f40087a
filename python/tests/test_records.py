"""JSON and pickles of every kind of object, to the last bit."""

import copy
import json
import multiprocessing
import os
import pickle
import subprocess
import sys

import numpy as np
import pytest

import morvel
from morvel import Curve, CurveOnSurface, Point, Surface, TrimmedSurface

T = np.linspace(0.0, 1.0, 17)
UV = np.random.default_rng(1).random((50, 2))


def curves():
    random = np.random.default_rng(2)
    points = random.random((7, 3))
    spline = Curve.bspline(points, 3)
    return [
        Curve.line(points[0], points[1]),
        Curve.circle(points[2], 1 / 3, normal=points[3]),
        Curve.bezier(points),
        spline,
        spline.offset(0.1),
    ]


def surfaces():
    x, y = np.mgrid[0:5, 0:4].astype(float)
    net = np.dstack([x, y, np.random.default_rng(3).random((5, 4))])
    spline = Surface.bspline(net, (3, 2))
    profile = Curve.bspline(net[:, 1], 3)
    hole = [(0.4, 0.4), (0.6, 0.4), (0.6, 0.6)]
    return [
        spline,
        Surface.sphere((1, 2, 3), 1 / 3),
        Surface.revolve(profile),
        Surface.pipe(profile, 0.1),
        TrimmedSurface.polygons(spline, holes=[hole]),
        TrimmedSurface.rectangular(Surface.sphere((0, 0, 0), 1.0), u=(0.1, 0.7)),
        TrimmedSurface.circular_hole(spline, (0.5, 0.4), 0.2),
    ]


def bits(item):
    """What an object answers."""
    if isinstance(item, Point):
        return [item.position]
    if isinstance(item, (Curve, CurveOnSurface)):
        start, end = item.interval
        return [item(start + (end - start) * T)]
    answers = [item(UV), item.derivatives(UV, 2), item.mesh(9).vertices]
    if isinstance(item, TrimmedSurface):
        answers += [item.classify(UV), item.area(), *(loop.polygon for loop in item.loops)]
    return answers


def same(one, other):
    return type(one) is type(other) and all(
        np.asarray(a).tobytes() == np.asarray(b).tobytes() for a, b in zip(bits(one), bits(other))
    )


def everything():
    on = CurveOnSurface.bspline(Surface.sphere((0, 0, 0), 2.0), [(0.1, 0.2), (0.7, 0.3), (0.9, 0.9)], 2)
    return [*curves(), *surfaces(), on, Point.at((0.1, -0.0, 5e-324))]


COPIES = {
    "json": lambda item: type(item).from_json(item.to_json()),
    "pickle": lambda item: pickle.loads(pickle.dumps(item)),
    "oldest pickle": lambda item: pickle.loads(pickle.dumps(item, protocol=0)),
    "deepcopy": copy.deepcopy,
}


@pytest.mark.parametrize("way", COPIES)
def test_copies_are_the_same_to_the_last_bit_and_objects_of_their_own(way):
    for item in everything():
        twin = COPIES[way](item)
        assert same(item, twin), item
        item.close()
        assert not twin.closed and bits(twin)


def test_a_trimmed_surface_comes_back_as_one_and_no_other_does():
    ball = Surface.sphere((0, 0, 0), 1.0)
    part = TrimmedSurface.rectangular(ball, u=(0.1, 0.7))
    assert type(Surface.from_json(part.to_json())) is TrimmedSurface
    before = morvel.counts()
    with pytest.raises(ValueError, match="no TrimmedSurface"):
        TrimmedSurface.from_json(ball.to_json())
    for text in ("", "{}", ball.to_json()[:-5], ball.to_json() + "x", ball.to_json().replace(".", ",")):
        with pytest.raises(ValueError):
            Surface.from_json(text)
    with pytest.raises(ValueError):
        Curve.from_json(ball.to_json())
    with pytest.raises(TypeError):
        Curve.from_json(None)
    assert morvel.counts() == before
    ball.close()
    with pytest.raises(KeyError):
        pickle.dumps(ball)


def test_meshes_and_errors_can_be_pickled():
    mesh = Surface.sphere((0, 0, 0), 1.0).mesh(5)
    twin = pickle.loads(pickle.dumps(mesh))
    assert (twin.vertices == mesh.vertices).all() and (twin.triangles == mesh.triangles).all()


def _moved(surface):
    surface.transform(np.diag([2.0, 2.0, 2.0, 1.0]))
    return surface


def test_objects_go_to_another_process_and_back():
    items = surfaces()
    with multiprocessing.get_context("spawn").Pool(1) as pool:
        back = pool.map(copy.copy, items)
        moved = pool.apply(_moved, (items[1],))
    assert all(same(item, other) for item, other in zip(items, back))
    items[1].transform(np.diag([2.0, 2.0, 2.0, 1.0]))
    assert same(items[1], moved)


def test_a_file_holds_everything_under_its_handles(tmp_path):
    items = everything()
    handles = {item.handle: item for item in items}
    count = morvel.dump(tmp_path / "all.json")
    assert [entry.name for entry in tmp_path.iterdir()] == ["all.json"]
    found = morvel.load(tmp_path / "all.json")
    assert len(found) == count
    assert all(same(item, found[handle]) for handle, item in handles.items())
    assert set(found.points) == {items[-1].handle}
    ids = [e["id"] for e in json.loads((tmp_path / "all.json").read_text("utf-8"))["entities"]]
    assert sorted(n for n in ids if n > 0) == sorted(found)
    before, text = morvel.counts(), (tmp_path / "all.json").read_bytes()
    (tmp_path / "cut.json").write_bytes(text[: len(text) // 2])
    (tmp_path / "latin.json").write_bytes(text.replace(b"curve", b"cur\xe9e", 1))
    for name in ("cut.json", "latin.json"):
        with pytest.raises(ValueError):
            morvel.load(tmp_path / name)
    for bad in (tmp_path, tmp_path / "missing", tmp_path / "all.json" / "under"):
        with pytest.raises(morvel.MorvelError, match="Cannot read"):
            morvel.load(bad)
    for bad in (tmp_path, tmp_path / "missing" / "f", "/dev/full"):
        with pytest.raises(morvel.MorvelError, match="Cannot write"):
            morvel.dump(bad)
    with pytest.raises(ValueError, match="zero byte"):
        morvel.dump(f"{tmp_path}/a\0b")
    assert morvel.counts() == before
    assert (tmp_path / "all.json").read_bytes() == text
    assert sorted(e.name for e in tmp_path.iterdir()) == ["all.json", "cut.json", "latin.json"]


COMMA = """
import locale, sys
locale.setlocale(locale.LC_ALL, "de_DE.UTF-8")
assert locale.localeconv()["decimal_point"] == ","
import morvel
text = open(sys.argv[1], encoding="utf-8").read()
item = morvel.Curve.from_json(text)
sys.stdout.write(item.to_json())
"""


def test_a_host_with_a_decimal_comma_gets_the_same_bits(tmp_path):
    made = subprocess.run(
        ["localedef", "-f", "UTF-8", "-i", "de_DE", str(tmp_path / "de_DE.UTF-8")],
        capture_output=True, check=False,
    ) if any(os.access(f"{folder}/localedef", os.X_OK) for folder in os.get_exec_path()) else None
    if not (tmp_path / "de_DE.UTF-8" / "LC_NUMERIC").exists():  # the folder is made all the same
        pytest.skip(f"the locale cannot be made: {made}")
    text = curves()[3].to_json()
    (tmp_path / "curve.json").write_text(text, "utf-8")
    morvel.clear()
    said = subprocess.run(
        [sys.executable, "-c", COMMA, str(tmp_path / "curve.json")],
        env={**os.environ, "LOCPATH": str(tmp_path)}, capture_output=True, text=True, check=True,
    ).stdout
    entities = [json.loads(t[t.index("{\n") :])["entities"][0] for t in (text, said)]
    for entity in entities:
        del entity["id"]
    assert entities[0] == entities[1]
