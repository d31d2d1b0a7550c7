"""An installation in a file, kept by the console's commands: what was entered lasts, and what is wrong changes nothing."""

import csv
import json
import os
import re
import signal
import subprocess
import tempfile
import time
import unittest

from tools import BIN, Running, console, main


class Installation(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory(prefix="kyr-installation-")
        self.addCleanup(self.dir.cleanup)
        self.file = f"{self.dir.name}/deep/installation.db"

    def path(self, name, content=None):
        path = f"{self.dir.name}/{name}"
        if content is not None:
            with open(path, "wb") as file:
                file.write(content if isinstance(content, bytes) else content.encode())
        return path

    def ask(self, *command, database=None, **options):
        return console(*command, database=database or self.file, **options)

    def do(self, *command):
        """A command that must succeed in silence; the lines of its output."""
        code, out, error = self.ask(*command)
        self.assertEqual((code, error), (0, ""), command)
        return out.splitlines()

    def rows(self, *command):
        return json.loads(self.do(*command, "--json")[0])

    def refuse(self, code, word, *command, **options):
        """A command that must fail with one line of error that holds the word."""
        result, out, error = self.ask(*command, **options)
        self.assertEqual((result, out, error.count("\n")), (code, "", 1), f"{command} {error}")
        self.assertIn(word, error, command)

    def test_begin(self):
        """What `help` shows is all that is needed; reading before makes no file."""
        self.assertIn("is empty", self.do("users")[0])
        self.assertEqual((self.rows("users"), self.rows("media")), ([], []))
        self.do("users", "import", "--dry-run", self.path("one.csv", "Name\nA\n"))
        self.assertFalse(os.path.exists(os.path.dirname(self.file)))
        steps = [re.findall(r'"[^"]*"|\S+', line) for line in self.do("help") if line.startswith("  ")]
        known = [line.split()[0] for line in self.do("help") if line and not line.startswith(" ")]
        for step in steps:
            if step[0] not in known:
                self.skipTest(f"there is no command {step[0]} yet")
            self.do(*[word.strip('"') for word in step])
        user = self.rows("users")[0]
        self.assertEqual([user[key] for key in ("label", "department", "accessPoints", "media", "enabled")],
                         ["Anna Berger", "IT", ["Main Entrance"], ["04:A1:22:3B"], True])
        self.assertEqual(os.stat(self.file).st_mode & 0o777, 0o600)

    def test_items(self):
        anna, ben = self.do("users", "add", "Anna", "Department=IT", "note=a=b")[0], self.do("users", "add", "Ben")[0]
        staff = self.do("groups", "add", "Staff", "Floor=2")[0]
        door, yard = self.do("doors", "add", "Door", "Building=A", "timeZone=Europe/Zurich")[0], self.do("doors", "add", "Yard")[0]
        self.do("groups", "join", "Staff", "Anna", ben, anna)
        self.do("groups", "leave", staff, "Ben")
        card = self.do("media", "add", "04A1223B5C6D80", "--user", "Anna", "validTo=2026-12-31", "description=blue")[0]
        code = self.do("codes", "add", "0815", "--user", ben, "description=gate")[0]
        rights = self.do("grant", "Staff", "Door", "Yard", "--from", "2026-01-01T08:00Z", "--online")
        self.assertEqual(self.do("grant", staff, door, "--from", "2026-01-01T08:00:00+00:00", "--online"), rights[:1])
        self.assertEqual(len(set(rights + self.do("grant", "Staff", "Door"))), 3)
        self.do("doors", "assign", "Door", "000.123.457")
        self.refuse(1, "already", "doors", "assign", "Yard", "000.123.457")

        user, = self.rows("users", "--filter", "note=a=b")
        self.assertEqual((user["id"], user["groupIds"], user["mediaIds"], user["properties"]), (anna, [staff], [card], {"note": "a=b"}))
        group, = self.rows("groups")
        self.assertEqual([group[key] for key in ("users", "userIds", "accessPointIds", "properties")],
                         [["Anna"], [anna], [door, yard], {"Floor": "2"}])
        self.assertEqual([(row["label"], row["building"], row["timeZone"], row["device"], row["enabled"]) for row in self.rows("doors")],
                         [("Door", "A", "Europe/Zurich", "000.123.457", True), ("Yard", "", "", "", True)])
        medium, = self.rows("media")
        self.assertEqual([medium[key] for key in ("uid", "user", "userId", "validFrom", "blocked", "description")],
                         ["04:A1:22:3B:5C:6D:80", "Anna", anna, "", False, "blue"])
        self.assertRegex(medium["validTo"], r"^2026-12-31T23:59:59(Z|[+-]\d\d:\d\d)$")
        self.assertEqual([(row["id"], row["user"], row["description"]) for row in self.rows("codes")], [(code, "Ben", "gate")])
        self.assertNotIn("0815", str(self.rows("codes")) + "".join(self.do("codes")))

        self.do("doors", "assign", "Door", "none")
        self.do("doors", "assign", "Yard", "000.123.457")
        self.do("doors", "assign", "Yard", "none")
        self.do("media", "block", "04:a1:22:3b:5c:6d:80")
        self.do("media", "give", "Ben", card)
        self.do("media", "set", card, "description=", "validTo=2027-01-01T00:00")
        medium, = self.rows("media", "--filter", "blocked=true")
        self.assertEqual((medium["user"], medium["description"], medium["validTo"][:16]), ("Ben", "", "2027-01-01T00:00"))
        self.do("codes", "block", "gate")
        self.do("users", "set", "Anna", "enabled=false", "Department=", "label=Anne")
        user, = self.rows("users", "--filter", "enabled=false")
        self.assertEqual((user["label"], user["department"]), ("Anne", ""))
        self.do("revoke", "Staff", "Door")
        self.assertEqual(self.rows("groups")[0]["accessPoints"], ["Yard"])
        self.do("users", "remove", "Ben", "Anne")
        self.assertEqual((self.rows("users"), self.rows("codes"), self.rows("media")[0]["userId"]), ([], [], ""))

    def test_refusals(self):
        self.do("users", "add", "Anna")
        self.do("users", "add", "Twin")
        twin, group, door = self.do("users", "add", "Twin")[0], self.do("groups", "add", "Anna")[0], self.do("doors", "add", "D")[0]
        card = self.do("media", "add", "04A1223B")[0]
        self.do("codes", "add", "1234")
        before = [self.rows(kind) for kind in ("users", "groups", "doors", "media", "codes")]
        for code, word, *command in (
                (2, twin, "users", "remove", "Anna", "Twin"), (1, "Nobody", "users", "remove", "Anna", "Nobody"),
                (1, "99", "groups", "join", group, "1", "99"), (2, group, "grant", "Anna", "D"), (1, "X", "grant", group, "D", "X"),
                (2, "time", "grant", group, "D", "--from", "soon"), (2, "before", "grant", group, "D", "--from", "2027-01-01", "--to", "2026-01-01"),
                (1, "none", "grant", group, "D", "--schedule", "none"), (1, "uid", "media", "add", "04:A1:22:3B"), (1, "uid", "media", "add", "04A1"),
                (1, "code", "codes", "add", "1234"), (1, "code", "codes", "add", "12a"), (1, "enabled", "users", "set", "1", "x=1", "enabled=no"),
                (1, "blocked", "media", "set", card, "blocked=1"), (1, "validTo", "media", "set", card, "validTo=later"),
                (1, "timeZone", "doors", "set", "D", "timeZone=Mars/Base"), (1, "label", "users", "set", "1", "label="), (1, "label", "users", "add", " "),
                (2, "id", "users", "set", "1", "id=7"), (2, "class", "users", "add", "B", "class=2"), (2, "userId", "media", "set", card, "userId=1"),
                (2, "KEY=VALUE", "users", "set", "1", "x"), (2, "more than once", "users", "add", "B", "x=1", "x=2"), (2, "--limit", "users", "--limit", "0"),
                (1, "device", "doors", "assign", "D", "door"), (1, "user", "users", "remove", group), (1, "exists", "database", "backup", self.file)):
            self.refuse(code, word, *command)
        self.assertEqual([self.rows(kind) for kind in ("users", "groups", "doors", "media", "codes")], before)
        self.assertEqual(self.do("grant", twin, door), self.do("grant", twin, "D"))
        # Digits are an id, or else a label.
        self.do("users", "add", "4711")
        self.do("users", "add", "1")
        self.assertEqual(self.do("users", "remove", "4711", "1"), [])
        self.assertEqual([row["label"] for row in self.rows("users")], ["Twin", "Twin", "1"])

    def test_lists(self):
        self.do("database", "fill", "--users", "30", "--doors", "4", "--groups", "6")
        info = json.loads(self.do("database", "info", "--json")[0])
        self.assertEqual([info[key] for key in ("backend", "users", "groups", "doors", "media", "rights")], ["sqlite", 30, 6, 4, 30, 24])
        everybody = self.rows("users")
        self.assertTrue(all(len(row["properties"]) >= 8 and row["media"] and len(row["groups"]) == 5 for row in everybody))
        some, found = ["users", "--filter", "Department=IT", "--limit", "3"], []
        left = len([row for row in everybody if row["department"] == "IT"])
        while left:
            code, out, error = self.ask(*some, "--after", str(found[-1]["id"]) if found else "0", "--json")
            found += json.loads(out)
            left -= len(json.loads(out))
            self.assertEqual((code, f"{left} more" in error if left else error), (0, True if left else ""))
        self.assertEqual(found, [row for row in everybody if row["department"] == "IT"])
        long_text = "x" * 9999
        self.do("users", "set", everybody[0]["id"], f"Note={long_text}y", f"label={long_text}")
        self.assertEqual([row["id"] for row in self.rows("users", "--filter", f"Note={long_text}y", "--filter", f"label={long_text}")], [everybody[0]["id"]])
        self.assertEqual(self.rows("users", "--filter", f"Note={long_text}z"), [])

    def imported(self, content, *options):
        return self.ask("users", "import", self.path("users.csv", content), *options)

    def test_export_and_import(self):
        self.do("database", "fill", "--users", "3", "--doors", "2", "--groups", "2")
        first = self.rows("users")[0]["id"]
        self.do("users", "set", first, "Name=of a property", "Note=two\nlines; \"quoted\", \u00e9", "label=Doe, Jane", "enabled=false")
        self.do("grant", first, "Door 00001")
        self.do("groups", "add", "A, B")
        self.do("groups", "join", "A, B", first)
        before, file = self.rows("users"), self.path("out.csv")
        self.do("users", "--csv", file)
        self.assertEqual(self.do("users", "import", file), ["Added 0 users, changed 0 and left 3 as they were."])
        self.assertEqual(self.rows("users"), before)
        # Into another installation: with new ids, all else the same.
        other = f"{self.dir.name}/other.db"
        self.ask("database", "fill", "--users", "0", "--doors", "2", "--groups", "2", database=other)
        for medium in self.rows("media"):
            self.ask("media", "add", medium["uid"], f"label={medium['label']}", database=other)
        self.ask("groups", "add", "A, B", database=other)
        with open(file, encoding="utf-8-sig", newline="") as text:
            table = list(csv.reader(text, delimiter=";"))
        without_id = "\n".join("\t".join('"' + cell.replace('"', '""') + '"' for cell in line[1:]) for line in table)
        code, _, error = self.ask("users", "import", self.path("moved.csv", without_id.encode("utf-16")), database=other)
        self.assertEqual((code, error), (0, ""))
        again = json.loads(self.ask("users", "--json", database=other)[1])
        for key in ("label", "department", "groups", "accessPoints", "media", "enabled", "properties"):
            self.assertEqual([row[key] for row in again], [row[key] for row in before], key)

    def test_import_of_a_spreadsheet(self):
        self.do("groups", "add", "Staff")
        card = self.do("media", "add", "04A1223B", "label=blue")[0]
        self.assertEqual(self.imported(b"name,Phone,GROUPS,e-mail\r\nM\xfcller \x80,\"1,2\",staff,\r\n")[0], 1)
        code, out, error = self.imported(b"name,Phone,GROUPS,e-mail\r\nM\xfcller \x80,\"1,2\",Staff,m@x\r\n,,,\r\nBo,,,\r\n")
        self.assertEqual((code, error, out), (0, "", "Added 2 users, changed 0 and left 0 as they were.\n"))
        mueller, bo = self.rows("users")
        self.assertEqual((mueller["label"], mueller["email"], mueller["groups"], mueller["properties"]), ("M\u00fcller \u20ac", "m@x", ["Staff"], {"Phone": "1,2"}))
        code, out, _ = self.imported(f"media;ID;label;phone\nblue;{bo['id']};Bo;\n;{mueller['id']};M\u00fcller \u20ac;\n;77;New;9\n")
        self.assertEqual((code, out), (0, "Added 1 users, changed 2 and left 0 as they were.\n"))
        self.assertEqual([(row["mediaIds"], row["properties"]) for row in self.rows("users")], [([], {}), ([card], {}), ([], {"Phone": "9"})])
        # A card changes hands between two lines.
        self.assertEqual(self.imported(f"Id;Name;Media\n{mueller['id']};M;blue\n{bo['id']};Bo;\n")[0], 0)
        before = self.rows("users")
        for line, content in ((3, "Name;x\nA;1\n;2\n"), (3, "Name;x\nA;1\nB;2;3\n"), (4, "Name;x\n\"A\nB\";1\n\"C;1\nD;2\n"), (2, "Name;Groups\nA;None\n"),
                              (1, "Department\nIT\n"), (1, "Name;class\nA;1\n"), (1, ""), (3, f"Id;Name\n{bo['id']};B\n{bo['id']};C\n"),
                              (2, "Name;enabled\nA;perhaps\n"), (3, "Name;Media\nA;blue\nB;blue\n"), (1, "Name;\0\nA;1\n"),
                              (1, "Name" + "".join(f";x{i}" for i in range(2000)) + "\nA\n")):
            for option in ([], ["--dry-run"]):
                code, out, error = self.imported(content, *option)
                self.assertEqual((code, out, error.count("\n")), (1, "", 1), content)
                self.assertIn(f"line {line}:", error, content)
        self.assertEqual(self.imported("Name\nA\n", "--dry-run")[:2], (0, "Would add 1 users, change 0 and leave 0 as they are.\n"))
        self.assertEqual(self.rows("users"), before)

    def test_logins(self):
        self.do("users", "add", "Anna")
        password = self.path("password", "s\u00e4cret one\nsecond line\n")
        self.do("logins", "add", "anna", "Anna", "--password-file", password)
        self.assertEqual(self.rows("logins"), [{"name": "anna", "user": "Anna", "userId": "1", "permissions": []}])
        self.do("logins", "permit", "anna", "UsersRead", "AccessPointsWrite")
        self.assertEqual(self.rows("logins")[0]["permissions"], ["AccessPointsWrite", "UsersRead"])
        self.do("logins", "permit", "anna", "Administrator")
        self.refuse(2, "Fly", "logins", "permit", "anna", "Fly")
        self.assertEqual(self.rows("logins")[0]["permissions"], ["Administrator"])
        self.do("logins", "permit", "anna", "none")
        self.do("logins", "password", "anna", "--password-file", self.path("other", "other"))
        self.refuse(1, "already", "logins", "add", "anna", "Anna", "--password-file", password)
        self.refuse(1, "password", "logins", "password", "anna", "--password-file", self.path("empty", "\n"))
        self.refuse(1, "bob", "logins", "password", "bob", "--password-file", password)
        with open(self.file, "rb") as file:
            self.assertNotIn("s\u00e4cret".encode(), file.read())
        self.do("logins", "add", "other", "Anna", "--password-file", password)
        self.refuse(1, "bob", "logins", "remove", "anna", "bob")
        self.do("logins", "remove", "anna", "other", "anna")
        self.assertEqual(self.rows("logins"), [])
        self.refuse(1, "anna", "logins", "remove", "anna")

    def test_erased(self):
        """Whatever was noted about somebody, also by way of what belonged to them, can be taken out of the trail."""
        anna, ben = self.do("users", "add", "Anna Secretly")[0], self.do("users", "add", "Ben")[0]
        code = self.do("codes", "add", "4711", "--user", anna, "description=of Anna Secretly")[0]
        self.do("codes", "set", code, "description=Anna Secretly's")
        card = self.do("media", "add", "04A1223B", "--user", anna, "description=Anna Secretly's too")[0]
        self.do("media", "give", ben, card)
        self.do("logins", "add", "Anna Secretly", anna, "--password-file", self.path("password", "secret"))
        self.do("media", "set", card, "description=")
        self.do("users", "remove", anna)
        self.do("audit", "erase", anna)
        self.do("audit", "verify")
        trail = self.path("trail")
        self.do("audit", "export", "--jsonl", trail)
        with open(trail, encoding="utf-8") as file:
            left = [line for line in file if "Secretly" in line]
        self.assertEqual(len(left), 1, left)  # what Ben's card was called is Ben's

    def test_two_consoles_and_kills(self):
        self.do("users", "add", "Anna")
        with Running("kyr_console", "--database", self.file, "--socket", self.path("socket")) as _:
            end = time.monotonic() + 6
            while not os.path.exists(self.path("socket")) and time.monotonic() < end:
                time.sleep(0.02)
            self.do("users", "add", "Ben")
            shown = console("--attach", self.path("socket"), "users", "add", "Clara")
            self.assertEqual(shown, (0, "3\n", ""))
            self.assertIn("Ben", console("--attach", self.path("socket"), "users")[1])
        # Killed at any instant: all of a command or nothing.
        for wait in (0.02, 0.1, 0.2, 0.4):
            fill = subprocess.Popen([f"{BIN}/kyr_console", "--database", self.file, "database", "fill", "--users", "3000"], stdout=subprocess.DEVNULL)
            time.sleep(wait)
            fill.send_signal(signal.SIGKILL)
            fill.wait()
            users = json.loads(self.do("database", "info", "--json")[0])["users"]
            self.assertEqual(users % 3000, 3)
        self.assertEqual(self.do("database", "check"), [f"{self.file} is in order."])
        self.do("database", "backup", self.path("copy.db"))
        self.assertEqual(os.stat(self.path("copy.db")).st_mode & 0o777, 0o600)
        self.assertEqual(json.loads(self.ask("users", "--json", database=self.path("copy.db"))[1]), self.rows("users"))

    def test_strange_files(self):
        self.do("users", "add", "Anna")
        with open(self.file, "rb") as file:
            good = file.read()
        newer = good[:60] + (9999).to_bytes(4, "big") + good[64:]
        for number, content in enumerate((newer, b"no database at all" * 1000, good[:4096] + os.urandom(len(good) - 4096), good[:5000])):
            path = self.path(f"strange{number}.db", content)
            code, _, error = self.ask("users", "add", "B", database=path)
            self.assertEqual((code, error.count("\n")), (1, 1), error)
            self.assertEqual(self.ask("database", "check", database=path)[0], 1)
            with open(path, "rb") as file:
                self.assertEqual(file.read(), content)
        self.refuse(1, "", "users", database=self.dir.name)
        self.refuse(1, "", "users", "add", "B", database="/dev/full/x.db")
        self.refuse(1, "", "users", "import", self.dir.name)


if __name__ == "__main__":
    main()
