"""Fails where the lists of exported names, the C headers and the built library disagree.

- `exported_functions.txt` and `exported_cpp_functions.txt` are sorted, without repeats, and disjoint;
- the C headers declare exactly the functions of `exported_functions.txt`;
- the unmangled functions that the library defines are exactly those of both lists;
- its other symbols are registry globals and those of the scopes in `exported_scopes.txt`: an instance
  of a standard template that left the library could be bound to by another one.
"""

from __future__ import annotations

import argparse
import re
import subprocess
import sys
from pathlib import Path
from typing import Iterator, NamedTuple

from exported_signatures import ROOT, HeaderError, exported_functions

C_LIST = "morvel/api/exported_functions.txt"
CPP_LIST = "morvel/api/exported_cpp_functions.txt"
SCOPES = "cmake/exported_scopes.txt"

FUNCTION_KINDS = "TWi"
GLOBAL_NAME = re.compile(r"g_[a-z]\w*")
LOOKUP_INSTANCE = re.compile(r".* trova_internal::get\w*As<")  # named with its result type first


class Symbol(NamedTuple):
    name: str
    kind: str


def read_list(path: Path) -> list[str]:
    """The names of a list, one a line; blank lines and those that start with '#' are passed over."""
    lines = [line.strip() for line in path.read_text("utf-8").split("\n")]
    return [line for line in lines if line and not line.startswith("#")]


def order_faults(name: str, names: list[str]) -> Iterator[str]:
    for before, after in zip(names, names[1:]):
        if before == after:
            yield f"{name}: '{after}' is listed twice"
        elif before > after:
            yield f"{name}: '{after}' must stand before '{before}'"
    for wrong in (entry for entry in names if not re.fullmatch(r"[A-Za-z_]\w*", entry)):
        yield f"{name}: '{wrong}' is not a name"


def differences(left: str, a: set[str], right: str, b: set[str]) -> Iterator[str]:
    for missing in sorted(a - b):
        yield f"'{missing}' is in {left} but not in {right}"
    for surplus in sorted(b - a):
        yield f"'{surplus}' is in {right} but not in {left}"


def symbols_of(library: Path) -> list[Symbol]:
    """What the library defines for others."""
    command = ["nm", "-D", "--defined-only", "-P", str(library)]
    output = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    rows = (line.split() for line in output.splitlines())
    return [Symbol(row[0].split("@")[0], row[1]) for row in rows]


def demangled(names: list[str]) -> list[str]:
    text = "\n".join(names)
    run = subprocess.run(["c++filt"], input=text, check=True, capture_output=True, text=True)
    return run.stdout.splitlines()


def own_symbol(scopes: list[str]) -> re.Pattern:
    """What the demangled symbols of these namespaces and classes start with."""
    names = "|".join(re.escape(scope.removesuffix("::")) for scope in scopes)
    return re.compile(
        r"(?:(?:vtable|VTT|typeinfo|typeinfo name|guard variable|construction vtable) for "
        r"|(?:non-virtual|virtual|covariant return) thunk to )?"
        rf"(?:{names})\b"
    )


def symbol_faults(symbols: list[Symbol], functions: set[str], own: re.Pattern) -> Iterator[str]:
    plain = [symbol for symbol in symbols if not symbol.name.startswith("_Z")]
    found = {symbol.name for symbol in plain if symbol.kind in FUNCTION_KINDS}
    yield from differences("the lists", functions, "the library", found)
    for symbol in plain:
        if symbol.kind not in FUNCTION_KINDS and not GLOBAL_NAME.fullmatch(symbol.name):
            yield f"'{symbol.name}' ({symbol.kind}) leaves the library"
    mangled = [symbol.name for symbol in symbols if symbol.name.startswith("_Z")]
    for name in demangled(mangled):
        if not own.match(name) and not LOOKUP_INSTANCE.match(name):
            yield f"'{name}' leaves the library"


def faults_of(root: Path, library: Path) -> Iterator[str]:
    c_names = read_list(root / C_LIST)
    cpp_path = root / CPP_LIST
    cpp_names = read_list(cpp_path) if cpp_path.exists() else []
    yield from order_faults(C_LIST, c_names)
    yield from order_faults(CPP_LIST, cpp_names)
    for name in sorted(set(c_names) & set(cpp_names)):
        yield f"'{name}' is in both lists"
    declared = {function.name for function in exported_functions(root)}
    yield from differences(C_LIST, set(c_names), "the C headers", declared)
    own = own_symbol(read_list(root / SCOPES))
    yield from symbol_faults(symbols_of(library), set(c_names) | set(cpp_names), own)


def main() -> int:
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("library", type=Path, help="the built library")
    options.add_argument("--root", type=Path, default=ROOT, help="root of the tree to read")
    arguments = options.parse_args()
    try:
        faults = list(faults_of(arguments.root, arguments.library))
        count = len(read_list(arguments.root / C_LIST))
    except (HeaderError, OSError, subprocess.CalledProcessError) as fault:
        print(fault)
        return 1
    for fault in faults:
        print(fault)
    print(f"exports: {count} functions of the C interface, {len(faults)} faults")
    return 1 if faults or not count else 0


if __name__ == "__main__":
    sys.exit(main())
