"""The measuring half of bench/compare: processor time of whole processes, taken in turn, start-up taken off.

compare.py PROGRAM ROUNDS
"""

import os
import statistics
import sys
import tempfile

from measure import HERE, Run, big_file, write

PEERS = {"python": ["/usr/bin/python3.11"], "perl": ["/usr/bin/perl"], "lua": ["/usr/bin/lua5.4"]}
ENDINGS = {"python": ".py", "perl": ".pl", "lua": ".lua"}
LOOPS = {
    "a": ("i = i + 1, s = s + i % 7", 10_000_000, 0.5),
    "b": ("two loops, an if and an else in braces", 10_000_000, 0.5),
    "c": ("append a byte, cut at 1,000", 10_000_000, 0.3),
    "d": ("the length of a text, by a built-in", 10_000_000, 0.6),
    "e": ('sprintf "%d:%s"', 3_000_000, 0.4),
}
TITLES = """Record {
Field "200" {
SubField "a" {
fnprintf("stdout", "%s\\n", _SUBFIELD)
}
}
}
"""
SUBFIELDS = """int n
Record {
Field "***" {
SubField "*" {
n = n + 1
}
}
}
Final
{
printf("%d", n)
}
"""
COUNTS = """int db
int rows
int i
int n
string key
db = DBCreate(1)
Record {
Field "***" {
SubField "*" {
key = _FIELDNAME
key << _SUBFIELDNAME
n = 0
DBSearch(db, key, 0, &n)
DBWrite(db, key, 0, n + 1)
}
}
}
Final
{
DBSort(db, "-1", "up")
rows = DBSearch(db, "", 0, &n)
loop i < rows
DBRead(db, i, &key, 0, &n)
printf("%s %d\\n", key, n)
i = i + 1
endloop
}
"""
COUNTS_AWK = r"""/^[0-9]/ && $1 >= "010" { n = split($0, part, /\$/); for (i = 2; i <= n; ++i) ++c[$1 substr(part[i], 1, 1)] }
END { for (k in c) print k, c[k] | "sort" }"""
AWK = r"""/^200/ { if (match($0, /\$a [^$]*/)) print substr($0, RSTART + 3, RLENGTH - 3) }"""


def write_program(folder, name, lines):
    """A source of this language, whose lines end in CR LF."""
    return write(folder, name, lines.replace("\n", "\r\n"))


def least(commands, rounds):
    """The least processor time of each command, the commands taken in turn: what else the machine did only adds."""
    times = {name: [] for name in commands}
    for _ in range(rounds):
        for name, command in commands.items():
            times[name].append(Run(command).cpu)
    return {name: min(values) for name, values in times.items()}


def startup(program, folder, rounds):
    empty = {"karst": [program, "run", write_program(folder, "empty.pro", "")]}
    for peer, command in PEERS.items():
        empty[peer] = command + [write(folder, "empty" + ENDINGS[peer], "")]
    wall = statistics.median(Run(empty["karst"]).wall for _ in range(rounds * 4))
    return least(empty, rounds * 4), wall


def compare_loops(program, folder, rounds):
    idle, wall = startup(program, folder, rounds)
    print(f"start-up of an empty script: {wall * 1000:.1f} ms, at most 5\n")
    print("| Loop | what a pass does | karst ns | python ns | perl ns | lua ns | karst / python | at most |")
    print("| --- | --- | --- | --- | --- | --- | --- | --- |")
    for name, (what, passes, most) in LOOPS.items():
        commands = {"karst": [program, "run", os.path.join(HERE, "loops", name + ".pro")]}
        for peer, command in PEERS.items():
            commands[peer] = command + [os.path.join(HERE, "loops", name + ENDINGS[peer])]
        took = least(commands, rounds)
        pass_time = {peer: (took[peer] - idle[peer]) / passes * 1e9 for peer in took}
        ratio = pass_time["karst"] / pass_time["python"]
        shown = " | ".join(f"{pass_time[peer]:.0f}" for peer in ("karst", "python", "perl", "lua"))
        print(f"| {name} | {what} | {shown} | {ratio:.2f} | {most} |", flush=True)


def compare_records(program, folder, rounds):
    big = big_file(folder)
    titles = write_program(folder, "titles.flt", TITLES)
    subfields = write_program(folder, "subfields.flt", SUBFIELDS)
    awk = write(folder, "titles.awk", AWK)
    counts_awk = write(folder, "counts.awk", COUNTS_AWK)
    commands = {
        "titles": [program, "filter", "--quiet", "--encoding", "gbk", titles, big],
        "subfields": [program, "filter", "--quiet", subfields, big],
        "counts": [program, "filter", "--quiet", write_program(folder, "counts.flt", COUNTS), big],
        "counting awk": ["/bin/sh", "-c", f"LC_ALL=C yaz-marcdump '{big}' | LC_ALL=C mawk -f '{counts_awk}'"],
        "dump": ["/bin/sh", "-c", f"LC_ALL=C yaz-marcdump '{big}' | LC_ALL=C mawk -f '{awk}'"],
    }
    runs = {name: [] for name in commands}
    for _ in range(rounds):
        for name, command in commands.items():
            runs[name].append(Run(command))
    cpu = {name: min(run.cpu for run in values) for name, values in runs.items()}
    memory = {name: max(run.memory for run in values) for name, values in runs.items()}
    print("\n| 100 MB of ISO 2709 | CPU s | peak MB | ratio | at most |")
    print("| --- | --- | --- | --- | --- |")
    print(f"| yaz-marcdump and awk: titles | {cpu['dump']:.2f} | | 1 | |")
    print(f"| karst: titles | {cpu['titles']:.2f} | {memory['titles']:.0f} | {cpu['titles'] / cpu['dump']:.2f} | 0.6 |")
    print(f"| yaz-marcdump and awk: subfields by tag and code | {cpu['counting awk']:.2f} | | 1 | |")
    ratio = cpu["counts"] / cpu["counting awk"]
    print(f"| karst: subfields by tag and code, in a table | {cpu['counts']:.2f} | {memory['counts']:.0f} | {ratio:.2f} | 0.6 |")
    print(f"| karst: every subfield | {cpu['subfields']:.2f} | {memory['subfields']:.0f} | | 2 s |", flush=True)


def main():
    program, rounds = sys.argv[1], int(sys.argv[2])
    with tempfile.TemporaryDirectory() as folder:
        compare_loops(program, folder, rounds)
        compare_records(program, folder, rounds)


main()
