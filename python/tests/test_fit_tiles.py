"""The example that fits a scan tile by tile, on processes of which some are killed."""

import importlib.util
import os
import signal
import sys
from pathlib import Path

import numpy as np
import pytest

import morvel
from readers import needs, by_validator, complaints

EXAMPLES = Path(__file__).resolve().parents[2] / "examples" / "python"


@pytest.fixture
def tiles(monkeypatch):
    monkeypatch.syspath_prepend(str(EXAMPLES))  # workers take over the path
    sys.modules.pop("fit_tiles", None)
    import fit_tiles

    yield fit_tiles
    morvel.set_log_level(20)


def is_dead(process):
    """Whether a process has ended, waited for or not."""
    try:
        return Path(f"/proc/{process}/stat").read_text().rsplit(")")[-1].split()[0] == "Z"
    except FileNotFoundError:
        return True


def fitted(tiles, scan, where):
    """Net by place. The worker that sends the first is killed, while it is at another."""
    if where == "dask":
        needs(importlib.util.find_spec("distributed"), "python3-distributed")
        results = tiles.on_dask(scan, workers=2)
    else:
        results = tiles.on_pool(scan, workers=2)
    nets, killed = {}, 0
    for fit in results:
        assert fit.place not in nets
        nets[fit.place] = fit.net
        if not killed:
            killed = fit.worker
            os.kill(killed, signal.SIGKILL)
    assert is_dead(killed)
    return nets


@pytest.mark.parametrize("where", ["pool", "dask"])
def test_a_killed_worker_costs_a_retry_and_not_the_run(where, tiles, capfd):
    scan = tiles.Scan.of(160_000, 4)
    nets = fitted(tiles, scan, where)
    assert sorted(nets) == scan.places()
    if where == "pool":
        assert capfd.readouterr().out.count("another one tries again") == 1
    for place in [(0, 0), (2, 1), (3, 3)]:  # as without processes, to the last bit
        assert np.array_equal(nets[place], tiles.fit_tile(scan, place).net)


def test_the_scan_becomes_one_file_near_the_ground(tiles, tmp_path, capfd):
    out = tmp_path / "tiles.glb"
    given = ["--points", "1e5", "--tiles", "3", "--workers", "2", "--out", str(out)]
    assert tiles.main([*given, "--picture", str(tmp_path / "tiles.png")]) == 0
    said = capfd.readouterr().out
    assert said.count("tile ") == 9 and "12 seams" in said and "within the bound" in said
    report = by_validator(out)
    assert complaints(report) == [] and report["info"]["drawCallCount"] == 9
    assert (tmp_path / "tiles.png").stat().st_size > 10_000

    scan = tiles.Scan.of(100_000, 3)
    surface = morvel.Surface.bspline(tiles.fit_tile(scan, (1, 1)).net)
    xy = (1 + np.random.default_rng(1).random((2000, 2))) * scan.side
    points = surface(tiles.parameters_at(surface, xy))
    assert np.abs(points[:, :2] - xy).max() < 1e-9
    errors = points[:, 2] - scan.ground(*xy.T)
    assert np.sqrt(np.mean(errors**2)) < 0.4 * tiles.NOISE  # many measurements outdo one


@pytest.mark.slow
def test_ten_million_points(tiles, tmp_path):
    out = tmp_path / "tiles.glb"
    assert tiles.main(["--points", "1e7", "--tiles", "10", "--workers", "2", "--out", str(out)]) == 0
    assert complaints(by_validator(out)) == []
