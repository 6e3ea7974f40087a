"""A scan of millions of points, fitted tile by tile in many processes, and written as one GLB file.

The kernel works in one thread; more than one core, or more than one machine, is used by processes.
The scan is cut into tiles that overlap. Each is fitted on its own by least squares: its points go
in, a control net and a few numbers come out, and only those travel back. Where tiles meet, both
surfaces followed the same points, which is why they nearly agree there; how nearly is measured.

    python3 fit_tiles.py                                  # a process pool on this machine
    python3 fit_tiles.py --dask                           # a Dask cluster of this machine
    python3 fit_tiles.py --scheduler tcp://127.0.0.1:8786  # one that runs already

The workers of a running cluster need `--nthreads 1`, and morvel and this folder on their PYTHONPATH.

There is no scan of ten million points at hand, so the measured terrain around the Jacksboro fault is
continued by its mirror images, bent by a slow swell so that no two of them are alike, and measured at
random places with an error of half a metre. Every block of it comes from a seed of its own: a worker
makes the points of its tile itself, and neighbours make the same points where they overlap.
"""

from __future__ import annotations

import argparse
import logging
import os
import resource
import time
from contextlib import ExitStack, suppress
from multiprocessing import get_context
from multiprocessing.connection import Connection, wait
from pathlib import Path
from typing import Any, Dict, Iterator, List, NamedTuple, Optional, Sequence, Tuple

import numpy as np
from scipy.ndimage import map_coordinates

import morvel
from terrain import SPACING, read_terrain

DATA = Path(__file__).resolve().parents[1] / "data" / "jacksboro_dem.txt"
METRES = 1000.0  # in a kilometre, the unit of everything here
POINTS_PER_SQUARE_KILOMETRE = 2500.0
OVERLAP = 0.4  # kilometres by which a tile reaches into its neighbours
NOISE = 0.5 / METRES  # standard deviation of a measured height
CONTROL_POINTS_PER_KILOMETRE = 9.0
SEAM_SAMPLES = 200
RING_SAMPLES = 32  # along each side of a tile
SEAM_BOUND = NOISE  # no more may neighbours differ along their seam
MOST_DEATHS = 5  # of workers, before the run is given up
PICTURE_SIDE = 800  # pixels

Place = Tuple[int, int]  # column and row of a tile


