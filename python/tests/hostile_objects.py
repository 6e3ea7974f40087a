"""Calls every public function and method of the package with hostile arguments.

Run as a program, so that a crash or a hang is seen from outside: `hostile_objects.py SEED
TRIES [NAME...]`, with so many tries for each parameter. What is
called is found by looking at the package, good arguments by the parameters' names; then one
argument after the other is replaced. Each call is announced on standard error before it is made.

What must hold after each call: it gave a result or raised MorvelError, ValueError, TypeError or
KeyError, within the time limit, and left the world as it was: the same objects, none without owner.
"""

from __future__ import annotations

import decimal
import fractions
import inspect
import math
import os
import random
import resource
import sys
import time
import traceback
import warnings
from typing import Any, Callable, Dict, Iterator, List, Tuple

import numpy as np

import morvel
from morvel import Curve, CurveOnSurface, Mesh, Point, Surface, TrimmedSurface

ALLOWED = (morvel.MorvelError, ValueError, TypeError, KeyError)
MOST_MEMORY = 4 * 2**30
SECONDS_A_CALL = 20.0  # also under sanitizers on a busy machine
SLOW, SHARE_SLOW = 0.004, 0.3  # where a good call takes so long, fewer are made
SLOWER, SHARE_SLOWER = 0.04, 0.1
FILES = {"path", "file", "filename", "target", "stream"}  # what is written is tested elsewhere
PASSED_OVER = {"clear", "delete_all", "plot", "print_lines", "version"}
OPERATORS = ("__call__", "__add__", "__sub__")


class Raising:
    """Fails wherever it is asked."""

    def fail(self, *_: Any) -> Any:
        raise ValueError("it will not tell")

    __array__ = __float__ = __index__ = __iter__ = __len__ = __bool__ = fail


class Lying:
    """Is asked for numbers and gives others."""

    def __index__(self) -> int:
        return 2**40

    def __float__(self) -> float:
        return float("nan")

    def __len__(self) -> int:
        return 2**62


class Clearing:
    """Empties the kernel while it is converted."""

    def __array__(self, dtype: Any = None, copy: Any = None) -> Any:
        morvel.clear()
        return np.array([0.25, 0.5, 0.75])


class World:
    """A few objects of every kind."""

    def __init__(self) -> None:
        morvel.clear()
        self.net = np.random.default_rng(3).random((4, 4, 3))
        self.curve = Curve.bspline(self.net[0], 2)
        self.round = Curve.circle((0.5, 0.5, 0.2), 0.3)
        self.sides = [
            Curve.line(a, b)
            for a, b in zip(np.eye(4, 3), np.roll(np.eye(4, 3), -1, axis=0))
        ]
        self.surface = Surface.bspline(self.net, (2, 3))
        self.plate = Surface.plane((0, 0, 0), (1, 0, 0), (0, 1, 0))
        self.wall = Surface.plane((0, 0, 0), (0, 1, 0), (0, 0, 1))
        self.part = TrimmedSurface.rectangular(self.surface, u=(0.2, 0.7))
        self.on_surface = CurveOnSurface.bspline(self.plate, [(0.1, 0.2), (0.8, 0.7)], 1)
        self.point = Point.at((1, 2, 3))
        self.mesh = Mesh(np.eye(3), np.array([[0, 1, 2]], dtype=np.int32))
        self.closed = Curve.line((0, 0, 0), (1, 0, 0))
        self.closed.close()
        self.counts = morvel.counts()

    def is_whole(self) -> bool:
        return morvel.counts() == self.counts and not any(held.ownerless for held in morvel.live())


