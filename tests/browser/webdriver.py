"""A browser under remote control: Chromium without a screen, driven over the WebDriver protocol."""

import base64
import http.client
import json
import os
import re
import subprocess
import tempfile
import time

_ELEMENT = "element-6066-11e4-a52e-4f735466cecf"
_ARGUMENTS = [
    "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
    "--disable-background-networking", "--disable-component-update", "--disable-sync",
    "--window-size=900,600", "--lang=zh-CN",
]


class WebDriverError(Exception):
    """What the driver refused, with its name for it."""


def wait_until(look, what, seconds=20.0):
    """Looks again and again until what is seen is true, and gives that."""
    end = time.monotonic() + seconds
    while True:
        seen = look()
        if seen:
            return seen
        if time.monotonic() > end:
            raise AssertionError(f"not within {seconds} s: {what}")
        time.sleep(0.03)


def _start_driver():
    """Starts the driver and gives it with its port. It takes a free port of one kind of address and ends where another
    program holds that port for the other kind, which tests that run beside this one do: then the next port is tried."""
    command = [os.environ.get("KARST_DRIVER", "chromedriver"), "--port=0"]
    said = ""
    for _ in range(10):
        driver = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        for line in driver.stdout:
            said += line
            found = re.search(r"successfully on port (\d+)", line)
            if found:
                return driver, int(found.group(1))
        driver.stdout.close()
        driver.wait()
    raise AssertionError(f"chromedriver did not start:\n{said}")


class Browser:
    """One browser with its driver; closed at the end of a with statement."""

    def __init__(self):
        self._profile = tempfile.TemporaryDirectory(prefix="karst-browser-", ignore_cleanup_errors=True)
        self._driver, self._port = _start_driver()
        options = {"args": _ARGUMENTS + [f"--user-data-dir={self._profile.name}"]}
        wanted = {"alwaysMatch": {"goog:chromeOptions": options, "unhandledPromptBehavior": "ignore"}}
        self._session = self._send("POST", "/session", {"capabilities": wanted})["sessionId"]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        try:
            self._call("DELETE", "")
        finally:
            self._driver.terminate()
            self._driver.wait()
            self._driver.stdout.close()
            self._profile.cleanup()

    def _send(self, method, path, body=None):
        connection = http.client.HTTPConnection("127.0.0.1", self._port, timeout=60)
        text = None if body is None else json.dumps(body)
        connection.request(method, path, text, {"Content-Type": "application/json"} if text else {})
        value = json.loads(connection.getresponse().read())["value"]
        connection.close()
        if isinstance(value, dict) and "error" in value:
            raise WebDriverError(f"{value['error']}: {value['message']}")
        return value

    def _call(self, method, path, body=None):
        return self._send(method, f"/session/{self._session}{path}", body)

    # --- Pages of the browser

    def new_page(self, address):
        """Opens an address in a page of its own, goes there and gives its handle."""
        handle = self._call("POST", "/window/new", {"type": "tab"})["handle"]
        self.go_to(handle)
        self._call("POST", "/url", {"url": address})
        return handle

    def go_to(self, handle):
        self._call("POST", "/window", {"handle": handle})

    def pages(self):
        return self._call("GET", "/window/handles")

    def close_page(self):
        """As the user does it; then no page is chosen."""
        self._call("DELETE", "/window")

    def reload(self):
        self._call("POST", "/refresh", {})

    def title(self):
        return self._call("GET", "/title")

    def run(self, script, *values):
        return self._call("POST", "/execute/sync", {"script": script, "args": list(values)})

    def picture(self):
        """The page as a PNG."""
        return base64.b64decode(self._call("GET", "/screenshot"))

    # --- The document in a page

    def enter_document(self):
        self.leave_document()
        self._call("POST", "/frame", {"id": self._find("#view")})

    def leave_document(self):
        self._call("POST", "/frame", {"id": None})

    def _find(self, selector):
        found = wait_until(lambda: self._call("POST", "/elements", {"using": "css selector", "value": selector}),
                           f"an element {selector}")
        return {_ELEMENT: found[0][_ELEMENT]}

    def text(self, selector):
        return self._call("GET", f"/element/{self._find(selector)[_ELEMENT]}/text")

    def click(self, selector):
        self._call("POST", f"/element/{self._find(selector)[_ELEMENT]}/click", {})

    def type(self, selector, text):
        self._call("POST", f"/element/{self._find(selector)[_ELEMENT]}/value", {"text": text})

    def clear(self, selector):
        self._call("POST", f"/element/{self._find(selector)[_ELEMENT]}/clear", {})

    def value(self, selector):
        return self._call("GET", f"/element/{self._find(selector)[_ELEMENT]}/property/value")
