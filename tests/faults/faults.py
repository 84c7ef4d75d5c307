"""Runs the program, and a host on the C interface, with one fault at a time, and checks what comes of it:

The output is whole, or the status is not 0 and standard error names the file (says that memory ran out). Files that are
replaced are the old or the new ones. Nothing else is left behind, and nothing crashes. A short or interrupted transfer
is no fault at all.

    faults.py PROGRAM LIBRARY HOST [--every] [--only TEXT] [--jobs N]
"""

import argparse
import collections
import concurrent.futures
import dataclasses
import errno
import functools
import os
import pathlib
import re
import resource
import struct
import subprocess
import tempfile

KINDS = ["read", "write", "open", "close", "rename", "sync", "memory"]
PAGE = struct.Struct("@8q1024s")  # the library's struct Page
SHORT = 0
# The numbers of errors that each kind of call fails with, and whether it fails for good.
FAULTS = {
    "read": [(errno.EIO, False), (errno.EINTR, False), (SHORT, False)],
    "write": [(errno.ENOSPC, False), (errno.ENOSPC, True), (errno.EINTR, False), (SHORT, False)],
    "open": [(errno.EMFILE, False), (errno.EMFILE, True)],
    "close": [(errno.EIO, False)],
    "rename": [(errno.EACCES, False)],
    "sync": [(errno.EIO, False)],
    "memory": [(errno.ENOMEM, False), (errno.ENOMEM, True)],
}
# What was written may be gone, though this run cannot show it.
LOST_WITHOUT_A_TRACE = ("close", "sync")
SAMPLE = 24  # of the allocations of a command, of an example a quarter, of the host all
SECONDS = 60
ROOT = pathlib.Path(__file__).resolve().parents[2]


def iso(number, title):
    """A record in ISO 2709."""
    fields = [("001", b"KS%08d" % number), ("200", b"1 \x1fa" + title.encode("gbk") + b"\x1ff" + b"x" * 4000)]
    directory = data = b""
    for tag, body in fields:
        directory += b"%s%04d%05d" % (tag.encode(), len(body) + 1, len(data))
        data += body + b"\x1e"
    base = 24 + len(directory) + 1
    return b"%05dnam0 22%05d   450 " % (base + len(data) + 1, base) + directory + b"\x1e" + data + b"\x1d"


def source(text):
    return text.replace("\n", "\r\n").encode("gbk")


RECORDS = [iso(i, f"红楼梦 第{i}回") for i in range(20)]
BOOKS, SMALL = b"".join(RECORDS), b"".join(RECORDS[:3])
BROKEN = BOOKS[:50_000] + b"no record\x1d" * 10_000 + BOOKS[50_000:]
WRITE = 'Record {\nField "200" {\nSubField "a" {\n%s\n}\n}\n}\n'


def to(name, lines=1):
    return source(WRITE % "\n".join([f'fnprintf({name}, "%-900s\\n", _SUBFIELD)'] * lines))


TO_HOSTS_FILE = 'fnprintf(HyperFn, "%s", _SUBFIELD)'
LOOK_UP = 'string record\nprintf("%d%s", ZebGetRcd("a", "KS00000001", &record), record)\n'
# A loop, so that its statements are run from the text and from what is remembered of it, over built-ins of most families.
TEXTS = r"""int i = 0
string s
string t
int h = DBCreate(2)
loop i < 4
s = "http://host/p?a=1&b=<a value of some length>"
t = s + s
t << "红<楼>梦"
URLDelParam(&s, 0, "a")
HTMLString(&s)
CanonicalizeURL(&s)
EscapeString(&s, "abc")
StrReplace(&s, "a", "another part")
LineBreak(&t, 20, "<br>", "<>")
StrCat(&t, s)
DBWrite(h, s, 1, i, t)
DBRead(h, 0, &s, 1, &i, &t)
{
string x = "a text that needs memory, of its own"
sprintf(&x, "%s %60d %d", s, StrLen(t), i)
printf("%s %s\n", x, t)
}
VerifyISBN("7-5044-1234-5 and more than there should be", &t)
printf("%s", t)
i = i + 1
endloop
MsgBox("")
"""
# The names that one filter writes to are more than the program may have open at once.
MANY = source(r"""int n = 0
string name
Record {
sprintf(&name, "part%d.txt", n % 18)
fnprintf(name, "%d\n", n)
n = n + 1
}
""")


