"""The measuring half of bench/compare-records: processor time and memory of whole processes, taken in turn.

records.py PROGRAM ROUNDS
"""

import filecmp
import os
import subprocess
import sys
import tempfile

from measure import Run, big_file, write

MARC4J = "/usr/share/java/marc4j.jar"
PERL = """use MARC::Batch;
my $batch = MARC::Batch->new('USMARC', $ARGV[0]);
$batch->strict_off;
$batch->warnings_off;
binmode STDOUT;
while (my $record = $batch->next) { print $record->as_usmarc; }
"""
JAVA = """import java.io.*;
import org.marc4j.*;

public class Rewrite {
  public static void main(String[] names) throws Exception {
    MarcReader reader = new MarcStreamReader(new BufferedInputStream(new FileInputStream(names[0])), "ISO-8859-1");
    MarcWriter writer = new MarcStreamWriter(new BufferedOutputStream(System.out), "ISO-8859-1");
    while (reader.hasNext()) writer.write(reader.next());
    writer.close();
  }
}
"""


def commands(program, folder, big):
    subprocess.run(["javac", "-cp", MARC4J, "-d", folder, write(folder, "Rewrite.java", JAVA)], check=True)
    karst = [program, "convert", "--quiet", big, "-", "--to"]
    return {
        "karst": karst + ["iso2709"],
        "karst utf-8": karst + ["iso2709", "--to-charset", "utf-8"],
        "karst marcxml": karst + ["marcxml"],
        "karst lines": karst + ["lines"],
        "yaz": ["yaz-marcdump", "-o", "marc", big],
        "yaz marcxml": ["yaz-marcdump", "-o", "marcxml", big],
        "perl": ["/usr/bin/perl", write(folder, "rewrite.pl", PERL), big],
        "java": ["java", "-cp", f"{MARC4J}:{folder}", "Rewrite", big],
    }


def main():
    program, rounds = sys.argv[1], int(sys.argv[2])
    with tempfile.TemporaryDirectory() as folder:
        big = big_file(folder)
        target = os.path.join(folder, "output")
        runs = {}
        for _ in range(rounds):
            for name, command in commands(program, folder, big).items():
                runs.setdefault(name, []).append(Run(command, target))
                if name == "karst" and not filecmp.cmp(big, target, shallow=False):
                    raise SystemExit("the rewritten file is not the file")
        least = {name: min(values, key=lambda run: run.cpu) for name, values in runs.items()}
    print_table(least)


def print_table(least):
    rows = (
        ("yaz-marcdump: ISO 2709", "yaz", "yaz", ""),
        ("MARC::Batch: ISO 2709", "perl", "yaz", ""),
        ("marc4j: ISO 2709", "java", "yaz", ""),
        ("karst: ISO 2709", "karst", "yaz", "0.25"),
        ("karst: ISO 2709, GBK to UTF-8, against karst alone", "karst utf-8", "karst", "2"),
        ("karst: ISO 2709, GBK to UTF-8", "karst utf-8", "yaz", ""),
        ("yaz-marcdump: MARCXML", "yaz marcxml", "yaz marcxml", ""),
        ("karst: MARCXML, GBK to UTF-8", "karst marcxml", "yaz marcxml", "0.5"),
        ("karst: line form", "karst lines", "yaz", ""),
    )
    print("| 100 MB of ISO 2709, rewritten as | CPU s | wall s | peak MB | ratio | at most |")
    print("| --- | --- | --- | --- | --- | --- |")
    for what, name, peer, most in rows:
        run = least[name]
        ratio = run.cpu / least[peer].cpu
        print(f"| {what} | {run.cpu:.2f} | {run.wall:.2f} | {run.memory:.0f} | {ratio:.2f} | {most} |", flush=True)


main()
