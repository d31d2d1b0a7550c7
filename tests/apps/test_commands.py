"""The console's commands on the installation in memory, on files and on mail servers."""

import csv
import email
import email.policy
import json
import os
import tempfile
import unittest

from aiosmtpd.controller import Controller

from tools import console, main


class Mailbox:
    """A mail server's handler that keeps what it was given."""

    def __init__(self):
        self.mails = []

    async def handle_DATA(self, server, session, envelope):
        self.mails.append((envelope.rcpt_tos, envelope.content))
        return "250 kept"


class Commands(unittest.TestCase):
    def table(self, lines):
        """Runs the lines; the rows of the last one's table."""
        code, out, error = console(stdin=lines + " --json")
        self.assertEqual((code, error), (0, ""))
        return json.loads(out.splitlines()[-1])

    def test_installation(self):
        rows = self.table('users add "Grete M\u00fcller"\ngroups join 42 75\nmedia give 56 75\nusers')
        self.assertEqual([row["label"] for row in rows][-1:], ["Grete M\u00fcller"])
        self.assertEqual((rows[-1]["groups"], rows[-1]["media"]), (["Facility Management"], ["100206"]))
        rows = self.table("users delete 31\ngroups leave 41 32\ngroups")
        self.assertNotIn("Anna Berger", rows[0]["users"])
        self.assertNotIn("Ben Costa", rows[0]["users"])
        self.assertEqual([row["user"] for row in self.table("users delete 31\nmedia")][0], "")
        self.assertIn({"value": 41, "text": "Network Gateway"}, self.table("mapping DeviceType"))
        for command in ("users delete 99", "groups join 41 99", "media give 99 31", "mapping Nonsense", "users fly"):
            code, _, error = console(*command.split())
            self.assertNotEqual(code, 0, command)
            self.assertEqual(error.count("\n"), 1, command)

    def test_csv(self):
        with tempfile.TemporaryDirectory() as where:
            file = f"{where}/users.csv"
            self.assertEqual(console("users", "--csv", file)[0], 0)
            with open(file, encoding="utf-8-sig", newline="") as text:
                rows = list(csv.DictReader(text, delimiter=";"))
            self.assertEqual([(row["Id"], row["Name"]) for row in rows][3], ("34", "David Ekstr\u00f6m"))
            self.assertEqual(console("users", "--csv", f"{where}/none/users.csv")[0], 1)
            with open(f"{where}/firmware", "wb") as broken:
                broken.write(os.urandom(1000))
            code, out, error = console("firmware", f"{where}/firmware")
            self.assertEqual((code, error.count("\n")), (1, 1))
            self.assertIn("FAULT", out)

    def test_report(self):
        with tempfile.TemporaryDirectory() as where:
            file = f"{where}/users.pdf"
            code, out, error = console("report", "--users", "33,31", "--pdf", file)
            if "no report plugin" in error:
                self.skipTest(error)
            self.assertEqual((code, error), (0, ""))
            with open(file, "rb") as pdf:
                self.assertEqual(pdf.read(5), b"%PDF-")
            self.assertEqual(console("report", "--users", "33,99", "--pdf", file)[0], 2)
            self.assertEqual(console("report", "--pdf", f"{where}/none/users.pdf")[0], 1)

    def test_mail(self):
        mailbox = Mailbox()
        code, _, error = console("mail", "--check", "--account", "a@example.com", "--server", "127.0.0.1:1")
        self.assertEqual((code, error.startswith("mail: ")), (1, True))
        try:
            controller = Controller(mailbox, hostname="127.0.0.2", port=2525)
            controller.start()
        except OSError:
            self.skipTest("port 2525 is taken")
        try:
            server = ["--server", "127.0.0.2:2525", "--account", "a@example.com"]
            self.assertEqual(console("mail", "--check", *server)[:2], (0, "The settings are in order.\n"))
            self.assertEqual(mailbox.mails, [])
            code, out, error = console("mail", "--to", "b@example.com", "--subject", "T\u00fcr 1 \u2013 offen", "--text",
                                       "x < y", *server)
            self.assertEqual((code, out, error), (0, "Sent.\n", ""))
            recipients, content = mailbox.mails[0]
            mail = email.message_from_bytes(content, policy=email.policy.default)
            self.assertEqual((recipients, mail["subject"]), (["b@example.com"], "T\u00fcr 1 \u2013 offen"))
            self.assertIn("x &lt; y", mail.get_body(("html",)).get_content())
            self.assertEqual(console("mail", "--to", "b@example.com>", "--subject", "x", *server)[0], 1)
        finally:
            controller.stop()

    def test_log(self):
        code, out, _ = console(stdin="discover --wait 20 --port 9\nlog --lines 1 --json\nlog --match nonsense")
        line = json.loads(out)[0]
        self.assertEqual((code, line["level"]), (1, "INF"))
        self.assertTrue(line["text"].startswith("CDeviceDiscovery: Send UDP query"), line)


if __name__ == "__main__":
    main()
