"""What the measurements share: finished commands with their times, and a large file of records."""

import os
import subprocess
import time

HERE = os.path.dirname(os.path.abspath(__file__))
EXAMPLES = os.path.join(HERE, "..", "examples")
SIZE = 100 * 1024 * 1024


class Run:
    """Processor seconds, wall seconds and the largest memory of one finished command and its children."""

    def __init__(self, command, target=os.devnull):
        with open(target, "wb") as output:
            started = time.monotonic()
            process = subprocess.Popen(command, stdout=output, stderr=subprocess.DEVNULL)
            _, status, usage = os.wait4(process.pid, 0)
            self.wall = time.monotonic() - started
        self.cpu = usage.ru_utime + usage.ru_stime
        self.memory = usage.ru_maxrss / 1024
        if os.waitstatus_to_exitcode(status) != 0:
            raise SystemExit(f"failed: {' '.join(command)}")


def write(folder, name, text):
    path = os.path.join(folder, name)
    with open(path, "w", encoding="ascii", newline="") as file:
        file.write(text)
    return path


def big_file(folder):
    """Some 100 MB of records: the example records over and over."""
    with open(os.path.join(EXAMPLES, "books.iso"), "rb") as file:
        records = file.read()
    path = os.path.join(folder, "big.iso")
    with open(path, "wb") as file:
        for _ in range(SIZE // len(records) + 1):
            file.write(records)
    return path
