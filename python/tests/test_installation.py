"""The package as pip installs it from the tree."""

import os
import shutil
import subprocess
import sys
from importlib.util import find_spec
from pathlib import Path

import pytest

from morvel import _library

TREE = Path(__file__).resolve().parents[2]
PARTS = ("python/morvel", "python/setup.py", "python/pyproject.toml", "scripts", "morvel/morvel.h",
         "morvel/api/c", "CMakeLists.txt")  # fmt: skip


def test_pip_installs_what_works_and_knows_the_version_of_the_project(tmp_path):
    if not (find_spec("pip") and find_spec("setuptools")):
        pytest.skip("pip or setuptools is not installed")
    for part in PARTS:
        source, copy = TREE / part, tmp_path / "tree" / part
        copy.parent.mkdir(parents=True, exist_ok=True)
        (shutil.copytree if source.is_dir() else shutil.copy)(source, copy)
    (tmp_path / "tree/python/morvel/_signatures.py").unlink()
    quiet = {k: v for k, v in os.environ.items() if k not in ("PYTHONPATH", "LD_PRELOAD")}
    installing = [sys.executable, "-m", "pip", "install", "-q", "--no-index", "--no-deps",
                  "--no-build-isolation", "--root-user-action=ignore",
                  "--disable-pip-version-check"]  # fmt: skip
    place = tmp_path / "place"
    subprocess.run(
        [*installing, "--target", str(place), str(tmp_path / "tree/python")],
        check=True, env=quiet, cwd=tmp_path,
    )  # fmt: skip
    project = (TREE / "CMakeLists.txt").read_text(encoding="utf-8")
    program = (
        "import importlib.metadata as m, morvel\n"
        "assert m.version('morvel') == morvel.__version__\n"
        "line = morvel.Curve.line((0, 0, 0), (3, 4, 0))\n"
        "print(morvel.__version__, morvel.__file__, line.length())"
    )
    found = subprocess.run(
        [sys.executable, "-c", program],
        check=True, capture_output=True, text=True, cwd=tmp_path,
        env={**os.environ, "PYTHONPATH": str(place), "MORVEL_LIBRARY": _library._LIBRARY._name},
    )  # fmt: skip
    version, file, length = found.stdout.split()
    assert f"VERSION {version} " in project and length == "5.0"
    assert Path(file).is_relative_to(place) and (Path(file).parent / "py.typed").exists()
    given, taken = (
        {path.relative_to(root) for path in root.rglob("*.py*") if path.suffix != ".pyc"}
        for root in (tmp_path / "tree/python/morvel", Path(file).parent)
    )
    assert given == taken