class Scan(NamedTuple):
    """Square tiles of a landscape, and how to measure any part of it."""

    heights: np.ndarray  # (rows, columns) of the original terrain
    tiles: int  # along either side
    side: float  # of a tile
    points: int  # in a tile, its overlap aside
    seed: int

    @classmethod
    def of(cls, points: int, tiles: int, seed: int = 0) -> "Scan":
        """About `points` points in `tiles` x `tiles` tiles, of the same density whatever these."""
        each = max(points // tiles**2, 1)
        side = float(np.sqrt(each / POINTS_PER_SQUARE_KILOMETRE))
        return cls(read_terrain(DATA)[2], tiles, side, each, seed)

    def places(self) -> List[Place]:
        return [(i, j) for i in range(self.tiles) for j in range(self.tiles)]

    def ground(self, x: np.ndarray, y: np.ndarray) -> np.ndarray:
        """The true heights."""
        grid = [y / SPACING[1], x / SPACING[0]]
        swell = 0.03 * np.sin(x / 7.3 + 0.2 * y) * np.cos(y / 9.1)
        return map_coordinates(self.heights, grid, order=3, mode="mirror") + swell

    def block(self, i: int, j: int) -> np.ndarray:
        """The (points, 3) measurements within a tile: always the same ones."""
        random = np.random.default_rng([self.seed, i, j])
        x, y = random.uniform((i, j), (i + 1, j + 1), (self.points, 2)).T * self.side
        return np.column_stack([x, y, self.ground(x, y) + random.normal(0.0, NOISE, self.points)])

    def tile_points(self, i: int, j: int) -> np.ndarray:
        """The measurements of a tile and of its overlap."""
        lower = np.array([i, j]) * self.side - OVERLAP
        upper = np.array([i + 1, j + 1]) * self.side + OVERLAP
        parts = []
        for a in range(max(i - 1, 0), min(i + 2, self.tiles)):
            for b in range(max(j - 1, 0), min(j + 2, self.tiles)):
                block = self.block(a, b)
                inside = np.all((lower <= block[:, :2]) & (block[:, :2] <= upper), axis=1)
                parts.append(block[inside])
        return np.concatenate(parts)


class TileFit(NamedTuple):
    """What a worker sends back."""

    place: Place
    net: np.ndarray  # (nU, nV, 3) control points of a bicubic surface on clamped uniform knots
    points: int
    rms: float
    seconds: float
    worker: int  # its process
    peak: int  # the most memory it ever held, bytes


def fit_tile(scan: Scan, place: Place) -> TileFit:
    """Runs in a worker: measures a tile and fits a surface to it."""
    start = time.perf_counter()
    morvel.set_log_level(logging.ERROR)
    points = scan.tile_points(*place)
    count = max(round(CONTROL_POINTS_PER_KILOMETRE * (scan.side + 2 * OVERLAP)), 4)
    surface, report = morvel.fit_surface_with_report(points, (count, count), method="hull")
    with surface:
        net = surface.control_points
    seconds = time.perf_counter() - start
    return TileFit(
        place, net, len(points), report.rms_deviation, seconds, os.getpid(), peak_memory()
    )


def peak_memory() -> int:
    """Bytes that this process held at the most."""
    return 1024 * resource.getrusage(resource.RUSAGE_SELF).ru_maxrss


# ---- where tiles are fitted: each of these yields results as they come ----


def work(connection: Connection) -> None:
    """A worker: fits one tile after the other until the connection is closed."""
    try:
        while True:
            connection.send(fit_tile(*connection.recv()))
    except (EOFError, ConnectionError):
        return


class Worker:
    """A process of its own and the line to it; nobody else holds the other end."""

    def __init__(self) -> None:
        context = get_context("spawn")
        self.line, other_end = context.Pipe()
        self.process = context.Process(target=work, args=(other_end,), daemon=True)
        self.process.start()
        other_end.close()  # so that the death of the process ends the line

    def __enter__(self) -> "Worker":
        return self

    def __exit__(self, *_: object) -> None:
        self.line.close()
        self.process.join()


def on_pool(scan: Scan, workers: int) -> Iterator[TileFit]:
    """Processes of this machine. A tile whose worker died goes to a new one.

    `concurrent.futures` would do the same in fewer lines, but all its workers share one pipe: one
    that is killed while it sends leaves half a message there, and the pool waits for the rest.
    """
    waiting, deaths = scan.places()[::-1], 0
    with ExitStack() as stack:
        idle = [stack.enter_context(Worker()) for _ in range(min(workers, len(waiting)))]
        busy: Dict[Connection, Tuple[Worker, Place]] = {}
        while waiting or busy:
            while waiting and idle:
                worker, place = idle.pop(), waiting.pop()
                busy[worker.line] = worker, place
                with suppress(BrokenPipeError):  # a worker that died meanwhile: its line has ended
                    worker.line.send((scan, place))
            ready: Sequence[Any] = wait(list(busy))
            for line in ready:
                worker, place = busy.pop(line)
                try:
                    fit = line.recv()
                except (EOFError, ConnectionError):
                    deaths += 1
                    if deaths > MOST_DEATHS:
                        raise RuntimeError(f"{deaths} workers died, the last at tile {place}")
                    print(f"the worker of tile {place} died; another one tries again", flush=True)
                    waiting.append(place)
                    idle.append(stack.enter_context(Worker()))
                else:
                    idle.append(worker)
                    yield fit


def on_dask(scan: Scan, workers: int, scheduler: Optional[str] = None) -> Iterator[TileFit]:
    """A Dask cluster, which hands the tiles of a worker that died to others."""
    from distributed import Client, LocalCluster
    from distributed import as_completed as as_they_come

    with ExitStack() as stack:
        if scheduler is None:
            scheduler = stack.enter_context(
                LocalCluster(
                    n_workers=workers,
                    threads_per_worker=1,
                    host="127.0.0.1",
                    dashboard_address=None,
                    silence_logs=logging.CRITICAL,
                )
            )
        client = stack.enter_context(Client(scheduler))
        if any(threads != 1 for threads in client.nthreads().values()):
            raise RuntimeError("the kernel works in one thread: start workers with --nthreads 1")
        futures = [
            client.submit(fit_tile, scan, place, pure=False, retries=MOST_DEATHS)
            for place in scan.places()
        ]
        for future in as_they_come(futures):
            yield future.result()
            future.release()


# ---- what becomes of the results ----


def parameters_at(surface: morvel.Surface, xy: np.ndarray) -> np.ndarray:
    """(n, 2) parameters of the places of a height field above (n, 2) places, by Newton's method."""
    origin, u_end, v_end = surface([[0, 0], [1, 0], [0, 1]])[:, :2]
    uv = np.linalg.solve(np.stack([u_end - origin, v_end - origin], axis=1), (xy - origin).T).T
    for _ in range(8):
        uv = np.clip(uv, 0.0, 1.0)
        point, du, dv, _ = np.moveaxis(surface.derivatives(uv), -2, 0)
        jacobian = np.stack([du[:, :2], dv[:, :2]], axis=-1)
        uv = uv + np.linalg.solve(jacobian, (xy - point[:, :2])[..., None])[..., 0]
    return np.clip(uv, 0.0, 1.0)


def seam_differences(scan: Scan, surfaces: Dict[Place, morvel.Surface]) -> Dict[str, np.ndarray]:
    """(samples,) differences in height by seam, along the line where two tiles meet."""
    along = np.linspace(0.02, 0.98, SEAM_SAMPLES)
    differences = {}
    for (i, j), surface in surfaces.items():
        for other, x, y in (((i + 1, j), np.ones_like(along), along),
                            ((i, j + 1), along, np.ones_like(along))):
            if other in surfaces:
                xy = np.column_stack([i + x, j + y]) * scan.side
                ours, theirs = (s(parameters_at(s, xy))[:, 2] for s in (surface, surfaces[other]))
                differences[f"{(i, j)}-{other}"] = ours - theirs
    return differences


def cropped(scan: Scan, place: Place, surface: morvel.Surface) -> morvel.TrimmedSurface:
    """A tile without its overlap. Its straight sides bend a little in the parameter plane."""
    t = np.arange(RING_SAMPLES) / RING_SAMPLES
    zero, one = np.zeros_like(t), np.ones_like(t)
    x, y = np.concatenate([t, one, 1 - t, zero]), np.concatenate([zero, t, one, 1 - t])
    ring = (np.column_stack([x, y]) + place) * scan.side
    return morvel.TrimmedSurface.polygons(surface, [parameters_at(surface, ring)])


def draw(scan: Scan, surfaces: Dict[Place, morvel.Surface], path: Path) -> None:
    """The tiles side by side from above, shaded by their slope."""
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import colors, pyplot

    samples = max(PICTURE_SIDE // scan.tiles, 20)
    x, y = np.meshgrid(*[(np.arange(samples) + 0.5) / samples] * 2)
    image = np.empty((scan.tiles * samples,) * 2)
    for (i, j), surface in surfaces.items():
        xy = np.column_stack([i + x.ravel(), j + y.ravel()]) * scan.side
        heights = surface(parameters_at(surface, xy))[:, 2].reshape(samples, samples)
        image[j * samples : (j + 1) * samples, i * samples : (i + 1) * samples] = heights
    light = colors.LightSource(azdeg=315, altdeg=35)
    step = scan.side / samples
    green = image.min() - 0.6 * np.ptp(image)  # the lower part of the colours is the sea
    shaded = light.shade(image, pyplot.cm.gist_earth, vmin=green, vert_exag=3, dx=step, dy=step)
    pyplot.imsave(path, shaded[::-1])


def fit_all(scan: Scan, results: Iterator[TileFit]) -> List[TileFit]:
    """Collects the tiles, a line each."""
    fits = []
    for fit in results:
        fits.append(fit)
        print(
            f"tile {len(fits)} of {scan.tiles ** 2}: {fit.points} points, rms "
            f"{fit.rms * METRES:.2f} m, {fit.seconds:.1f} s in process {fit.worker}",
            flush=True,
        )
    return fits


def main(arguments: Optional[Sequence[str]] = None) -> int:
    parser = argparse.ArgumentParser(description="fit a large scan tile by tile")
    parser.add_argument("--points", type=float, default=1e6, help="of the whole scan")
    parser.add_argument("--tiles", type=int, default=6, help="along either side of the scan")
    parser.add_argument("--workers", type=int, default=os.cpu_count() or 1)
    parser.add_argument("--dask", action="store_true", help="on a Dask cluster of this machine")
    parser.add_argument("--scheduler", help="on the Dask cluster at this address")
    parser.add_argument("--out", type=Path, default=Path("tiles.glb"))
    parser.add_argument("--picture", type=Path, help="also a view from above, e.g. tiles.png")
    options = parser.parse_args(arguments)
    if min(options.points, options.tiles, options.workers) < 1:
        parser.error("points, tiles and workers are at least 1")

    scan = Scan.of(int(options.points), options.tiles)
    start = time.perf_counter()
    if options.dask or options.scheduler:
        results = on_dask(scan, options.workers, options.scheduler)
    else:
        results = on_pool(scan, options.workers)
    fits = fit_all(scan, results)
    fitted = time.perf_counter()

    morvel.set_log_level(logging.WARNING)
    surfaces = {fit.place: morvel.Surface.bspline(fit.net) for fit in fits}
    seams = seam_differences(scan, surfaces)
    worst = max(float(np.abs(d).max()) for d in seams.values()) if seams else 0.0
    rms = float(np.sqrt(np.mean(np.square(list(seams.values()))))) if seams else 0.0
    print(f"{len(seams)} seams: rms {rms * METRES:.3f} m, at most {worst * METRES:.3f} m, "
          f"{'within' if worst <= SEAM_BOUND else 'BEYOND'} the bound of {SEAM_BOUND * METRES:.1f} m")

    samples = min(max(round(20 * scan.side), 10), 200)
    tiles = [cropped(scan, place, surface) for place, surface in sorted(surfaces.items())]
    morvel.export(options.out, tiles, samples=samples)
    if options.picture:
        draw(scan, surfaces, options.picture)
    total = sum(fit.points for fit in fits)
    print(f"{scan.points * scan.tiles**2} points ({total} with overlaps) in {fitted - start:.1f} s, all in {time.perf_counter() - start:.1f} s; "
          f"at most {peak_memory() / 2**20:.0f} MiB here and "
          f"{max(fit.peak for fit in fits) / 2**20:.0f} MiB in a worker; {options.out} has "
          f"{options.out.stat().st_size / 2**20:.1f} MiB")
    return 0 if worst <= SEAM_BOUND else 1


if __name__ == "__main__":
    import fit_tiles  # by its name, under which workers find what they are to run

    raise SystemExit(fit_tiles.main())
