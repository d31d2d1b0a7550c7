"""The console when its database comes to harm: a full disk, a PostgreSQL server that is silent or killed; and whom it
takes for its database server."""

import json
import os
import resource
import shlex
import shutil
import socket
import sqlite3
import ssl
import subprocess
import tempfile
import threading
import time
import unittest
import urllib.error
import urllib.request

from test_door import ANNA, CA, Doors
from tools import ROOT, WAIT, Running, console, main

LONG = 3 * WAIT  # until a lost server has been looked for some times
MAILS = ("--mail-server", "127.0.0.1:1", "--mail-account", "door@example.com")
CLUSTER = f"{ROOT}/tests/support/postgres_cluster"


class Cluster:
    """A server of its own."""

    def __init__(self, where):
        self.file = f"{where}/postgresql.url"
        subprocess.run([CLUSTER, "start", self.file, "kyr"], check=True, stdout=subprocess.DEVNULL)
        if not os.path.exists(self.file):
            raise unittest.SkipTest("PostgreSQL is not installed")
        with open(self.file) as file:
            self.url = file.readline().strip()
        self.port = int(self.url.split(":")[-1].split("/")[0])

    def come(self, what):
        subprocess.run([CLUSTER, what, self.file], check=True)

    def sql(self, *statements, database="kyr"):
        words = [word for statement in statements for word in ("-c", statement)]
        return subprocess.run(["psql", "-qAt", self.url.removesuffix("kyr") + database, *words], check=True,
                              stdout=subprocess.PIPE, text=True).stdout

    def set(self, **settings):
        self.sql(*(f"ALTER SYSTEM SET {name}='{value}'" for name, value in settings.items()), "SELECT pg_reload_conf()")
        time.sleep(0.3)  # until its processes have read that


class Harmed(Doors):
    def health(self):
        try:
            with urllib.request.urlopen(f"https://127.0.0.1:{self.port}/health", timeout=WAIT,
                                        context=ssl.create_default_context(cafile=CA)) as answer:
                return answer.status
        except urllib.error.HTTPError as error:
            return error.code

    def granted_once(self, count):
        self.eventually(lambda: len(self.events("granted")) == count, LONG)
        self.assertEqual(len({event["deviceSeq"] for event in self.events("granted")}), count)
        self.assertTrue(self.table("audit", "verify")["ok"])


class Full(Harmed):
    def test_disk_full(self):
        self.furnish()
        # The limit stands for the disk: what is written above it fails, in the same places.
        with self.serve(*MAILS, prefix=("sh", "-c", "trap '' XFSZ; exec \"$@\"", "sh")) as server, self.locks():
            self.eventually(self.up_to_date)
            self.assertEqual(self.present(ANNA), (True, ""))
            self.granted_once(1)
            resource.prlimit(server.process.pid, resource.RLIMIT_FSIZE, (0, resource.RLIM_INFINITY))
            for command in (["users", "add", "Nobody"], ["mail", "--to", "a@b.c", "--subject", "x"], ["audit", "retain"],
                            ["audit", "head"]):
                code, out, error = self.attached(*command)
                self.assertEqual((code, out, error.count("\n")), (1, "", 1), (command, error))
            self.assertEqual(self.present(ANNA), (True, ""))
            self.eventually(lambda: self.health() == 503)
            self.assertEqual(json.loads(self.attached("users", "--json")[1])[-1]["label"], "Ben")
            self.assertEqual(len(self.events("granted")), 1)
            resource.prlimit(server.process.pid, resource.RLIMIT_FSIZE, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))
            self.eventually(lambda: self.health() == 200, LONG)
            self.granted_once(2)
            self.assertEqual(self.attached("users", "add", "Cem")[0], 0)
        self.ask("database", "check")
        self.assertEqual([row["label"] for row in self.table("users")], ["Anna", "Ben", "Cem"])

    def test_held_by_another_program(self):
        self.furnish()
        other = sqlite3.connect(self.database, isolation_level=None, check_same_thread=False)
        self.addCleanup(other.close)
        with self.serve():
            for held, code in ((0.8, 0), (3.5, 1)):
                other.execute("BEGIN IMMEDIATE")
                release = threading.Timer(held, other.execute, ["ROLLBACK"])
                release.start()
                answers = []
                command = threading.Thread(target=lambda: answers.append(self.attached("users", "add", "Cem")))
                command.start()
                slowest = 0
                while command.is_alive():
                    begin = time.monotonic()
                    self.health()
                    slowest = max(slowest, time.monotonic() - begin)
                release.join()
                command.join()
                self.assertEqual((answers[0][0], answers[0][2].count("\n")), (code, code), answers)
                self.assertLess(slowest, 1)
        self.assertEqual([row["label"] for row in self.table("users")], ["Anna", "Ben", "Cem"])

    def test_nowhere_to_store(self):
        own = f"{self.certificates}/console"
        with Running("kyr_console", "--database", f"{own}.pem/a.db", "serve", "--port", 0, "--json", "--certificate", f"{own}.pem",
                     "--key", f"{own}.key") as server:
            self.assertIn("Not a directory", server.until("nothing can be stored"))
            self.port = json.loads(server.until('{"port"'))["port"]
            self.assertEqual(self.health(), 503)


