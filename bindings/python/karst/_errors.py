"""What goes wrong, as exceptions."""

from __future__ import annotations


class Error(Exception):
    """A call of the library failed. The other errors are kinds of it; this one itself stands for the rest."""

    def __init__(self, message: str, status: int, file: str | None = None, line: int = 0) -> None:
        place = ":".join(str(part) for part in (file, line) if part)
        super().__init__(f"{place}: {message}" if place else message)
        self.message = message  # without the place
        self.status = status  # the number of the C interface
        self.file = file  # the script, filter or record file at fault, where one is
        self.line = line  # its line, from 1; 0 where none is at fault


class FileError(Error):
    """A file cannot be opened or read, or one that a script writes to by name was not written whole."""


class ScriptError(Error):
    """The script or filter is at fault; `line` tells where."""


class TextError(Error, ValueError):
    """A text or a file name cannot be handed to the library."""


class RecordError(Error, ValueError):
    """A record that cannot be converted."""


class Stopped(Error):
    """The run was ended early by Filter.stop or by a progress callback. What it did up to there stands."""


class SkippedWarning(UserWarning):
    """A stretch of a record file is no record and was passed over."""


_STOPPED = 3
_KINDS: dict[int, type[Error]] = {
    -2: FileError,
    -3: ScriptError,
    -4: TextError,
    -5: RecordError,
    _STOPPED: Stopped,
}
_OUT_OF_MEMORY = -9


def error_of(status: int, message: str, file: str | None = None, line: int = 0) -> Exception:
    """The exception for a status of the C interface that is none of success."""
    if status == _OUT_OF_MEMORY:
        return MemoryError(message)
    return _KINDS.get(status, Error)(message, status, file, line)
