"""Clients of a console's local socket: each has a conversation of its own, and nothing that it says changes on the way."""

import contextlib
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
        self.assertEqual((code, error), (2, 'line 4: unknown command "fly" (see: help)\n'))
        self.assertEqual(self.labels()[-2:], ["p q", "q" * 10000])
        # A pair of quotes is an argument, here as with a shell; blanks between arguments are none.
        for line, words in ("mapping '' ", ["mapping", ""]), ("mapping\t 'a\" 'b   #c", ["mapping", 'a" b', "#c"]), \
                ('""', [""]), ("  '#' x", ["#", "x"]):
            code, out, error = self.ask(stdin=line + "\n")
            self.assertEqual((code, out, error.replace("line 1: ", "")), self.ask(*words), line)
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

    def test_a_crowd_of_clients(self):
        with contextlib.ExitStack() as crowd:
            for _ in range(500):
                crowd.enter_context(socket.socket(socket.AF_UNIX)).connect(self.socket)
            last = crowd.enter_context(socket.socket(socket.AF_UNIX))
            last.connect(self.socket)
            last.settimeout(WAIT)
            self.assertEqual(last.recv(1), b"")
        self.eventually(lambda: self.ask("version")[0] == 0)

    def test_who_sends_too_much_waits(self):
        with socket.socket(socket.AF_UNIX) as hasty:
            hasty.connect(self.socket)
            hasty.settimeout(0.2)
            sent, commands, full = 0, b"mapping DeviceType\n" * 1000, 0
            # It is full; then a command comes to its end now and then, which makes room for one.
            while full < 5:
                try:
                    sent += hasty.send(commands)
                    self.assertLess(sent, 16 << 20)
                except TimeoutError:
                    full += 1

    def test_answers_go_to_who_asked(self):
        # Two clients in one conversation each, both busy: neither sees a line of the other's.
        def talk(word):
            asked = "".join(f"mapping {word}{n}\n" for n in range(300))
            return subprocess.Popen([f"{BIN}/kyr_console", "--attach", self.socket], stdin=subprocess.PIPE,
                                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True), asked
        clients = {word: talk(word) for word in ("left", "right")}
        for client, asked in clients.values():
            client.stdin.write(asked)
            client.stdin.flush()
        for word, (client, _) in clients.items():
            said = client.communicate(timeout=4 * WAIT)[0].splitlines()
            self.assertEqual(len(said), 300)
            for n, line in enumerate(said):
                self.assertIn(f'"{word}{n}"', line)

    def test_files_are_the_clients(self):
        def run(*command, stdin="", uid=65534, **options):
            return console("--attach", self.socket, *command, stdin=stdin, cwd=folder,
                           prefix=["setpriv", "--reuid", str(uid), "--clear-groups"] if os.getuid() == 0 else [], **options)
        folder = f"{self.dir.name}/client"
        os.mkdir(folder)
        for path, mode in (self.dir.name, 0o755), (folder, 0o777), (self.socket, 0o666):
            os.chmod(path, mode)
        # Read and written in the client's folder and as the client's; "-" is its standard input and output.
        self.assertEqual(run("users", "--csv", "u.csv"), (0, "Wrote 5 users to u.csv.\n", ""))
        if os.getuid() == 0:
            self.assertEqual(os.stat(f"{folder}/u.csv").st_uid, 65534)
        with open(f"{folder}/u.csv", encoding="utf-8") as file:
            csv = file.read()
        self.assertEqual(run("users", "--csv=-"), (0, csv, ""))
        again = (0, "Added 0 users, changed 0 and left 5 as they were.\n", "")
        self.assertEqual(run("users", "import", "u.csv"), again)
        self.assertEqual(run("users", "import", "-", stdin=csv), again)
        self.assertEqual(run(stdin="users import u.csv\n"), again)
        self.assertEqual(run("users", "import", "none.csv"),
                         (1, "", 'users import: cannot read "none.csv": No such file or directory\n'))
        code, _, error = run("users", "--csv", "no/folder.csv")
        self.assertEqual((code, 'cannot write "no/folder.csv"' in error), (1, True))
        # Larger than what is sent at once, with the console's other clients served meanwhile.
        big = "Name\n" + "".join(f"Somebody {n} {'x' * 200}\n" for n in range(20000))
        self.assertEqual(run("users", "import", "-", "--dry-run", stdin=big)[1], "Would add 20000 users, change 0 and leave 0 as they are.\n")
        self.assertEqual(run("database", "backup", "b.db"), (0, "Wrote b.db.\n", ""))
        self.assertEqual(os.stat(f"{folder}/b.db").st_mode & 0o777, 0o600)
        self.assertEqual(run("database", "backup", "b.db")[0], 1)
        # Who changed it stands in the trail.
        self.assertEqual(run("users", "add", "Zoe")[0], 0)
        event = json.loads(self.ask("events", "--kind", "changed", "--json")[1])[-1]
        self.assertEqual(event["operator"], "nobody" if os.getuid() == 0 else event["operator"])
        # A program without the protocol has no files, and the console opens none for it.
        with socket.socket(socket.AF_UNIX) as plain:
            plain.settimeout(WAIT)
            plain.connect(self.socket)
            plain.sendall(f"users --csv {folder}/plain.csv\n".encode())
            answer = b""
            while not answer.endswith(b"= 1\n"):
                answer += plain.recv(10000)
        self.assertFalse(os.path.exists(f"{folder}/plain.csv"))

    def test_only_files_of_the_command(self):
        # A console that asks for more than the command names gets nothing.
        path = f"{self.dir.name}/greedy"
        with socket.socket(socket.AF_UNIX) as listener:
            listener.bind(path)
            listener.listen()
            client = subprocess.Popen([f"{BIN}/kyr_console", "--attach", path, "users", "import", "named"],
                                      cwd=self.dir.name, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            peer = listener.accept()[0]
            stream = peer.makefile("rw", encoding="utf-8")
            with open(f"{self.dir.name}/named", "w") as file:
                file.write("x")
            send = lambda *message: (stream.write(json.dumps(message) + "\n"), stream.flush())
            stream.readline()
            send("hello", 1)
            stream.readline()
            for number, (kind, name) in enumerate([("read", "/etc/passwd"), ("write", "other"), ("read", "./named"), ("write", "")]):
                send(kind, number, name, 1000)
                self.assertEqual(json.loads(stream.readline())[:2], ["fault", number], name)
            send("read", 9, "named", 1000)
            self.assertEqual(json.loads(stream.readline()), ["data", 9, "eA=="])
            self.assertEqual(json.loads(stream.readline()), ["done", 9])
            # What breaks off is not written.
            send("write", 10, "named")
            send("data", 10, "eHl6")
            send("code", 0)
            client.communicate(timeout=WAIT)
            peer.close()
        with open(f"{self.dir.name}/named") as file:
            self.assertEqual(file.read(), "x")

    def test_a_console_beside_a_service_finds_it(self):
        runtime = f"{self.dir.name}/kyr-console"
        os.mkdir(runtime, 0o700)
        environment = {**os.environ, "XDG_RUNTIME_DIR": self.dir.name}
        environment.pop("KYR_CONSOLE_DATABASE", None)
        if os.path.exists("/run/kyr-console/socket"):
            self.skipTest("a service runs on this machine")

        def found(*arguments):
            result = subprocess.run([f"{BIN}/kyr_console", *arguments], env=environment, capture_output=True, text=True,
                                    timeout=4 * WAIT)
            return result.returncode, result.stdout.count("anna@example.com"), result.stderr
        self.assertEqual(found("users")[1], 0)
        # The socket may be the service manager's: it is taken as it is, and others find it there.
        activate = ["systemd-socket-activate", "-l", f"{runtime}/socket", "-E", "PATH"]
        if subprocess.run(["which", activate[0]], capture_output=True).returncode == 0:
            handed = self.enter(Running("kyr_console", "--database", "memory", "--socket", f"{runtime}/socket", prefix=activate))
            self.eventually(lambda: os.path.exists(f"{runtime}/socket"))
            self.assertEqual(found("users"), (0, 1, ""))
            self.assertEqual(found("shutdown")[0], 0)
            self.assertEqual(handed.process.wait(WAIT), 0)
            if os.path.exists(f"{runtime}/socket"):
                os.remove(f"{runtime}/socket")
        self.enter(Running("kyr_console", "--database", "memory", "--socket", f"{runtime}/socket"))
        self.eventually(lambda: os.path.exists(f"{runtime}/socket"))
        self.assertEqual(found("users"), (0, 1, ""))
        self.assertEqual(found("--local", "users")[1], 0)
        self.assertEqual(found("--database", f"{self.dir.name}/other.db", "users")[1], 0)

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
