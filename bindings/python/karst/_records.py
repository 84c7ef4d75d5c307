"""The records of a file, and their conversion from and to ISO 2709."""

from __future__ import annotations

import ctypes
import threading
import weakref
from collections.abc import Iterator
from ctypes import byref, c_size_t
from typing import Any

from karst import _library
from karst._engine import File, Skipped, warner
from karst._errors import error_of
from karst._library import library

_FIELD_END, _RECORD_END, _SUBFIELD = "\x1e", "\x1d", "\x1f"
_HEADER_LENGTH, _TAG_LENGTH = 24, 3


class Record(str):
    """A record in the internal form, as Filter.run takes it: a 24-byte header; fields, each a tag of 3, the body and
    0x1E; 0x1D. A subfield is 0x1F, its code and its data."""

    raw: bytes  # as it stands in the file
    offset: int  # where it begins in the file

    def __new__(cls, text: str, raw: bytes = b"", offset: int = 0) -> Record:
        record = super().__new__(cls, text)
        record.raw = raw
        record.offset = offset
        return record

    def fields(self, tag: str | None = None) -> list[tuple[str, str]]:
        """Tag and body (with indicators and subfields) of each field, or of each field with that tag."""
        pieces = self[_HEADER_LENGTH:].rstrip(_RECORD_END).split(_FIELD_END)[:-1]
        fields = [(piece[:_TAG_LENGTH], piece[_TAG_LENGTH:]) for piece in pieces]
        return [field for field in fields if tag is None or field[0] == tag]

    def subfields(self, tag: str, code: str) -> list[str]:
        """The data of each subfield with that code in the fields with that tag."""
        bodies = (body for _, body in self.fields(tag))
        return [part[1:] for body in bodies for part in body.split(_SUBFIELD)[1:] if part[:1] == code]


class Reader(Iterator[Record]):
    """Goes through a file of records, in ISO 2709 or the internal form. Memory does not grow with the file."""

    def __init__(self, file: File, on_skipped: Skipped | None = None) -> None:
        """Opens the file.

        Args:
            on_skipped: gets what is no record and is passed over: where it begins, its bytes, and why it is none.
                Default: a SkippedWarning.

        Raises:
            FileError: the file cannot be opened.
        """
        handle = library.karst_reader_new(_library.UTF8)
        if not handle:
            raise MemoryError("no memory for a reader")
        self._handle: int | None = handle
        self._free = weakref.finalize(self, library.karst_reader_free, handle)
        self._lock = threading.RLock()
        self._file = file
        self._skipped = on_skipped or warner(file)
        self._check(library.karst_reader_open(handle, *_library.file_in(file)))

    def __next__(self) -> Record:
        """The next record.

        Raises:
            FileError: reading failed.
        """
        with self._lock:
            while (status := library.karst_reader_next(self._open_handle())) == _library.SKIPPED:
                reason = self._text(library.karst_reader_reason)
                self._skipped(self._offset(), self._bytes(library.karst_reader_raw), reason)
            if status == _library.END:
                raise StopIteration
            self._check(status)
            return Record(self._text(library.karst_reader_text), self._bytes(library.karst_reader_raw), self._offset())

    @property
    def position(self) -> int:
        """Bytes of the file used so far."""
        return int(library.karst_reader_position(self._open_handle()))

    @property
    def size(self) -> int:
        """Bytes of the file; 0 where they are not known, as with a pipe."""
        return int(library.karst_reader_size(self._open_handle()))

    def close(self) -> None:
        """Closes the file. The reader cannot be used any more."""
        with self._lock:
            self._handle = None
            self._free()

    def __enter__(self) -> Reader:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def _open_handle(self) -> int:
        if self._handle is None:
            raise ValueError("the reader is closed")
        return self._handle

    def _offset(self) -> int:
        return int(library.karst_reader_offset(self._open_handle()))

    def _bytes(self, function: Any) -> bytes:
        return _library.bytes_of(function, self._open_handle())

    def _text(self, function: Any) -> str:
        return _library.text_of(function, self._open_handle())

    def _check(self, status: int) -> None:
        if status != _library.OK:
            message = self._text(library.karst_reader_error_text) or _library.status_text(status)
            raise error_of(status, message, _library.name_of(self._file))


def records(file: File, *, on_skipped: Skipped | None = None) -> Reader:
    """The records of a file, one after the other: `for record in karst.records("books.iso")`. As Reader says."""
    return Reader(file, on_skipped)


def to_iso2709(record: bytes) -> bytes:
    """Writes a record in the internal form out as ISO 2709, in the charset it is in. Fields whose tag begins with "-"
    are left out.

    Raises:
        RecordError: it is no record in the internal form, or too long for ISO 2709.
    """
    return _convert(library.karst_to_iso2709, record)


def from_iso2709(record: bytes) -> bytes:
    """Turns an ISO 2709 record into the internal form, in the charset it is in.

    Raises:
        RecordError: it cannot be read without loss.
    """
    return _convert(library.karst_from_iso2709, record)


def _convert(function: Any, record: bytes) -> bytes:
    needed = c_size_t()
    status = function(record, len(record), None, 0, byref(needed))
    if status == _library.ERROR_ROOM:
        buffer = ctypes.create_string_buffer(needed.value)
        status = function(record, len(record), buffer, needed.value, byref(needed))
    if status != _library.OK:
        raise error_of(status, _library.status_text(status))
    return buffer.raw[: needed.value]
