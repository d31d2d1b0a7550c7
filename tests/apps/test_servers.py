"""Two servers of one installation: each sees the devices of both, and what is wanted of a device is done by the one that
it is linked to, once. On a file, and on PostgreSQL where CTest has started one."""

import concurrent.futures
import json
import os
import shutil
import subprocess
import tempfile
import unittest
import uuid

from test_link import LABELS, Installation, Server
from tools import BUILD, console, main

WHERE = f"{BUILD}/postgresql.url"


def postgresql():
    with open(WHERE) as where:
        return where.readline().strip()


def psql(*words):
    subprocess.run(["psql", "-qAt", postgresql() + "postgres", "-c", " ".join(words)], check=True)


class Servers(Installation):
    def setUp(self):
        self.data = tempfile.mkdtemp(prefix="kyr-servers-")
        self.addCleanup(shutil.rmtree, self.data)

    def server(self, name, database):
        where = f"{self.data}/{name}-{uuid.uuid4().hex[:6]}"
        os.mkdir(where)
        for file in "console.pem", "console.key":
            os.symlink(f"{self.dir}/{file}", f"{where}/{file}")
        return Server(where, "--server-name", name, env={"KYR_CONSOLE_DATABASE": database, "XDG_DATA_HOME": self.data})

    def test_on_a_file(self):
        self.both(f"{self.data}/installation.db")

    @unittest.skipUnless(os.path.exists(WHERE), "PostgreSQL was not started for the tests")
    def test_on_postgresql(self):
        name = f"kyr_{uuid.uuid4().hex}"
        psql("CREATE DATABASE", name)
        self.addCleanup(psql, "DROP DATABASE", name, "WITH (FORCE)")
        self.both(postgresql() + name)

    def test_what_comes_too_late_opens_nothing(self):
        run = self.console(f"{self.data}/installation.db")
        trust = self.furnish(run)
        with self.server("north", run.database) as north, self.server("south", run.database) as south, \
                self.device(south.port, LABELS[0], *trust):
            north.eventually(lambda: [row["server"] for row in north.table("devices")] == ["south"])
            row = north.table("devices")[0]
            self.assertGreaterEqual(row["lastHeard"], row["since"])
            with south.standing_still():
                code, _, error = north.ask("open", "Gate")
            self.assertEqual((code, "did not answer" in error), (1, True), error)
            self.assertEqual(south.ask("open", "Gate"), (0, "", ""))
            counted = [json.loads(server.ask("status", "--json")[1])["expiredCommands"] for server in (north, south)]
            self.assertEqual(sum(counted), 1)
            self.assertEqual(len(json.loads(run("events", "--kind", "opened", "--json")[1])), 1)

    def console(self, database):
        def run(*command):
            return console(*command, database=database, env={"XDG_DATA_HOME": self.data})

        run.database = database
        return run

    def furnish(self, run):
        """A door with its lock: what that is told."""
        self.assertEqual(run("doors", "add", "Gate")[0], 0)
        self.assertEqual(run("doors", "assign", "Gate", LABELS[0])[0], 0)
        return "--ca", f"{BUILD}/dev-ca/ca-chain.pem", "--state", f"{self.data}/locks"

    def both(self, database):
        run = self.console(database)
        # The first changes of several programs at once: one of them makes the tables, the others wait for it.
        with concurrent.futures.ThreadPoolExecutor() as people:
            added = list(people.map(lambda number: run("users", "add", f"User {number}"), range(4)))
        self.assertEqual([code for code, _, _ in added], [0] * 4, added)
        trust = self.furnish(run)
        with self.server("north", database) as north, self.server("south", database) as south:
            def shown(server):
                return [(row["label"], row["server"], row["upToDate"]) for row in server.table("devices")]

            with self.device(north.port, LABELS[0], *trust):
                for server in north, south:
                    server.eventually(lambda: shown(server) == [(LABELS[0], "north", True)])
                answer = south.table("send", LABELS[0], '{"command":"echo","data":"\u00e4"}')[0]
                self.assertEqual(json.loads(answer["answer"]), {"status": "ok", "data": "\u00e4"})
                self.assertIn("unknown command", south.ask("send", LABELS[0], "fly")[2])
                self.assertEqual(south.ask("open", "Gate"), (0, "", ""))
                self.assertTrue(south.table("sync")[0]["upToDate"])
                # A console that serves nobody asks as well.
                self.assertEqual(run("open", "Gate"), (0, "", ""))
                self.assertEqual(run("send", LABELS[0], "status")[0], 0)
                self.assertEqual([row["server"] for row in json.loads(run("devices", "--json")[1])], ["north"])
                # Each of them was executed once.
                south.eventually(lambda: [event["kind"] for event in json.loads(run("events", "--json")[1])].count("opened") == 2)

                # It calls another server while its old link still stands: it is there once, for everybody.
                with self.device(south.port, LABELS[0]):
                    for server in north, south:
                        server.eventually(lambda: shown(server)[0][:2] == (LABELS[0], "south") and len(shown(server)) == 1)
                    self.assertEqual(north.ask("send", LABELS[0], "status")[0], 0)
            for server in north, south:
                server.eventually(lambda: shown(server) == [])
            self.assertEqual(north.ask("open", "Gate")[0], 1)
        self.assertEqual(run("devices")[0], 1)


if __name__ == "__main__":
    main()
