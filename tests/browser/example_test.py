"""The example with a window, used as its user would; the picture of it in the documentation is taken here.

With KARST_PICTURES the picture goes to that folder: KARST_PICTURES=docs/images python3 -m unittest discover ...
"""

import os
import pathlib
import unittest

from karst_run import ROOT, Folder, Run
from window_case import WindowCase

SCRIPT = str(ROOT / "examples" / "search.flt")
BOOKS = str(ROOT / "examples" / "books.iso")


class SearchTest(WindowCase):
    def rows(self):
        return self.browser.run("return document.querySelectorAll('main tr').length")

    def test_search_open_mark_and_write(self):
        with Folder() as folder, Run(folder, "filter", "-q", SCRIPT, BOOKS) as run:
            self.show(run)
            self.assertEqual(self.rows(), 33)
            self.browser.type("[name=title]", "红")
            self.browser.click("#search")
            self.wait_for_page(2)
            self.assertEqual(self.browser.value("[name=title]"), "红")
            self.assertEqual(self.browser.text(".note"), "题名中有“红”的 1 种, 共 32 种。")
            self.browser.click("#open1")
            self.wait_for_page(3)
            self.assertEqual(self.browser.text("h2"), "红楼梦")
            self.assertIn("$a红楼梦 $9hong lou meng $f(清)曹雪芹著", self.browser.text("table"))
            self.browser.click("#mark")
            self.wait_for_page(4)
            self.browser.click("#back")
            self.wait_for_page(5)
            self.assertEqual(self.browser.text("#mark1"), "★")
            self.browser.clear("[name=title]")
            self.browser.type("[name=title]", "国")
            self.browser.click("#search")
            self.wait_for_page(6)
            self.browser.click("#mark3")
            self.wait_for_page(7)
            self.browser.click("#write")
            self.wait_for_page(8)
            self.assertEqual(self.browser.text(".done"), "已写入 2 条记录 (标记 2 条): marked.iso")
            self.keep_picture("search.png")
            self.browser.click("#quit")
            self.assertEqual(run.end(), (0, ["标记 2 种, 写入 2 条"]))
            self.check_records(folder)

    def check_records(self, folder):
        """The file holds the two records, byte for byte as they came."""
        records = pathlib.Path(BOOKS).read_bytes().split(b"\x1d")
        self.assertEqual(folder.path.joinpath("marked.iso").read_bytes(), records[0] + b"\x1d" + records[2] + b"\x1d")

    def keep_picture(self, name):
        self.browser.leave_document()
        picture = self.browser.picture()
        self.assertTrue(picture.startswith(b"\x89PNG"))
        self.assertLess(len(picture), 200_000)
        if "KARST_PICTURES" in os.environ:
            pathlib.Path(os.environ["KARST_PICTURES"], name).write_bytes(picture)
        self.browser.enter_document()


if __name__ == "__main__":
    unittest.main()
