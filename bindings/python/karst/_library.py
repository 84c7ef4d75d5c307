"""Finds libkarst and declares its C interface."""

from __future__ import annotations

import ctypes
import os
from ctypes import CFUNCTYPE, POINTER, c_char_p, c_int, c_size_t, c_uint64, c_void_p
from typing import Any

UTF8 = 1
OK, END, SKIPPED = 0, 1, 2
ERROR_ROOM = -6

# A text that comes from C is an address and a length: it may hold NUL.
TextCallback = CFUNCTYPE(None, c_void_p, c_void_p, c_size_t)
MessageBoxCallback = CFUNCTYPE(c_int, c_void_p, c_void_p, c_size_t)
ProgressCallback = CFUNCTYPE(c_int, c_void_p, c_uint64, c_uint64, c_uint64)
SkippedCallback = CFUNCTYPE(None, c_void_p, c_uint64, c_void_p, c_size_t, c_void_p, c_size_t)

_HANDLE = c_void_p
_TEXT_IN = (c_char_p, c_size_t)
_TEXT_OUT = (POINTER(c_void_p), POINTER(c_size_t))
_CONVERSION = (*_TEXT_IN, c_char_p, c_size_t, POINTER(c_size_t))

# Name behind "karst_": result, arguments.
_FUNCTIONS: dict[str, tuple[Any, tuple[Any, ...]]] = {
    "version": (c_char_p, ()),
    "status_text": (c_char_p, (c_int,)),
    "engine_new": (_HANDLE, (c_int,)),
    "engine_free": (None, (_HANDLE,)),
    "run_script": (c_int, (_HANDLE, *_TEXT_IN, POINTER(c_int))),
    "load_filter": (c_int, (_HANDLE, *_TEXT_IN)),
    "filter_record": (c_int, (_HANDLE, *_TEXT_IN, *_TEXT_OUT)),
    "filter_file": (c_int, (_HANDLE, *_TEXT_IN)),
    "set_variable": (c_int, (_HANDLE, *_TEXT_IN, *_TEXT_IN)),
    "get_variable": (c_int, (_HANDLE, *_TEXT_IN, *_TEXT_OUT)),
    "stop": (None, (_HANDLE,)),
    "error_text": (c_void_p, (_HANDLE, POINTER(c_size_t))),
    "error_line": (c_int, (_HANDLE,)),
    "on_message": (c_int, (_HANDLE, TextCallback, c_void_p)),
    "on_output": (c_int, (_HANDLE, TextCallback, c_void_p)),
    "on_message_box": (c_int, (_HANDLE, MessageBoxCallback, c_void_p)),
    "on_progress": (c_int, (_HANDLE, ProgressCallback, c_void_p)),
    "on_skipped": (c_int, (_HANDLE, SkippedCallback, c_void_p)),
    "reader_new": (_HANDLE, (c_int,)),
    "reader_free": (None, (_HANDLE,)),
    "reader_open": (c_int, (_HANDLE, *_TEXT_IN)),
    "reader_next": (c_int, (_HANDLE,)),
    "reader_text": (c_void_p, (_HANDLE, POINTER(c_size_t))),
    "reader_raw": (c_void_p, (_HANDLE, POINTER(c_size_t))),
    "reader_offset": (c_uint64, (_HANDLE,)),
    "reader_reason": (c_void_p, (_HANDLE, POINTER(c_size_t))),
    "reader_position": (c_uint64, (_HANDLE,)),
    "reader_size": (c_uint64, (_HANDLE,)),
    "reader_error_text": (c_void_p, (_HANDLE, POINTER(c_size_t))),
    "to_iso2709": (c_int, _CONVERSION),
    "from_iso2709": (c_int, _CONVERSION),
}


def _load() -> ctypes.CDLL:
    name = os.environ.get("KARST_LIBRARY") or "libkarst.so.0"
    try:
        library = ctypes.CDLL(name)
        for function, (result, arguments) in _FUNCTIONS.items():
            entry = getattr(library, "karst_" + function)
            entry.restype, entry.argtypes = result, arguments
    except (OSError, AttributeError) as error:  # not there, or an older one
        raise ImportError(f"cannot use {name} ({error}); KARST_LIBRARY may name the file") from error
    return library


library = _load()


def version() -> str:
    """The version of the library, as "0.1.0"."""
    return str(library.karst_version(), "ascii")


def status_text(status: int) -> str:
    return str(library.karst_status_text(status), "ascii")


def bytes_at(address: int | None, length: int) -> bytes:
    return ctypes.string_at(address, length) if address else b""


def text_at(address: int | None, length: int) -> str:
    return bytes_at(address, length).decode("utf-8")


def bytes_of(function: Any, handle: int) -> bytes:
    """What a function gives that hands back a text and its length."""
    length = c_size_t()
    return bytes_at(function(handle, ctypes.byref(length)), length.value)


def text_of(function: Any, handle: int) -> str:
    # A message may name a file whose name is no UTF-8.
    return bytes_of(function, handle).decode("utf-8", "backslashreplace")


def text_in(text: str) -> tuple[bytes, int]:
    """A text as two arguments of a C function. A lone surrogate, which UTF-8 has no place for, is a ValueError."""
    data = text.encode("utf-8")
    return data, len(data)


def file_in(file: str | os.PathLike[str]) -> tuple[bytes, int]:
    """A file name as two arguments of a C function."""
    data = name_of(file).encode("utf-8", "surrogateescape")
    return data, len(data)


def name_of(file: str | os.PathLike[str]) -> str:
    """A file name as messages show it."""
    return os.fsdecode(file)
