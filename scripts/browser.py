"""Chromium without a screen, driven through a pipe by its DevTools protocol. The standard library alone."""

import base64
import fcntl
import json
import os
import shutil
import subprocess
import tempfile
import time

PATIENCE = 20


class Browser:
    """One tab. `logged` collects what the console of the page says, errors of its policy included."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="kyr-browser-")
        # High numbers, so that the child's 3 and 4 are not among them.
        to_read, to_write = (fcntl.fcntl(fd, fcntl.F_DUPFD_CLOEXEC, 20) for fd in os.pipe())
        from_read, from_write = (fcntl.fcntl(fd, fcntl.F_DUPFD_CLOEXEC, 20) for fd in os.pipe())

        def hand_over():
            os.dup2(to_read, 3)
            os.dup2(from_write, 4)

        options = ["--headless=new", "--remote-debugging-pipe", "--disable-gpu", "--no-first-run", "--disable-dev-shm-usage",
                   "--disable-background-networking", "--disable-component-update", "--ignore-certificate-errors",
                   f"--user-data-dir={self.folder}"]
        if os.geteuid() == 0:
            options.append("--no-sandbox")
        self.process = subprocess.Popen(["chromium", *options, "about:blank"], preexec_fn=hand_over, close_fds=False,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_read)
        os.close(from_write)
        self.write = os.fdopen(to_write, "wb", 0)
        self.read = from_read
        os.set_blocking(self.read, False)
        self.pending = b""
        self.number = 0
        self.session = None
        self.logged = []
        target = next(info for info in self.call("Target.getTargets")["targetInfos"] if info["type"] == "page")
        self.session = self.call("Target.attachToTarget", targetId=target["targetId"], flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log"):
            self.call(f"{domain}.enable")

    def close(self):
        self.process.terminate()
        self.process.wait(PATIENCE)
        self.write.close()
        os.close(self.read)
        shutil.rmtree(self.folder, ignore_errors=True)

    def _message(self, end):
        while b"\0" not in self.pending:
            try:
                part = os.read(self.read, 1 << 20)
                if not part:
                    raise ConnectionError("the browser has ended")
                self.pending += part
            except BlockingIOError:
                if time.monotonic() > end:
                    raise TimeoutError("the browser does not answer") from None
                time.sleep(0.005)
        text, self.pending = self.pending.split(b"\0", 1)
        return json.loads(text)

    def call(self, method, **params):
        self.number += 1
        request = {"id": self.number, "method": method, "params": params}
        if self.session:
            request["sessionId"] = self.session
        self.write.write(json.dumps(request).encode() + b"\0")
        end = time.monotonic() + PATIENCE
        while True:
            message = self._message(end)
            if message.get("id") == self.number:
                if "error" in message:
                    raise RuntimeError(f"{method}: {message['error']}")
                return message["result"]
            if message.get("method") == "Log.entryAdded":
                self.logged.append(message["params"]["entry"]["text"])
            elif message.get("method") == "Runtime.exceptionThrown":
                self.logged.append(json.dumps(message["params"]["exceptionDetails"]))

    def value(self, expression):
        """What an expression gives in the page; a promise is waited for."""
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(f"{expression}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def until(self, expression, what=None):
        """Waits until the expression holds; its value."""
        end = time.monotonic() + PATIENCE
        while True:
            value = self.value(expression)
            if value:
                return value
            if time.monotonic() > end:
                raise AssertionError(f"never came: {what or expression}; {self.value('document.body.innerText')!r}; {self.logged}")
            time.sleep(0.05)

    def open(self, url):
        self.call("Page.navigate", url=url)
        self.until("document.readyState === 'complete'")

    def type(self, text):
        self.call("Input.insertText", text=text)

    def press(self, key):
        code = {"Tab": 9, "Enter": 13}[key]
        extra = {"text": "\r"} if key == "Enter" else {}
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=key, code=key, windowsVirtualKeyCode=code,
                      **(extra if kind == "keyDown" else {}))

    def look(self, width, height, dark=False):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])

    def picture(self, file):
        data = self.call("Page.captureScreenshot", format="png", captureBeyondViewport=True)["data"]
        with open(file, "wb") as out:
            out.write(base64.b64decode(data))