class Away(Harmed):
    def setUp(self):
        super().setUp()
        self.cluster = Cluster(self.dir)
        self.addCleanup(self.cluster.come, "stop")
        self.database = self.cluster.url

    def in_running(self, *command):
        """Exit code, and how long it took."""
        begin = time.monotonic()
        code, _, error = console("--attach", f"{self.dir}/console.socket", *command)
        self.assertEqual(error.count("\n"), code, error)
        return code, time.monotonic() - begin

    def test_silent_and_killed(self):
        self.furnish()
        with self.serve(*MAILS), self.locks():
            self.eventually(self.up_to_date)
            for harm, cure in (("freeze", "thaw"), ("kill", "restart")):
                self.assertEqual(self.present(ANNA), (True, ""))
                self.cluster.come(harm)
                begin = time.monotonic()
                self.assertEqual(console("users", database=self.database)[0], 1)
                self.assertLess(time.monotonic() - begin, 5)
                for command in (["users", "add", "Nobody"], ["users"], ["mail", "--to", "a@b.c", "--subject", "x"]):
                    code, took = self.in_running(*command)
                    self.assertEqual((code, took < 1.5), (1, True), (command, took))
                self.eventually(lambda: self.health() == 503)
                # The door decides by itself, and tells it later.
                self.assertEqual(self.present(ANNA), (True, ""))
                self.cluster.come(cure)
                self.eventually(lambda: self.health() == 200, LONG)
                self.assertEqual(self.in_running("users", "add", harm)[0], 0)
            self.granted_once(4)
        self.assertEqual([row["label"] for row in self.table("users")], ["Anna", "Ben", "freeze", "kill"])

    def test_copy(self):
        """What `backup` says instead of writing one is a command that makes one."""
        self.furnish()
        code, _, error = console("database", "backup", f"{self.dir}/copy", database=self.database)
        self.assertEqual((code, os.path.exists(f"{self.dir}/copy")), (1, False))
        dump = shlex.split(error[error.index("pg_dump"):].replace("FILE", f"{self.dir}/copy"))
        subprocess.run(dump, check=True)
        self.cluster.sql("CREATE DATABASE again", database="postgres")
        again = self.database.removesuffix("kyr") + "again"
        subprocess.run(["pg_restore", "--dbname", again, f"{self.dir}/copy"], check=True)
        self.assertEqual(console("database", "check", database=again)[0], 0)
        self.assertEqual(console("users", "--json", database=again)[1], console("users", "--json", database=self.database)[1])
        self.assertEqual(console("users", "add", "Cem", database=again)[0], 0)
        # A reference that somebody has broken is found.
        self.cluster.sql("SET session_replication_role=replica; DELETE FROM item WHERE label='Anna'", database="again")
        code, out, error = console("database", "check", database=again)
        self.assertEqual((code, error.count("\n"), "do not exist" in out), (1, 1, True), out)


