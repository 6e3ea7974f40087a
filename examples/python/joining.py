"""The demo's step with a blend: the teapot's spout joined to its body by a rolling ball."""

from __future__ import annotations

from pathlib import Path
from typing import List

import morvel
from joint import RADIUS, blends, page, picture, roundness, worst_gap
from walk import Log


class Joining:
    """Four pieces of one joint."""

    def __init__(self, patches: List[morvel.Surface], out: Path) -> None:
        self.patches = patches
        self.out = out

    def run(self, log: Log) -> None:
        log.run("blend the spout", self.blend)
        log.run("draw joint.png", self.draw)
        log.run("write joint.html", self.write_page)

    def blend(self) -> str:
        self.pieces = blends(self.patches)
        return (
            f"{len(self.pieces)} pieces of radius {RADIUS}, round to {roundness(self.pieces):.0e} of "
            f"it, spines joined within {worst_gap(self.pieces):.0e}"
        )

    def draw(self) -> str:
        path = self.out / "joint.png"
        picture(self.patches, self.pieces, path)
        return f"{path.stat().st_size / 2**10:.0f} KiB"

    def write_page(self) -> str:
        path = self.out / "joint.html"
        try:
            page(self.patches, self.pieces, path)
        except ImportError as fault:  # the viewer could not be bundled here
            return str(fault)
        return f"{path.stat().st_size / 2**10:.0f} KiB, to be turned in a browser"
