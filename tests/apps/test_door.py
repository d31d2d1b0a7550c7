"""A card at a door: simulated locks, a console that serves them, and the trail of what happened."""

import getpass
import json
import os
import shutil
import tempfile
import time
import unittest

from notification_client import WebSocket
from test_link import certificate
from tools import BUILD, WAIT, Running, console, main, simulator

CA = f"{BUILD}/dev-ca/ca-chain.pem"
TOKEN = "a token"
LABELS = ["000.123.457", "000.123.465"]  # of the ids 12345 and following
ANNA, BEN = "04:A1:22:3B", "04:A1:22:3C"


class Server(Running):
    """A console that serves the devices of a database."""

    def __init__(self, where, database, port, *options):
        self.socket = f"{where}/console.socket"
        super().__init__("kyr_console", "--database", database, "--socket", self.socket, "--log-file", "none", "serve", "--port", port,
                         "--json", "--certificate", f"{where}/console.pem", "--key", f"{where}/console.key", "--token", TOKEN, *options)
        self.port = json.loads(self.until('{"port"'))["port"]

    def observer(self, *sources):
        """A client that is told of these sources."""
        client = WebSocket(f"wss://127.0.0.1:{self.port}/notifications", CA)
        client.send({"id": 1, "method": "login", "params": [TOKEN]})
        client.send({"method": "registerObserver", "params": [list(sources)]})
        while client.receive().get("method") != "acknowledge":
            pass
        return client


class Door(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.certificates = tempfile.mkdtemp(prefix="kyr-door-")
        certificate("console", cls.certificates, f"{BUILD}/dev-ca", "--name", "IP:127.0.0.1")
        for label in LABELS:
            certificate(label, cls.certificates)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.certificates)

    def setUp(self):
        self.dir = tempfile.mkdtemp(prefix="kyr-door-")
        self.addCleanup(shutil.rmtree, self.dir)
        self.database = f"{self.dir}/a.db"
        self.port = 0

    def ask(self, *command, code=0, error=""):
        """Runs a command in a process of its own: its lines."""
        result = console(*command, database=self.database)
        self.assertEqual((result[0], result[2]), (code, error), command)
        return result[1].splitlines()

    def table(self, *command):
        return json.loads(self.ask(*command, "--json")[0])

    def events(self, *kinds):
        return self.table("events", *(word for kind in kinds for word in ("--kind", kind)))

    def furnish(self):
        """Anna and Ben with a card each, a door each, and a right of Anna's at both."""
        for name, uid in (("Anna", ANNA), ("Ben", BEN)):
            self.ask("users", "add", name)
            self.ask("media", "add", uid, "--user", name)
        for name, label in zip(("Main", "Side"), LABELS):
            self.ask("doors", "add", name, "timeZone=Europe/Zurich")
            self.ask("doors", "assign", name, label)
        self.ask("grant", "Anna", "Main", "Side")

    def serve(self, *options):
        for name in ("console.pem", "console.key"):
            if not os.path.exists(f"{self.dir}/{name}"):
                shutil.copy(f"{self.certificates}/{name}", self.dir)
        server = Server(self.dir, self.database, self.port, *options)
        self.port = server.port
        return server

    def locks(self):
        return simulator("--count", 2, "--label", LABELS[0], "--ca", CA, "--call", f"https://127.0.0.1:{self.port}", "--certificate",
                         f"{self.certificates}/%1.pem", "--key", f"{self.certificates}/%1.key", "--state", f"{self.dir}/state",
                         "--control", f"{self.dir}/locks.socket")[0]

    def at_door(self, *command):
        code, out, error = console("--attach", f"{self.dir}/locks.socket", *command)
        self.assertEqual((code, error), (0, ""), command)
        return json.loads(out)

    def present(self, uid, door=0):
        answer = self.at_door("present", LABELS[door], uid)
        return answer["allowed"], answer["reason"]

    def eventually(self, condition, wait=WAIT):
        end = time.monotonic() + wait
        while not condition():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.02)

    def attached(self, *command):
        return console("--attach", f"{self.dir}/console.socket", *command)

    def up_to_date(self):
        rows = json.loads(self.attached("devices", "--json")[1])
        return [row["label"] for row in rows if row["upToDate"]] == LABELS

    def test_the_server_in_its_trail(self):
        self.ask("users", "add", "Anna")
        code, _, error = console("serve", "--server-name", "a b", "--certificate", "none", "--key", "none", database=self.database)
        self.assertEqual((code, error.count("\n")), (2, 1))
        with self.serve("--server-name", "north") as server:
            server.observer("Access").close()
            stranger = WebSocket(f"wss://127.0.0.1:{server.port}/notifications", CA)
            stranger.send({"id": 1, "method": "login", "params": ["another token"]})
            self.assertIn("error", stranger.receive())
            stranger.close()
            self.attached("users", "add", "Ben")
        events = self.events("start", "login", "loginRefused", "changed", "end")
        self.assertEqual([(event["chain"], event["kind"]) for event in events],
                         [(1, "changed"), (2, "start"), (2, "login"), (2, "loginRefused"), (2, "changed"), (2, "end")])
        operators = [event["operator"] for event in events]
        self.assertEqual(operators, [getpass.getuser()] * 2 + ["", ""] + [getpass.getuser()] * 2)
        self.assertEqual((events[3]["reason"], events[3]["details"]["peer"].split(":")[0]), ("wrong token", "127.0.0.1"))
        report = self.table("audit", "verify")
        self.assertEqual((report["ok"], report["events"]), (True, 6))
        self.assertEqual(len(self.ask("audit", "head")), 2)


if __name__ == "__main__":
    main()