def good(world: World, owner: str, name: str) -> Any:
    """A good argument by the parameter's name, and by the function's where that is not enough."""
    xyz, knots = np.random.default_rng(1).random((30, 3)), [0, 0, 0, 0.5, 1, 1, 1]
    own: Dict[Tuple[str, str], Any] = {
        ("Curve.bspline", "knots"): knots, ("Curve.nurbs", "knots"): knots,
        ("Curve.nurbs", "weights"): [1, 2, 1, 1], ("Curve.ellipse", "b"): 1.0,
        ("Surface.bspline", "knots"): (knots, [0, 0, 0, 0, 1, 1, 1, 1]),
        ("Surface.nurbs", "knots"): (knots, [0, 0, 0, 0, 1, 1, 1, 1]),
        ("Surface.nurbs", "weights"): np.ones((4, 4)), ("Surface.nurbs", "points"): world.net,
        ("Surface.ruled", "first"): world.curve, ("Surface.ruled", "second"): world.round,
        ("CurveOnSurface.bspline", "uv"): [(0, 0), (0.3, 0.6), (0.5, 0.2), (1, 1)],
        ("KernelSession.add", "knots"): (knots, [0, 0, 0, 0, 1, 1, 1, 1]),
        ("fit_surface", "points"): np.random.default_rng(1).random((60, 3)) * [1, 1, 0.1],
        ("fit_curve_constrained", "near"): [(2, 1, 0), (3, 0, 0), (4, 1, 1), (5, 0, 0)],
        ("fit_surface_constrained", "points"): np.random.default_rng(2).random((60, 3)),
        ("sort_loop", "curves"): world.sides, ("validate_loop", "curves"): world.sides,
        ("TrimmedSurface.snipped_by_curves", "curves"): [world.round],
        ("fill", "curves"): world.sides, ("fill_preview", "curves"): world.sides,
        ("canal", "first"): [(1, 0, 0), (1, 1, 0), (1, 2, 0)],
        ("canal", "second"): [(0, 0, 1), (0, 1, 1), (0, 2, 1)],
        ("canal", "centres"): [(1, 0, 1), (1, 1, 1), (1, 2, 1)], ("canal", "radii"): 1.0,
        ("contact_points", "radii"): 0.3, ("contact_points", "centres"): [(0.3, 0.4, 0.3)],
        ("ball_contact", "distances"): (0.2, 0.2), ("variable_offset", "distances"): [0.1, 0.2],
        ("Mesh.joined", "meshes"): [world.mesh], ("Point.positions", "points"): [world.point],
        ("derivative", "u"): 0.3, ("domain", "knots"): knots, ("is_at_end", "u"): 0.5,
        ("adjust_surface", "places"): [(0.5, 0.5, 0.5, 0.5)],
        ("Surface.boolean_sum", "first"): world.plate, ("Surface.transform", "matrix"): np.eye(4),
    }  # fmt: skip
    usual: Dict[str, Any] = {
        "a": 2.0, "amount": 0.2, "axis": (0, 0, 1), "base": world.plate, "center": (0.1, 0.2, 0.3),
        "centres": xyz[:3], "count": 5, "curves": [world.curve, world.round], "degree": 2,
        "degrees": (2, 3), "direction": (0, 0.1, 1), "distance": 0.5, "distances": [0.1, 0.2],
        "end": (1.0, 0.0, 2.0), "first": world.plate, "grid": world.net, "handle": 7, "height": 1.0,
        "hits": "all", "i": 1, "identifier": 1, "index": 1, "j": 1, "knots": knots, "length": 0.5,
        "level": 30, "logger": "morvel", "major": 2.0, "major_axis": (1, 0, 0), "matrix": np.eye(4),
        "meshes": [world.mesh], "minor": 0.5, "near": [(0.2, 0.2), (0.2, 0.2)], "net": world.net,
        "normal": (0.1, 0.2, 1.0), "order": 1, "origin": (0, 0, 0), "other": world.surface,
        "other_side": "u_max", "outer": (), "parameters": [0.0, 1.0], "path": world.curve,
        "places": [(0.5, 0.5, 0.5, 0.5)], "plane": ((0, 0.5, 0), (0, 1, 0)),
        "point": (0.5, 0.5, 0.1),
        "points": xyz[:4], "position": (1, 2, 3), "positions": xyz, "profile": world.curve,
        "radii": [0.1, 0.2], "radius": 0.1, "second": world.wall,
        "sections": [world.curve, world.round],
        "side": "u_min", "sides": 4, "start": (0.5, 0.1, 0.0), "surface": world.surface,
        "surfaces": [world.plate], "t": [0.1, 0.5], "t0": 0.1, "t1": 0.9, "third": world.plate,
        "through": [(0.0, 0.0, 0.0), (1.0, 1.0, 0.0)], "tolerance": 0.01, "triangles": [[0, 1, 2]],
        "u": 0.4, "u0": 0.2, "u1": 0.7, "u_vector": (1, 0, 0), "uv": [(0.2, 0.3), (0.5, 0.6)],
        "v": 0.6, "v_vector": (0, 1, 0), "vertices": np.eye(3), "weights": [1, 2, 1, 1],
        "xyz": (0.3, 0.4, 0.5), "side_length": 1.0, "text": "text",
        "objects": [world.curve], "values": xyz, "function": print,
    }  # fmt: skip
    if owner in ("Curve.arc", "Curve.ellipse", "Surface.revolve") and name in ("start", "end"):
        return {"start": 0.1, "end": 1.0}[name]
    if owner == "Curve.arc_through" and name == "through":
        return 0.1, 0.9, 0.3
    if owner.startswith("TrimmedSurface.circular_hole") and name == "center":
        return 0.5, 0.5
    if owner == "Surface.cube" and name == "side":
        return 1.0
    return own.get((owner, name), usual.get(name))


