"""Calls every exported function with hostile arguments, made from its signature alone.

Run as a program, so that a crash or a hang is seen from outside: `hostile_calls.py SEED ROUNDS`. Each
call is announced on standard error before it is made; the last line names the guilty one.

What must hold after each call: it came back within the time limit; no byte around a buffer changed,
nor any byte of an input; a failure left the numbers of curves, surfaces and points as they were; a
success wrote no NaN and no infinity. Files are written in a temporary folder only.
"""

from __future__ import annotations

import ctypes
import math
import os
import random
import sys
import tempfile
import time
from pathlib import Path
from typing import Any, Dict, List, Optional

from morvel._library import NO_CALLBACK, NO_PROGRESS, LogCallback, ProgressCallback, TrimOptions
from morvel._library import functions
from morvel._signatures import SIGNATURES

INT_MAX = 2**31 - 1
WHOLE_NUMBERS = [-INT_MAX - 1, -5, -1, 0, 1, 2, 3, 4, 5, 8, 30, 200, 1000, 65536, INT_MAX - 1, INT_MAX]
NUMBERS = [0.0, 1.0, 0.5, 0.25, 2.0, -1.0, 3.0, 1e-5, 1e-300, 1e300, -1e300, math.nan, math.inf, -math.inf]
TAME_NUMBERS = [0.0, 0.25, 0.5, 1.0, 2.0]
TEXTS: List[Optional[bytes]] = [None, b"", b"%s%n%x", b"a" * 5000, "\u2705 \u00fc".encode()]
GUARD = 0xA5
GUARD_BYTES = 64
SENTINEL = 7.25
MOST_ELEMENTS = 300_000  # what a buffer is given; a claim of more is a lie that must be refused
SECONDS_A_CALL = 40.0  # also under sanitizers on a busy machine
MOST_SEARCHED = 600  # closest points, contacts and lengths take long, and each is one call's work
SEARCHING = ("closest", "length_batch", "contact_points")
MOST_PROJECTED = 2  # every curve on every surface
PROJECTING = ("project_", "projection_preview", "wire")
RECORDS = {"MorvelSurfaceData*": "free_surface_data", "MorvelMeshData*": "free_mesh_data"}
VALIDATION = "MorvelNSidedValidation*"
OPTIONS = "const MorvelTrimOptions*"
MESH_FILES = ("nowhere.obj", "nowhere.STL", "nowhere.ply", "nowhere.glb")  # links to /dev/null
PATHS: List[Optional[bytes]] = [b"all.json", b"all.json", b"new.json"]
PATHS += [os.fsencode(name) for name in MESH_FILES]
PATHS += [b"", b".", b"/", b"missing/f", b"/dev/full", b"/dev/zero", b"/dev/null/none.obj"]
PATHS += [b"n" * 300, b"a" * 5000 + b".stl"]
TEXT = "const char*"
SIZES = "LoopSizes"  # arrays whose numbers are the lengths of what follows: these are never lies
CALLBACKS = {
    "MorvelLogCallback": [NO_CALLBACK, LogCallback(lambda _level, _line, _user: None)],
    # None that cancels: a world that is built under it would stay empty.
    "MorvelProgressCallback": [NO_PROGRESS, ProgressCallback(lambda _at, _stage, _user: 0)],
}
ROOM = ("capacity", "max", "size")  # in a length: room, of which the function uses what it needs
UNCHECKED = ("foundation_",)  # they check no values, as their header says
CLEARING = ("clear_", "cleanup_", "delete_", "replace_", "initialize_")
ELEMENT = {"double": ctypes.c_double, "int": ctypes.c_int, "char": ctypes.c_char}


