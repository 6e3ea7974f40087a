"""The examples of all docstrings run, each from an empty kernel with fixed print options."""

import doctest
import importlib
import inspect
import logging
import pkgutil
import sys

import numpy as np
import pytest

import morvel

NAMES = {name: getattr(morvel, name) for name in morvel.__all__}
GIVEN = {**NAMES, "morvel": morvel, "np": np, "logging": logging, "sys": sys}


def examples():
    finder = doctest.DocTestFinder(exclude_empty=True)
    for found in pkgutil.walk_packages(morvel.__path__, "morvel."):
        module = importlib.import_module(found.name)
        for test in finder.find(module, module.__name__, globs={**GIVEN, **vars(module)}):
            if test.examples:
                yield test
    yield from (test for test in finder.find(morvel, "morvel", globs=dict(GIVEN)) if test.examples)


@pytest.mark.parametrize("example", examples(), ids=lambda example: example.name)
def test_the_example_gives_what_it_shows(example, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    monkeypatch.setenv("MPLBACKEND", "Agg")
    said = []
    morvel.set_log_level(logging.ERROR)
    try:
        with np.printoptions(precision=8, suppress=True, floatmode="maxprec"):
            runner = doctest.DocTestRunner(optionflags=doctest.NORMALIZE_WHITESPACE)
            result = runner.run(example, out=said.append)
    finally:
        del logging.getLogger("morvel").handlers[:]
        morvel.print_lines()
        morvel.set_log_level(logging.INFO)
    assert result.attempted and not result.failed, "".join(said)


def test_every_public_class_and_function_has_an_example_or_is_a_record():
    for name, thing in NAMES.items():
        is_record = inspect.isclass(thing) and "__annotations__" in vars(thing)
        if (inspect.isclass(thing) or inspect.isroutine(thing)) and not is_record:
            assert ">>>" in (thing.__doc__ or ""), f"{name} has no example"
