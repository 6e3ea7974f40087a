"""A walk through morvel on real geometry: the Utah teapot, measured terrain, and a scan.

Run it with `./run demo`. It prints what each step did and how long it took, and writes pictures and
meshes to `out/`.
"""

from __future__ import annotations

import logging
import sys
from pathlib import Path
from typing import Dict, List

import numpy as np

import morvel
from cutting import Cutting
from filling import Filling
from joining import Joining
from picture import draw
from reconstruction import Reconstruction
from teapot import read_patches
from walk import Log

ROOT = Path(__file__).resolve().parents[2]
DATA = ROOT / "examples" / "data"
TEAPOT = DATA / "teapot.txt"
PATCH_RESOLUTION = 24
GOBLET_RESOLUTION = 80


class Teapot:
    """Patches, curves and surfaces made of them; each step leaves what later ones need."""

    def __init__(self, out: Path) -> None:
        self.out = out
        self.patches: List[morvel.Surface] = []
        self.curves: Dict[str, morvel.Curve] = {}
        self.made: Dict[str, morvel.Surface] = {}
        self.meshes: List[morvel.Mesh] = []

    def run(self, log: Log) -> None:
        log.run("read and make patches", self.make_patches)
        log.run("curves", self.make_curves)
        log.run("surfaces from curves", self.make_surfaces)
        log.run("query", self.query)
        log.run("evaluate", self.evaluate)
        log.run("exact and uniform", self.compare_knots)
        log.run("split and continue", self.derive)
        log.run("convert", self.convert)
        log.run("tessellate", self.tessellate)
        log.run("measure", self.measure)
        log.run("write teapot.obj", self.write_mesh)
        log.run("draw teapot.png", self.draw)

    def make_patches(self) -> str:
        self.patches = [morvel.Surface.bezier(net) for net in read_patches(TEAPOT)]
        return f"{len(self.patches)} {self.patches[0].type}s of degrees {self.patches[0].degrees}"

    def make_curves(self) -> str:
        quarter = np.array([[0.0, 1.0, 0.0], [1.0, 1.0, 0.0], [1.0, 0.0, 0.0]])
        goblet = np.array(
            [[0.0, 0, 0], [0.7, 0, 0], [0.7, 0, 0.1], [0.1, 0, 0.15], [0.1, 0, 0.9], [0.5, 0, 1.1],
             [0.6, 0, 1.5], [0.45, 0, 2.0]]
        )
        self.curves = {
            "line": morvel.Curve.line((4.2, -0.8, 0.0), (4.2, 0.8, 0.6)),
            "circle": morvel.Curve.circle((0.0, 0.0, 0.02), radius=2.6),
            "goblet": morvel.Curve.bspline(goblet, degree=3),
            "quarter": morvel.Curve.nurbs(
                quarter, weights=[1.0, np.sqrt(0.5), 1.0], knots=[0, 0, 0, 1, 1, 1], degree=2
            ),
            "wave": morvel.Curve.bspline(
                [[-3.8, y, 0.25 * (-1) ** k] for k, y in enumerate(np.linspace(-1.6, 1.6, 9))]
            ),
        }
        radius = np.linalg.norm(self.curves["quarter"].sample(64), axis=1)
        return f"{len(self.curves)}; the rational quarter circle is round to " \
               f"{abs(radius - 1).max():.0e}"

    def make_surfaces(self) -> str:
        goblet = morvel.Surface.revolve(self.curves["goblet"])
        goblet.transform([[1, 0, 0, 4.6], [0, 1, 0, -1.6], [0, 0, 1, 0], [0, 0, 0, 1]])
        self.made = {
            "goblet": goblet,
            "fence": morvel.Surface.extrude(self.curves["wave"], (0, 0, 1), 1.1),
            "rim": morvel.Surface.pipe(self.curves["circle"], 0.06),
        }
        return ", ".join(f"{name} ({surface.type})" for name, surface in self.made.items())

    def query(self) -> str:
        net = self.patches[0].control_points
        curve = self.curves["goblet"]
        return (
            f"net {net.shape[0]} x {net.shape[1]}, domain {self.patches[0].domain}, "
            f"goblet profile {curve.length():.4f} long"
        )

    def evaluate(self) -> str:
        body = self.patches[4]
        uv, step = np.random.default_rng(1).uniform(0.01, 0.99, (100_000, 2)), np.array([1e-4, 0])
        du = body.derivatives(uv)[:, 1]
        difference = (body(uv + step) - body(uv - step)) / (2 * step[0])
        error = np.linalg.norm(difference - du, axis=1).max()
        return f"{len(uv)} points on the body; du against differences {error:.0e}"

    def compare_knots(self) -> str:
        lines = np.linspace(-1, 1, 6)
        x, y = np.meshgrid(lines, lines, indexing="ij")
        net = np.stack([x, y, np.sin(2 * x) * np.cos(3 * y)], axis=-1)
        uneven = [0, 0, 0, 0, 0.1, 0.2, 1, 1, 1, 1]
        surface = morvel.Surface.bspline(net, knots=(uneven, uneven))
        uv = np.random.default_rng(2).uniform(size=(10_000, 2))
        apart = np.linalg.norm(surface.exact(uv) - surface(uv), axis=1).max()
        return f"on uneven knots exact(uv) and the uniform surface(uv) are up to {apart:.3f} apart"

    def derive(self) -> str:
        left, right = self.patches[4].split_u(0.25)
        gap = np.linalg.norm(left.point(1.0, 0.3) - right.point(0.0, 0.3))
        fence = self.made["fence"].to_bspline()
        self.made["fence end"] = fence.extension("u_max", 0.4, "linear")
        return f"halves of a patch meet to {gap:.0e}; the fence is continued by 0.4"

    def convert(self) -> str:
        spline = self.made["goblet"].to_nurbs()
        at = np.linspace(0.013, 0.987, 23)
        apart = spline.grid(at, at) - self.made["goblet"].grid(at, at)
        deviation = np.linalg.norm(apart, axis=-1).max()
        nu, nv, _ = spline.control_points.shape
        return f"goblet as a {nu} x {nv} B-spline net, off by {deviation:.1e} at most"

    def tessellate(self) -> str:
        self.meshes = [patch.mesh(PATCH_RESOLUTION) for patch in self.patches]
        beside = [surface.mesh(GOBLET_RESOLUTION) for surface in self.made.values()]
        self.meshes.append(morvel.Mesh.joined(beside))
        triangles = sum(len(mesh.triangles) for mesh in self.meshes)
        return f"{triangles} triangles"

    def measure(self) -> str:
        teapot = morvel.Mesh.joined(self.meshes[:-1])
        low, high = teapot.bounds
        size = " x ".join(f"{d:.2f}" for d in high - low)
        return f"teapot: area {teapot.area():.3f}, size {size}"

    def write_mesh(self) -> str:
        mesh = morvel.Mesh.joined(self.meshes)
        path = self.out / "teapot.obj"
        mesh.write_obj(path)
        return f"{len(mesh.vertices)} vertices, {path.stat().st_size / 2**20:.1f} MiB"

    def draw(self) -> str:
        teapot = morvel.Mesh.joined(self.meshes[:-1])
        path = self.out / "teapot.png"
        draw([(teapot, "#c9a66b"), (self.meshes[-1], "#7d9cc0")], path)
        return f"{path.stat().st_size / 2**10:.0f} KiB"


def main() -> int:
    out = Path(sys.argv[1] if len(sys.argv) > 1 else "out")
    out.mkdir(parents=True, exist_ok=True)
    print(morvel.version())
    morvel.set_log_level(logging.WARNING)  # the table at the end says what was done
    log = Log()
    teapot, measured = Teapot(out), Reconstruction(DATA, out)
    teapot.run(log)
    measured.run(log)
    Cutting(teapot.patches, measured, out).run(log)
    Filling(DATA, out).run(log)
    Joining(teapot.patches, out).run(log)
    print(log.table())
    left = morvel.counts()
    print(f"left in the kernel: {left.curves} curves, {left.surfaces} surfaces")
    return 0


if __name__ == "__main__":
    sys.exit(main())
