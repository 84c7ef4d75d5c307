"""Runs scripts and filters."""

from __future__ import annotations

import os
import signal
import sys
import threading
import warnings
import weakref
from collections.abc import Callable, Mapping
from ctypes import byref, c_int, c_size_t, c_void_p
from typing import Any

from karst import _library
from karst._errors import SkippedWarning, error_of
from karst._library import library, text_at

File = str | os.PathLike[str]
TextSink = Callable[[str], object]
MessageBox = Callable[[str], int | None]
Progress = Callable[[int, int, int], object]
Skipped = Callable[[int, bytes, str], object]


def _print(text: str) -> None:
    sys.stdout.write(text)


class _Engine:
    """An engine of the library with its callbacks. An exception in a callback stops the run and comes out of it."""

    def __init__(
        self, on_message: TextSink | None, on_output: TextSink | None, on_message_box: MessageBox | None
    ) -> None:
        handle = library.karst_engine_new(_library.UTF8)
        if not handle:
            raise MemoryError("no memory for an engine")
        self._handle: int | None = handle
        self._free = weakref.finalize(self, library.karst_engine_free, handle)
        # Held from a call until its texts are copied. A callback may come back here; the library itself refuses it.
        self.lock = threading.RLock()
        self._handle_lock = threading.RLock()
        self._calls = 0
        self._raised: BaseException | None = None
        self._in_callback = False
        self._kept: dict[str, Any] = {}
        self._hear_text("on_message", on_message or _print)
        self._hear_text("on_output", on_output or _print)
        if on_message_box is not None:
            self._hear_message_box(on_message_box)

    def close(self) -> None:
        with self.lock, self._handle_lock:
            if self._calls > 0:
                raise RuntimeError("a filter cannot be closed by one of its callbacks")
            self._handle = None
            self._free()

    def stop(self) -> None:
        with self._handle_lock:
            library.karst_stop(self._handle)

    def call(self, function: Any, *arguments: Any, file: File | None = None) -> None:
        """Calls a function of the C interface, with the lock held. Failure becomes an exception."""
        if self._handle is None:
            raise ValueError("the filter is closed")
        self._calls += 1
        try:
            status = function(self._handle, *arguments)
        finally:
            self._calls -= 1
        if self._calls == 0:
            self._raise_kept()
        if status != _library.OK:
            raise self._error(self._handle, status, file)

    def run(self, function: Any, *arguments: Any, file: File | None = None) -> None:
        """As call, for what may take long. Ctrl-C, whose exception would be lost on the way through C, stops it."""
        in_main_thread = threading.current_thread() is threading.main_thread()
        if not in_main_thread or signal.getsignal(signal.SIGINT) is not signal.default_int_handler:
            return self.call(function, *arguments, file=file)
        signal.signal(signal.SIGINT, self._interrupt)
        try:
            self.call(function, *arguments, file=file)
        finally:
            signal.signal(signal.SIGINT, signal.default_int_handler)
            self._raise_kept()

    def _interrupt(self, *_: object) -> None:
        if self._in_callback:
            raise KeyboardInterrupt
        self._raised = KeyboardInterrupt()
        self.stop()

    def _raise_kept(self) -> None:
        raised, self._raised = self._raised, None
        if raised is not None:
            raise raised

    @staticmethod
    def _error(handle: int, status: int, file: File | None) -> Exception:
        failed = status < 0
        message = _library.text_of(library.karst_error_text, handle) if failed else ""
        line = library.karst_error_line(handle) if failed else 0
        name = None if file is None else _library.name_of(file)
        return error_of(status, message or _library.status_text(status), name, line)

    def hear(self, event: str, kind: Any, callback: Callable[..., Any], otherwise: Any = None) -> None:
        """Sets a callback. `otherwise` is the answer that C gets once something has been raised."""

        def guarded(_user: int | None, *arguments: Any) -> Any:
            try:
                self._in_callback = True
                if self._raised is None:
                    return callback(*arguments)
            except BaseException as raised:  # Ctrl-C among them
                self._in_callback = False
                self._raised = raised
                self.stop()
            finally:
                self._in_callback = False
            return otherwise

        pointer = kind(guarded)
        with self.lock:
            self.call(getattr(library, "karst_" + event), pointer, None)
            self._kept[event] = pointer

    def _hear_text(self, event: str, sink: TextSink) -> None:
        self.hear(event, _library.TextCallback, lambda address, length: sink(text_at(address, length)) and None)

    def _hear_message_box(self, answer: MessageBox) -> None:
        def ask(address: int | None, length: int) -> int:
            given = answer(text_at(address, length))
            return 1 if given is None else int(given)

        self.hear("on_message_box", _library.MessageBoxCallback, ask, 1)


def run(
    script: File,
    *,
    on_message: TextSink | None = None,
    on_output: TextSink | None = None,
    on_message_box: MessageBox | None = None,
) -> int:
    """Runs a script (.pro) and gives its result: 0, or the number of its "stop".

    Args:
        on_message: gets what the script writes with printf, in pieces. Default: to sys.stdout.
        on_output: gets what it writes to the file "stdout" with fnprintf. Default: to sys.stdout.
        on_message_box: gets the text of a message box and gives the answer, 1 (OK) if None. Default: the text goes to
            standard error, and the answer is 1.

    Ctrl-C takes effect at the next callback, or at the end of the script.

    Raises:
        ScriptError: a fault of the script, with its line.
        FileError: the script cannot be read, or a file that it writes to was not written whole.
    """
    engine = _Engine(on_message, on_output, on_message_box)
    result = c_int()
    try:
        with engine.lock:
            engine.run(library.karst_run_script, *_library.file_in(script), byref(result), file=script)
    finally:
        engine.close()
    return result.value


