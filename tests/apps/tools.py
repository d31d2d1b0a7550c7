"""Starts the tools as processes for the tests beside this file."""

import contextlib
import json
import os
import signal
import subprocess
import tempfile
import threading
import unittest

BIN = os.environ["KYR_BIN_DIR"]
BUILD = os.path.dirname(BIN)
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
WAIT = 6

# A console that is told no database takes the user's own: here that is an empty one, and nobody's.
_data = tempfile.TemporaryDirectory(prefix="kyr-data-")
os.environ["XDG_DATA_HOME"] = os.environ["XDG_STATE_HOME"] = _data.name
os.environ.pop("STATE_DIRECTORY", None)


def console(*arguments, stdin="", env=None, prefix=(), database="memory", cwd=None):
    """Runs the console to its end: (exit code, standard output, standard error)."""
    result = subprocess.run([*prefix, f"{BIN}/kyr_console", "--database", database, *arguments], input=stdin, capture_output=True, text=True,
                            timeout=4 * WAIT, env={**os.environ, **(env or {})}, cwd=cwd)
    return result.returncode, result.stdout, result.stderr


class Running:
    """A tool that runs beside the test; `until` waits for a line, leaving the block ends it. A prefix is a program that
    becomes the tool, such as nsenter."""

    def __init__(self, program, *arguments, prefix=(), **options):
        self.process = subprocess.Popen([*prefix, f"{BIN}/{program}", *map(str, arguments)], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
        self.lines = []
        self.changed = threading.Condition()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            with self.changed:
                self.lines.append(line.rstrip("\n"))
                self.changed.notify_all()
        with self.changed:
            self.lines.append(None)
            self.changed.notify_all()

    def until(self, text, wait=WAIT):
        """The first line not seen yet that contains the text; those before it are taken as seen."""
        with self.changed:
            seen = []
            while True:
                while self.lines:
                    line = self.lines.pop(0)
                    if line is None:
                        raise AssertionError(f"ended before it said {text!r}: {seen}")
                    seen.append(line)
                    if text in line:
                        return line
                if not self.changed.wait(wait):
                    raise AssertionError(f"did not say {text!r}: {seen}")

    def kill(self):
        """As a power cut does; instead of leaving the block."""
        self.process.kill()
        self.process.wait(WAIT)
        self.process.stdin.close()
        self.process.stdout.close()

    @contextlib.contextmanager
    def standing_still(self):
        self.process.send_signal(signal.SIGSTOP)
        try:
            yield
        finally:
            self.process.send_signal(signal.SIGCONT)

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.process.terminate()
        try:
            code = self.process.wait(WAIT)
        except subprocess.TimeoutExpired:
            self.process.kill()
            raise AssertionError("does not end when asked to")
        finally:
            self.process.stdin.close()
            self.process.stdout.close()
        # Asked to end, each tool does so in good order; a sanitizer's finding shows here.
        assert code == 0, f"ended with {code}: {self.lines}"


def simulator(*arguments, prefix=()):
    """A simulator on ports that the system chose: (running tool, what it said of each device and of all)."""
    tool = Running("kyr_device_simulator", "--udp-port", 0, "--tcp-port", 0, "--log-file", "none", *arguments,
                   prefix=prefix)
    devices = []
    while True:
        object_ = json.loads(tool.until("{"))
        if "ready" in object_:
            return tool, devices, object_
        devices.append(object_)


main = unittest.main
