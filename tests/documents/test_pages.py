"""What the pages say beside their examples: links, names, commands, figures."""

from __future__ import annotations

import re
import subprocess
from functools import lru_cache
from pathlib import Path
from typing import Dict, Iterator, List, Set, Tuple

import pytest

import morvel
from documents import ROOT, Page, pages, read_page
from exported_signatures import exported_functions
from write_reference import chosen, referenced

PAGES = {page.path: page for page in pages()}
FAMILIES = [path for path, page in PAGES.items() if page.headers]
QUOTED = re.compile(r"`([^`\n]+)`")
VERB = re.compile(r"^  ([a-z]+)\b(.*(?:\n {6,}.*)*)", re.MULTILINE)
COMMAND = re.compile(r"\./run ([a-z]+)((?: --[a-z-]+)*)")
CONSTANT_ROW = re.compile(r"^\| `(k[A-Z]\w+|\w+_)` \| ([^|]+) \| `([\w/.]+)` \|")
CODE_ROW = re.compile(r"^\| (-?\d+)", re.MULTILINE)
#: A name that says by its shape that it is one: create_curve, BSplineCurve, findSpan.
NAME = re.compile(r"\b(?:[A-Za-z]\w*_\w*|[a-z]+[A-Z]\w*|[A-Z]+[a-z]\w*[A-Z]\w*)\b")
OTHERS = ("_", "CMAKE_", "x86_64")  # parts of names, and names that others gave
SOURCES = ("*.h", "*.hpp", "*.cpp", "*.c", "*.py", "*.txt", "*.cmake", "*.in", "run", "*.json")


def faults(found: List[str]) -> None:
    assert not found, "\n" + "\n".join(found)


@lru_cache(maxsize=None)
def words_of_the_sources() -> Set[str]:
    """Every word of the code and of its files' names."""
    named = subprocess.run(
        ["git", "ls-files", "-co", "--exclude-standard", "--", *SOURCES],
        cwd=ROOT, capture_output=True, text=True, check=True,
    ).stdout.split("\n")
    files = [ROOT / name for name in named if name and not name.startswith("tests/documents")]
    texts = [path.read_text("utf-8", "replace") for path in files if path.exists()]
    return {word for text in [*texts, *named] for word in re.findall(r"\w+", text)}


def names_on(page: Page) -> Iterator[Tuple[int, str]]:
    """Names in quoted words of the prose and in code, with their lines."""
    for number, line in page.prose:
        for quoted in QUOTED.findall(line):
            plain = re.sub(r"(?<!\w)-D(?=[A-Z])", "", quoted)  # an option of the build
            yield from ((number, name) for name in NAME.findall(plain))


@pytest.mark.parametrize("path", PAGES)
def test_links_lead_somewhere(path):
    page, found = PAGES[path], []
    for number, target in page.links:
        name, _, anchor = target.partition("#")
        at = (ROOT / path).parent / name if name else ROOT / path
        if not at.exists():
            found.append(f"{path}:{number}: no file {target}")
        elif anchor:
            other = read_page(target, at.read_text("utf-8"))
            if anchor not in other.anchors:
                found.append(f"{path}:{number}: no heading for {target}")
    faults(found)


@pytest.mark.parametrize("path", PAGES)
def test_names_are_those_of_the_code(path):
    known = words_of_the_sources()
    faults(
        [
            f"{path}:{number}: nothing is called '{name}'"
            for number, name in names_on(PAGES[path])
            if name not in known and not name.startswith(OTHERS)
        ]
    )


@pytest.mark.parametrize("path", PAGES)
def test_python_names_exist(path):
    found = []
    for number, line in enumerate(PAGES[path].text.split("\n"), 1):
        for name in re.findall(r"\bmorvel\.([A-Za-z]\w*)\b(?!/)", line):
            if not hasattr(morvel, name) and name not in ("h", "hpp", "pc"):
                found.append(f"{path}:{number}: there is no morvel.{name}")
    faults(found)


def test_commands_exist():
    usage = subprocess.run(
        [str(ROOT / "run"), "help"], capture_output=True, text=True, check=True
    ).stdout
    verbs: Dict[str, str] = dict(VERB.findall(usage))
    found = []
    for page in PAGES.values():
        for verb, options in COMMAND.findall(page.text):
            if verb not in verbs:
                found.append(f"{page.path}: no verb '{verb}'")
                continue
            for option in options.split():
                if option not in verbs[verb]:
                    found.append(f"{page.path}: {verb} knows no {option}")
    faults(found)


def test_every_function_stands_on_one_page():
    functions = exported_functions(ROOT)
    places: Dict[str, List[str]] = {function.name: [] for function in functions}
    for page in PAGES.values():
        for mark in page.headers:
            for function in chosen(mark, functions):
                places[function.name].append(page.path)
    faults(
        [
            f"{f.name} of {f.header} stands on {' and '.join(places[f.name]) or 'no page'}"
            for f in functions
            if len(places[f.name]) != 1
        ]
    )


@pytest.mark.parametrize("path", FAMILIES)
def test_the_functions_of_a_family_are_those_of_its_headers(path):
    written = PAGES[path].text == referenced(PAGES[path].text)
    assert written, f"{path} is stale: ./run docs writes it"


@pytest.mark.parametrize("path", FAMILIES)
def test_a_family_has_a_picture_and_examples_in_python_and_c(path):
    page = PAGES[path]
    assert re.search(r"!\[[^\]]+\]\(pictures/[\w-]+\.(svg|png)\)", page.text), "no picture"
    assert page.running("python"), "no example in Python that runs"
    assert page.running("c"), "no example in C that runs"


@pytest.mark.parametrize("path", FAMILIES)
def test_the_codes_that_headers_state_stand_in_the_familys_table(path):
    page = PAGES[path]
    stated = set(CODE_ROW.findall(page.text.partition("<!-- functions of")[0]))
    for header in (mark.partition(":")[0] for mark in page.headers):
        opening = (ROOT / header).read_text("utf-8").partition("*/")[0]
        codes = set(re.findall(r"(?:^|   )\s*(-\d+)  ", opening, re.MULTILINE))
        assert codes <= stated, f"{path}: no row for {', '.join(sorted(codes - stated))} of {header}"


def test_figures_of_constants_are_those_of_the_code():
    rows = [
        (page.path, number, CONSTANT_ROW.match(line))
        for page in PAGES.values()
        for number, line in page.prose
    ]
    matched = [(path, number, row) for path, number, row in rows if row]
    assert matched, "no page has a table of constants"
    found = []
    for path, number, row in matched:
        source = (ROOT / "morvel" / row[3]).read_text("utf-8")
        values = re.findall(rf"\b{row[1]}\s*=\s*([\d.e+-]+)", source)
        if not values or float(values[0]) != float(row[2].replace(",", "")):
            found.append(f"{path}:{number}: {row[1]} is {values or 'not there'} in morvel/{row[3]}")
    faults(found)