class Filter:
    """A filter (.flt), loaded once, to be run over records or files of records.

    A filter may be used by several threads; they wait for each other. To be closed, or used in a "with" statement;
    otherwise it is freed with the object.
    """

    def __init__(
        self,
        file: File,
        *,
        variables: Mapping[str, str] | None = None,
        on_message: TextSink | None = None,
        on_output: TextSink | None = None,
        on_message_box: MessageBox | None = None,
    ) -> None:
        """Loads the filter.

        Args:
            variables: texts that the filter uses without declaring them; see set_variable.
            on_message, on_output, on_message_box: as for karst.run. Without on_message, run drops what the filter
                writes with printf; run_file prints it.

        Raises:
            ScriptError: a fault of the filter, with its line.
            FileError: it cannot be read.
        """
        self._file = file
        self._over_file = False
        self._is_heard = not (on_message is on_output is on_message_box is None)
        self._engine = _Engine(on_message or self._print_message, on_output, on_message_box)
        for name, value in (variables or {}).items():
            self.set_variable(name, value)
        with self._engine.lock:
            self._engine.run(library.karst_load_filter, *_library.file_in(file), file=file)

    def run(self, record: str) -> str:
        """Runs the filter over one record in the internal form, and gives what it left in its variable "soutput".

        After an error the next record can be run: what is left of the failed run is cleared away.

        Raises:
            ScriptError: a fault of the filter at this record, with the filter's line.
            FileError: a file that the filter writes to was not written whole.
            Stopped: a callback, or stop in another thread, ended the run.
        """
        output, length = c_void_p(), c_size_t()
        # Guarding Ctrl-C takes longer than a small record; without callbacks there is hardly a place to lose it.
        call = self._engine.run if self._is_heard else self._engine.call
        with self._engine.lock:
            call(library.karst_filter_record, *_library.text_in(record), byref(output), byref(length), file=self._file)
            return text_at(output.value, length.value)

    def run_file(self, file: File, *, on_progress: Progress | None = None, on_skipped: Skipped | None = None) -> None:
        """Runs the filter over a file of records: its Root code once, each record, its Final code once.

        Args:
            on_progress: gets the bytes used so far, the bytes of the file (0 where they are not known, as with a pipe)
                and the number of records so far, ahead of each record. A true answer stops the run.
            on_skipped: gets what is no record and is passed over: where it begins, its bytes, and why it is none.
                Default: a SkippedWarning.

        Raises:
            ScriptError: a fault of the filter, with its line.
            FileError: the record file cannot be read, or a file that the filter writes to was not written whole.
            Stopped: on_progress, or stop in another thread, ended the run.
        """

        def progress(position: int, size: int, records: int) -> int:
            return 1 if on_progress is not None and on_progress(position, size, records) else 0

        skipped = on_skipped or warner(file)

        def passed_over(offset: int, address: int | None, length: int, reason: int | None, reason_length: int) -> None:
            skipped(offset, _library.bytes_at(address, length), text_at(reason, reason_length))

        with self._engine.lock:
            # Set in any case: it is where Ctrl-C is noticed.
            self._engine.hear("on_progress", _library.ProgressCallback, progress, 1)
            self._engine.hear("on_skipped", _library.SkippedCallback, passed_over)
            self._over_file = True
            try:
                self._engine.run(library.karst_filter_file, *_library.file_in(file), file=self._file)
            finally:
                self._over_file = False

    def set_variable(self, name: str, value: str) -> None:
        """Gives a text variable a value that outlasts the runs. A filter uses it without declaring it.

        Raises:
            Error: the name is empty, or name or value holds a NUL.
        """
        with self._engine.lock:
            self._engine.call(library.karst_set_variable, *_library.text_in(name), *_library.text_in(value))

    def get_variable(self, name: str) -> str:
        """The value of such a variable.

        Raises:
            Error: there is none of that name that holds a text.
        """
        value, length = c_void_p(), c_size_t()
        with self._engine.lock:
            self._engine.call(library.karst_get_variable, *_library.text_in(name), byref(value), byref(length))
            return text_at(value.value, length.value)

    def stop(self) -> None:
        """Ends the run that the filter is in, if any. For another thread or a callback."""
        self._engine.stop()

    def close(self) -> None:
        """Frees the filter. It cannot be used any more."""
        self._engine.close()

    def _print_message(self, text: str) -> None:
        if self._over_file:
            _print(text)

    def __enter__(self) -> Filter:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


def warner(file: File) -> Skipped:
    """What becomes of a stretch that is no record where nobody listens: a warning."""

    def warn(offset: int, data: bytes, reason: str) -> None:
        text = f"{_library.name_of(file)}: {len(data)} bytes at offset {offset} are no record: {reason}"
        warnings.warn(text, SkippedWarning, stacklevel=2)

    return warn
