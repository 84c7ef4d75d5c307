"""Runs a filter over each record of a file and prints what it leaves in "soutput". Usage: host.py FILTER RECORDS"""

import sys

import karst


def main(filter_file: str, record_file: str) -> int:
    failures: list[object] = []

    def passed_over(offset: int, data: bytes, reason: str) -> None:
        failures.append(reason)
        print(f"passed over {len(data)} bytes at {offset}: {reason}", file=sys.stderr)

    with karst.Filter(filter_file) as titles:
        try:
            for record in karst.records(record_file, on_skipped=passed_over):
                try:
                    print(titles.run(record))
                except karst.ScriptError as error:
                    failures.append(error)
                    print(error, file=sys.stderr)
        except karst.FileError as error:  # the file cannot be opened, or read to its end
            failures.append(error)
            print(error, file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: host.py FILTER RECORDS")
    sys.exit(main(*sys.argv[1:]))
