"""Whom a lock believes: it takes lists, time and commands from a server whose certificate it has verified, from no other."""

import base64
import hashlib
import json
import os
import socket
import struct
import subprocess
import tempfile
import threading

from test_link import LABELS, SYSTEM, Installation, Server
from tools import ROOT, WAIT, console, main, simulator

UID = "04:A1:22:3B:5C:6D:80"
LIST = ("0;1;offline\n9;04:A1:22:3B:5C:6D:80;1;1;1970-01-01T00:00:00Z;9999-12-31T23:59:59Z;33;100203\n"
        "s;1;;Mon-Sun,Holiday 00:00-24:00\n")


class PlainServer:
    """Plays an application without TLS to the first device that calls: lets it in, and brings it a list that opens."""

    def __init__(self):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.answers = []
        self.done = threading.Event()
        threading.Thread(target=self.serve, daemon=True).start()

    def send(self, message):
        head = bytes([0x82, len(message)]) if len(message) < 126 else b"\x82\x7e" + struct.pack(">H", len(message))
        self.link.sendall(head + message)

    def receive(self):
        head = self.stream.read(2)
        size = head[1] & 0x7F
        size = struct.unpack(">H", self.stream.read(2))[0] if size == 126 else size
        mask = self.stream.read(4)
        return bytes(byte ^ mask[i % 4] for i, byte in enumerate(self.stream.read(size)))

    def serve(self):
        while True:
            self.link, _ = self.listener.accept()
            self.stream = self.link.makefile("rb")
            head = {}
            while (line := self.stream.readline().decode().strip()):
                name, _, value = line.partition(": ")
                head[name.lower()] = value
            if "sec-websocket-key" in head:
                break
            self.link.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n")
            self.link.close()
        key = hashlib.sha1((head["sec-websocket-key"] + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11").encode()).digest()
        self.link.sendall(b"HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                          b"Sec-WebSocket-Accept: " + base64.b64encode(key) + b"\r\n\r\n")
        self.send(b'{"random":"0123456789abcdef","time":"2026-11-22T00:00:00Z"}')
        self.receive()
        self.send(b"OK")
        revision = hashlib.sha256(LIST.encode()).hexdigest()
        commands = [{"command": "begin", "revision": revision, "base": "", "parts": 1, "size": len(LIST)},
                    {"command": "part", "revision": revision, "index": 0, "text": LIST},
                    {"command": "commit", "revision": revision},
                    {"command": "time", "utc": 1800000000000, "offset": 4, "periods": []},
                    {"command": "open", "seconds": 5}]
        for number, command in enumerate(commands, 1):
            self.send(json.dumps({"id": number, **command}).encode())
        while len(self.answers) < len(commands):
            answer = json.loads(self.receive())
            if "id" in answer:
                self.answers.append(answer)
        self.done.set()

    def close(self):
        self.listener.close()
        self.stream.close()
        self.link.close()


class LockTrust(Installation):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="kyr-trust-")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.control = f"{self.folder}/control"

    def ask(self, *command):
        code, out, error = console("--attach", self.control, *command)
        self.assertEqual(code, 0, error)
        return json.loads(out)

    def holds_nothing(self, state):
        self.assertFalse(self.ask("present", LABELS[0], UID)["allowed"])
        self.assertFalse(os.path.exists(f"{self.folder}/{state}/{LABELS[0]}/list"))
        self.assertFalse(os.path.exists(f"{self.folder}/{state}/{LABELS[0]}/settings"))
        self.assertEqual(self.ask("journal", LABELS[0])["acknowledged"], 0)

    def lock(self, port, state, *options, **device):
        return self.device(port, LABELS[0], "--state", f"{self.folder}/{state}", "--control", self.control, "--log-file",
                           "stderr", *options, **device)

    def test_only_the_right_authority_and_name(self):
        database = f"{self.folder}/installation.db"
        for words in (["users", "add", "Ada"], ["media", "add", UID, "--user", "Ada"], ["doors", "add", "Front"],
                      ["doors", "assign", "Front", LABELS[0]], ["grant", "Ada", "Front"]):
            self.assertEqual(console(*words, database=database)[0], 0)
        subprocess.run([f"{ROOT}/scripts/development-ca", f"{self.folder}/foreign"], check=True)
        with Server(self.dir, env={"KYR_CONSOLE_DATABASE": database}) as server:
            with self.lock(server.port, "a", "--ca", f"{self.folder}/foreign/ca-chain.pem") as device:
                device.until("SSL errors")
                device.until("calls again")
                self.holds_nothing("a")
            with self.lock(server.port, "b", host="localhost") as device:
                device.until("SSL errors")
                device.until("calls again")
                self.holds_nothing("b")
            self.assertEqual(server.links(), [])
            with self.lock(server.port, "c"):
                server.eventually(lambda: [row["upToDate"] for row in server.table("devices")] == [True])
                self.assertTrue(self.ask("present", LABELS[0], UID)["allowed"])

    def test_no_plain_link(self):
        def link(state, *options):
            plain = PlainServer()
            with simulator("--label", LABELS[0], "--system", SYSTEM, "--call", f"http://127.0.0.1:{plain.port}", "--state",
                           f"{self.folder}/{state}", "--control", self.control, *options)[0]:
                self.assertTrue(plain.done.wait(WAIT))
                plain.close()
                return plain.answers, self.ask("present", LABELS[0], UID)["allowed"]

        answers, opened = link("a")
        self.assertEqual([answer["status"] for answer in answers], ["error"] * 5, answers)
        self.assertIn("not verified", answers[0]["error"])
        self.assertFalse(opened)
        # With the switch for tests all of that works.
        answers, opened = link("b", "--believe-any-server")
        self.assertEqual([answer["status"] for answer in answers], ["ok"] * 5, answers)
        self.assertTrue(opened)


if __name__ == "__main__":
    main()
