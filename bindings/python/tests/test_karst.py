"""The module as its users meet it. Runs in a folder with books.iso, faulty.iso and title.flt."""

from __future__ import annotations

import contextlib
import gc
import io
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import threading
import unittest
import warnings

import karst

RECORD = "00000nam0 2200000   450 " + "001K1\x1e" + "2001 \x1fa红楼梦\x1ff曹雪芹\x1e" + "\x1d"

# Fails at each record whose title is "bad".
PICKY = """Record
{
	Field "200"
	{
		SubField "a"
		{
			if _SUBFIELD == "bad"
				call_of_nothing(1)
			soutput << _SUBFIELD
		}
	}
}
"""


def record(title: str) -> str:
    return RECORD.replace("红楼梦", title)


class Case(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def source(self, name: str, text: str) -> pathlib.Path:
        path = self.folder / name
        path.write_bytes(text.replace("\n", "\r\n").encode("gbk"))
        return path


class Run(Case):
    def test_result_and_output(self) -> None:
        script = self.source("a.pro", 'printf("%s,", "书")\nfnprintf("stdout", "%d", 5)\nstop 7\n')
        messages: list[str] = []
        output: list[str] = []
        result = karst.run(script, on_message=messages.append, on_output=output.append)
        self.assertEqual((result, "".join(messages), "".join(output)), (7, "书,", "5"))

    def test_prints_by_default(self) -> None:
        script = self.source("a.pro", 'printf("a")\nfnprintf("stdout", "b")\n')
        with contextlib.redirect_stdout(io.StringIO()) as printed:
            karst.run(script)
        self.assertEqual(printed.getvalue(), "ab")

    def test_message_box(self) -> None:
        script = self.source("a.pro", 'MsgBox("好?")\n')
        asked: list[str] = []
        self.assertEqual(karst.run(script, on_message_box=asked.append), 0)
        self.assertEqual(asked, ["好?"])

    def test_errors(self) -> None:
        script = self.source("a.pro", "int a\na = 1\na = nothing_of_the_kind\na = 2\n")
        with self.assertRaises(karst.ScriptError) as caught:
            karst.run(script, on_message=lambda text: None)
        self.assertIn(caught.exception.line, (3, 4))  # noticed at the end of its line
        self.assertIn("nothing_of_the_kind", caught.exception.message)
        self.assertTrue(str(caught.exception).startswith(f"{script}:{caught.exception.line}: "))
        asked: list[str] = []
        with self.assertRaises(karst.FileError) as missing:
            karst.run(self.folder / "missing.pro", on_message_box=asked.append)
        self.assertEqual((missing.exception.line, missing.exception.file), (0, str(self.folder / "missing.pro")))
        with self.assertRaisesRegex(karst.FileError, "cannot read '\U0010f7ff.pro'") as no_text:
            karst.run(os.fsdecode(b"\xff.pro"), on_message_box=asked.append)
        self.assertEqual(no_text.exception.file, os.fsdecode(b"\xff.pro"))

    def test_an_exception_of_a_callback_ends_the_run(self) -> None:
        script = self.source("a.pro", 'printf("a")\nloop 1\nendloop\n')

        def fail(text: str) -> None:
            raise ZeroDivisionError(text)

        with self.assertRaisesRegex(ZeroDivisionError, "a"):
            karst.run(script, on_message=fail)


class Filter(Case):
    def test_serves_record_after_record(self) -> None:
        with karst.Filter(self.source("a.flt", PICKY)) as picky:
            for _ in range(3):
                self.assertEqual(picky.run(record("三国演义")), "三国演义")
                with self.assertRaises(karst.ScriptError) as caught:
                    picky.run(record("bad"))
                self.assertIn(caught.exception.line, (8, 9))
            # What GBK has no place for comes back as it was.
            self.assertEqual(picky.run(record("\U0001f4da naïve")), "\U0001f4da naïve")
            with self.assertRaises(ValueError):
                picky.run("\ud800")

    def test_load_errors(self) -> None:
        with self.assertRaises(karst.ScriptError) as caught:
            karst.Filter(self.source("a.flt", 'Record\n{\n\tField 200\n\t{\n'))
        self.assertGreater(caught.exception.line, 0)
        with self.assertRaises(karst.FileError):
            karst.Filter("missing.flt", on_message_box=lambda text: None)

    def test_variables_outlast_runs(self) -> None:
        path = self.source("a.flt", 'Record\n{\n\tseen << "x"\n\tsoutput = seen\n}\n')
        with karst.Filter(path, variables={"seen": "书"}) as counting:
            self.assertEqual([counting.run(RECORD), counting.run(RECORD)], ["书x", "书xx"])
            counting.set_variable("seen", "")
            counting.run(RECORD)
            self.assertEqual(counting.get_variable("seen"), "x")
            for name in ("", "none"):
                with self.assertRaises(karst.Error):
                    counting.get_variable(name)

    def test_misuse(self) -> None:
        def reenter(text: str) -> None:
            with self.assertRaises(karst.Error):
                noisy.run(RECORD)
            with self.assertRaises(RuntimeError):
                noisy.close()
            heard.append(text)

        heard: list[str] = []
        noisy = karst.Filter(self.source("a.flt", 'Record\n{\n\tprintf("a")\n}\n'), on_message=reenter)
        self.assertEqual(noisy.run(RECORD), "")
        self.assertEqual(heard, ["a"])
        noisy.close()
        noisy.close()
        noisy.stop()
        with self.assertRaises(ValueError):
            noisy.run(RECORD)

    def test_threads_share_a_filter(self) -> None:
        shared = karst.Filter(self.source("a.flt", PICKY))
        wrong: list[str] = []

        def use(title: str) -> None:
            wrong.extend(got for got in (shared.run(record(title)) for _ in range(200)) if got != title)

        threads = [threading.Thread(target=use, args=(f"书{number}",)) for number in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(wrong, [])

    def test_is_stopped_from_another_thread(self) -> None:
        started = threading.Event()
        path = self.source("a.flt", 'Record\n{\n\tprintf("a")\n\tloop 1\n\tendloop\n}\n')
        endless = karst.Filter(path, on_message=lambda text: started.set())

        def stop() -> None:
            started.wait()
            endless.stop()

        stopper = threading.Thread(target=stop)
        stopper.start()
        with self.assertRaises(karst.Stopped):
            endless.run(RECORD)
        stopper.join()

    def test_is_freed_with_its_object(self) -> None:
        def resident() -> int:
            return int(pathlib.Path("/proc/self/statm").read_text().split()[1])

        path = self.source("a.flt", PICKY)
        for _ in range(50):
            karst.Filter(path).run(RECORD)
        gc.collect()
        before = resident()
        for _ in range(1000):
            karst.Filter(path).run(RECORD)
        gc.collect()
        self.assertLess(resident() - before, 2000, "pages grown by 1000 filters")


class RunFile(Case):
    def setUp(self) -> None:
        super().setUp()
        self.lines: list[str] = []
        path = self.source("a.flt", 'Record\n{\n\tprintf("%s", _RECORD)\n}\nFinal\n{\n\tprintf("end")\n}\n')
        self.filter = karst.Filter(path, on_message=self.lines.append)

    def test_prints_by_default(self) -> None:
        path = self.source("b.flt", 'Record\n{\n\tprintf(".")\n\tfnprintf("stdout", ":")\n}\n')
        with contextlib.redirect_stdout(io.StringIO()) as printed, karst.Filter(path) as dots:
            dots.run_file("books.iso")
            dots.run(RECORD)
        self.assertEqual((printed.getvalue().count("."), printed.getvalue().count(":")), (32, 33))

    def test_progress(self) -> None:
        calls: list[tuple[int, ...]] = []
        self.filter.run_file("books.iso", on_progress=lambda *numbers: calls.append(numbers))
        size = os.path.getsize("books.iso")
        self.assertEqual((calls[0], calls[-1]), ((0, size, 0), (size, size, 32)))
        self.assertEqual("".join(self.lines), "".join(karst.records("books.iso")) + "end")
        with self.assertRaises(karst.Stopped):
            self.filter.run_file("books.iso", on_progress=lambda position, size, records: records == 3)
        with self.assertRaises(karst.FileError):
            self.filter.run_file("missing.iso")

    def test_ctrl_c_ends_it(self) -> None:
        def interrupt(position: int, size: int, records: int) -> None:
            if records == 3:
                signal.raise_signal(signal.SIGINT)

        with self.assertRaises(KeyboardInterrupt):
            self.filter.run_file("books.iso", on_progress=interrupt)
        self.lines.clear()
        self.filter.run_file("books.iso")
        self.assertEqual("".join(self.lines), "".join(karst.records("books.iso")) + "end")

    def test_ctrl_c_is_not_lost_while_the_library_works(self) -> None:
        inner = "b = 0\nloop b < 30000\nb = b + 1\nendloop\n"
        text = f'int a\nint b\nloop a < 300\n{inner}a = a + 1\nprintf("a")\nendloop\n'
        script = self.source("a.pro", text)
        started = threading.Event()

        def interrupt() -> None:
            started.wait()
            os.kill(os.getpid(), signal.SIGINT)

        interrupter = threading.Thread(target=interrupt)
        interrupter.start()
        with self.assertRaises(KeyboardInterrupt):
            karst.run(script, on_message=lambda text: started.set())
        interrupter.join()

    def test_what_is_no_record(self) -> None:
        damaged = self.folder / "damaged.iso"
        good = pathlib.Path("books.iso").read_bytes()
        damaged.write_bytes(b"rubbish\0\xff" + good)
        skipped: list[tuple[int, bytes]] = []
        self.filter.run_file(damaged, on_skipped=lambda offset, data, reason: skipped.append((offset, data)))
        self.assertEqual(skipped, [(0, b"rubbish\0\xff")])
        with self.assertWarnsRegex(karst.SkippedWarning, "damaged.iso: 9 bytes at offset 0"), warnings.catch_warnings():
            warnings.simplefilter("always")
            self.filter.run_file(damaged)
        with self.assertRaises(karst.SkippedWarning):  # the tests run with warnings as errors
            self.filter.run_file(damaged)


class Records(Case):
    def test_are_the_whole_file(self) -> None:
        data = pathlib.Path("books.iso").read_bytes()
        damaged = self.folder / "damaged.iso"
        damaged.write_bytes(data[:700] + b"\0" + data[702:] + b"0123")
        pieces: list[tuple[int, bytes]] = []
        with karst.records(damaged, on_skipped=lambda offset, raw, reason: pieces.append((offset, raw))) as reader:
            pieces.extend((found.offset, found.raw) for found in reader)
            self.assertEqual(reader.position, reader.size)
        whole = b"".join(raw for _, raw in sorted(pieces))
        self.assertEqual(whole.replace(b"\n", b""), damaged.read_bytes().replace(b"\n", b""))

    def test_fields(self) -> None:
        first = next(karst.records("books.iso"))
        self.assertEqual(first.subfields("200", "a"), ["红楼梦"])
        self.assertEqual(first.fields("001"), [("001", "KS00000001")])
        self.assertEqual([tag for tag, _ in first.fields()], sorted(tag for tag, _ in first.fields()))
        self.assertEqual(first.subfields("999", "a"), [])

    def test_misuse(self) -> None:
        with self.assertRaises(karst.FileError):
            karst.records(self.folder / "missing.iso")
        reader = karst.records("books.iso")
        reader.close()
        reader.close()
        with self.assertRaises(ValueError):
            next(reader)

    def test_iso2709(self) -> None:
        for found in karst.records("books.iso"):
            self.assertEqual(karst.to_iso2709(karst.from_iso2709(found.raw)), found.raw)
        with self.assertRaises(karst.RecordError):
            karst.to_iso2709(record("x" * 10000).encode())
        with self.assertRaises(karst.RecordError):
            karst.from_iso2709(b"nothing")


class Module(Case):
    def test_says_where_it_looks_for_the_library(self) -> None:
        environment = os.environ | {"KARST_LIBRARY": "/nowhere/libkarst.so"}
        done = subprocess.run([sys.executable, "-c", "import karst"], env=environment, capture_output=True, text=True)
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, "ImportError: cannot use /nowhere/libkarst.so .*KARST_LIBRARY")

    def test_examples_of_the_readme(self) -> None:
        page = pathlib.Path("README.md").read_text(encoding="utf-8")
        blocks = re.findall(r"```(python|text|karst-filter)\n(.*?)```\n", page, re.DOTALL)
        self.assertGreater(len(blocks), 6)
        names: dict[str, object] = {}
        printed = ""
        for kind, text in blocks:
            if kind == "karst-filter":
                pathlib.Path("authors.flt").write_bytes(text.replace("\n", "\r\n").encode("gbk"))
            elif kind == "text":
                self.assertEqual(printed, text)
            else:
                with contextlib.redirect_stdout(io.StringIO()) as output:
                    exec(text, names)
                printed = output.getvalue()
