"""Everything that is registered as one JSON file, and back."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Dict, Iterator, Mapping, Tuple, Type, Union

import numpy as np

from ._arrays import address, int_out
from ._errors import TOO_SMALL
from ._handles import Registered
from ._library import call, failure, functions
from .curve import Curve
from .curve_on_surface import CurveOnSurface
from .point import Point
from .surface import Surface

Path = Union[str, "os.PathLike[str]"]
USUAL_COUNT = 1024  # objects in a file; where there are more it is read again


def _encoded(path: Path) -> bytes:
    encoded = os.fsencode(path)
    if b"\0" in encoded:
        raise ValueError("the path holds a zero byte")
    return encoded


@dataclass(frozen=True)
class Loaded(Mapping[int, Registered]):
    """The objects of a file by the handles that they had when it was written.

    As a mapping it holds all of them. Where two kinds share a number, it stands for the first of
    points, curves, surfaces and curves on surfaces; the four dictionaries tell them apart.
    """

    points: Dict[int, Point]
    curves: Dict[int, Curve]
    surfaces: Dict[int, Surface]
    curves_on_surfaces: Dict[int, CurveOnSurface]

    def __getitem__(self, number: int) -> Registered:
        for objects in self._kinds():
            if number in objects:
                return objects[number]
        raise KeyError(number)

    def __iter__(self) -> Iterator[int]:
        return iter(dict.fromkeys(number for objects in self._kinds() for number in objects))

    def __len__(self) -> int:
        return sum(1 for _ in self)

    def _kinds(self) -> "Tuple[Mapping[int, Registered], ...]":
        return self.points, self.curves, self.surfaces, self.curves_on_surfaces


def dump(path: Path) -> int:
    """Writes everything that is registered into a JSON file; returns how many objects.

    The file is complete or, where that fails, not there; an earlier one of its name stays until
    then. MorvelError with path and reason where it cannot be written, or with the object one of
    whose numbers is not finite.

    >>> import tempfile
    >>> line = morvel.Curve.line((0, 0, 0), (1, 2, 3))
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     number = morvel.dump(f"{folder}/all.json")
    ...     line.close()
    ...     found = morvel.load(f"{folder}/all.json")
    >>> number, list(found), found[20000](0.5)
    (1, [20000], array([0.5, 1. , 1.5]))
    """
    count = int_out()
    call("write_geometry_json", _encoded(path), count)
    return count[0]


def load(path: Path) -> Loaded:
    """Registers all objects of a file that `dump` wrote, under new handles.

    What was built on a registered object is built on its successor. ArgumentError with the place in
    the file where it is not such a document, MorvelError where it cannot be read; nothing is
    registered then.

    >>> import tempfile
    >>> part = morvel.TrimmedSurface.circular_hole(Surface.sphere((0, 0, 0), 1.0), (0.5, 0.5), 0.1)
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     number = morvel.dump(f"{folder}/all.json")
    ...     found = morvel.load(f"{folder}/all.json")
    >>> found[part.handle].area() == part.area()
    True
    """
    name = "read_geometry_json"
    room, count = USUAL_COUNT, int_out()
    for _ in range(2):  # the first time tells the number
        numbers = np.empty((room, 3), dtype=np.int32)
        result = functions[name](_encoded(path), address(numbers), room, count)
        if result != TOO_SMALL:
            break
        room = count[0]
    if result < 0:
        raise failure(name, int(result))
    loaded = Loaded({}, {}, {}, {})
    places: "Dict[int, Tuple[Type[Registered], Dict[int, Registered]]]" = {
        Point._kind: (Point, loaded.points),  # type: ignore[dict-item]
        Curve._kind: (Curve, loaded.curves),  # type: ignore[dict-item]
        Surface._kind: (Surface, loaded.surfaces),  # type: ignore[dict-item]
        CurveOnSurface._kind: (CurveOnSurface, loaded.curves_on_surfaces),  # type: ignore[dict-item]
    }
    for kind, number, handle in numbers[: count[0]].tolist():
        cls, objects = places[kind]
        objects[number] = cls.adopt(handle)
    return loaded
