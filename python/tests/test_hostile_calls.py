"""Every exported function survives hostile arguments (see hostile_calls.py)."""

import os
import subprocess
import sys
from pathlib import Path

import pytest

ROUNDS = 40
PROGRAM = Path(__file__).with_name("hostile_calls.py")


@pytest.mark.parametrize("seed", [1, 2])
def test_no_argument_breaks_the_kernel(seed, tmp_path):
    log = tmp_path / "calls.txt"
    with log.open("w", encoding="utf-8") as calls:
        finished = subprocess.run(
            [sys.executable, str(PROGRAM), str(seed), str(ROUNDS)],
            stdout=subprocess.DEVNULL, stderr=calls, env=os.environ, timeout=600, check=False,
        )
    last = log.read_text(encoding="utf-8", errors="replace").splitlines()[-25:]
    assert finished.returncode == 0, "\n".join(line[:400] for line in last)
