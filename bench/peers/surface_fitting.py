"""Surface fits by morvel beside scipy, in one run and on one thread; prints a table.

    OMP_NUM_THREADS=1 ./run python bench/peers/surface_fitting.py [POINTS ...]

morvel works through its C interface from the points to the registered surface, projection and
deviations included. scipy is given the parameters, and is timed from them to the net: the sparse
matrix of basis products, its normal equations, and their solution; for a grid, three bivariate
splines through x, y and z.
"""

import sys
import time

import morvel
import numpy as np
from morvel.surface_fitting import fit_surface_with_report, interpolate_grid
from scipy import sparse
from scipy.interpolate import BSpline, RectBivariateSpline
from scipy.sparse.linalg import spsolve

DEGREE = 3
REPETITIONS = 5
SIZES = (10_000, 100_000, 1_000_000)
NETS = (25, 79)
GRIDS = (100, 500)


def clamped_knots(count):
    inner = np.arange(1, count - DEGREE) / (count - DEGREE)
    return np.concatenate([np.zeros(DEGREE + 1), inner, np.ones(DEGREE + 1)])


def normal_equations(parameters, points, net):
    """The net by scipy.sparse; a row of the matrix has 16 products."""
    u, v = (BSpline.design_matrix(t, clamped_knots(net), DEGREE) for t in parameters.T)
    m, width = len(points), DEGREE + 1
    data = u.data.reshape(m, width, 1) * v.data.reshape(m, 1, width)
    columns = u.indices.reshape(m, width, 1) * net + v.indices.reshape(m, 1, width)
    rows = np.arange(m + 1) * width * width
    basis = sparse.csr_matrix((data.ravel(), columns.ravel(), rows), shape=(m, net * net))
    return spsolve((basis.T @ basis).tocsc(), basis.T @ points).reshape(net, net, 3)


def best_of(work, repetitions):
    times = []
    for _ in range(repetitions):
        start = time.perf_counter()
        result = work()
        times.append(time.perf_counter() - start)
    return min(times) * 1e3, result


def line(what, ours, theirs, difference):
    print(f"{what:34} {ours:10.2f} {theirs:12.2f} {theirs / ours:8.1f} {difference:12.1e}")


def main():
    sizes = [int(argument) for argument in sys.argv[1:]] or SIZES
    morvel.set_log_level(40)
    print(f"{'':34} {'morvel ms':>10} {'scipy ms':>12} {'ratio':>8} {'difference':>12}")
    random = np.random.default_rng(1)
    for count in sizes:
        xy = random.random((count, 2)) * [2.0, 1.0]
        points = np.column_stack([xy, 0.2 * np.sin(6 * xy[:, 0]) * np.cos(5 * xy[:, 1])])
        for net in NETS:
            if net > np.sqrt(count) / (DEGREE + 1):
                continue
            fit = lambda: fit_surface_with_report(points, (net, net), method="plane")
            ours, (surface, report) = best_of(fit, REPETITIONS)
            peer = lambda: normal_equations(report.parameters, points, net)
            theirs, controls = best_of(peer, 1 if count > 200_000 else REPETITIONS)
            difference = np.abs(surface.control_points - controls).max()
            line(f"fit {count} points, net {net}x{net}", ours, theirs, difference)
    for size in GRIDS:
        at = np.arange(float(size))
        x, y = np.meshgrid(at, at, indexing="ij")
        grid = np.dstack([x, y, 3 * np.sin(0.1 * x) * np.cos(0.2 * y)])
        ours, surface = best_of(lambda: interpolate_grid(grid), REPETITIONS)
        peer = lambda: [RectBivariateSpline(at, at, grid[..., d], s=0) for d in range(3)]
        theirs, splines = best_of(peer, REPETITIONS)
        line(f"interpolate {size}x{size} grid", ours, theirs, float("nan"))


if __name__ == "__main__":
    main()
