import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
for folder in ("scripts", "docs/pictures", "examples/python"):
    sys.path.insert(0, str(ROOT / folder))
