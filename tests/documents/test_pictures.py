"""The pictures of the pages can be drawn, and come out like those that are committed."""

from __future__ import annotations

import logging
import re
from pathlib import Path

import numpy as np
import pytest
from PIL import Image

import morvel
import scene
from draw import HERE, PICTURES

SHRUNK = 4
GREATEST_DIFFERENCE = 6.0  # of 255, in the mean over a picture
LARGEST_FILE = 150_000
SHARE = 0.1  # by which the number of parts of a drawing may differ: versions of matplotlib do
PART = re.compile(r"<(?:path|use|g)\b")


@pytest.fixture
def drawn(request, tmp_path, monkeypatch) -> Path:
    monkeypatch.setattr(scene, "SHRUNK", SHRUNK)
    morvel.clear()
    morvel.set_log_level(logging.ERROR)
    path = tmp_path / request.param
    PICTURES[request.param](path)
    morvel.set_log_level(logging.INFO)
    morvel.clear()
    return path


@pytest.mark.parametrize("drawn", PICTURES, indirect=True)
def test_a_picture_drawn_now_is_like_the_committed_one(drawn):
    committed = HERE / drawn.name
    assert committed.stat().st_size < LARGEST_FILE
    if drawn.suffix == ".svg":
        now, then = (len(PART.findall(path.read_text("utf-8"))) for path in (drawn, committed))
        assert then > 0 and abs(now - then) <= SHARE * then
        return
    now = np.asarray(Image.open(drawn).convert("RGB"), dtype=float)
    small = Image.open(committed).convert("RGB").resize(now.shape[1::-1], Image.Resampling.BOX)
    assert np.ptp(now) > 0
    assert np.abs(now - np.asarray(small, dtype=float)).mean() < GREATEST_DIFFERENCE
