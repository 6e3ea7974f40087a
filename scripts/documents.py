"""The pages of documentation as the build reads them: blocks of code, links, headings, marks.

A page is plain Markdown. What the build has to know beside it stands in comments, which a reader of
the rendered page does not see:

    <!-- not run: reason -->        above a block: it is shown, and neither compiled nor run
    <!-- output -->                 above a block: what the block of code before it prints
    <!-- python                     hidden code (or c, or cpp): it runs in its place among the
    ...                             page's blocks of that language, and is not shown
    -->
    <!-- functions of HEADER... -->
    <!-- end of functions -->       between these `scripts/write_reference.py` writes

The blocks of one language on one page run in order and share what they declare. For C and C++ they
are together the body of one function (lines that include a header go to the top of the file), and a
block with a `main` of its own is a program of its own.
"""

from __future__ import annotations

import re
from pathlib import Path
from typing import Iterator, List, NamedTuple, Optional, Tuple

ROOT = Path(__file__).resolve().parent.parent
LANGUAGES = ("python", "c", "cpp")
FUNCTIONS = re.compile(r"<!-- functions of ((?:\S+ )+)-->")
END_OF_FUNCTIONS = "<!-- end of functions -->"
FENCE = re.compile(r"^(?P<indent> *)(?P<ticks>`{3,}) *(?P<language>\w*)")
HIDDEN = re.compile(r"<!-- (python|c|cpp)$")
NOT_RUN = re.compile(r"<!-- not run: (.+) -->$")
OUTPUT = "<!-- output -->"
LINK = re.compile(r"(?<!\\)!?\[[^\]]*\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#{1,6} +(.+?) *$")


class Block(NamedTuple):
    page: str  # path from the root of the tree
    line: int  # of the first line of code
    language: str
    code: str
    reason: str  # why it is not run; empty where it is
    output: Optional[str]  # what it prints, where the page shows that
    generated: bool  # stands among the functions that are written by the build

    @property
    def runs(self) -> bool:
        return self.language in LANGUAGES and not self.reason and not self.generated

    @property
    def where(self) -> str:
        return f"{self.page}:{self.line}"


class Page(NamedTuple):
    path: str  # from the root of the tree
    text: str
    blocks: List[Block]
    prose: List[Tuple[int, str]]  # the lines outside code and comments, with their numbers

    def running(self, *languages: str) -> List[Block]:
        return [block for block in self.blocks if block.runs and block.language in languages]

    @property
    def headers(self) -> List[str]:
        """The C headers whose functions stand on this page."""
        return [name for mark in FUNCTIONS.findall(self.text) for name in mark.split()]

    @property
    def anchors(self) -> List[str]:
        """What links may name behind '#'."""
        found: List[str] = []
        for _, line in self.prose:
            heading = HEADING.match(line)
            if heading:
                anchor = anchor_of(heading[1])
                same = re.compile(re.escape(anchor) + r"(-\d+)?")
                repeats = sum(same.fullmatch(earlier) is not None for earlier in found)
                found.append(f"{anchor}-{repeats}" if repeats else anchor)
        return found

    @property
    def links(self) -> List[Tuple[int, str]]:
        """Line and target of every link that leads to no other site."""
        found = [(number, target) for number, line in self.prose for target in LINK.findall(line)]
        return [(number, target) for number, target in found if "://" not in target]


def anchor_of(heading: str) -> str:
    """As sites that render Markdown name a heading."""
    kept = re.sub(r"[^\w\- ]", "", heading.lower())
    return kept.replace(" ", "-")


class _Reader:
    """One pass over a page's lines."""

    def __init__(self, path: str, text: str) -> None:
        self.path = path
        self.lines = text.split("\n")
        self.blocks: List[Block] = []
        self.prose: List[Tuple[int, str]] = []
        self.mark = ""  # the comment above, with nothing but empty lines between
        self.generated = False

    def read(self) -> None:
        at = 0
        while at < len(self.lines):
            line = self.lines[at]
            fence = FENCE.match(line)
            if fence:
                at = self.fenced(at, fence)
            elif HIDDEN.match(line):
                at = self.hidden(at)
            elif line.startswith("<!--"):
                at = self.comment(at)
            else:
                self.prose.append((at + 1, line))
                self.mark = self.mark if not line.strip() else ""
                at += 1

    def fenced(self, at: int, fence: "re.Match[str]") -> int:
        end = self.find(at, lambda line: line.strip() == fence["ticks"], "the block is not closed")
        indent = len(fence["indent"])
        code = "\n".join(line[indent:] for line in self.lines[at + 1 : end]) + "\n"
        if self.mark == OUTPUT and self.blocks:
            self.blocks[-1] = self.blocks[-1]._replace(output=code)
        else:
            reason = NOT_RUN.match(self.mark)
            self.add(at, fence["language"], code, reason[1] if reason else "")
        self.mark = ""
        return end + 1

    def hidden(self, at: int) -> int:
        end = self.find(at, lambda line: line == "-->", "the comment is not closed")
        code = "\n".join(self.lines[at + 1 : end]) + "\n"
        self.add(at, HIDDEN.match(self.lines[at])[1], code, "")  # type: ignore[index]
        return end + 1

    def comment(self, at: int) -> int:
        end = self.find(at - 1, lambda line: "-->" in line, "the comment is not closed")
        self.mark = self.lines[at]
        if FUNCTIONS.match(self.mark):
            self.generated = True
        elif self.mark == END_OF_FUNCTIONS:
            self.generated = False
        return end + 1

    def add(self, at: int, language: str, code: str, reason: str) -> None:
        self.blocks.append(
            Block(self.path, at + 2, language, code, reason, None, self.generated)
        )

    def find(self, at: int, ends, fault: str) -> int:
        for number in range(at + 1, len(self.lines)):
            if ends(self.lines[number]):
                return number
        raise ValueError(f"{self.path}:{at + 1}: {fault}")


def read_page(path: str, text: str) -> Page:
    """A page's blocks and prose. ValueError for a block or comment without an end."""
    reader = _Reader(path, text)
    reader.read()
    return Page(path, text, reader.blocks, reader.prose)


def page_paths(root: Path = ROOT) -> Iterator[Path]:
    yield from (root / name for name in ("README.md", "CONTRIBUTING.md", "CHANGELOG.md"))
    yield from sorted((root / "docs").glob("*.md"))


def pages(root: Path = ROOT) -> List[Page]:
    """Every page of the documentation."""
    return [
        read_page(str(path.relative_to(root)), path.read_text("utf-8")) for path in page_paths(root)
    ]
