"""Runs sessions of the program, as tests/README.md shows them, and names file and line of what came otherwise.

    sessions.py PROGRAM FILE... [--only TEXT] [--write]     --write: puts what came into the files
"""

import argparse
import contextlib
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
SECONDS = 100
STEP = re.compile(r"== |= |\$ |# ")  # what begins a session, a file, a command, a remark


def shown(output, prefix=""):
    """Bytes as the sessions write them, in lines."""
    text = re.sub(r"[\x00-\x08\x0b-\x1f\x7f\udc80-\udcff]", lambda byte: f"<{ord(byte[0]) & 0xFF:02X}>",
                  output.decode("utf-8", "surrogateescape"))
    lines = text.removesuffix("\n").split("\n") if text else []
    if text and not text.endswith("\n"):
        lines[-1] += "<>"
    return [prefix + line for line in lines]


def without_blank_end(lines):
    while lines and not lines[-1].strip():
        lines = lines[:-1]
    return lines


def fits(expected, came):
    """Whether lines are those expected, where "..." stands for anything in a line, and alone for any lines."""
    pattern = "".join(r"(?:.*\n)*" if line in ("...", "! ...") else re.escape(line).replace(r"\.\.\.", ".*") + r"\n"
                      for line in expected)
    return re.fullmatch(pattern, "".join(line + "\n" for line in came)) is not None


class Session:
    def __init__(self, program, folder):
        self.folder = folder
        kept = {name: value for name, value in os.environ.items()
                if not re.match("LC_|LANG|DISPLAY|WAYLAND_DISPLAY", name)}
        path = f"{pathlib.Path(program).resolve().parent}:{os.environ['PATH']}"
        self.environment = kept | {"PATH": path, "ROOT": str(ROOT), "BASH_ENV": str(HERE / "prelude.bash"),
                                   "HOME": str(folder)}

    def run(self, command):
        """The lines that a session would show."""
        with tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as error:
            shell = subprocess.Popen(["bash", "-c", command], cwd=self.folder, env=self.environment,
                                     stdin=subprocess.DEVNULL, stdout=output, stderr=error, start_new_session=True)
            try:
                status = shell.wait(SECONDS)
            except subprocess.TimeoutExpired:
                status = "never"
            with contextlib.suppress(ProcessLookupError):
                os.killpg(shell.pid, signal.SIGKILL)  # what it has left running
            shell.wait()
            output.seek(0)
            error.seek(0)
            return (without_blank_end(shown(output.read())),
                    ["! " + line for line in without_blank_end(shown(error.read()))],
                    [f"? {status}"] if status else [])


def steps_of(path):
    """Line number, first line and the lines below it, for each session, file and command; first what precedes them."""
    steps = [(1, "", [])]
    for number, line in enumerate(path.read_text("utf-8").splitlines(), 1):
        in_file = steps[-1][1].startswith("= ")
        if STEP.match(line) and not (in_file and line.startswith("# ")):
            steps.append((number, line, []))
        else:
            steps[-1][2].append(line)
    return steps


def run_file(program, path, only, write):
    """Runs the sessions of a file and gives the number of faults."""
    faults, place, written, title = 0, None, [], ""
    for number, head, below in steps_of(path):
        body = without_blank_end(below)
        if body and head.startswith(("== ", "# ")):
            sys.exit(f"{path}:{number}: nothing looks at the lines below this one")
        if head.startswith("== "):
            title = head[3:]
            place = tempfile.TemporaryDirectory(prefix="karst-session-")
            folder = pathlib.Path(place.name, "work")
            folder.mkdir()
            session = Session(program, folder)
        elif head.startswith("= ") and only in title:
            (folder / head[2:]).write_text("".join(line + "\n" for line in body), "utf-8")
        elif head.startswith("$ ") and only in title:
            more = [line[2:] for line in body if line.startswith("> ")]
            output, error, status = session.run("\n".join([head[2:], *more]))
            expected = [line for line in body if not line.startswith("> ")]
            parts = [[line for line in expected if line[:2] not in ("! ", "? ")],
                     [line for line in expected if line.startswith("! ")],
                     [line for line in expected if line.startswith("? ")]]
            if not all(map(fits, parts, (output, error, status))):
                faults += 1
                came = [*output, *error, *status]
                if not write:
                    print(f"{path}:{number}: {title}\n  {head}\n--- expected\n" + "\n".join(expected)
                          + "\n--- came\n" + "\n".join(came), flush=True)
                below = [*body[:len(more)], *came, *below[len(body):]]
        written += [head, *below] if head else below
    if write:
        path.write_text("".join(line + "\n" for line in written), "utf-8")
    return faults


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("files", nargs="+", type=pathlib.Path)
    parser.add_argument("--only", default="")
    parser.add_argument("--write", action="store_true")
    asked = parser.parse_args()
    sys.exit(any([run_file(asked.program, path, asked.only, asked.write) for path in asked.files]))


if __name__ == "__main__":
    main()