class Buffer:
    """Memory for one pointer argument, with guard bytes on both sides."""

    def __init__(self, kind: Any, elements: int, is_input: bool) -> None:
        self.kind, self.elements, self.is_input = kind, elements, is_input
        self.size = elements * ctypes.sizeof(kind)
        self.memory = (ctypes.c_ubyte * (self.size + 2 * GUARD_BYTES))()
        ctypes.memset(self.memory, GUARD, len(self.memory))
        self.address = ctypes.addressof(self.memory) + GUARD_BYTES
        self.view = (kind * elements).from_address(self.address)
        self.before = b""

    def seal(self) -> None:
        self.before = bytes(self.memory)

    def is_intact(self) -> bool:
        now = bytes(self.memory)
        if self.is_input:
            return now == self.before
        end = GUARD_BYTES + self.size
        return now[:GUARD_BYTES] == self.before[:GUARD_BYTES] and now[end:] == self.before[end:]

    def is_finite(self) -> bool:
        return self.kind is not ctypes.c_double or all(map(math.isfinite, self.view))


class World:
    """A few live objects of every kind, and hostile values."""

    def __init__(self, seed: int) -> None:
        self.random = random.Random(seed)
        self.handles: Dict[str, List[int]] = {}
        self.build()

    def build(self) -> None:
        f = functions
        for clear in ("clear_all_curves", "cleanup_all_surfaces", "clear_all_points"):
            f[clear]()
        on_surfaces = (ctypes.c_int * max(1, f["get_curve_on_surface_count"]()))()
        f["get_all_curves_on_surfaces"](on_surfaces, len(on_surfaces))
        for handle in on_surfaces:
            f["delete_curve_on_surface"](handle)
        f["initialize_kernel"]()
        f["cleanup_surface_engine1"]()
        f["cleanup_surface_engine2"]()
        net = (ctypes.c_double * 48)(*[c for i in range(4) for j in range(4) for c in (i, j, i * j % 3)])
        bend = (ctypes.c_double * 15)(0, 0, 0, 1, 2, 0, 2, -1, 1, 3, 1, 0, 4, 0, 0)
        knots = (ctypes.c_double * 8)(0, 0, 0, 0, 1, 1, 1, 1)
        weights = (ctypes.c_double * 4)(1, 2, 1, 0.5)
        net_weights = (ctypes.c_double * 16)(*[1 + 0.1 * k for k in range(16)])
        plane_curve = (ctypes.c_double * 8)(0.1, 0.2, 0.4, 0.9, 0.7, 0.3, 0.9, 0.9)
        at = [
            ctypes.addressof(a) for a in (net, bend, knots, weights, net_weights, plane_curve)
        ]
        vectors = (ctypes.c_double * 9)(0, 0, 0, 1, 0, 0, 0, 0, 1)
        origin = ctypes.addressof(vectors)
        curves = [
            f["create_curve_line"](0, 0, 0, 1, 2, 3),
            f["create_curve_circle"](0, 0, 0, 1, 0, 0, 1),
            f["create_ellipse_enhanced"](origin, origin + 24, origin + 48, 2, 1, 0, 3),
            f["create_curve_bezier"](at[1], 5),
            f["create_curve_bspline_clamped"](at[1], 5, 3),
            f["create_curve_nurbs"](at[1], 4, at[3], at[2], 8, 3),
        ]
        curves.append(f["create_curve_normal_offset"](curves[4], 0.1, 0, 0, 1))
        surfaces = [
            f["create_surface_bezier"](at[0], 4, 4),
            f["create_surface_bspline_clamped"](at[0], 4, 4, 2, 3),
            f["create_surface_bspline"](at[0], 4, 4, at[2], 8, at[2], 8, 3, 3),
            f["create_surface_sphere"](0, 0, 0, 1),
            f["create_surface_plane"](origin, origin + 24, origin + 48),
            f["create_surface_torus"](0, 0, 0, 0, 0, 1, 2, 0.5),
            f["create_surface_extrude"](curves[4], 0, 0, 1, 2),
            f["create_surface_revolve_full"](curves[0], 5, 0, 0, 0, 0, 1),
            f["create_surface_ruled"](curves[0], curves[3]),
            f["create_surface_loft"]((ctypes.c_int * 3)(*curves[2:5]), 3, 2),
            f["create_surface_sweep"](curves[1], curves[4]),
            f["create_surface_pipe"](curves[4], 0.2),
            f["create_surface_nurbs"](at[0], 4, 4, at[4], at[2], 8, at[2], 8, 3, 3),
        ]
        surfaces += [
            f["create_trimmed_surface_with_circular_hole"](surfaces[2], 0.5, 0.4, 0.2, None),
            f["create_rectangular_trimmed_surface"](surfaces[3], 0.1, 0.9, 0.2, 0.8, 1, 0, None),
        ]
        on_surfaces = [f["create_curve_on_surface"](surface, at[5], 4, 2) for surface in surfaces]
        points = [f["create_point"](1, 2, 3)]
        kernel = [f["create_nurbs_surface"](at[0], 4, 4, at[2], 8, at[2], 8, 3, 3)]
        engines = [f["create_surface_engine1"](at[0], 16), f["create_surface_engine2"](at[0], 4, 4, 2, 3, 0)]
        f["fit_surface_engine1"](engines[0], 2)
        f["initialize_surface_engine2"](engines[1])
        f["create_surface_engine2_interpolated_surface"](engines[1])
        made = curves + surfaces + points + kernel + on_surfaces + engines
        assert min(made) > 0, f"the world could not be built: {made}"
        self.handles = {
            "curveonsurface": on_surfaces,
            "curve": curves,
            "surface": surfaces,
            "point": points,
            "id": kernel,
            "engine": engines,
        }
        self.records = [self.record(surface) for surface in surfaces]
        assert f["write_geometry_json"](b"all.json", None) == 0

    def record(self, surface: int) -> bytes:
        buffer = ctypes.create_string_buffer(65536)
        assert functions["surface_to_json"](surface, buffer, 65536, None) == 0
        return buffer.value

    def text(self, length: int) -> bytes:
        """A record, whole or cut, or with a wrong byte."""
        record = next((r for r in self.records if len(r) == length), self.records[0])
        at = self.random.randrange(len(record))
        return self.random.choice([record, record[:at] + b"\xff" + record[at + 1 :]])

    def counts(self) -> List[int]:
        names = ("get_curve_count", "get_surfaces_count", "get_kernel_surface_count")
        return [functions[name]() for name in names]

    def is_whole(self) -> bool:
        return self.counts()[:2] == [len(self.handles[kind]) for kind in ("curve", "surface")]

    def whole_number(self, name: str) -> int:
        if name == "length" and self.random.random() < 0.5:
            return len(self.random.choice(self.records))
        for kind, live in self.handles.items():
            if kind in name.lower() and self.random.random() < 0.7:
                return self.random.choice(live)
        if self.random.random() < 0.08:
            return self.random.choice([h for live in self.handles.values() for h in live])
        if self.random.random() < 0.6:
            return self.random.randint(1, 6)
        return self.random.choice(WHOLE_NUMBERS)

    def number(self, tame: float) -> float:
        return self.random.choice(TAME_NUMBERS if self.random.random() < tame else NUMBERS)

    def trim_options(self) -> Optional[int]:
        tolerance, other = self.number(0.5), self.number(0.5)
        self.options = TrimOptions(tolerance, other, *(self.whole_number("") for _ in range(4)))
        return self.random.choice([None, ctypes.addressof(self.options)])

    def fill(self, buffer: Buffer, name: str, tame: float) -> None:
        if buffer.kind is ctypes.c_double:
            values = [self.number(tame) for _ in range(min(buffer.elements, 64))]
            if "nots" in name and self.random.random() < tame:
                values.sort()
            for i in range(buffer.elements):
                buffer.view[i] = values[i % len(values)]
        elif buffer.kind is ctypes.c_char:
            text = self.text(buffer.elements)
            ctypes.memmove(buffer.address, text, min(len(text), buffer.elements))
        elif SIZES.lower() in name.lower():
            for i in range(buffer.elements):
                buffer.view[i] = self.random.randint(0, 3)
        elif buffer.kind is ctypes.c_int:
            for i in range(buffer.elements):
                buffer.view[i] = self.whole_number(name)


