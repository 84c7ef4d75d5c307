"""What tests of windows in a browser have in common."""

import atexit
import unittest

from karst_run import Folder, Run
from webdriver import Browser, wait_until


class WindowCase(unittest.TestCase):
    """One browser for all tests, with one page that stays."""

    browser = None

    @classmethod
    def setUpClass(cls):
        if not WindowCase.browser:
            WindowCase.browser = Browser()
            WindowCase.home = cls.browser.pages()[0]
            atexit.register(cls.browser.__exit__)

    def start(self, script, page_html, shown=True, **files):
        """Runs a script in a folder of its own until the test ends, and shows its first window."""
        self.folder = self.enterContext(Folder(a_pro=script, page_html=page_html, **files))
        run = self.enterContext(Run(self.folder, "run", "a.pro"))
        if shown:
            self.show(run)
        return run

    def tearDown(self):
        for handle in self.browser.pages():
            if handle != self.home:
                self.browser.go_to(handle)
                self.browser.close_page()
        self.browser.go_to(self.home)

    def show(self, run, number=0, files_shown=1):
        """Opens the page of a window and waits until it shows that file, counted from 1."""
        handle = self.browser.new_page(run.address(number))
        self.wait_for_page(files_shown)
        return handle

    def wait_for_page(self, number):
        self.browser.leave_document()
        wait_until(lambda: self.browser.run("return document.body.dataset.page") == str(number), f"page {number}")
        self.browser.enter_document()

    def shell(self, script):
        """Runs a script in the page around the document."""
        self.browser.leave_document()
        return self.browser.run(script)

    def wait_for_end(self, text):
        wait_until(lambda: self.shell("return document.getElementById('reason').textContent") == text, text)