class Trust(unittest.TestCase):
    """With TLS, to a server whose certificate is made by openssl."""

    @classmethod
    def setUpClass(cls):
        cls.dir = tempfile.mkdtemp(prefix="kyr-postgresql-")
        cls.addClassCleanup(shutil.rmtree, cls.dir)
        os.chmod(cls.dir, 0o755)
        for authority in "right", "wrong":
            cls.openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", f"/CN={authority}", "-keyout",
                        f"{authority}.key", "-out", f"{authority}.pem")
        cls.certify("DNS:localhost,IP:127.0.0.1")
        cls.cluster = Cluster(cls.dir)
        cls.addClassCleanup(cls.cluster.come, "stop")
        cls.cluster.set(ssl_cert_file=f"{cls.dir}/server.pem", ssl_key_file=f"{cls.dir}/server.key", ssl="on")

    @classmethod
    def openssl(cls, *words):
        subprocess.run(["openssl", *words], check=True, cwd=cls.dir, stderr=subprocess.DEVNULL)

    @classmethod
    def certify(cls, names):
        with open(f"{cls.dir}/names", "w") as file:
            file.write(f"subjectAltName={names}\n")
        cls.openssl("req", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=database", "-keyout", "server.key", "-out", "server.csr")
        cls.openssl("x509", "-req", "-in", "server.csr", "-CA", "right.pem", "-CAkey", "right.key", "-CAcreateserial", "-days", "2",
                    "-extfile", "names", "-out", "server.pem")
        os.chmod(f"{cls.dir}/server.key", 0o600)
        if os.getuid() == 0:
            shutil.chown(f"{cls.dir}/server.key", "postgres")

    def users(self, authority, host="127.0.0.1"):
        ca = ("--database-ca", f"{self.dir}/{authority}.pem") if authority else ()
        code, _, error = console(*ca, "users", database=f"postgresql://kyr@{host}:{self.cluster.port}/kyr")
        self.assertEqual(error.count("\n"), code, error)
        return code, error

    def eventually(self, condition):
        end = time.monotonic() + LONG
        while not condition():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.1)

    def test_who_is_believed(self):
        for host in "127.0.0.1", "localhost":
            self.assertEqual(self.users("right", host), (0, ""))
        self.assertIn("certificate verify failed", self.users("wrong")[1])
        self.assertIn("cannot be read", self.users("missing")[1])
        # One that serves finds it again by its name.
        name = f"postgresql://kyr@localhost:{self.cluster.port}/kyr"
        with Running("kyr_console", "--database", name, "--database-ca", f"{self.dir}/right.pem", "--socket", f"{self.dir}/socket") as _:
            def add():
                return console("--attach", f"{self.dir}/socket", "users", "add", "Ada")[0]

            self.eventually(lambda: add() == 0)
            self.assertEqual(self.cluster.sql("SELECT DISTINCT ssl FROM pg_stat_ssl JOIN pg_stat_activity USING(pid) WHERE "
                                              "application_name='kyr'"), "t\n")
            self.cluster.sql("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE application_name='kyr'")
            self.assertEqual(add(), 1)
            self.eventually(lambda: add() == 0)
        self.certify("DNS:elsewhere.example")
        self.cluster.set()
        code, error = self.users("right")
        self.assertEqual(code, 1)
        self.assertIn("elsewhere.example", error)
        self.assertEqual(self.users("")[0], 0)  # on this machine nobody needs to prove anything
        self.cluster.set(ssl="off")
        code, error = self.users("right")
        self.assertEqual((code, "SSL" in error), (1, True), error)

    def test_nothing_is_said_in_clear_beyond_this_machine(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as route:
            try:
                route.connect(("192.0.2.1", 9))
            except OSError:
                self.skipTest("this machine has no address but its own")
            address = route.getsockname()[0]
        heard = []
        with socket.create_server((address, 0)) as listener:
            def listen():
                peer = listener.accept()[0]
                with peer:
                    heard.append(peer.recv(1000))
                    peer.sendall(b"N")  # "no TLS here"
                    peer.settimeout(WAIT)
                    heard.append(peer.recv(1000))

            thread = threading.Thread(target=listen, daemon=True)
            thread.start()
            code, _, error = console("--database-ca", f"{self.dir}/right.pem", "users", env={"PGPASSWORD": "secret"},
                                     database=f"postgresql://kyr@{address}:{listener.getsockname()[1]}/kyr")
            thread.join(WAIT)
        self.assertEqual((code, error.count("\n")), (1, 1))
        self.assertEqual(heard, [bytes.fromhex("0000000804d2162f"), b""])


if __name__ == "__main__":
    main()
