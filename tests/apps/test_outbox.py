"""What waits and outlasts the server: mails in the outbox, and what is known of devices that are absent."""

import email
import email.policy
import json
import os
import shutil
import signal
import subprocess
import tempfile
import threading
import time
import unittest
import uuid

from aiosmtpd.controller import Controller

from test_door import CA, LABELS, TOKEN, Server
from test_link import certificate
from test_servers import WHERE, postgresql, psql
from tools import BIN, BUILD, ROOT, WAIT, console, main, simulator

MAIL = ("127.0.0.3", 2525)  # a port on which mail begins in plain text


class Mailbox:
    """A mail server's handler that knows nobody of the name "nobody"."""

    def __init__(self):
        self.mails = []
        self.came = threading.Condition()

    async def handle_RCPT(self, server, session, envelope, address, options):
        if address.startswith("nobody"):
            return "550 no such user here"
        envelope.rcpt_tos.append(address)
        return "250 ok"

    async def handle_DATA(self, server, session, envelope):
        with self.came:
            self.mails.append((envelope.rcpt_tos, email.message_from_bytes(envelope.content, policy=email.policy.default)))
            self.came.notify_all()
        return "250 kept"


class Lasting(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.mkdtemp(prefix="kyr-outbox-")
        self.addCleanup(shutil.rmtree, self.dir)
        certificate("console", self.dir, f"{BUILD}/dev-ca", "--name", "IP:127.0.0.1")
        self.database = f"{self.dir}/a.db"

    def serve(self, *options):
        return Server(self.dir, self.database, 0, *options)

    def ask(self, *command, code=0, **options):
        result = console("--attach", f"{self.dir}/console.socket", *command, cwd=self.dir, **options)
        self.assertEqual(result[0], code, (command, result))
        return result[1]

    def table(self, *command, code=0):
        return json.loads(self.ask(*command, "--json", code=code))

    def eventually(self, condition, wait=WAIT):
        end = time.monotonic() + wait
        while not condition():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.05)

    def test_a_mail_survives_a_kill_and_arrives_once(self):
        self.survive()

    @unittest.skipUnless(os.path.exists(WHERE), "PostgreSQL was not started for the tests")
    def test_a_mail_survives_on_postgresql(self):
        name = f"kyr_{uuid.uuid4().hex}"
        psql("CREATE DATABASE", name)
        self.addCleanup(psql, "DROP DATABASE", name, "WITH (FORCE)")
        self.database = postgresql() + name
        self.survive()

    def mail_server(self):
        mailbox = Mailbox()
        controller = Controller(mailbox, hostname=MAIL[0], port=MAIL[1])
        try:
            controller.start()
        except OSError:
            self.skipTest("the port is taken")
        return mailbox, controller

    def survive(self):
        sends = ("--mail-server", "%s:%d" % MAIL, "--mail-account", "door@example.com")
        with open(f"{self.dir}/T\u00fcren.csv", "wb") as file:
            file.write(bytes(range(256)) * 500)
        with open(f"{self.dir}/text", "w", encoding="utf-8") as file:
            file.write("a < b & \u00fc\n.\n")
        before = self.serve(*sends)
        self.ask("mail", "--to", "ann@example.com, nobody@example.com;ben@example.com ann@example.com", "--subject", "Gr\u00fc\u00dfe",
                 "--text-file", "text", "--attachment", "T\u00fcren.csv")
        # Nobody is there to take it: tried, and to be tried again.
        self.eventually(lambda: all(row["tries"] == 1 and "refused" in row["error"] for row in self.table("mail", "--outbox")))
        self.assertEqual(len(self.table("mail", "--outbox")), 3)
        self.ask("mail", "--to", "late@example.com", "--subject", "b")
        before.process.send_signal(signal.SIGKILL)
        before.process.wait(WAIT)
        mailbox, controller = self.mail_server()
        try:
            with self.serve(*sends):
                # What was being sent when the first one was killed is held for 15 s.
                self.eventually(lambda: [row["recipient"] for row in self.table("mail", "--outbox")] == ["nobody@example.com"], 25)
                refused = self.table("mail", "--outbox")[0]
                self.assertEqual((refused["next"], "550" in refused["error"]), ("given up", True))
                self.assertEqual(self.table("status")["mailsGivenUp"], 1)
                self.ask("mail", "--forget", refused["id"])
                self.assertEqual(self.table("mail", "--outbox"), [])
        finally:
            controller.stop()
        self.assertEqual(sorted(to for to, _ in mailbox.mails), [["ann@example.com"], ["ben@example.com"], ["late@example.com"]])
        mail = next(mail for to, mail in mailbox.mails if to == ["ann@example.com"])
        self.assertEqual((mail["subject"], mail["from"]), ("Gr\u00fc\u00dfe", "door@example.com"))
        self.assertEqual(mail.get_body(("plain",)).get_content().splitlines()[:2], ["a < b & \u00fc", "."])
        self.assertIn("a &lt; b &amp; \u00fc", mail.get_body(("html",)).get_content())
        attachment, = mail.iter_attachments()
        self.assertEqual((attachment.get_filename(), attachment.get_content_type().split("/")[0]), ("T\u00fcren.csv", "text"))
        self.assertEqual(attachment.get_payload(decode=True), bytes(range(256)) * 500)
        self.assertEqual(len({mail["message-id"] for _, mail in mailbox.mails}), 2)

    def test_the_morning_report_arrives(self):
        mailbox, controller = self.mail_server()
        self.addCleanup(controller.stop)
        with self.serve("--mail-server", "%s:%d" % MAIL, "--mail-account", "door@example.com"):
            report = self.ask("script", f"{ROOT}/examples/scripts/morning_report.js", "--timeout", "60", "office@example.com")
            self.assertEqual(report, "In the outbox, for office@example.com.\n")
            with mailbox.came:
                self.assertTrue(mailbox.came.wait_for(lambda: mailbox.mails, 15))
            self.eventually(lambda: self.table("mail", "--outbox") == [])
        (to, mail), = mailbox.mails
        self.assertEqual((to, mail["from"], mail["subject"]), (["office@example.com"], "door@example.com", "What happened at the doors"))
        self.assertIn("0 times let in", mail.get_body(("plain",)).get_content())

    def test_who_is_absent(self):
        for label in LABELS:
            certificate(label, self.dir)
        for door, label in zip(("Main", "Side"), LABELS):
            self.assertEqual(console("doors", "add", door, database=self.database)[0], 0)
            self.assertEqual(console("doors", "assign", door, label, database=self.database)[0], 0)
        state = lambda: {row["door"]: (row["label"], row["state"], row["lastHeard"]) for row in self.table("devices", "--all")}
        first = self.serve()
        self.assertEqual(state(), {"Main": (LABELS[0], "absent", "never"), "Side": (LABELS[1], "absent", "never")})
        watcher = subprocess.Popen(["/usr/bin/python3", f"{ROOT}/examples/notifications.py", f"wss://127.0.0.1:{first.port}/notifications",
                                    TOKEN, CA, "Devices"], stdout=subprocess.PIPE, text=True)
        self.addCleanup(watcher.stdout.close)
        self.addCleanup(watcher.wait)
        self.addCleanup(watcher.kill)
        while "acknowledge" not in watcher.stdout.readline():
            self.assertIsNone(watcher.poll())
        device = simulator("--label", LABELS[0], "--call", f"https://127.0.0.1:{first.port}", "--certificate", f"{self.dir}/%1.pem",
                           "--key", f"{self.dir}/%1.key", "--state", f"{self.dir}/state", "--ca", CA)[0]
        # In a pipe a table that is watched is a line for each row that is new or different.
        watched = subprocess.Popen([f"{BIN}/kyr_console", "--attach", f"{self.dir}/console.socket", "devices", "--watch", "--json"],
                                   # Also where this test runs in the background, which has no Ctrl+C.
                                   preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL), stdout=subprocess.PIPE, text=True)
        self.addCleanup(watched.stdout.close)
        self.addCleanup(watched.wait)
        self.addCleanup(watched.kill)
        with device:
            self.eventually(lambda: state()["Main"][1] == "linked")
            lines = [json.loads(watched.stdout.readline())]
            while lines[-1]["label"] != LABELS[0] or not lines[-1]["upToDate"]:
                lines.append(json.loads(watched.stdout.readline()))
            self.assertLess(len(lines), 5)
            self.assertEqual(self.ask("sync", "--watch", LABELS[0]).splitlines()[-1], f"{LABELS[0]}  Main  true")
            self.assertEqual([row["door"] for row in self.table("devices", "--absent", code=1)], ["Side"])
            # A row is a link to programs that have read this table before.
            self.assertEqual([row["door"] for row in self.table("devices")], ["Main"])
            self.assertIn("never", self.ask("devices"))
            status = self.table("status")
            self.assertEqual([status[key] for key in ("serving", "links", "absent", "refusals")], [True, 1, 1, 0])
            self.assertGreater(status["certificateEnd"], time.strftime("%Y"))
            peer = self.table("devices")[0]["peer"]
            heard = [json.loads(watcher.stdout.readline()) for _ in range(2)]
            self.assertIn(("Devices", "came"), [(message["params"][0], message["params"][1]["event"]) for message in heard if "params" in message])
        self.assertEqual(console("doors", "assign", "Side", "none", database=self.database)[0], 0)
        self.eventually(lambda: state()["Main"][1] == "absent")
        while json.loads(watched.stdout.readline()) != {"label": LABELS[0], "gone": True}:
            pass
        watched.send_signal(signal.SIGINT)
        self.assertEqual(watched.wait(WAIT), 0)
        first.__exit__()
        # The next server knows it, too.
        with self.serve():
            row, = self.table("devices", "--absent", code=1)
            self.assertEqual((row["peer"], row["lastHeard"] > "2020"), (peer, True))
            self.assertEqual(console("doors", "assign", "Main", "none", database=self.database)[0], 0)
            self.eventually(lambda: self.table("status")["absent"] == 0)
            self.assertEqual(self.table("devices", "--absent"), [])


if __name__ == "__main__":
    main()