def hostile(world: World) -> List[Any]:
    nan, inf, xyz = float("nan"), float("inf"), np.random.default_rng(7).random((6, 3))
    frozen = xyz.copy()
    frozen.setflags(write=False)
    return [
        None, True, "", "text", b"bytes", object(), 1 + 2j, nan, inf, -inf, 0, 0.0, -1, 3, 0.5,
        -0.25,
        2**31 - 1, 2**31, -(2**31) - 1, 2**40, 2**70, 10**400, 1e308, 5e-324, [], [[]], {}, (), [1],
        [1, 2], [1, 2, 3], (0.1, 0.9), [nan] * 3, [inf, 0, 0], [[1, 2, 3]], [["a"] * 3],
        [[1], [1, 2]],
        [None, None, None], [0, 0, 0], xyz, frozen, xyz[::-2], xyz.T, xyz.astype(">f8"), xyz > 0.5,
        xyz.astype(np.float32), (9 * xyz).astype(np.int8), xyz * nan, xyz * 1e308, 1e-320 * xyz,
        np.zeros((0, 3)), np.zeros((2, 2, 2, 2)), np.zeros((4, 4)), np.array(0.5), np.float32(0.5),
        np.int8(3), np.uint64(2**63), np.longdouble("1e4000"), np.array([None]), np.array(["x"]),
        np.datetime64("2020-01-01"), np.ma.masked_array([1.0, 2.0, 3.0], [0, 1, 0]),
        np.broadcast_to(0.5, (2**31 + 5, 3)), range(3),
        (k for k in range(3)), lambda: 3, decimal.Decimal("0.5"), fractions.Fraction(1, 3),
        Raising(), Lying(), Clearing(), int, np, world, world.curve, world.closed, world.surface,
        world.part,
        world.on_surface, world.point, world.mesh, [world.curve], [world.closed] * 3,
        [world.surface], [world.on_surface] * 3, {"u": 1}, {1, 2}, memoryview(b"abc"), "++",
        "u_min", "all",
    ]  # fmt: skip


