"""What every object that can be drawn has in common."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Optional

if TYPE_CHECKING:
    from mpl_toolkits.mplot3d import Axes3D

    from .pictures.files import AnyPath


class Pictured:
    """Objects that draw themselves, as `morvel.plot` and `morvel.save` draw several together."""

    __slots__ = ()

    def plot(self, ax: "Optional[Axes3D]" = None, **style: Any) -> "Axes3D":
        """Draws the object into matplotlib's axes in space: see `morvel.plot`."""
        from .pictures import plot

        return plot(self, ax, **style)

    def save(self, path: "AnyPath", **style: Any) -> None:
        """Writes a picture of the object: see `morvel.save`."""
        from .pictures import save

        save(path, self, **style)