def extent_of(
    expression: Optional[str], values: Dict[str, Any], buffers: Dict[str, Optional[Buffer]]
) -> int:
    sizes = {name: buffer for name, buffer in buffers.items() if SIZES.lower() in name.lower()}
    whole: Dict[str, Any] = {"sum": sum}
    whole.update({name: list(buffer.view) if buffer else [] for name, buffer in sizes.items()})
    whole.update({name: value for name, value in values.items() if isinstance(value, int)})
    return int(eval(expression, {"__builtins__": {}}, whole)) if expression else 1


def pointer(
    world: World, c_type: str, name: str, claimed: int, most: int, tame: float
) -> Optional[Buffer]:
    is_input = c_type.startswith("const ")
    kind = ELEMENT[c_type.replace("const ", "").rstrip("*").strip()]
    if world.random.random() < 0.1:
        return None
    # A claim that is possible but untrue can only be kept from the function, not refused by it.
    if most < claimed <= INT_MAX:
        return None
    buffer = Buffer(kind, max(0, min(claimed, MOST_ELEMENTS)), is_input)
    if is_input:
        world.fill(buffer, name, tame)
    elif kind is ctypes.c_double:
        for i in range(min(buffer.elements, 5000)):
            buffer.view[i] = SENTINEL
    buffer.seal()
    return buffer