@dataclasses.dataclass
class Command:
    """A run: what is there before it, what it writes. `replaced`: files that have an old form. `made`: files that the
    script itself makes, which a run that ends early leaves where it stood."""

    name: str
    arguments: list[str]
    files: dict[str, bytes]
    replaced: tuple[str, ...] = ()
    kinds: tuple[str, ...] = tuple(KINDS)
    most_files: int = 0
    host: bool = False
    made: tuple[str, ...] = ()
    sample: int = SAMPLE


def commands():
    books = {"books.iso": BOOKS}

    def filtered(name, script, *options, records=BOOKS, **more):
        files = {"books.iso": records, "a.flt": script}
        return Command(name, ["filter", *options, "a.flt", "books.iso"], files, **more)

    yield filtered("filter to a file", to('"out.txt"'))
    yield filtered("filter to standard output", to('"stdout"', 3))
    yield filtered("filter with rejects", to('"out.txt"'), "--rejects", "bad.bin", records=BROKEN)
    yield filtered("filter with messages", source('Record {\nprintf("%s\\n", _RECORD)\n}\n'), "--messages", "told.txt")
    yield filtered("filter on two threads", to('"out.txt"'), "--jobs", "2")
    yield filtered("filter to many files", MANY, most_files=16)
    yield filtered("filter with a database", source(LOOK_UP), "--database", "a=books.iso", records=SMALL)
    for target in "out.xml", "out.iso", "out.xml.gz":
        yield Command(f"convert to {target}", ["convert", "books.iso", target], books, (target,))
    yield Command("convert to standard output", ["convert", "books.iso", "-", "--to", "lines"], books)
    yield Command("split", ["split", "--every", "8", "books.iso"], books, tuple(f"books-000{i}.iso" for i in (1, 2, 3)))
    yield Command("help", ["filter", "--help"], {})
    yield Command("check --fix", ["check", "--fix", "to.flt"], {}, ("to.flt",))
    yield Command("host", [], {"books.iso": SMALL, "texts.pro": source(TEXTS),
                               "titles.flt": source(WRITE % TO_HOSTS_FILE)}, host=True, sample=10_000)


def examples():
    """The scripts of the documentation call everything that a script can call."""
    for page in "language", "builtins":
        text = (ROOT / f"docs/{page}.md").read_text()
        for match in re.finditer(r"```karst\n([^`]*)```\n\n```output\n([^`]*)", text):
            if re.search(r"第\d+行: ", match[2]):
                continue  # it fails by itself
            name = f"{page}.md:{text.count(chr(10), 0, match.start()) + 2}"
            yield Command(name, ["run", "--windows", "memory", "example.pro"], {"example.pro": source(match[1])},
                          kinds=("memory",), sample=SAMPLE // 4,
                          made=tuple(re.findall(r'Open\("([^"]+)", "c"\)', match[1])))


# What replaced files hold before.
OLD = {"to.flt": to('"out.txt"').replace(b"\r\n", b"\n")}


Outcome = collections.namedtuple("Outcome", "status output told files counts struck path")


class Bench:
    def __init__(self, program, library, host):
        self.program, self.library, self.host = program, library, host

    def run(self, command, kind="read", at=0, error=SHORT, stays=False):
        with tempfile.TemporaryDirectory(prefix="karst-faults-") as name:
            folder = pathlib.Path(name, "work")
            folder.mkdir()
            for file, content in command.files.items():
                (folder / file).write_bytes(content)
            for file in command.replaced:
                (folder / file).write_bytes(OLD.get(file, b"old"))
            page = pathlib.Path(name, "page")
            page.write_bytes(bytes(PAGE.size))
            environment = {
                "LD_PRELOAD": self.library,
                "KARST_FAULT_PAGE": str(page),
                "KARST_FAULT": f"{KINDS.index(kind)} {at} {error} {stays:d}",
                "TMPDIR": str(folder),
                "LC_ALL": "C.UTF-8",
            }
            if command.host:
                environment["KARST_FAULT_WAIT"] = "1"
            argv = [self.host] if command.host else [self.program, *command.arguments]
            limit = lambda: resource.setrlimit(resource.RLIMIT_NOFILE, 2 * (command.most_files,))
            ended = subprocess.run(argv, cwd=folder, env=environment, stdin=subprocess.DEVNULL, capture_output=True,
                                   timeout=SECONDS, preexec_fn=limit if command.most_files else None)
            *counts, struck, path = PAGE.unpack(page.read_bytes())
            files = {str(p.relative_to(folder)): p.read_bytes() for p in folder.rglob("*") if p.is_file()}
            return Outcome(ended.returncode, ended.stdout, ended.stderr.decode(errors="replace"), files, counts,
                           bool(struck), path.rstrip(b"\0").decode(errors="replace"))


