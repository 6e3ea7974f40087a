"""The C and C++ examples of all pages as one program for each language.

The fragments of a page become the body of one function, a block with a `main` one of its own; the
program runs the function that its argument names. `#line` makes the compiler's words point at the
page.
"""

from __future__ import annotations

import os
import re
import subprocess
from pathlib import Path
from typing import Dict, List, NamedTuple

from documents import ROOT, Block, Page

HEADERS = {
    "c": ["math.h", "stdio.h", "stdlib.h", "string.h", "morvel/morvel.h"],
    "cpp": ["cmath", "iostream", "memory", "vector", "morvel/morvel.hpp"],
}
COMPILERS = {"c": os.environ.get("CC", "cc"), "cpp": os.environ.get("CXX", "c++")}
FLAGS = {
    "c": ["-std=c99", "-pedantic", "-O0"],
    "cpp": ["-std=c++20", "-O0", "-Wno-psabi"],
}
# Examples may make things that they do not go on to use.
WARNINGS = ["-Wall", "-Wextra", "-Werror", "-Wno-unused-variable", "-Wno-unused-but-set-variable"]
INCLUDE = re.compile(r"^#include .*$", re.MULTILINE)
MAIN = re.compile(r"^int main\(", re.MULTILINE)
#: What the kernel's own lines begin with.
SYMBOLS = ("✅", "❌", "⚠", "🔄", "🔍", "🔧", "📊", "📋", "🧹", "🎯", "[")


class Example(NamedTuple):
    name: str  # of the function in the program
    language: str
    blocks: List[Block]


def examples_of(page: Page) -> List[Example]:
    """A page's fragments in one function for each language, its programs on their own."""
    stem = re.sub(r"\W", "_", Path(page.path).stem.lower())
    found: List[Example] = []
    for language in HEADERS:
        blocks = page.running(language)
        programs = [block for block in blocks if MAIN.search(block.code)]
        fragments = [block for block in blocks if block not in programs]
        if any(not block.code.isspace() for block in fragments):
            found.append(Example(f"{stem}_{language}", language, fragments))
        for k, program in enumerate(programs):
            found.append(Example(f"{stem}_{language}_{k}", language, [program]))
    return found


def located(block: Block) -> str:
    # Includes go to the top; their lines stay, empty, so that the numbers of those below them do.
    return f'#line {block.line} "{block.page}"\n{INCLUDE.sub("", block.code)}'


def includes_of(examples: List[Example], language: str) -> str:
    own = [line for e in examples for block in e.blocks for line in INCLUDE.findall(block.code)]
    return "\n".join([*(f"#include <{name}>" for name in HEADERS[language]), *own, ""])


def function_of(example: Example) -> str:
    """An example as a function, with what a program keeps beside its own."""
    text = "".join(located(block) for block in example.blocks)
    linkage = 'extern "C" ' if example.language == "cpp" else ""
    head = f"{linkage}int {example.name}(void)"
    if MAIN.search(text):
        return f"{head};\n" + MAIN.sub(f"int {example.name}(", text)
    return f"{head};\n{head} {{\n{text}return 0;\n}}\n"


def sources_of(examples: List[Example], language: str) -> Dict[str, str]:
    """Files and their texts: C is quick to compile, C++ reads its headers once for all examples."""
    chosen = [example for example in examples if example.language == language]
    if language == "c":
        return {f"{e.name}.c": includes_of([e], "c") + function_of(e) for e in chosen}
    spaces = [f"namespace {e.name}_ {{\n{function_of(e)}}}\n" for e in chosen]
    return {"examples.cpp": includes_of(chosen, "cpp") + "".join(spaces)} if chosen else {}


def dispatcher_of(examples: List[Example]) -> str:
    """A C program that runs the example which its first argument names."""
    lines = ["#include <string.h>"]
    lines += [f"int {example.name}(void);" for example in examples]
    lines += ["int main(int count, char** arguments) {", "  if (count != 2) return 99;"]
    for example in examples:
        lines.append(f'  if (strcmp(arguments[1], "{example.name}") == 0) return {example.name}();')
    return "\n".join([*lines, "  return 98;", "}", ""])


def write_if_changed(path: Path, text: str) -> None:
    if not path.exists() or path.read_text("utf-8") != text:
        path.write_text(text, "utf-8")


def run_compiler(command: List[str], folder: Path) -> None:
    made = subprocess.run(command, cwd=folder, capture_output=True, text=True)
    assert made.returncode == 0, made.stderr


def compile_language(examples: List[Example], language: str, folder: Path) -> List[str]:
    """The names of the object files."""
    sources = sources_of(examples, language)
    for name, text in sources.items():
        write_if_changed(folder / name, text)
    if not sources:
        return []
    libraries = os.environ.get("MORVEL_CXX_INCLUDES", "/usr/include/eigen3").split(":")
    includes = [f"-I{ROOT}", *(f"-isystem{path}" for path in libraries)]
    compiler = [COMPILERS[language]]
    if language == "cpp" and os.environ.get("MORVEL_CCACHE"):
        compiler = [os.environ["MORVEL_CCACHE"], *compiler]
    run_compiler([*compiler, *FLAGS[language], *WARNINGS, *includes, "-c", *sources], folder)
    return [f"{Path(name).stem}.o" for name in sources]


def build(examples: List[Example], folder: Path) -> Path:
    """One program of all examples. AssertionError with the compiler's words."""
    folder.mkdir(parents=True, exist_ok=True)
    objects = [o for language in HEADERS for o in compile_language(examples, language, folder)]
    write_if_changed(folder / "main.c", dispatcher_of(examples))
    run_compiler([COMPILERS["c"], "-c", "main.c"], folder)
    library = Path(os.environ["MORVEL_LIBRARY"])
    link = [COMPILERS["cpp"], "main.o", *objects, "-o", "examples"]
    run_compiler([*link, str(library), f"-Wl,-rpath,{library.parent}", "-lm"], folder)
    return folder / "examples"


def printed_by(program: Path, example: Example, folder: Path) -> str:
    """What an example prints, without the kernel's own lines. AssertionError where it fails."""
    run = subprocess.run([str(program), example.name], cwd=folder, capture_output=True, text=True)
    where = example.blocks[0].where
    assert run.returncode == 0, f"{where}: ended with {run.returncode}\n{run.stdout}{run.stderr}"
    lines = [line for line in run.stdout.splitlines() if not line.startswith(SYMBOLS)]
    return "".join(line + "\n" for line in lines)
