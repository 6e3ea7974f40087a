"""The kernel's lines in the `logging` module."""

import logging
import subprocess
import sys

import pytest

import morvel
from morvel import Point


@pytest.fixture(autouse=True)
def printing_afterwards():
    yield
    morvel.print_lines()
    morvel.set_log_level(logging.INFO)


def test_lines_reach_the_logger_from_their_level_on_and_printing_comes_back(caplog, capfd):
    caplog.set_level(logging.DEBUG)
    morvel.log_to("kernel")
    for level, expected in ((logging.INFO, {"INFO", "ERROR"}), (logging.WARNING, {"ERROR"})):
        morvel.set_log_level(level)
        with pytest.raises(morvel.MorvelError), morvel.KernelSession() as kernel:
            kernel.mesh(7)
        assert {record.levelname for record in caplog.records} == expected
        caplog.clear()
    assert capfd.readouterr().out == ""
    morvel.set_log_level(logging.INFO)
    morvel.print_lines()
    Point.at((1, 2, 3))
    assert not caplog.records and "Created point" in capfd.readouterr().out


def test_a_handler_that_raises_disturbs_no_call(capsys):
    def broken(_record):
        raise RuntimeError("broken filter")

    logger = logging.getLogger("broken")
    logger.setLevel(logging.DEBUG)
    logger.addFilter(broken)
    morvel.log_to(logger)
    assert Point.at((1, 2, 3)).handle > 0
    assert "broken filter" in capsys.readouterr().err


def test_a_process_that_logs_to_the_end_ends_well():
    program = (
        "import logging, morvel; logging.basicConfig(level=0); morvel.log_to();"
        "morvel.KernelSession().__enter__(); point = morvel.Point.at((0, 0, 0))"
    )
    ended = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
    assert ended.returncode == 0 and "INFO:morvel:" in ended.stderr, ended.stderr
