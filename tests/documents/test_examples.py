"""Every example of the documentation runs, and prints what the page says it prints."""

from __future__ import annotations

import contextlib
import doctest
import io
import logging
import os
from pathlib import Path

import pytest

import morvel
from compiled import build, examples_of, printed_by
from documents import Block, pages

PAGES = {page.path: page for page in pages()}
SCRIPTED = [path for path, page in PAGES.items() if page.running("python")]
COMPILED = {example.name: example for page in PAGES.values() for example in examples_of(page)}
DOCTEST_OPTIONS = doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE


@pytest.fixture
def fresh(tmp_path, monkeypatch):
    """An empty folder and an empty kernel, which says what is out of the ordinary only."""
    monkeypatch.chdir(tmp_path)
    morvel.clear()
    morvel.set_log_level(logging.WARNING)
    yield tmp_path
    morvel.print_lines()
    morvel.set_log_level(logging.INFO)
    morvel.clear()


def run_session(block: Block, namespace: dict) -> None:
    """A block of prompts and answers."""
    test = doctest.DocTestParser().get_doctest(
        block.code, namespace, block.page, block.page, block.line - 1
    )
    said = io.StringIO()
    runner = doctest.DocTestRunner(optionflags=DOCTEST_OPTIONS, verbose=False)
    runner.run(test, out=said.write, clear_globs=False)
    assert not runner.failures, said.getvalue()
    namespace.update(test.globs)


def run_script(block: Block, namespace: dict) -> str:
    """What a block without prompts prints."""
    printed = io.StringIO()
    with contextlib.redirect_stdout(printed):
        # The empty lines above make a traceback name the page's own lines.
        exec(compile("\n" * (block.line - 1) + block.code, block.page, "exec"), namespace)
    return printed.getvalue()


def compare(block: Block, printed: str) -> None:
    if block.output is None:
        return
    same = doctest.OutputChecker().check_output(block.output, printed, DOCTEST_OPTIONS)
    assert same, f"{block.where} printed\n{printed}and the page says\n{block.output}"


@pytest.mark.parametrize("path", SCRIPTED)
def test_the_python_examples_of_a_page_run(path, fresh):
    namespace: dict = {"__name__": "example"}
    for block in PAGES[path].running("python"):
        if ">>>" in block.code:
            run_session(block, namespace)
        else:
            compare(block, run_script(block, namespace))


@pytest.fixture(scope="session")
def program(tmp_path_factory) -> Path:
    scratch = os.environ.get("MORVEL_SCRATCH")
    folder = Path(scratch) if scratch else tmp_path_factory.mktemp("examples")
    return build(list(COMPILED.values()), folder)


@pytest.mark.parametrize("name", COMPILED)
def test_the_c_and_cpp_examples_of_a_page_run(name, program, tmp_path):
    example = COMPILED[name]
    printed = printed_by(program, example, tmp_path)
    shown = [block for block in example.blocks if block.output is not None]
    for block in shown[:1]:
        assert len(shown) == 1, f"{block.page}: one output stands for all fragments of a page"
        compare(block, printed)