def targets(world: World) -> Iterator[Tuple[str, Callable[..., Any]]]:
    """Public functions and methods, bound to objects of the world."""
    bound = [world.curve, world.surface, world.part, world.on_surface, world.point, world.mesh]
    objects = {type(thing): thing for thing in bound}
    modules = [(name, getattr(morvel, name)) for name in morvel.__all__]
    inner = [(name, getattr(morvel.basis, name)) for name in morvel.basis.__all__]
    for name, thing in modules + inner:
        if inspect.isfunction(thing):
            yield name, thing
        elif inspect.isclass(thing) and thing in objects:
            for member in dir(thing):
                raw = inspect.getattr_static(thing, member)
                is_method = callable(getattr(thing, member))
                found = getattr(objects[thing], member) if is_method else None
                if member.startswith("_") and member not in OPERATORS:
                    continue
                if isinstance(raw, property) and raw.fset:
                    yield f"{name}.{member}", _setter(objects[thing], raw)
                elif inspect.isroutine(found) and member != "__init__":
                    yield f"{name}.{member}", found
            yield name, thing


def _setter(owner: Any, found: property) -> Callable[[Any], None]:
    def set_to(matrix: Any) -> None:
        assert found.fset
        found.fset(owner, matrix)

    return set_to


def parameters_of(function: Callable[..., Any]) -> Dict[str, inspect.Parameter]:
    try:
        found = inspect.signature(function).parameters
    except ValueError:
        return {}
    return {name: p for name, p in found.items() if p.kind not in (p.VAR_POSITIONAL, p.VAR_KEYWORD)}


def call_once(
    name: str, what: str, function: Callable[..., Any], arguments: Dict[str, Any]
) -> None:
    said = {key: type(value).__name__ for key, value in arguments.items()}
    print(f"{name}: {what}: {said}", file=sys.stderr, flush=True)
    start = time.monotonic()
    try:
        result = function(**arguments)
        if hasattr(result, "close") and not isinstance(result, memoryview):
            result.close()
    except ALLOWED:
        pass
    seconds = time.monotonic() - start
    assert seconds < SECONDS_A_CALL, f"{name} took {seconds:.1f} s"


def attack(world: World, seed: int, name: str, most: int) -> World:
    """Replaces one argument after the other; the world to go on with."""
    generator = random.Random(f"{seed} {name}")
    parameters = parameters_of(dict(targets(world))[name])

    def arguments() -> Dict[str, Any]:
        needed = [what for what, p in parameters.items() if p.default is inspect.Parameter.empty]
        given = {p: good(world, name, p) for p in needed}
        unknown = [p for p in given if given[p] is None]
        assert not unknown, f"{name} needs good values for {unknown}"
        return given

    start = time.monotonic()
    call_once(name, "good", dict(targets(world))[name], arguments())
    seconds = time.monotonic() - start
    share = 1 if seconds < SLOW else SHARE_SLOW if seconds < SLOWER else SHARE_SLOWER
    tries = math.ceil(most * share)
    for parameter in parameters:
        count = len(hostile(world))
        for k in generator.sample(range(count), min(tries, count)):
            if not world.is_whole():
                world = World()
            function, given = dict(targets(world))[name], arguments()
            given[parameter] = hostile(world)[k]
            kind = type(given[parameter]).__name__
            call_once(name, f"{parameter} = {kind} ({k})", function, given)
            del function, given
            changed = world.curve.closed or "transform" in name or "replace" in name
            ownerless = [held.ownerless for held in morvel.live()]
            assert not any(ownerless), f"{name} left objects without owner: {ownerless}"
            if not (changed or world.is_whole()):
                raise AssertionError(f"{name} left {morvel.counts()} in place of {world.counts}")
    return World()


def main() -> int:
    warnings.simplefilter("ignore")
    if "LD_PRELOAD" not in os.environ:  # sanitizers reserve terabytes
        resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))
    seed, tries = int(sys.argv[1]), int(sys.argv[2])
    only = sys.argv[3:]
    world = World()
    names = [
        name
        for name, function in targets(world)
        if name.split(".")[-1] not in PASSED_OVER and not FILES & set(parameters_of(function))
    ]
    failed = 0
    with morvel.quiet():
        for name in only or names:
            try:
                world = attack(world, seed, name, tries)
            except Exception:
                failed += 1
                traceback.print_exc()
                world = World()
    print(f"{len(names)} functions and methods, {failed} failed")
    return int(failed > 0)


if __name__ == "__main__":
    sys.exit(main())
