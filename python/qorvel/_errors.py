"""What goes wrong, as Python's exceptions."""

from __future__ import annotations

import enum


class Code(enum.IntEnum):
    """What kind of fault it is. The numbers never change."""

    BAD_COLUMN = 1
    """A column of a type that is not read, or one that contradicts itself."""
    MISSING_COLUMN = 2
    """A column that is needed is not there."""
    BAD_CONFIGURATION = 3
    """A setting that is refused."""
    TOO_LARGE = 4
    """Beyond what the engine counts or keeps."""
    CANCELLED = 6
    """The session was cancelled."""
    MISUSE = 7
    """A call that the state or the arguments do not allow."""
    INTERNAL = 8
    """A fault of the engine itself."""
    BAD_STATE = 9
    """A saved state that cannot be taken."""


class Error(ValueError):
    """Something that the engine refuses, in a sentence.

    Attributes
    ----------
    code : Code
        What kind of fault it is.
    tags : tuple of str
        The library's error tags, such as ``"ERROR_SPACEBOX_2"``; often none.
    line : int or None
        The line of the configuration that it is in, from 1.
    """

    def __init__(
        self, sentence: str, code: int = Code.MISUSE, tags: str = "", line: int = 0
    ) -> None:
        super().__init__(sentence)
        self.code = Code(code)
        self.tags = tuple(tag for tag in tags.split(",") if tag)
        self.line = line or None

    def __reduce__(self) -> tuple[type[Error], tuple[str, int, str, int]]:
        """Let errors cross to other processes."""
        return Error, (str(self), int(self.code), ",".join(self.tags), self.line or 0)
