"""What pyproject.toml cannot say: the version and the signatures come from the tree around it."""

import subprocess
import sys
from pathlib import Path

from setuptools import setup

PACKAGE = Path(__file__).resolve().parent / "morvel"
TREE = PACKAGE.parents[1]
SIGNATURES = PACKAGE / "_signatures.py"
WRITER = TREE / "scripts" / "exported_signatures.py"

if WRITER.exists():
    subprocess.run([sys.executable, str(WRITER), "--python", str(SIGNATURES)], check=True)
found = {}
exec(SIGNATURES.read_text(encoding="utf-8"), found)
setup(version=found["VERSION"])
