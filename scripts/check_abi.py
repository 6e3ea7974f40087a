"""Fails where the library no longer keeps the binary interface that programs were linked against.

The interface as it was promised is a dump in the tree, abi/libmorvel.abi.xz: exported symbols, and the
types of the public headers that they use, with sizes, members and virtual tables. It is compared with a
dump of the library at hand, which needs full debug information (the preset `abi`).

What was added is reported and allowed. What is gone or changed is a fault: programs that were linked
against it would stop, or read the wrong memory. CONTRIBUTING.md tells what to do then.
"""

from __future__ import annotations

import argparse
import lzma
import re
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import List, Set

ROOT = Path(__file__).resolve().parents[1]
DUMP = ROOT / "abi" / "libmorvel.abi.xz"
UPDATE = "./run check --update-abi"

# No place of this machine goes into the dump, and nothing that a rebuild changes.
DUMP_OPTIONS = (
    "--exported-interfaces-only",
    "--drop-private-types",
    "--no-corpus-path",
    "--no-comp-dir-path",
    "--no-show-locs",
    "--no-elf-needed",
    "--no-parameter-names",
    "--type-id-style",
    "hash",
)
SOURCE_PATH = re.compile(rb"(<abi-instr [^>]*path=')[^']*?((?:[\w.]+/)?[\w.]+')")
SYMBOL = re.compile(r"<elf-symbol name='([^']+)'")
SHOWN_NAMES = 20


def dump_of(library: Path, headers: Path) -> bytes:
    """The library's interface as abidw writes it; raises where it lacks debug information."""
    sections = subprocess.run(["readelf", "-S", "-W", str(library)], check=True, capture_output=True)
    if b".debug_info" not in sections.stdout:
        raise ValueError(f"{library} has no debug information: build it with the preset 'abi'")
    if not any(headers.glob("**/*.h")):
        raise ValueError(f"{headers} holds no headers")
    with tempfile.TemporaryDirectory() as folder:
        out = Path(folder) / "dump.abi"
        command = ["abidw", *DUMP_OPTIONS, "--headers-dir", str(headers), "--out-file", str(out)]
        subprocess.run([*command, str(library)], check=True)
        return SOURCE_PATH.sub(rb"\1\2", out.read_bytes())


def symbols_of(dump: bytes) -> Set[str]:
    return set(SYMBOL.findall(dump.decode("utf-8")))


def demangled(names: Set[str]) -> List[str]:
    text = "\n".join(sorted(names))
    run = subprocess.run(["c++filt"], input=text, check=True, capture_output=True, text=True)
    return run.stdout.splitlines()


def report_additions(old: bytes, new: bytes) -> None:
    added = demangled(symbols_of(new) - symbols_of(old))
    for name in added[:SHOWN_NAMES]:
        print(f"added: {name}")
    if len(added) > SHOWN_NAMES:
        print(f"added: {len(added) - SHOWN_NAMES} more")


def faults_of(old: bytes, new: bytes) -> str:
    """What abidiff says of removals and changes; empty where there are none."""
    with tempfile.TemporaryDirectory() as folder:
        before, after = Path(folder) / "before.abi", Path(folder) / "after.abi"
        before.write_bytes(old)
        after.write_bytes(new)
        command = ["abidiff", "--no-added-syms", str(before), str(after)]
        run = subprocess.run(command, capture_output=True, text=True)
    if run.returncode == 0:
        return ""
    return (run.stdout + run.stderr).strip() or f"abidiff ended with {run.returncode}"


def main() -> int:
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("library", type=Path, help="libmorvel.so with full debug information")
    options.add_argument("headers", type=Path, help="the folder of the installed headers")
    options.add_argument("--dump", type=Path, default=DUMP, help="the dump to compare with")
    options.add_argument("--update", action="store_true", help="write the dump anew instead")
    arguments = options.parse_args()
    try:
        new = dump_of(arguments.library, arguments.headers)
    except ValueError as fault:
        print(fault, file=sys.stderr)
        return 1
    if arguments.update:
        arguments.dump.parent.mkdir(parents=True, exist_ok=True)
        arguments.dump.write_bytes(lzma.compress(new, preset=lzma.PRESET_EXTREME | 9))
        print(f"wrote {arguments.dump.name}: {len(symbols_of(new))} symbols")
        return 0
    if not arguments.dump.exists():
        print(f"there is no {arguments.dump}; {UPDATE} writes it", file=sys.stderr)
        return 1
    old = lzma.decompress(arguments.dump.read_bytes())
    report_additions(old, new)
    faults = faults_of(old, new)
    if faults:
        print(faults)
        print(f"the binary interface changed; where that is meant: {UPDATE}", file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
