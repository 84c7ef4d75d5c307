"""A run of the program, with the pages that its script opens."""

import os
import pathlib
import re
import signal
import subprocess
import tempfile
import threading

from webdriver import wait_until

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = os.environ.get("KARST_PROGRAM", str(ROOT / "build" / "karst"))


class Folder:
    """A working folder with the files of a test."""

    def __init__(self, **files):
        self._folder = tempfile.TemporaryDirectory(prefix="karst-windows-")
        self.path = pathlib.Path(self._folder.name)
        for name, text in files.items():
            self.put(name.replace("_", "."), text)

    def put(self, name, text):
        """Text is written as scripts want it: GBK, lines with CR LF."""
        self.path.joinpath(name).write_bytes(text.replace("\n", "\r\n").encode("gbk"))

    def read(self, name):
        return self.path.joinpath(name).read_bytes().decode("gbk")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._folder.cleanup()


class Run:
    """The program at work in a folder; ended at the end of a with statement, if it has not come there itself."""

    def __init__(self, folder, *arguments, environment=None):
        without_screen = {k: v for k, v in os.environ.items() if k not in ("DISPLAY", "WAYLAND_DISPLAY")}
        self._process = subprocess.Popen(
            [PROGRAM, *arguments], cwd=folder.path, env={**without_screen, "LC_ALL": "C.UTF-8", **(environment or {})},
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, encoding="utf-8")
        self.errors = []
        self._reader = threading.Thread(target=self._read_errors, daemon=True)
        self._reader.start()

    def _read_errors(self):
        for line in self._process.stderr:
            self.errors.append(line.rstrip("\n"))

    def address(self, number=0):
        """The address of the page that was opened as that one, from 0."""
        def look():
            found = [re.search(r"http://\S+", line) for line in list(self.errors)]
            addresses = [match.group(0) for match in found if match]
            return addresses[number] if len(addresses) > number else None
        return wait_until(look, f"the address of window {number}; standard error: {self.errors}")

    def press_ctrl_c(self):
        self._process.send_signal(signal.SIGINT)

    def kill(self):
        self._process.kill()
        self._process.wait()

    def end(self, seconds=20):
        """Waits for the end. Gives the exit status and the lines of standard output."""
        output, _ = self._communicate(seconds)
        return self._process.returncode, output.splitlines()

    def _communicate(self, seconds):
        output = []
        reader = threading.Thread(target=lambda: output.append(self._process.stdout.read()), daemon=True)
        reader.start()
        self._process.wait(seconds)
        reader.join()
        self._reader.join()
        return output[0], self.errors

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self._process.poll() is None:
            self._process.kill()
            self._process.wait()
        self._reader.join()
        self._process.stdout.close()
        self._process.stderr.close()
