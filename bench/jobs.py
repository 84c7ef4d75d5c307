"""The measuring half of bench/jobs: the best time by the clock of several runs over 100 MB of records.

jobs.py PROGRAM ROUNDS
"""

import os
import resource
import subprocess
import sys
import tempfile
import time

EXAMPLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "examples")
SIZE = 100 * 1024 * 1024
LEAST = 1.7


def cpu_seconds():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def run(command, folder):
    """The seconds by the clock and those of the processors."""
    wall, cpu = time.perf_counter(), cpu_seconds()
    with open(os.path.join(folder, "output"), "wb") as output:
        subprocess.run(command, cwd=folder, stdout=output, stderr=subprocess.DEVNULL, check=True)
    return time.perf_counter() - wall, cpu_seconds() - cpu


def main(program, rounds):
    with open(os.path.join(EXAMPLES, "books.iso"), "rb") as file:
        records = file.read()
    with tempfile.TemporaryDirectory() as folder:
        big = os.path.join(folder, "big.iso")
        with open(big, "wb") as file:
            for _ in range(SIZE // len(records) + 1):
                file.write(records)
        print(f"| 100 MB of ISO 2709 | one thread s | two threads s | CPU s of one, of two | ratio, at least {LEAST} |")
        print("|---|---|---|---|---|")
        for name in ("validate", "titles", "newbooks", "cleanup"):
            best = {jobs: (float("inf"), 0.0) for jobs in "12"}
            for _ in range(rounds):
                for jobs in best:
                    filter_file = os.path.join(EXAMPLES, name + ".flt")
                    command = [program, "filter", "--quiet", "--jobs", jobs, filter_file, big]
                    best[jobs] = min(best[jobs], run(command, folder))
            (one, one_cpu), (two, two_cpu) = best["1"], best["2"]
            print(f"| {name}.flt | {one:.2f} | {two:.2f} | {one_cpu:.2f}, {two_cpu:.2f} | {one / two:.2f} |", flush=True)


main(os.path.abspath(sys.argv[1]), int(sys.argv[2]))
