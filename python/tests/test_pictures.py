"""Pictures as SVG, and into matplotlib's axes."""

import re
import xml.etree.ElementTree as ElementTree

import numpy as np
import pytest

import morvel

SVG = "{http://www.w3.org/2000/svg}"


@pytest.fixture
def ball():
    return morvel.Surface.sphere((1.0, 2.0, 3.0), 2.0)


def facets(path):
    """(n) arrays of corners of the filled paths, with their colours, in the order of painting."""
    found = []
    for element in ElementTree.parse(path).iter(f"{SVG}path"):
        if element.get("fill"):
            for text in element.get("d").split("M")[1:]:
                numbers = [float(t) for t in re.findall(r"-?\d*\.?\d+", text)]
                found.append((np.cumsum(np.reshape(numbers, (-1, 2)), axis=0), element.get("fill")))
    return found


def covered(polygons, width, height):
    """How many pixels the polygons cover, by even-odd tests of pixel centres."""
    from matplotlib.path import Path

    pixels = np.stack(np.meshgrid(np.arange(width) + 0.5, np.arange(height) + 0.5), axis=-1)
    inside = np.zeros((height, width), dtype=bool)
    for corners in polygons:
        low = np.maximum(np.floor(corners.min(axis=0)).astype(int) - 1, 0)
        high = np.ceil(corners.max(axis=0)).astype(int) + 1
        window = (slice(low[1], high[1]), slice(low[0], high[0]))
        tested = Path(corners).contains_points(pixels[window].reshape(-1, 2))
        inside[window] |= tested.reshape(inside[window].shape)
    return int(inside.sum())


def test_a_sphere_covers_its_disc_and_is_written_the_same_each_time(ball, tmp_path):
    for name in ("a.svg", "b.svg"):
        ball.save(tmp_path / name, size=(400, 400), edges=False, isolines=0, resolution=40)
    assert (tmp_path / "a.svg").read_bytes() == (tmp_path / "b.svg").read_bytes()
    polygons = [corners for corners, _ in facets(tmp_path / "a.svg")]
    places = np.concatenate(polygons)
    radius = np.ptp(places, axis=0).mean() / 2
    assert radius == pytest.approx(180, rel=0.01)
    assert covered(polygons, 400, 400) == pytest.approx(np.pi * radius**2, rel=0.01)
    assert (tmp_path / "a.svg").stat().st_size < 300_000