def faults_of(command, whole, outcome, kind, gentle):
    """What is wrong with an outcome; nothing, for a good one."""
    status = f"status {outcome.status}"
    if outcome.status < 0 or outcome.status in (99, 134, 139):
        yield f"ended with {outcome.status}"
        return
    if outcome.status == 0 or gentle:
        came = outcome.files | {"standard output": outcome.output}
        wanted = whole.files | {"standard output": whole.output}
        for name in came.keys() | wanted.keys():
            if came.get(name) != wanted.get(name):
                yield f"{status}, but {name} is not whole"
        if outcome.status != 0 or (kind in LOST_WITHOUT_A_TRACE and outcome.struck):
            yield status
    elif kind == "memory":
        if not re.search("memory|mem low|malloc", outcome.told) or "line 0: mem low" in outcome.told:
            yield f"{status}, but no word about memory, or no line"
    else:
        # A passing name stands for the file that it would have become.
        known, name = [*whole.files, "standard output", "standard input"], outcome.path.rpartition("/")[2]
        if not any(word in outcome.told for word in ([name] if name in known else known)):
            yield f"{status}, but {outcome.path} is not named"
    for name in command.files:
        if outcome.files.get(name) != whole.files[name]:
            yield f"{name} was changed"
    for name in command.replaced:
        if outcome.files.get(name) not in (OLD.get(name, b"old"), whole.files[name]):
            yield f"{name} is neither the old nor the new one"
    for name in outcome.files.keys() - whole.files.keys():
        if name not in command.made and not (name.endswith(".partial") and name in outcome.told):
            yield f"{name} is left behind"


def plans(command, whole, every):
    for kind in command.kinds:
        count = whole.counts[KINDS.index(kind)]
        step = 1 if every or kind != "memory" else max(1, count // command.sample)
        for at in range(1, count + 1, step):
            for error, stays in FAULTS[kind]:
                yield kind, at, error, stays


def check(bench, command, whole, plan):
    kind, at, error, stays = plan
    what = f"{command.name}: {kind} {at} {errno.errorcode.get(error, 'short')}{' for good' if stays else ''}"
    try:
        outcome = bench.run(command, *plan)
    except subprocess.TimeoutExpired:
        return [f"{what}: did not end"]
    gentle = error in (SHORT, errno.EINTR)
    found = [f"{what} ({outcome.path}): {fault}" for fault in faults_of(command, whole, outcome, kind, gentle)]
    return [f"{line}\n    {outcome.told.strip()[:300]}" for line in found]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tools", nargs=3, metavar="PROGRAM LIBRARY HOST")
    parser.add_argument("--every", action="store_true", help="every allocation, not a sample")
    parser.add_argument("--only", default="", help="the commands, or kinds of calls, with this in their names")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    options = parser.parse_args()
    bench = Bench(*map(os.path.abspath, options.tools))
    found, runs = [], 0
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for command in [*commands(), *examples()]:
            whole = bench.run(command)
            if whole.status != 0:
                found.append(f"{command.name}: status {whole.status} without a fault\n    {whole.told}")
                continue
            chosen = [p for p in plans(command, whole, options.every) if options.only in f"{command.name} {p[0]}"]
            runs += len(chosen)
            for faults in pool.map(functools.partial(check, bench, command, whole), chosen):
                found += faults
    print(*found, f"{runs} runs, {len(found)} faults", sep="\n")
    raise SystemExit(bool(found) or runs == 0)


if __name__ == "__main__":
    main()
