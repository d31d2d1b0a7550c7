"""The console at a terminal: what is typed and what is seen."""

import fcntl
import os
import pty
import re
import select
import signal
import struct
import subprocess
import tempfile
import termios
import time
import unittest

from tools import BIN, WAIT, Running, main


class Terminal:
    """A console on a terminal of its own, and what stands on the screen."""

    def __init__(self, *arguments, columns=80, rows=24, **env):
        self.columns, self.rows = columns, rows
        self.lines, self.row, self.column, self.inserts = [""], 0, 0, False
        self.master, end = pty.openpty()
        self.resize(columns, rows)
        self.process = subprocess.Popen([f"{BIN}/kyr_console", *arguments], stdin=end, stdout=end, stderr=end,
                                        start_new_session=True, preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0),
                                        env={**os.environ, "TERM": "xterm", **env})
        os.close(end)

    def resize(self, columns, rows):
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.process.kill()
        self.process.wait()
        os.close(self.master)

    def type(self, text):
        os.write(self.master, text.encode())

    def _put(self, character):
        while self.row >= len(self.lines):
            self.lines.append("")
        if self.column >= self.columns:
            self.row, self.column = self.row + 1, 0
            return self._put(character)
        line = self.lines[self.row].ljust(self.column)
        self.lines[self.row] = line[:self.column] + character + line[self.column + (not self.inserts):]
        self.column += 1

    def _show(self, text):
        for escape, control, letter in re.findall(r"(\x1b\[[0-9;?]*[@-~])|([\r\n\b\a])|([^\x1b\r\n\b\a])", text):
            number = int(re.sub(r"\D", "", escape) or 1)
            kind = escape[-1:]
            if letter:
                self._put(letter)
            elif control == "\r":
                self.column = 0
            elif control == "\n":
                self.row += 1
                while self.row >= len(self.lines):
                    self.lines.append("")
            elif control == "\b":
                self.column = max(0, self.column - 1)
            elif kind == "A":
                self.row = max(0, self.row - number)
            elif escape in ("\x1b[4h", "\x1b[4l"):
                self.inserts = kind == "h"
            elif kind == "C":
                self.column += number
            elif kind == "G":
                self.column = number - 1
            elif kind == "D":
                self.column = max(0, self.column - number)
            elif kind in ("J", "K"):
                self.lines[self.row] = self.lines[self.row][:self.column]
                if kind == "J":
                    del self.lines[self.row + 1:]
            elif kind == "P":
                line = self.lines[self.row]
                self.lines[self.row] = line[:self.column] + line[self.column + number:]
            elif kind == "@":
                line = self.lines[self.row]
                self.lines[self.row] = line[:self.column] + " " * number + line[self.column:]

    def until(self, condition, wait=WAIT):
        """Waits until the text of the screen fulfils the condition, or holds it; answers the lines."""
        end = time.monotonic() + wait
        wanted = condition if callable(condition) else lambda text: condition in text
        while True:
            text = "\n".join(line.rstrip() for line in self.lines)
            if wanted(text):
                return text.split("\n")
            if not select.select([self.master], [], [], max(0, end - time.monotonic()))[0]:
                raise AssertionError(f"not seen: {condition!r} in\n{text}")
            try:
                data = os.read(self.master, 65536)
            except OSError:
                data = b""
            if not data:
                raise AssertionError(f"ended without {condition!r}:\n{text}")
            self._show(data.decode(errors="replace"))

    def line(self, text):
        """Waits until the last line is that one."""
        return self.until(lambda seen: seen.rstrip("\n").endswith("\n" + text) or seen.rstrip("\n") == text)

    def ended(self):
        """The exit code, and all that was shown."""
        while True:
            if not select.select([self.master], [], [], WAIT)[0]:
                raise AssertionError("does not end:\n" + "\n".join(self.lines))
            try:
                data = os.read(self.master, 65536)
            except OSError:
                break
            if not data:
                break
            self._show(data.decode(errors="replace"))
        return self.process.wait(WAIT), "\n".join(self.lines)


