"""Fails where the sources under morvel/ break the order of the layers or leave a boundary.

Read line by line, comments included, since a comment that names a higher layer is a dependency of
the reader:
- a file includes only its own layer and lower ranks, always from the root of the tree;
- headers in a layer's `internal` folder stay in that layer, and out of its public headers;
- below the interface nothing mentions `api/` or a registry global;
- decompositions are included in one source, standard streams are written in one module, and only
  the exception guard of the interface catches.
"""

from __future__ import annotations

import argparse
import re
import sys
from pathlib import Path
from typing import Callable, Iterator, NamedTuple, Optional

ROOT = Path(__file__).resolve().parent.parent

RANKS = {
    "foundation": 0,
    "curves": 1,
    "surfaces": 2,
    "fitting": 3,
    "query": 4,
    "blend": 5,
    "trimmed_surface": 5,
    "nsided": 5,
    "files": 6,
    "api": 7,
}
API_RANK = RANKS["api"]
SOLVERS = "morvel/foundation/linear_solvers.cpp"
STREAM_WRITER = "morvel/foundation/status_line."
CATCHER = "morvel/api/exception_guard."

INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)')
HEADER_SUFFIXES = (".h", ".hpp")


class Source(NamedTuple):
    path: str  # from the root of the tree
    layer: Optional[str]  # None for the umbrella headers

    @property
    def rank(self) -> int:
        return API_RANK if self.layer is None else RANKS[self.layer]

    @property
    def is_public_header(self) -> bool:
        return self.path.endswith(HEADER_SUFFIXES) and "/internal/" not in self.path


def check_own_include(source: Source, target: str) -> Optional[str]:
    parts = target.split("/")
    if parts[0] != "morvel":
        return f'"{target}" is not written from the root of the tree'
    if len(parts) == 2:
        return None if source.rank == API_RANK else f"{target} gathers every layer"
    layer = parts[1]
    if layer not in RANKS:
        return f"{target} is in no known layer"
    if layer != source.layer and RANKS[layer] >= source.rank and source.layer is not None:
        return f"{source.layer} (rank {source.rank}) may not see {layer} (rank {RANKS[layer]})"
    if "internal" in parts[2:-1]:
        if layer != source.layer:
            return f"{target} is private to {layer}"
        if source.is_public_header:
            return f"a public header includes the private {target}, which is not installed"
    return None


def check_system_include(source: Source, target: str) -> Optional[str]:
    if target == "iostream" and not source.path.startswith(STREAM_WRITER):
        return "<iostream> outside the status lines"
    if not target.startswith(("Eigen/", "unsupported/Eigen")) or source.path == SOLVERS:
        return None
    if target == "Eigen/Core":
        return None
    if target == "Eigen/Geometry":
        if source.path.endswith(HEADER_SUFFIXES):
            return "<Eigen/Geometry> in a header: it brings the decompositions to every reader"
        return None
    return f"<{target}> outside {SOLVERS}"


def check_include(source: Source, line: str) -> Optional[str]:
    match = INCLUDE.match(line)
    if not match:
        return None
    own, system = match.groups()
    if own is not None:
        return check_own_include(source, own)
    if system.startswith("morvel/"):
        return f"<{system}>: the library's own headers are included with quotes"
    return check_system_include(source, system)


def check_upward_mention(source: Source, line: str) -> Optional[str]:
    if source.rank == API_RANK:
        return None
    match = re.search(r"\bapi/|\bg_[a-z]\w*", line)
    return f"'{match.group()}' is named below the interface" if match else None


def check_streams(source: Source, line: str) -> Optional[str]:
    if source.path.startswith(STREAM_WRITER):
        return None
    match = re.search(
        r"\bstd::(?:cout|cerr|clog)\b|\b(?:f?printf|v?fprintf|vprintf|f?puts|f?putc|putchar|fwrite)\s*\(",
        line,
    )
    return f"'{match.group()}' outside the status lines" if match else None


def check_catching(source: Source, line: str) -> Optional[str]:
    if source.layer != "api" or source.path.startswith(CATCHER):
        return None
    code = line.split("//")[0]
    match = re.search(r"\btry\b\s*(?:\{|$)|\bcatch\s*\(", code)
    return "an exception is caught outside the guard" if match else None


CHECKS: list[Callable[[Source, str], Optional[str]]] = [
    check_include,
    check_upward_mention,
    check_streams,
    check_catching,
]


def sources_under(root: Path) -> Iterator[Source]:
    for path in sorted((root / "morvel").rglob("*")):
        if path.suffix not in (".h", ".hpp", ".cpp", ".c", ".inl"):
            continue
        parts = path.relative_to(root).parts
        yield Source("/".join(parts), parts[1] if len(parts) > 2 else None)


def violations(root: Path) -> Iterator[str]:
    for source in sources_under(root):
        if source.layer is not None and source.layer not in RANKS:
            yield f"{source.path}:1: {source.layer} is no known layer"
            continue
        for number, line in enumerate((root / source.path).read_text("utf-8").split("\n"), 1):
            for check in CHECKS:
                fault = check(source, line)
                if fault:
                    yield f"{source.path}:{number}: {fault}"


def main() -> int:
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("--root", type=Path, default=ROOT, help="root of the tree to read")
    root = options.parse_args().root
    faults = list(violations(root))
    for fault in faults:
        print(fault)
    count = sum(1 for _ in sources_under(root))
    print(f"layers: {count} files, {len(faults)} faults")
    return 1 if faults or not count else 0


if __name__ == "__main__":
    sys.exit(main())
