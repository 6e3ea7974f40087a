"""The whole public surface of the package survives hostile arguments (see hostile_objects.py)."""

import os
import subprocess
import sys
from pathlib import Path

import pytest

PROGRAM = Path(__file__).with_name("hostile_objects.py")


@pytest.mark.parametrize("seed, tries", [(1, 5), pytest.param(2, 85, marks=pytest.mark.slow)])
def test_no_argument_breaks_the_package(seed, tries, tmp_path):
    log = tmp_path / "calls.txt"
    with log.open("w", encoding="utf-8") as calls:
        finished = subprocess.run(
            [sys.executable, str(PROGRAM), str(seed), str(tries)],
            stdout=subprocess.DEVNULL, stderr=calls, cwd=tmp_path, env=os.environ, timeout=1800,
            check=False,
        )  # fmt: skip
    last = log.read_text(encoding="utf-8", errors="replace").splitlines()[-40:]
    assert finished.returncode == 0, "\n".join(line[:400] for line in last)
