"""What a failed call of the kernel becomes."""

from __future__ import annotations

BAD_ARGUMENT = -1
TOO_SMALL = -2
UNKNOWN_HANDLE = -3


class MorvelError(Exception):
    """A function of the kernel failed.

    Attributes:
        code: the result that the function returned.
        function: the name of the exported function.
        text: the kernel's own words; empty where it gave none.
    """

    def __init__(self, function: str, code: int, text: str = "") -> None:
        super().__init__(function, code, text)
        self.function = function
        self.code = code
        self.text = text

    def __str__(self) -> str:
        said = self.text.removeprefix(f"{self.function}: ")
        return f"{self.function}: {said or 'failed'} (code {self.code})"


class ArgumentError(MorvelError, ValueError):
    """An argument was refused."""


class HandleError(MorvelError, KeyError):
    """The object behind a handle is gone, or was never there."""

    __str__ = MorvelError.__str__


def error_for(function: str, code: int, text: str) -> MorvelError:
    """The exception that fits a result code."""
    if code == UNKNOWN_HANDLE:
        return HandleError(function, code, text)
    if code in (BAD_ARGUMENT, TOO_SMALL):
        return ArgumentError(function, code, text)
    return MorvelError(function, code, text)
