"""The console's commands on the installation in memory, on files and on mail servers."""

import csv
import datetime
import email
import email.policy
import json
import os
import shutil
import ssl
import struct
import subprocess
import tempfile
import time
import unittest
import zlib

from aiosmtpd.controller import Controller
from aiosmtpd.smtp import AuthResult

from tools import BIN, BUILD, ROOT, console, main


class Mailbox:
    """A mail server's handler that keeps what it was given: (log-in, TLS?, sender, recipients, mail)."""

    def __init__(self):
        self.mails = []

    async def handle_DATA(self, server, session, envelope):
        mail = email.message_from_bytes(envelope.content, policy=email.policy.default)
        encrypted = server.transport.get_extra_info("ssl_object") is not None
        login = session.auth_data and session.auth_data.login
        self.mails.append((login, encrypted, envelope.mail_from, envelope.rcpt_tos, mail))
        return "250 kept"


class Commands(unittest.TestCase):
    def table(self, lines):
        """Runs the lines; the rows of the last one's table."""
        code, out, error = console(stdin=lines + " --json")
        self.assertEqual((code, error), (0, ""))
        return json.loads(out.splitlines()[-1])

    def test_installation(self):
        rows = self.table('users add "Grete M\u00fcller"\ngroups join 42 75\nmedia give 75 56\nusers')
        self.assertEqual([row["label"] for row in rows][-1:], ["Grete M\u00fcller"])
        self.assertEqual((rows[-1]["groups"], rows[-1]["media"]), (["Facility Management"], ["100206"]))
        rows = self.table("users delete 31\ngroups leave 41 32\ngroups")
        self.assertNotIn("Anna Berger", rows[0]["users"])
        self.assertNotIn("Ben Costa", rows[0]["users"])
        self.assertEqual([row["user"] for row in self.table("users delete 31\nmedia")][0], "")
        self.assertIn({"value": 41, "text": "Network Gateway"}, self.table("mapping DeviceType"))
        for command in ("users delete 99", "groups join 99 31", "groups join 41 41", "media give 31 99", "mapping Nonsense", "users fly"):
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
            # A pipe stays one.
            os.mkfifo(f"{where}/pipe")
            pipe = os.open(f"{where}/pipe", os.O_RDONLY | os.O_NONBLOCK)
            self.assertEqual(console("users", "--csv", f"{where}/pipe")[0], 0)
            with open(file, "rb") as text:
                self.assertEqual(os.read(pipe, 10000), text.read())
            os.close(pipe)
            with open(f"{where}/firmware", "wb") as broken:
                broken.write(os.urandom(1000))
            code, out, error = console("firmware", f"{where}/firmware")
            self.assertEqual((code, error.count("\n")), (1, 1))
            self.assertIn("FAULT", out)

    def test_tables(self):
        """Columns, order and CSV of any table; a wrong column is named."""
        code, out, error = console("users", "--columns", "name,ID", "--sort", "-label", "--limit", "2")
        self.assertEqual((code, out), (0, "Name         Id\nBen Costa    32\nAnna Berger  31\n"))
        with tempfile.TemporaryDirectory() as where:
            for command in ["doors"], ["access", "who", "3"], ["mapping", "DeviceType", "--sort", "text"], ["help"]:
                shown = console(*command, "--csv", "-")[1]
                self.assertEqual(console(*command, "--csv", f"{where}/table.csv")[:1], (0,))
                with open(f"{where}/table.csv", encoding="utf-8", newline="") as file:
                    self.assertEqual(file.read(), shown)
                rows = list(csv.reader(shown.lstrip("\ufeff").splitlines(), delimiter=";"))
                self.assertEqual({len(row) for row in rows}, {len(rows[0])})
            self.assertEqual(console("doors", "--csv", f"{where}/none/x")[0], 1)
            # By value, not by letters; users with all properties, in the order that is asked for.
            self.assertEqual([row["value"] for row in json.loads(console("mapping", "DeviceType", "--sort", "value", "--json")[1])][:3],
                             sorted(row["value"] for row in json.loads(console("mapping", "DeviceType", "--json")[1]))[:3])
            self.assertIn(";Eva;Fischer\n34;", console("users", "--csv", "-", "--sort", "-id")[1])
            with open(f"{where}/firmware", "wb") as broken:
                broken.write(os.urandom(1000))
            code, out, _ = console("firmware", f"{where}/firmware", "--json")
            self.assertEqual((code, json.loads(out)["faultless"], len(json.loads(out)["parts"])), (1, False, 1))
            # What a spreadsheet would take for a formula, in any table.
            lines = "doors add =1+1\ndoors add -- -5\ndoors --csv - --columns label --sort id"
            self.assertEqual(console(stdin=lines + " --csv-guard")[1].splitlines()[-2:], ["'=1+1", "-5"])
            self.assertEqual(console(stdin=lines)[1].splitlines()[-2:], ["=1+1", "-5"])
        code, out, error = console("users", "--columns", "label,flat")
        self.assertEqual((code, out, 'no column "flat"' in error), (2, "", True))
        self.assertEqual(console("users", "--json", "--csv", "-")[0], 2)

    def test_json(self):
        """What is no table is an object; the last line of each command."""
        with tempfile.TemporaryDirectory() as where:
            def last(command, code=0):
                done = console(*command.split(), "--json", cwd=where, database=f"{where}/a.db")
                self.assertEqual(done[0], code, done)
                return json.loads(done[1].splitlines()[-1])
            with open(f"{where}/users.csv", "w", encoding="utf-8") as file:
                file.write("Name\nAda\n")
            self.assertEqual(last("users import users.csv --dry-run"), {"added": 1, "changed": 0, "unchanged": 0, "dryRun": True})
            self.assertEqual(last("users add Ben"), 1)
            self.assertEqual(last("database fill --users 3 --doors 1 --groups 1"), {"users": 3, "doors": 1, "groups": 1})
            self.assertEqual(last("database check"), {"location": f"{where}/a.db", "ok": True, "faults": []})
            self.assertEqual(last("database backup b.db"), {"file": "b.db"})
            self.assertIn("signature", last("audit head")[0])
            self.assertEqual(last("audit head --out heads"), {"file": "heads", "heads": 1})
            self.assertIn("PUBLIC KEY", last("audit key")["publicKey"])
            self.assertEqual(last("audit export --jsonl trail"), {"file": "trail", "heads": "trail.heads"})
            self.assertEqual((last("audit retain --days 7"), last("audit erase 1")["erased"] > 0), ({"removed": 0}, True))
            self.assertEqual(last("mail --queue --to a@example.com --subject x"), {"result": "queued"})
            with open(f"{where}/password", "w", encoding="utf-8") as file:
                file.write("correct horse battery\n")
            self.assertEqual(last("logins add ben Ben --password-file password"), {"name": "ben"})
            self.assertTrue(last("logins otp ben")["uri"].startswith("otpauth://totp/"))
            self.assertEqual([call["verb"] for call in last("help groups")["calls"]][:2], ["", "add"])

    def test_scripts(self):
        """Lines of a script are told; it may end at the first mistake. Variables that mean nothing are told, too."""
        lines = "version\n# x\nfly\nversion"
        self.assertEqual(console(stdin=lines), (2, "1.1.0\n1.1.0\n", 'line 3: unknown command "fly" (see: help)\n'))
        self.assertEqual(console("--stop-on-error", stdin=lines)[:2], (2, "1.1.0\n"))
        code, _, error = console("version", env={"KYR_CONSOLE_LOGFILE": "x", "KYR_CONSOLE_SERVE_PORT": "1"})
        self.assertEqual((code, error.count("\n"), "did you mean KYR_CONSOLE_LOG_FILE?" in error), (0, 1, True))
        self.assertEqual(console("-h")[1], console("--help")[1])
        for line, told in (("usres", 'did you mean "users"?'), ("users improt", 'did you mean "import"?'), ("users --colums id", "Did you mean --columns?")):
            code, _, error = console(stdin=line)
            self.assertEqual((code, error.count("\n"), told in error), (2, 1, True), error)

    def test_completion(self):
        """What may follow a word, as a shell asks for it."""
        def words(*typed):
            return console("completion", "words", "--", *typed)[1].splitlines()[1:]
        def line(text):
            return console("completion", "line", "--", text)[1].splitlines()
        self.assertEqual(words("--database", "memory", "gr"), ["groups", "grant"])
        self.assertEqual(words("users", "set", "Cl"), ["Clara Dubois"])
        self.assertEqual(words("grant", "Anna Berger", "--sched"), ["--schedule"])
        self.assertEqual(words("events", "--kind", "den"), ["denied"])
        self.assertEqual(words("doors", "set", "1", "time"), ["timeZone="])
        self.assertEqual(words("codes", "remove", ""), [])
        self.assertEqual(words("logins", "permit", "anna", "UsersRead", "AccessP"), ["AccessPointsWrite", "AccessPointsRead"])
        self.assertEqual(line("kyr_console users set Cl"), ["words", "Clara\\ Dubois "])
        self.assertEqual(line('kyr_console users set "Cl'), ["words", "Clara Dubois"])
        self.assertEqual(line("kyr_console users import /et"), ["files "])
        self.assertEqual(line("kyr_console --database=/et"), ["files --database="])
        if shutil.which("bash"):
            script = 'source <("$0" completion bash); COMP_LINE="x --database memory media give Dav" COMP_POINT=33 ' \
                     'COMP_WORDS=(x --database memory media give Dav) COMP_CWORD=5; _kyr_console "$0"; printf "%s" "${COMPREPLY[@]}"'
            result = subprocess.run(["bash", "-c", script, f"{BIN}/kyr_console"], capture_output=True, text=True, timeout=20)
            self.assertEqual((result.stdout, result.stderr), ("David\\ Ekstr\u00f6m ", ""))

    def test_signed_firmware(self):
        with tempfile.TemporaryDirectory() as where:
            run = lambda *command: console("firmware", *command, cwd=where)
            openssl = lambda *words: subprocess.run(["openssl", *words], check=True, cwd=where, capture_output=True)
            fields = b"\x09\x01\x01\x06\x00"  # the architecture, and the end of the header
            program = b"BFF\0" + struct.pack("<II", len(fields), zlib.crc32(fields) ^ 0xFFFFFFFF) + fields \
                + struct.pack("<BBHII", 4, 1, 41, 1000, 12 + 7) + b"program"
            with open(f"{where}/fw", "wb") as file:
                file.write(program)
            for kind, other in (("RSA", "ED25519"), ("ED25519", "RSA")):
                openssl("genpkey", "-algorithm", kind, "-out", f"{kind}.key")
                openssl("pkey", "-in", f"{kind}.key", "-pubout", "-out", f"{kind}.pem")
            self.assertEqual(run("verify", "fw", "--key", "RSA.pem"),
                             (1, "", 'firmware verify: "fw": not signed: cannot read "fw.sig": No such file or directory\n'))
            for kind, other in (("RSA", "ED25519"), ("ED25519", "RSA")):
                self.assertEqual(run("sign", "fw", "--key", f"{kind}.key"), (0, "Wrote fw.sig.\n", ""))
                # The same as other people's tools make.
                openssl(*(("dgst", "-sha256", "-verify", "RSA.pem", "-signature", "fw.sig", "fw") if kind == "RSA" else
                          ("pkeyutl", "-verify", "-pubin", "-inkey", "ED25519.pem", "-rawin", "-in", "fw", "-sigfile", "fw.sig")))
                self.assertEqual(run("verify", "fw", "--key", f"{kind}.pem", "--least-version", "1000"),
                                 (0, "fw has no faults and is signed by this key.\n", ""))
                for words, said in ((["--key", f"{kind}.pem", "--least-version", "1001"], "version 1000"),
                                    (["--key", f"{other}.pem"], "does not match this file"), (["--key", "fw"], "contains no public")):
                    code, out, error = run("verify", "fw", *words)
                    self.assertEqual((code, out, said in error, error.count("\n")), (1, "", True, 1), error)
            with open(f"{where}/fw", "ab") as file:
                file.write(b"x")
            self.assertIn("does not match this file", run("verify", "fw", "--key", "ED25519.pem")[2])
            self.assertIn("has faults", run("sign", "fw", "--key", "RSA.key")[2])

    def test_report(self):
        with tempfile.TemporaryDirectory() as where:
            file = f"{where}/users.pdf"
            code, out, error = console("report", "--users", "33,31", "--pdf", file, "--json")
            if "no report plugin" in error:
                self.skipTest(error)
            self.assertEqual((code, json.loads(out), error), (0, {"file": file, "users": 2}, ""))
            with open(file, "rb") as pdf:
                self.assertEqual(pdf.read(5), b"%PDF-")
            self.assertEqual(console("report", "--users", "33, 31", "--pdf", file)[:2],
                             (0, f"Wrote a report of 2 users to {file}.\n"))
            code, _, error = console("report", "--users", "33, 99,7", "--pdf", file)
            self.assertEqual((code, "there is no user \"99\"" in error), (2, True))
            self.assertEqual(console("report", "--pdf", f"{where}/none/users.pdf")[0], 1)

    def test_report_helper(self):
        """A helper program that fails, each in its way, makes no report; nor does a machine without fonts."""
        with tempfile.TemporaryDirectory() as where:
            if not os.path.exists(f"{BIN}/plugins/kyr_report.so"):
                self.skipTest("no report plugin")
            os.mkdir(f"{where}/plugins")
            shutil.copy(f"{BIN}/kyr_console", where)
            shutil.copy(f"{BIN}/plugins/kyr_report.so", f"{where}/plugins")
            file, helper = f"{where}/users.pdf", f"{where}/kyr_report_pdf"

            def report(script, **env):
                with open(helper, "w", encoding="utf-8") as text:
                    text.write("#!/bin/sh\n" + script)
                os.chmod(helper, 0o700)
                result = subprocess.run([f"{where}/kyr_console", "--database", "memory", "report", "--pdf", file], capture_output=True, text=True,
                                        timeout=50, env={**os.environ, **env})
                self.assertEqual((result.returncode, os.path.exists(file)), (1, False), result.stderr)
                return result.stderr

            for script, reason in (("cat >/dev/null; echo junk", "did not return a PDF document"),
                                   ("cat >/dev/null; printf '%%PDF-1.4 and no end'", "did not return a PDF document"),
                                   ("printf '%%PDF-1.4\\n%%%%EOF'; exec <&-; exit 3", "code 3"),
                                   ("kill -9 $$", "crashed"),
                                   ("echo error it is late >&2; exit 1", "it is late"),
                                   ("yes >&2 & cat >/dev/null; kill $!; exit 7", "code 7"),
                                   ("cat /dev/zero", "too much")):
                self.assertIn(reason, report(script))
            with open(f"{where}/fonts.conf", "w", encoding="utf-8") as fonts:
                fonts.write("<fontconfig></fontconfig>")
            error = report(f"exec {BIN}/kyr_report_pdf", FONTCONFIG_FILE=f"{where}/fonts.conf")
            self.assertIn("font", error)

    def mail(self, *arguments, port=2525, **server):
        """Runs the mail command against a server: (exit code, standard output, what the server was given)."""
        mailbox = Mailbox()
        try:
            controller = Controller(mailbox, hostname="127.0.0.2", port=port, **server)
            controller.start()
        except OSError:
            self.skipTest(f"port {port} is taken")
        try:
            code, out, _ = console("mail", "--server", f"127.0.0.2:{port} [verify_none]", "--account", "a@example.com",
                                   *arguments, env={"KYR_CONSOLE_MAIL_PASSWORD": "s\u00e4cret word" if server else ""})
            return code, out, mailbox.mails
        finally:
            controller.stop()

    def test_mail(self):
        code, _, error = console("mail", "--check", "--account", "a@example.com", "--server", "127.0.0.1:1")
        self.assertEqual((code, error), (1, "mail: The remote host closed the connection. (Connection refused)\n"))
        self.assertEqual(self.mail("--check"), (0, "The settings are in order.\n", []))
        for bad in "b@example.com>", "bad address", "b@example.com,c":
            self.assertEqual(self.mail("--to", bad, "--subject", "x"), (2, "", []))
        mail = self.mail("--to", "b@example.com", "--subject", "A & B", "--text", "x < y")[2][0]
        self.assertEqual(mail[:2], (None, False))
        self.assertEqual(mail[-1].get_body(("plain",)).get_content().strip(), "x < y")
        html = mail[-1].get_body(("html",)).get_content()
        self.assertEqual([html.count(text) for text in ("x &lt; y", "A &amp; B", "A & B")], [1, 2, 0])

    def test_mail_with_login(self):
        """What is hard to encode arrives as it was, by each way in."""
        subject = "T\u00fcr 3 ge\u00f6ffnet \U0001f511 ${MESSAGE} \u2014 ein Betreff \u00fcber mehrere Zeilen\nBcc: x"
        text = ".\n..Gr\u00fc\u00dfe an alle,\rdie T\u00fcr ist offen. \n.\nfrom: me\n" + "." * 200
        with open(f"{ROOT}/foundation/resources/email_template_default.html", encoding="utf-8") as template:
            page = template.read()
        for placeholder, value in (("${MESSAGE}", text), ("${PREHEADER}", "Vorschau \U0001f600"), ("${HEADER}", subject)):
            self.assertIn(placeholder, page)
            page = page.replace(placeholder, value)
        with tempfile.TemporaryDirectory() as where:
            subprocess.run([f"{ROOT}/scripts/device-certificate", "mail", where, f"{BUILD}/dev-ca"], check=True)
            context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
            context.load_cert_chain(f"{where}/mail.pem", f"{where}/mail.key")
            login = {"auth_required": True, "authenticator": lambda server, session, envelope, mechanism, data:
                     AuthResult(success=data.password == "s\u00e4cret word".encode(), auth_data=data)}
            start_tls = {"tls_context": context, "require_starttls": True}
            to = ["b@example.com", "c@example.com"]
            for server in ({"auth_exclude_mechanism": ["LOGIN"], **start_tls},
                           {"auth_exclude_mechanism": ["PLAIN"], **start_tls},
                           {"port": 2465, "ssl_context": context, "auth_require_tls": False}):
                code, _, mails = self.mail("--to", to[0], "--to", to[1], "--subject", subject, "--text", text,
                                           "--preheader", "Vorschau \U0001f600", **login, **server)
                self.assertEqual((code, len(mails)), (0, 1))
                *envelope, mail = mails[0]
                self.assertEqual(envelope, [b"a@example.com", True, "a@example.com", to])
                self.assertEqual((mail["From"], mail["To"]), ("a@example.com", ", ".join(to)))
                self.assertEqual(mail["Subject"], subject.replace("\n", " "))
                self.assertEqual((mail["Date"].datetime is None, mail.get_content_type()), (False, "multipart/alternative"))
                self.assertEqual([part.defects for part in mail.walk() if part.defects], [])
                for kind, expected in (("plain", f"{text}\n\nVorschau \U0001f600"), ("html", page)):
                    content = mail.get_body((kind,)).get_content()
                    self.assertEqual(content.replace("\r\n", "\n").strip(), expected.replace("\r", "\n").strip())

    def test_log(self):
        code, out, _ = console(stdin="discover --wait 20 --port 9\nlog --lines 1 --json\nlog --match nonsense")
        line = json.loads(out)[0]
        self.assertEqual((code, line["level"]), (1, "INF"))
        self.assertLess(abs(datetime.datetime.fromisoformat(line["time"].replace("Z", "+00:00")).timestamp() - time.time()), 60)
        self.assertTrue(line["text"].startswith("CDeviceDiscovery: Send UDP query"), line)


if __name__ == "__main__":
    main()
