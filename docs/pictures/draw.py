"""Draws the pictures of the documentation.

    ./run docs                                    all of them, where they belong
    ./run python docs/pictures/draw.py FOLDER [NAME...]
"""

from __future__ import annotations

import logging
import sys
from pathlib import Path
from typing import Callable, Dict

HERE = Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parents[1] / "examples" / "python")]

import morvel  # noqa: E402
from diagrams import PICTURES as DIAGRAMS  # noqa: E402
from scenes import PICTURES as SCENES  # noqa: E402

PICTURES: Dict[str, Callable[[Path], None]] = {**DIAGRAMS, **SCENES}


def main() -> int:
    folder = Path(sys.argv[1]) if len(sys.argv) > 1 else HERE
    folder.mkdir(parents=True, exist_ok=True)
    morvel.set_log_level(logging.ERROR)
    for name in sys.argv[2:] or PICTURES:
        PICTURES[name](folder / name)
        print(f"{name}: {(folder / name).stat().st_size / 2**10:.0f} KiB")
    return 0


if __name__ == "__main__":
    sys.exit(main())
