"""Writes the functions of the C headers into the pages of their families.

A page names the headers whose functions it has in a comment, `<!-- functions of HEADER... -->`; up
to `<!-- end of functions -->` this script writes what the headers declare: signatures with the
number of elements behind every pointer, and the headers' own words. `HEADER:WORD` stands for the
functions of a header that have the word in their names. `--check` only says which pages are stale.
"""

from __future__ import annotations

import argparse
import re
import sys
import textwrap
from pathlib import Path
from typing import Dict, Iterator, List, Set

from documents import END_OF_FUNCTIONS, ROOT, page_paths
from exported_signatures import Function, Parameter, exported_functions

WIDTH = 100
KEPT = "\x00"  # a blank at which no line ends
SECTION = re.compile(r"^/\* ---- (.+?) ---- \*/", re.MULTILINE)
PRODUCT = re.compile(r" \* ")
TERM = re.compile(r"^(?P<names>\w+(?:, \w+)*)(?: {2,}| )(?P<text>\S.*)")


def length_of(extent: str) -> str:
    """A number of elements as it is written by hand: "3 count", "2 (a + b)"."""
    return PRODUCT.sub(" ", extent).replace(" // ", " / ").replace(" ** ", "^")


def written(parameter: Parameter) -> str:
    if parameter.extent is None:
        return f"{parameter.type} {parameter.name}"
    return f"{parameter.type.removesuffix('*')} {parameter.name}[{length_of(parameter.extent)}]"


def signature(function: Function) -> str:
    """A declaration in lines of at most WIDTH characters."""
    head = f"{function.result} {function.name}("
    pieces = [written(parameter) for parameter in function.parameters] or ["void"]
    lines, indent = [head], " " * min(len(head), 4)
    for k, piece in enumerate(pieces):
        piece += ")" if k + 1 == len(pieces) else ", "
        if len(lines[-1]) + len(piece.rstrip()) > WIDTH and lines[-1].strip():
            lines.append(indent)
        lines[-1] += piece
    return "\n".join(line.rstrip() for line in lines)


def grouped(functions: List[Function]) -> Iterator[List[Function]]:
    """Declarations that follow each other under one comment."""
    group: List[Function] = []
    for function in functions:
        if group and function.doc != group[-1].doc:
            yield group
            group = []
        group.append(function)
    if group:
        yield group


def quoted(text: str, names: Set[str]) -> str:
    """The text with the names of functions and parameters marked as code."""

    def mark(match: "re.Match[str]") -> str:
        word = match.group()
        is_name = word in names and ("_" in word or not word.islower())
        return f"`{word}`" if is_name else word

    return re.sub(r"\w+", mark, text)


def paragraphs(doc: str, names: Set[str]) -> Iterator[str]:
    """The comment as wrapped paragraphs; lines that open with parameters become items of a list."""
    for part in re.split(r"\n\s*\n", doc):
        pieces: List[str] = []
        for line in part.split("\n"):
            term = TERM.match(line)
            of_list = term and set(term["names"].split(", ")) <= names
            apart = of_list and (line[len(term["names"])] + line[len(term["names"]) + 1]).isspace()
            if of_list and (apart or (pieces and pieces[-1].startswith("- "))):
                pieces.append(f"- {term['names']}: {term['text']}")
            elif pieces:
                pieces[-1] += " " + line
            else:
                pieces.append(line)
        yield "\n".join(wrapped(re.sub(r" {2,}", " ", piece), names) for piece in pieces)


def wrapped(piece: str, names: Set[str]) -> str:
    item = piece.startswith("- ")
    if item:  # the parameters that open it are names, also those that are plain words
        head, _, rest = piece[2:].partition(": ")
        listed = ", ".join(f"`{name}`" for name in head.split(", "))
        piece = f"- {listed}: {quoted(rest, names)}"
    else:
        piece = quoted(piece, names)
    # A line that begins with a sign or a number and a full stop would be an item of a list.
    kept = re.sub(r" ([-+*]|\d+[.)]) ", rf"{KEPT}\1{KEPT}", piece[2:] if item else piece)
    lines = textwrap.fill(
        kept, WIDTH, initial_indent="- " if item else "", subsequent_indent="  " if item else "",
        break_long_words=False, break_on_hyphens=False,
    )
    return lines.replace(KEPT, " ")


def entry(group: List[Function], every_name: Set[str]) -> str:
    names = every_name | {p.name for function in group for p in function.parameters}
    code = "\n".join(signature(function) for function in group)
    text = "\n\n".join(paragraphs(group[0].doc, names)) if group[0].doc else ""
    return f"```c\n{code}\n```\n" + (f"\n{text}\n" if text else "")


def sections_of(header: str) -> Dict[int, str]:
    """The headings within a header, by line."""
    text = (ROOT / header).read_text("utf-8")
    return {text.count("\n", 0, m.start()) + 1: m[1] for m in SECTION.finditer(text)}


def chosen(mark: str, functions: List[Function]) -> List[Function]:
    """The functions that a page's mark stands for. ValueError where there are none."""
    header, _, word = mark.partition(":")
    found = [f for f in functions if f.header == header and word in f.name]
    if not found:
        raise ValueError(f"no functions for the mark {mark}")
    return found


def reference(header: str, functions: List[Function], every_name: Set[str]) -> str:
    """One header's functions."""
    sections = sections_of(header)
    parts = [f"### {Path(header).name}\n"]
    for group in grouped(functions):
        above = [line for line in sorted(sections) if line < group[0].line]
        if above:
            title = sections[above[-1]]
            parts.append(f"#### {title[0].upper()}{title[1:]}\n")
        for line in above:
            del sections[line]
        parts.append(entry(group, every_name))
    return "\n".join(parts)


def referenced(text: str) -> str:
    """A page with its functions as the headers have them now."""
    functions = exported_functions(ROOT)
    every_name = {function.name for function in functions}

    def section(match: "re.Match[str]") -> str:
        parts = []
        for mark in match["headers"].split():
            declared = chosen(mark, functions)
            parts.append(reference(declared[0].header, declared, every_name))
        return match["mark"] + "\n\n" + "\n".join(parts) + "\n" + END_OF_FUNCTIONS

    marks = re.findall(rf"<!-- functions of (?=\S)|{END_OF_FUNCTIONS}", text)
    if len(marks) % 2 or any((mark == END_OF_FUNCTIONS) != k % 2 for k, mark in enumerate(marks)):
        raise ValueError("every mark of functions needs its end before the next one")
    pattern = rf"(?P<mark><!-- functions of (?P<headers>(?:\S+ )+)-->).*?{END_OF_FUNCTIONS}"
    return re.sub(pattern, section, text, flags=re.DOTALL)


def main() -> int:
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("--check", action="store_true", help="name stale pages and write nothing")
    arguments = options.parse_args()
    stale = []
    for path in page_paths():
        text = path.read_text("utf-8")
        try:
            fresh = referenced(text)
        except ValueError as fault:
            print(f"{path.relative_to(ROOT)}: {fault}", file=sys.stderr)
            return 1
        if fresh != text:
            stale.append(str(path.relative_to(ROOT)))
            if not arguments.check:
                path.write_text(fresh, "utf-8")
    for name in stale:
        print(f"{'stale' if arguments.check else 'written'}: {name}")
    return 1 if stale and arguments.check else 0


if __name__ == "__main__":
    sys.exit(main())
