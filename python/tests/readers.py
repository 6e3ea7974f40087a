"""Other programs that read mesh files, to judge what the kernel wrote."""

from __future__ import annotations

import importlib.util
import json
import os
import re
import shutil
import subprocess
from pathlib import Path
from typing import Any, Dict, List

import numpy as np
import pytest

import morvel

NODE = Path(__file__).resolve().parent / "node"


def needs(condition: object, what: str) -> None:
    """Skips the test where a program is missing; fails it under CI, which has them all."""
    if not condition:
        if os.environ.get("CI") == "true":
            pytest.fail(f"{what} is not installed")
        pytest.skip(f"{what} is not installed")


def _run(*command: object) -> str:
    done = subprocess.run([str(c) for c in command], capture_output=True, text=True, timeout=300)
    assert done.returncode == 0, f"{command}: {done.stdout}{done.stderr}"
    return done.stdout


def by_meshio(path: Path) -> morvel.Mesh:
    """OBJ, PLY or STL by meshio, normals and (u, v) included where it reads them."""
    needs(importlib.util.find_spec("meshio"), "meshio")
    import meshio

    mesh = meshio.read(path)
    data = {**mesh.point_data}
    normals = data.get("obj:vn")
    if normals is None and "nx" in data:
        normals = np.stack([data[name] for name in ("nx", "ny", "nz")], axis=1)
    uv = data.get("obj:vt")
    if uv is None and "u" in data:
        uv = np.stack([data["u"], data["v"]], axis=1)
    triangles = mesh.cells_dict.get("triangle", np.empty((0, 3), int))
    return morvel.Mesh(mesh.points.astype(float), triangles.astype(np.int32), normals, uv)


def by_assimp(path: Path, folder: Path) -> morvel.Mesh:
    """Any of the formats by assimp, which hands it on as STL."""
    needs(shutil.which("assimp"), "assimp")
    out = folder / f"{path.stem}-{path.suffix[1:]}-assimp.stl"
    _run("assimp", "export", path, out, "-fstlb")
    return by_meshio(out)


def assimp_info(path: Path) -> str:
    needs(shutil.which("assimp"), "assimp")
    return _run("assimp", "info", path)


def by_admesh(path: Path) -> Dict[str, float]:
    """What admesh says of an STL file before it repairs anything: number by name."""
    needs(shutil.which("admesh"), "admesh")
    text = _run("admesh", path)
    numbers = re.findall(r"^(.+?)\s*: +(-?[\d.]+)", text, re.MULTILINE)
    volume = re.search(r"Volume +: +(-?[\d.]+)", text)
    found = {name.strip(): float(value) for name, value in numbers}
    return {**found, "Volume": float(volume.group(1)) if volume else float("nan")}


def by_validator(path: Path) -> Dict[str, Any]:
    """The report of gltf-validator on a GLB file."""
    needs(shutil.which("node"), "node")
    needs((NODE / "node_modules" / "gltf-validator").exists(), f"npm's gltf-validator in {NODE}")
    return json.loads(_run("node", NODE / "validate_glb.js", path))


def complaints(report: Dict[str, Any]) -> List[str]:
    """The validator's errors, warnings and remarks; (u, v) without a texture are meant."""
    remark = 2
    found = [m for m in report["issues"]["messages"] if m["severity"] <= remark]
    return [f"{m['code']}: {m['message']}" for m in found if m["code"] != "UNUSED_OBJECT"]
