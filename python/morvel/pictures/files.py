"""Files that are there whole or not at all."""

from __future__ import annotations

import os
from os import PathLike
from pathlib import Path
from typing import Union

AnyPath = Union[str, "PathLike[str]"]


def write_whole(path: AnyPath, content: bytes) -> None:
    """Writes beside the target and renames at the end.

    OSError (FileNotFoundError, PermissionError and their kin) names the target where that fails;
    what was there before is there still.
    """
    target = Path(os.path.realpath(path))
    try:
        if target.exists() and not target.is_file() and not target.is_dir():
            target.write_bytes(content)  # a device or pipe: there is nothing to rename over
            return
        if target.is_dir():
            raise IsADirectoryError(21, "a folder has this name")
        if target.exists() and not os.access(target, os.W_OK):
            raise PermissionError(13, "the file may not be written")
        _replace(target, content)
    except OSError as fault:
        raise OSError(fault.errno, fault.strerror, os.fspath(path)) from fault


def _replace(target: Path, content: bytes) -> None:
    part = target.with_name(f"{target.name}.{os.getpid()}.part")
    try:
        with open(part, "xb") as file:
            file.write(content)
        os.replace(part, target)
    except BaseException:
        part.unlink(missing_ok=True)
        raise