def address_of(buffer: Optional[Buffer], c_type: str) -> Any:
    if buffer is None:
        return None
    return ctypes.c_char_p(buffer.address) if c_type == TEXT else buffer.address


def call_once(world: World, name: str) -> None:
    result_type, parameters, _ = SIGNATURES[name]
    tame = world.random.choice([0.0, 0.9, 1.0])
    values: Dict[str, Any] = {}
    for c_type, parameter, extent in parameters:
        if c_type == "int":
            values[parameter] = world.whole_number(parameter)
        elif c_type == "double":
            values[parameter] = world.number(tame)
        elif c_type == TEXT and extent is None:
            values[parameter] = world.random.choice(PATHS if parameter == "path" else TEXTS)
        elif c_type in CALLBACKS:
            values[parameter] = world.random.choice(CALLBACKS[c_type])
        elif c_type == OPTIONS:
            values[parameter] = world.trim_options()
        elif c_type in (*RECORDS, VALIDATION, "void*"):
            values[parameter] = None
    buffers: Dict[str, Optional[Buffer]] = {}
    is_searching = any(word in name for word in SEARCHING)
    is_projecting = any(word in name for word in PROJECTING)
    for c_type, parameter, extent in parameters:
        if parameter not in values:
            claimed = extent_of(extent, values, buffers)
            is_input = c_type.startswith("const ")
            has_room = not is_input and any(w in (extent or "").lower() for w in ROOM)
            most = MOST_SEARCHED if is_searching else INT_MAX if has_room else MOST_ELEMENTS
            most = MOST_PROJECTED if is_projecting and is_input else most
            buffers[parameter] = pointer(world, c_type, parameter, claimed, most, tame)
    arguments = [
        values[p] if p in values else address_of(buffers[p], c_type) for c_type, p, _ in parameters
    ]
    print(name, arguments, file=sys.stderr, flush=True)
    before, start = world.counts(), time.monotonic()
    result = functions[name](*arguments)
    seconds = time.monotonic() - start
    live = [buffer for buffer in buffers.values() if buffer]
    assert seconds < SECONDS_A_CALL, f"{name} took {seconds:.1f} s"
    assert all(buffer.is_intact() for buffer in live), f"{name} wrote where it may not"
    failed = result_type == "int" and result < 0
    if failed and not name.startswith(CLEARING):
        assert world.counts() == before, f"{name} failed and changed the registries"
    if result_type == "int" and not failed and not name.startswith(UNCHECKED):
        written = [b for b in live if not b.is_input and b.elements <= 5000]
        assert all(buffer.is_finite() for buffer in written), f"{name} wrote NaN as success"
    if result_type in RECORDS and result:
        functions[RECORDS[result_type]](result)


def main() -> int:
    seed, rounds = int(sys.argv[1]), int(sys.argv[2])
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        for name in MESH_FILES:
            Path(name).symlink_to("/dev/null")
        world = World(seed)
        for name in SIGNATURES:
            for _ in range(rounds):
                call_once(world, name)
                if not world.is_whole():
                    world.build()
        os.chdir("/")
    print(f"{len(SIGNATURES)} functions, {rounds} calls each")
    return 0


if __name__ == "__main__":
    sys.exit(main())
