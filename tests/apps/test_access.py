"""Who may open which door, asked as an administrator does: schedules, holidays, rights and the commands `access`."""

import json
import tempfile
import unittest

from tools import console, main

ZURICH = "timeZone=Europe/Zurich"


class Access(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory(prefix="kyr-access-")
        self.addCleanup(self.dir.cleanup)
        self.user = self.do("users", "add", "Clara Dubois")[0]
        self.door = self.do("doors", "add", "Server Room", ZURICH)[0]
        self.card = self.do("media", "add", "04:A1:22:3B", "--user", "Clara Dubois", "description=Blue card")[0]

    def ask(self, *command, **options):
        return console(*command, database=f"{self.dir.name}/a.db", env={"TZ": "America/New_York"}, **options)

    def do(self, *command):
        code, out, error = self.ask(*command)
        self.assertEqual((code, error), (0, ""), command)
        return out.splitlines()

    def why(self, at, *more, user="Clara Dubois"):
        code, out, error = self.ask("access", "why", user, "Server Room", "--at", at, "--json", *more)
        self.assertEqual(error, "")
        answer = json.loads(out)
        self.assertEqual(code, 0 if answer["allowed"] else 1)
        return answer

    def reason(self, at, *more):
        return self.why(at, *more)["reason"]

    def schedule(self, slots, *more):
        self.do("schedules", "add", "Hours", slots, *more)
        return self.do("grant", "Clara Dubois", "Server Room", "--schedule", "Hours")[0]

    def test_schedules_and_holidays(self):
        christmas = self.do("holidays", "add", "Swiss", "2026-12-25", "Christmas")[0]
        self.do("schedules", "add", "Never", "")
        hours = self.do("schedules", "add", "Hours", "mon-fri 07:00-19:00;Holiday closed", "--calendar", "Swiss")[0]
        row = json.loads(self.do("schedules", "--json", "--filter", "label=Hours")[0])[0]
        self.assertEqual((row["id"], row["slots"], row["calendar"]), (hours, "Mon-Fri 07:00-19:00; Holiday closed", "Swiss"))
        row = json.loads(self.do("holidays", "--json")[0])[0]
        self.assertEqual([row[key] for key in ("id", "label", "date", "calendar")],
                         [christmas, "Christmas", "2026-12-25", "Swiss"])
        for command in (("add", "Hours", ""), ("add", "Other", "Mon 25:00-26:00"), ("add", "", ""), ("set", "Never", "label=Hours"),
                        ("add", "Other", "", "--calendar", "None"), ("remove", "Never", "None")):
            code, out, error = self.ask("schedules", *command)
            self.assertEqual((code, out, error.count("\n")), (1, "", 1), command)
        for day in ("2026-02-30", "25.12.2026", "2026-12-25 or so", ""):
            self.assertEqual(self.ask("holidays", "add", "Other", day, "Day")[0], 1, day)
        for words in (("", "2026-12-25", "Day"), ("Other", "2026-12-25", " ")):
            self.assertEqual(self.ask("holidays", "add", *words)[0], 1, words)
        self.assertEqual(len(self.do("schedules")), 3)
        self.assertEqual(self.ask("schedules", "add", "Other", "", "--calendar", "Other")[0], 1)  # no holiday, no calendar
        self.do("grant", "Clara Dubois", "Server Room", "--schedule", "Hours")
        self.assertEqual(self.ask("schedules", "remove", "Hours")[0], 1)
        self.do("schedules", "set", "Hours", "slots=Sat 10:00-11:00", "calendar=")
        row = json.loads(self.do("schedules", "--json", "--filter", "label=Hours")[0])[0]
        self.assertEqual((row["slots"], row["calendar"]), ("Sat 10:00-11:00", ""))
        self.do("schedules", "remove", "Never")
        self.do("holidays", "add", "Other", "2027-01-01", "New Year")
        self.do("holidays", "set", "Christmas", "label=Heiligabend", "date=2026-12-24", "calendar=Other")
        for change in ("date=", "date=2026-12-32", "calendar=", "calendar=None", "label="):
            self.assertEqual(self.ask("holidays", "set", christmas, change)[0], 1, change)
        row = json.loads(self.do("holidays", "--json")[0])[0]
        self.assertEqual((row["label"], row["date"], row["calendar"]), ("Heiligabend", "2026-12-24", "Other"))
        self.do("holidays", "remove", christmas)

    def test_clock_changes_at_the_door(self):
        self.schedule("Sun 02:00-03:00")
        for at, allowed in (("2026-03-29T01:59", False), ("2026-03-29T03:00", False),  # the hour that is skipped
                            ("2026-10-25T02:00:00+02:00", True), ("2026-10-25T02:59:59+02:00", True),
                            ("2026-10-25T02:00:00+01:00", True), ("2026-10-25T03:00", False), ("2026-10-25T01:59:59", False)):
            self.assertEqual(self.why(at)["allowed"], allowed, at)
        answer = self.why("2026-03-28T12:00")
        self.assertEqual((answer["at"], answer["next"]), ("2026-03-28T12:00:00+01:00", "2026-04-05T02:00:00+02:00"))

    def test_midnight_and_holidays(self):
        self.do("holidays", "add", "Swiss", "2026-12-25", "Christmas")  # a Friday
        self.schedule("Mon-Sun 22:00-06:00; Holiday 23:00-01:00", "--calendar", "Swiss")
        for at, allowed in (("2026-12-24T23:00", True), ("2026-12-25T05:59:59", True), ("2026-12-25T06:00", False),
                            ("2026-12-25T22:30", False), ("2026-12-25T23:30", True), ("2026-12-26T00:59:59", True),
                            ("2026-12-26T01:00", False), ("2026-12-26T22:00", True)):
            self.assertEqual(self.why(at)["allowed"], allowed, at)
        soon = self.why("2026-12-25T12:00")["next"]
        self.assertEqual(soon, "2026-12-25T23:00:00+01:00")
        self.assertTrue(self.why(soon)["allowed"])
        self.assertFalse(self.why("2026-12-25T22:59:59")["allowed"])

    def test_reasons(self):
        self.assertEqual(self.reason("2026-11-22"), "Unauthorized")
        right = self.do("grant", "Clara Dubois", "Server Room", "--from", "2026-11-01", "--to", "2026-11-30")[0]
        self.assertEqual(self.reason("2026-12-02"), "NotPermittedAtThisTime")
        answer = self.why("2026-11-30T23:59:59-05:00")  # ends by the console's clock
        self.assertEqual((answer["allowed"], answer["next"]), (True, None))
        self.assertEqual([answer["chains"][0][key] for key in ("allowed", "reason", "group", "right", "schedule", "credential")],
                         [True, "", None, right, None, self.card])
        at = "2026-11-22T03:10"
        for setting, reason in (("blocked=true", "CredentialNotEnabled"), ("validTo=2026-11-01", "CredentialNotEnabled"),
                                ("blocked=false", "CredentialExpired"), ("validFrom=2026-11-22T03:10:01Z", "CredentialNotActive")):
            self.do("media", "set", self.card, setting)
            self.assertEqual(self.reason(at), reason, setting)
        self.do("users", "set", self.user, "enabled=false")
        answer = self.why(at)
        self.assertEqual((answer["reason"], len(answer["chains"]), answer["chains"][0]["credential"]), ("UserDisabled", 1, None))
        self.do("users", "set", self.user, "enabled=true")
        self.do("doors", "set", "Server Room", "enabled=false")
        self.assertEqual(self.reason(at), "AccessPointDisabled")
        self.do("doors", "set", "Server Room", "enabled=true")
        self.do("media", "remove", self.card)
        self.assertEqual(self.reason(at), "CredentialUnknown")

    def test_one_credential(self):
        self.do("grant", "Clara Dubois", "Server Room")
        code = self.do("codes", "add", "481516", "--user", "Clara Dubois")[0]
        other = self.do("users", "add", "Ben Costa")[0]
        self.do("media", "add", "9C:41:D2:7A", "--user", "Ben Costa")
        self.do("media", "add", "9C:41:D2:7B")
        self.do("media", "block", self.card)
        at = "2026-11-22"
        self.assertTrue(self.why(at)["allowed"])
        for shown, reason, owner in ((self.card, "CredentialNotEnabled", self.user), ("04a1223b", "CredentialNotEnabled", self.user),
                                     (code, "", self.user), ("481516", "", self.user), ("481517", "InvalidPIN", None),
                                     ("9C41D27A", "CredentialUnknown", other), ("9C:41:D2:7B", "CredentialUnknown", None),
                                     ("a card", "CredentialUnknown", None)):
            answer = self.why(at, "--credential", shown)
            self.assertEqual((answer["reason"], answer["credentialUser"]), (reason, owner), shown)
        for shown in ("481516", "481517"):
            out = "".join(self.ask("access", "why", self.user, self.door, "--credential", shown)[1:])
            self.assertNotIn(shown, out)
        out = self.ask("access", "why", self.user, self.door, "--credential", "9C41D27A")[1]
        self.assertIn(f"access why {other} {self.door}", out)

    def test_names(self):
        for command in (("why", "Nobody", "Server Room"), ("why", "Clara Dubois", "No Room"), ("who", "No Room"), ("doors", "Nobody"),
                        ("why", "Clara Dubois"), ("why",), ("who", "Server Room", "too much"), ("fly", "Clara Dubois"),
                        ("why", "Clara Dubois", "Server Room", "--at", "soon"),
                        ("why", "Clara Dubois", "Server Room", "--at", "2026-11-22", "--now"), ("who", "Server Room", "--limit", "0")):
            code, out, error = self.ask("access", *command)
            self.assertEqual((code, out, error.count("\n")), (2, "", 1), f"{command} {error}")
        twin = self.do("users", "add", "Clara Dubois")[0]
        code, out, error = self.ask("access", "why", "Clara Dubois", "Server Room")
        self.assertEqual((code, out), (2, ""))
        self.assertTrue(self.user in error and twin in error, error)
        # Digits that are no id are a label.
        self.do("users", "add", "70001")
        self.assertEqual(self.ask("access", "why", "70001", "Server Room")[0], 1)

    def test_lists_agree_with_why(self):
        group = self.do("groups", "add", "Staff")[0]
        self.do("groups", "join", "Staff", "Clara Dubois")
        self.schedule("Mon-Fri 07:00-19:00")
        self.do("grant", "Staff", "Server Room")
        at = ("--at", "2026-11-22T03:10", "--json")
        chains = [{key: value for key, value in chain.items() if key != "detail"} for chain in self.why(at[1])["chains"]]
        self.assertEqual([chain["group"] for chain in chains], [None, group])
        self.assertEqual(json.loads(self.do("access", "who", "Server Room", *at)[0]), chains)
        self.assertEqual(json.loads(self.do("access", "doors", "Clara Dubois", *at)[0]), chains)
        code, out, error = self.ask("access", "who", "Server Room", "--limit", "1", *at)
        self.assertEqual((code, json.loads(out), error.count("\n")), (0, chains[:1], 1))
        self.assertIn("1 more", error)
        self.do("doors", "add", "Cellar")
        self.assertEqual(self.do("access", "who", "Cellar", "--json"), ["[]"])

    def test_lines_of_input(self):
        self.schedule("Mon-Fri 07:00-19:00")
        lines = ('"Clara Dubois" "Server Room" --at 2026-11-23T07:00\n'
                 f"{self.user} {self.door}\n\n# a remark\n"
                 f"{self.user}\nNobody 'Server Room'\n")
        code, out, error = self.ask("access", "why", "--json", "--at", "2026-11-22", stdin=lines)
        answers = [json.loads(line) for line in out.splitlines()]
        self.assertEqual((code, [answer.get("allowed") for answer in answers]), (2, [True, False, None, None]))
        self.assertEqual(answers[1]["at"], "2026-11-22T00:00:00+01:00")
        self.assertTrue("line 5:" in error and "line 6:" in error, error)
        self.assertEqual(self.ask("access", "why", stdin=f"{self.user} {self.door} --at 2026-11-22\n")[0], 1)
        code, out, _ = self.ask("access", "who", "--json", stdin='"Server Room"\n3000\n')
        self.assertEqual((code, [type(json.loads(line)) for line in out.splitlines()]), (2, [list, dict]))
        # As a command of a script the next line is the next command.
        code, out, _ = self.ask(stdin=f"access why {self.user} {self.door} --at 2026-11-23T08:00 --json\naccess why\n")
        self.assertEqual((code, json.loads(out.splitlines()[0])["allowed"]), (2, True))


if __name__ == "__main__":
    main()
