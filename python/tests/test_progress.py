"""How far calls are, and stopping them: by an answer, an exception, and Ctrl-C."""

import io
import pickle
import subprocess
import sys

import numpy as np
import pytest

import morvel
from morvel import ProgressBar, Surface, TrimmedSurface

POINTS = np.random.default_rng(3).random((20_000, 3)) * [10.0, 10.0, 1.0]


def bowl():
    u, v = np.meshgrid(np.linspace(0, 10, 9), np.linspace(0, 10, 9), indexing="ij")
    return Surface.bspline(np.stack([u, v, 0.05 * (u - 5) * (v - 5)], axis=-1))


def make_fit():
    return lambda: morvel.fit_surface(POINTS, (30, 30))


def make_grid():
    grid = POINTS.reshape(100, 200, 3)
    return lambda: morvel.interpolate_grid(grid)


def make_projection():
    surface = bowl()
    return lambda: morvel.project_points(surface, POINTS)


def make_curves():
    surface, line = bowl(), morvel.Curve.line((1, 1, 9), (9, 8, 9))
    return lambda: morvel.project_curves([line], [surface])


def make_trim():
    surface, ring = bowl(), morvel.Curve.circle((5, 5, 3), radius=2.0)
    return lambda: TrimmedSurface.wires(surface, outer=[ring])


def make_mesh():
    surface = TrimmedSurface.circular_hole(bowl(), (0.5, 0.5), 0.2)
    return lambda: surface.mesh(80)


CALLS = [make_fit, make_grid, make_projection, make_curves, make_trim, make_mesh]


@pytest.mark.parametrize("make", CALLS)
def test_fractions_rise_to_one_and_a_stopped_call_stores_nothing(make):
    call = make()
    heard = []
    with morvel.progress(lambda fraction, stage: heard.append((fraction, stage))):
        call()
    assert heard[0][0] == 0.0 and heard[-1][0] == 1.0
    assert all(0.0 <= fraction <= 1.0 and stage for fraction, stage in heard)
    before = morvel.counts()
    for limit in (0.0, 0.3, 1.0):
        with pytest.raises(morvel.Cancelled) as caught:
            with morvel.progress(lambda fraction, stage: fraction >= limit):
                call()
        assert caught.value.fraction >= limit and caught.value.stage in str(caught.value)
        assert morvel.counts() == before
    call()


def test_exceptions_of_the_function_come_out_of_the_call():
    def broken(fraction, _stage):
        raise ZeroDivisionError(f"at {fraction}")

    for function, expected in [
        (broken, ZeroDivisionError),
        (lambda *_: "no", TypeError),
        (lambda: None, TypeError),
        (lambda *_: morvel.Curve.line((0, 0, 0), (1, 0, 0)) and None, RuntimeError),
        (lambda *_: sys.exit(3), SystemExit),
    ]:
        before = morvel.counts()
        with pytest.raises(expected), morvel.progress(function):
            morvel.interpolate_curve(POINTS[:50])
        assert morvel.counts() == before
    morvel.interpolate_curve(POINTS[:50])  # nothing is left of it
    with pytest.raises(morvel.ArgumentError):
        morvel.interpolate_curve(POINTS[:3], degree=3)


def test_blocks_nest_and_what_is_dropped_inside_may_be_in_use():
    outer, inner = [], []
    dropped = [bowl()]
    target = dropped[0]

    def drop(fraction, _stage):
        inner.append(fraction)
        dropped.clear()
        target.close()

    with morvel.progress(lambda fraction, _: outer.append(fraction)):
        with morvel.progress(drop):
            distances = morvel.project_points(target, POINTS).distances
        morvel.interpolate_curve(POINTS[:50])
    assert inner[-1] == outer[-1] == 1.0 and outer[0] == 0.0 and len(outer) < 20
    assert np.isfinite(distances).all() and target.closed


def test_a_cancelled_call_can_be_pickled():
    with pytest.raises(morvel.Cancelled) as caught, morvel.progress(lambda *_: True):
        morvel.interpolate_curve(POINTS[:50])
    copy = pickle.loads(pickle.dumps(caught.value))
    assert str(copy) == str(caught.value) and copy.stage == caught.value.stage


INTERRUPTED = """
import os, signal, threading, time, numpy as np, morvel
points = np.random.default_rng(1).random((400_000, 3))
net = np.random.default_rng(2).random((60, 60, 3))
surface = morvel.Surface.bspline(net)
threading.Timer(0.5, os.kill, (os.getpid(), signal.SIGINT)).start()
start = time.monotonic()
try:
    with morvel.progress({function}):
        morvel.project_points(surface, points)
    print("ended by itself")
except KeyboardInterrupt:
    print("interrupted", time.monotonic() - start < 5.0, signal.getsignal(signal.SIGINT).__name__)
"""


@pytest.mark.parametrize("function", ["lambda *_: None", "lambda *_: time.sleep(0.01)"])
def test_control_c_ends_a_long_call(function):
    program = INTERRUPTED.format(function=function)
    ended = subprocess.run(
        [sys.executable, "-c", program], capture_output=True, text=True, timeout=300
    )
    assert ended.stdout == "interrupted True default_int_handler\n", ended.stdout + ended.stderr


class Terminal(io.StringIO):
    def isatty(self):
        return True


def drawn(bar, fractions, stage="assembling"):
    for fraction in fractions:
        bar(fraction, stage)
    return bar.stream.getvalue()


def test_a_bar_grows_on_one_line_of_a_terminal_and_goes(monkeypatch):
    module = sys.modules["morvel.progress"]
    monkeypatch.setattr(module, "SOON", 0.0)
    text = drawn(ProgressBar(Terminal(), width=10), [0.0, 0.25, 0.999, 1.0])
    assert "\r[##--------]  25 %  assembling" in text and "\n" not in text
    assert text.endswith(f"\r{module.CLEAR_TO_END}")
    bar = ProgressBar(Terminal(), width=10)
    drawn(bar, [0.0, 0.5])
    drawn(bar, [0.0], "solving")
    assert bar.stream.getvalue().count("\n") == 1  # the line of the call that never ended stays


def test_a_bar_is_quiet_for_quick_calls_and_where_nobody_watches():
    assert drawn(ProgressBar(Terminal()), [0.0, 0.5, 1.0]) == ""
    assert drawn(ProgressBar(io.StringIO()), [0.0, 0.5, 1.0]) == ""
    bar = ProgressBar(io.StringIO(), lines=True)
    drawn(bar, [0.0, 0.2])
    assert drawn(bar, [0.5, 1.0], "solving") == "  0 %  assembling\n 50 %  solving\n"
    with pytest.raises(ValueError):
        ProgressBar(width=0)
