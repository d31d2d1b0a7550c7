"""Clients of a console's local socket: each has a conversation of its own, and nothing that it says changes on the way."""

import json
import os
import signal
import socket
import subprocess
import tempfile
import time
import unittest

from tools import BIN, WAIT, Running, console, main


class Attach(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory(prefix="kyr-attach-")
        self.addCleanup(self.dir.cleanup)
        self.socket = f"{self.dir.name}/console"
        self.server = self.enter(Running("kyr_console", "--database", "memory", "--socket", self.socket))
        self.eventually(lambda: os.path.exists(self.socket))

    def enter(self, tool):
        tool.__enter__()
        self.addCleanup(tool.__exit__)
        return tool

    def eventually(self, condition):
        end = time.monotonic() + WAIT
        while not condition():
            assert time.monotonic() < end
            time.sleep(0.02)

    def ask(self, *command, **options):
        return console("--attach", self.socket, *command, **options)

    def start(self, *command):
        return subprocess.Popen([f"{BIN}/kyr_console", "--attach", self.socket, *command], stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def labels(self):
        return [row["label"] for row in json.loads(self.ask("users", "--json")[1])]

    def test_an_argument_stays_one(self):
        names = ["x\ngroups delete 41", "both \" and ' \\", "\u00e9\u6f22\U0001f6aa\t\r\n", "--json=", "#no remark", "x" * 10000]
        for name in names:
            code, out, error = self.ask("users", "add", "--", name)
            self.assertEqual((code, error), (0, ""), name[:100])
        self.assertEqual(self.labels()[-len(names):], names)
        self.assertEqual(len(json.loads(self.ask("groups", "--json")[1])), 2)
        self.assertEqual(self.ask(""), (2, "", 'unknown command "" (see: help)\n'))

    def test_lines_are_commands_and_long_ones_too(self):
        code, out, error = self.ask(stdin='users add "p q"\n\n# a remark\nfly\nusers add %s Note=%s\nquit\nshutdown\n' % ("q" * 10000, "y" * 900000))
        self.assertEqual((code, error), (2, 'unknown command "fly" (see: help)\n'))
        self.assertEqual(self.labels()[-2:], ["p q", "q" * 10000])
        # A pair of quotes is an argument, here as with a shell; blanks between arguments are none.
        for line, words in ("mapping '' ", ["mapping", ""]), ("mapping\t 'a\" 'b   #c", ["mapping", 'a" b', "#c"]), \
                ('""', [""]), ("  '#' x", ["#", "x"]):
            self.assertEqual(self.ask(stdin=line + "\n"), self.ask(*words), line)
        code, _, error = self.ask(stdin="users add %s\n" % ("z" * 17000000))
        self.assertEqual((code, error), (2, "kyr_console: a command is at most 16 MiB long\n"))
        # A program without the protocol: lines, and a code behind each answer.
        with socket.socket(socket.AF_UNIX) as plain:
            plain.settimeout(WAIT)
            plain.connect(self.socket)
            answer = b""
            plain.sendall(b"mapping UserClass\nfly")
            while not answer.endswith(b"= 2\n"):
                answer += plain.recv(10000)
            self.assertIn(b'= 0\nunknown command "fly"', answer)

    def test_many_clients_at_once(self):
        long_one = self.start("discover", "--wait", "600000", "--port", "9")
        clients = [(n, self.start("users", "--filter", f"id={31 + n % 5}", "--json")) for n in range(50)]
        for n, client in clients:
            out, error = client.communicate(timeout=4 * WAIT)
            self.assertEqual((client.returncode, error), (0, ""))
            self.assertEqual([row["id"] for row in json.loads(out)], [str(31 + n % 5)])
        # A client that goes ends its command; one that never reads disturbs nobody, one that asks in vain gets an end.
        asks = lambda: self.ask("log", "--match", "UDP query", "--lines", "100000")[1].count("\n")
        long_one.kill()
        long_one.communicate()
        with socket.socket(socket.AF_UNIX) as deaf:
            deaf.connect(self.socket)
            deaf.sendall(b"mapping DeviceType\n" * 2000)
            before = asks()
            self.assertEqual(asks(), before)
        self.server.process.send_signal(signal.SIGSTOP)
        try:
            code, _, error = console("--patience", "1", "--attach", self.socket, "users")
        finally:
            self.server.process.send_signal(signal.SIGCONT)
        self.assertEqual((code, error), (1, "kyr_console: the console does not answer\n"))

    def test_leaving_is_not_ending(self):
        for way in "quit", "exit":
            self.assertEqual(self.ask(way), (0, "", ""))
            self.assertEqual(self.ask(stdin=f"{way}\nfly\n"), (0, "", ""))
        for command in "quit now", "log foo", "exit 1", "shutdown later", "help users add":
            code, out, error = self.ask(*command.split())
            self.assertEqual((code, out, error.count("\n")), (2, "", 1), command)
            self.assertIn("unexpected argument", error)
        self.server.process.send_signal(signal.SIGHUP)
        waiting = self.start("discover", "--wait", "600000", "--port", "9")
        self.eventually(lambda: "UDP query" in self.ask("log")[1])
        self.assertEqual(self.ask("shutdown"), (0, "", ""))
        self.assertEqual(self.server.process.wait(WAIT), 0)
        self.assertEqual(waiting.wait(WAIT), 1)
        waiting.communicate()

    def test_ctrl_c_ends_the_command(self):
        client = self.start("discover", "--wait", "600000", "--port", "9")
        self.eventually(lambda: "UDP query" in self.ask("log")[1])
        client.send_signal(signal.SIGINT)
        _, error = client.communicate(timeout=WAIT)
        self.assertEqual((client.returncode, "nothing answered" in error), (1, True))

    def test_whose_console(self):
        if os.getuid() != 0:
            self.skipTest("only root can be two users")
        stranger = ["setpriv", "--reuid", "65534", "--clear-groups"]
        os.chmod(self.dir.name, 0o777)
        self.enter(Running("kyr_console", "--socket", f"{self.dir.name}/squat", prefix=stranger))
        self.eventually(lambda: os.path.exists(f"{self.dir.name}/squat"))
        code, out, error = console("--attach", f"{self.dir.name}/squat", "users")
        self.assertEqual((code, out, "belongs to another user" in error), (1, "", True))


if __name__ == "__main__":
    main()
