"""The trail of events, as those see it who run the console and those who read what it wrote."""

import json
import os
import subprocess
import tempfile
import unittest

from tools import BIN, ROOT, WAIT, console, main


class Audit(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.database = self.path("installation.db")

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def run_console(self, *arguments, code=0):
        result, out, error = console(*arguments, database=self.database)
        self.assertEqual(result, code, out + error)
        return out

    def test_reading_makes_nothing(self):
        self.assertEqual(json.loads(self.run_console("events", "--json")), [])
        self.assertTrue(json.loads(self.run_console("audit", "verify", "--json"))["ok"])
        self.assertEqual(os.listdir(self.folder.name), [])

    def test_changes_and_their_check(self):
        user = self.run_console("users", "add", "Ada \u202e", "Department=IT").strip()
        self.run_console("users", "add", "Eve")
        event = json.loads(self.run_console("events", "--json"))[0]
        self.assertEqual((event["kind"], event["user"], event["accessPoint"], event["chain"], event["seq"]),
                         ("changed", user, None, 1, 1))
        self.assertEqual(event["details"]["new"]["Department"], "IT")
        self.assertEqual(len(json.loads(self.run_console("events", "--user", "Eve", "--json"))), 1)
        code, out, error = console("events", "--limit", "1", "--json", database=self.database)
        self.assertEqual((code, len(json.loads(out))), (0, 1))
        self.assertIn("1 older", error)

        self.run_console("audit", "head", "--out", self.path("head"))
        self.run_console("audit", "export", "--jsonl", self.path("trail.jsonl"))
        with open(self.path("key.pem"), "w", encoding="ascii") as key:
            key.write(self.run_console("audit", "key"))
        verifier = [f"{ROOT}/scripts/audit_verify.py", self.path("trail.jsonl"), self.path("trail.jsonl.heads"),
                    self.path("key.pem")]
        self.assertEqual(subprocess.run(verifier, capture_output=True).returncode, 0)
        self.run_console("audit", "verify", "--head", self.path("head"))

        subprocess.run(["sqlite3", self.database, "DELETE FROM event WHERE seq>1; DELETE FROM audit_head"], check=True)
        self.run_console("audit", "verify")
        report = json.loads(self.run_console("audit", "verify", "--head", self.path("head"), "--json", code=1))
        self.assertEqual([(fault["chain"], fault["seq"]) for fault in report["faults"]], [(1, 2)])
        self.assertIn("chain 1, event 2", self.run_console("audit", "verify", "--head", self.path("head"), code=1))

    def test_following(self):
        follower = subprocess.Popen([f"{BIN}/kyr_console", "--database", self.database, "events", "--follow", "--json"],
                                    stdout=subprocess.PIPE, text=True)
        self.run_console("users", "add", "Ada")
        self.assertEqual(json.loads(follower.stdout.readline())["what"], "created Ada")
        follower.terminate()
        self.assertEqual(follower.wait(WAIT), 0)
        follower.stdout.close()


if __name__ == "__main__":
    main()
