"""The measuring half of bench/jobs: the best time by the clock of several runs over 100 MB of records.

jobs.py PROGRAM ROUNDS
"""

import os
import sys
import tempfile

from measure import EXAMPLES, Run, big_file

LEAST = 1.7


def main(program, rounds):
    with tempfile.TemporaryDirectory() as folder:
        big = big_file(folder)
        os.chdir(folder)  # some filters write files
        print(f"| 100 MB of ISO 2709 | one thread s | two threads s | CPU s of one, of two | ratio, at least {LEAST} |")
        print("|---|---|---|---|---|")
        for name in ("validate", "titles", "newbooks", "cleanup"):
            best = {}
            for _ in range(rounds):
                for jobs in (1, 2):
                    filter_file = os.path.join(EXAMPLES, name + ".flt")
                    command = [program, "filter", "--quiet", "--jobs", str(jobs), filter_file, big]
                    run = Run(command, os.path.join(folder, "output"))
                    best[jobs] = min(best.get(jobs, run), run, key=lambda each: each.wall)
            one, two = best[1], best[2]
            print(f"| {name}.flt | {one.wall:.2f} | {two.wall:.2f} | {one.cpu:.2f}, {two.cpu:.2f} | "
                  f"{one.wall / two.wall:.2f} |", flush=True)


main(os.path.abspath(sys.argv[1]), int(sys.argv[2]))