class AtTerminal(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory(prefix="kyr-terminal-")
        self.addCleanup(self.dir.cleanup)
        self.history = f"{self.dir.name}/kyr/console_history"

    def terminal(self, *arguments, **options):
        tool = Terminal(*arguments, XDG_STATE_HOME=self.dir.name, **options)
        self.addCleanup(tool.__exit__)
        return tool

    def test_editing(self):
        """Keys that move, delete, complete and search; a half-typed line is cleared by Ctrl+C, whole lines last."""
        tool = self.terminal("--local", "--database", "memory")
        tool.line("kyr>")
        tool.type("use\t")
        tool.line("kyr> users")
        tool.type("set An\tX=1\x1b[D\x1b[D\x1b[D\x1b[99~\x1b[15~\x00Y\x1b[H\x1b[3~u\x1b[F")
        tool.line('kyr> users set "Anna Berger" YX=1')
        tool.type("\x03")
        tool.line("kyr>")
        tool.type("doors set M\tFloor=\u00fc\u6f22\r")
        tool.line("kyr>")
        tool.type('codes add 4711\rcoeds add 4712\rmedia --token=x\r users\rmail --password hush\rlogins password anna --password-file x\r')
        tool.until("there is no login")
        tool.line("kyr>") # before: the terminal itself takes the key
        tool.type("\x12floor")
        tool.until('(search "floor") doors set')
        tool.type("\x07\x1b[A\x1b[A\x1b[A")
        tool.line("kyr>  users")
        tool.type("\x15mapping DeviceT\t")
        tool.until("DeviceType")
        self.assertEqual(os.stat(self.history).st_mode & 0o777, 0o600)
        tool.type("\x03")
        tool.line("kyr>") # before: the terminal forgets what was typed and not read
        tool.type("\x04")
        self.assertEqual(tool.ended()[0], 0)
        with open(self.history, encoding="utf-8") as kept:
            self.assertEqual(kept.read().split("\n")[:-1],
                             ['doors set "Main Entrance" Floor=\u00fc\u6f22', "logins password anna --password-file x"])
        later = self.terminal("--local", "--database", "memory")
        later.line("kyr>")
        later.type("\x1b[A\x1b[A")
        later.until("Floor=\u00fc\u6f22")

    def test_an_escape_alone_stops_nothing(self):
        """A key whose rest never comes, a window that changes: the console goes on, and asks for nothing twice."""
        tool = self.terminal("--local", "--database", "memory")
        tool.line("kyr>")
        tool.type("users --lim" + "x" * 200 + "\x1b")
        tool.until("x" * 60)
        tool.resize(60, 20)
        tool.columns = 60
        tool.process.send_signal(signal.SIGTERM)
        self.assertEqual(tool.ended()[0], 0)
        # What the shell gets back echoes and ends lines as before.
        self.assertTrue(termios.tcgetattr(tool.master)[3] & termios.ECHO)

    def test_news_leave_the_line_whole(self):
        socket = f"{self.dir.name}/console"
        with Running("kyr_console", "--database", "memory", "--socket", socket) as server:
            end = time.monotonic() + WAIT
            while not os.path.exists(socket):
                self.assertLess(time.monotonic(), end)
                time.sleep(0.02)
            tool = self.terminal("--attach", socket)
            tool.line("kyr>")
            tool.type("groups add \"Half a na")
            tool.until("Half a na")
            # Completion asks the console behind the socket; a password is seen nowhere.
            tool.type("\x15users set Cl\t")
            tool.until("Clara Dubois")
            tool.type("\x15logins add clara 33\r")
            tool.line("Password:")
            tool.type("correct horse\r")
            tool.until("kyr> logins add clara 33\nPassword:\nclara\nkyr>")
            self.assertNotIn("horse", "\n".join(tool.lines))
            one = self.terminal("--attach", socket, "logins", "add", "ben", "32")
            one.until("Password:")
            one.type("battery staple\r")
            code, seen = one.ended()
            self.assertEqual((code, "staple" in seen), (0, False))
            self.assertEqual(server.process.poll(), None)


if __name__ == "__main__":
    main()
