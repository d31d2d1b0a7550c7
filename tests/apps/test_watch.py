"""What machines see of a console that serves: health, metrics, the service manager's protocol, renewed certificates."""

import http.client
import json
import os
import re
import shutil
import signal
import socket
import ssl
import subprocess
import tempfile
import time
import unittest

from notification_client import WebSocket
from test_link import Server, certificate
from tools import BUILD, WAIT, Running, main

CA = f"{BUILD}/dev-ca/ca-chain.pem"


def own_address():
    """An address of this machine that is not the loopback's, "" without one."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        try:
            probe.connect(("192.0.2.1", 9))  # sends nothing
            return probe.getsockname()[0]
        except OSError:
            return ""


class Watch(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.where = folder.name
        self.certify()

    def certify(self):
        certificate("console", self.where, f"{BUILD}/dev-ca", "--name", "IP:127.0.0.1")

    def get(self, server, path, host="127.0.0.1"):
        connection = http.client.HTTPSConnection(host, server.port, timeout=WAIT, context=ssl._create_unverified_context())
        connection.request("GET", path)
        response = connection.getresponse()
        answer = response.status, response.getheader("Content-Type"), response.read().decode()
        connection.close()
        return answer

    def metrics(self, server):
        return dict(line.rsplit(" ", 1) for line in self.get(server, "/metrics")[2].splitlines() if line[0] != "#")

    def test_health_and_metrics(self):
        with Server(self.where, "--token", "secret") as server:
            self.assertEqual(self.get(server, "/health"), (200, "application/json", '{"reasons":[],"status":"ok"}\n'))
            before = self.metrics(server)
            server.ask("users", "add", "Ada Secret")
            with socket.create_connection(("127.0.0.1", server.port)) as visitor:
                visitor.sendall(b"no TLS \" \\ at all\r\n\r\n")
                visitor.recv(100)
            server.eventually(lambda: server.refusals())
            status, kind, text = self.get(server, "/metrics")
            self.assertEqual((status, kind), (200, "text/plain; version=0.0.4; charset=utf-8"))
            after = self.metrics(server)
            grown = {name for name in after if after[name] != before.get(name)
                     and name.startswith(("kyr_events", "kyr_refusals", "kyr_links", "kyr_broker", "kyr_handshake"))}
            self.assertEqual(grown, {'kyr_events_total{kind="changed"}', 'kyr_refusals_total{reason="TLS failed"}'})
            for name in ("kyr_links", "kyr_handshake_seconds_count", 'kyr_queue_length{queue="notifications"}',
                         "kyr_database_seconds_count", "kyr_broker_connected", "kyr_broker_dropped_total",
                         'kyr_commands_ignored_total{reason="expired"}', 'kyr_commands_ignored_total{reason="repeated"}'):
                self.assertIn(name, after)
            self.assertNotIn("Ada", text)
            self.assertNotIn("127.0.0.1", text)
            if shutil.which("promtool"):
                check = subprocess.run(["promtool", "check", "metrics"], input=text, capture_output=True, text=True)
                self.assertEqual((check.returncode, check.stdout, check.stderr), (0, "", ""))
            # Whoever asks all the time is told what was known a moment ago.
            begin, looks = time.monotonic(), lambda: int(self.metrics(server)["kyr_database_seconds_count"])
            before = looks()
            for _ in range(20):
                self.get(server, "/health")
            self.assertLessEqual(looks() - before, time.monotonic() - begin + 1)
            address = own_address()
            if address:
                self.assertEqual(self.get(server, "/metrics", address)[0], 403)
                self.assertEqual(self.get(server, "/health", address)[0], 200)
        if address:
            with Server(self.where, "--metrics-from", f"{address}/32") as server:
                self.assertEqual(self.get(server, "/metrics", address)[0], 200)

    def test_a_certificate_that_has_expired_is_no_health(self):
        key, request, pem = (f"{self.where}/console.{kind}" for kind in ("key", "csr", "pem"))
        with Server(self.where) as server:
            subprocess.run(["openssl", "req", "-new", "-key", key, "-subj", "/CN=127.0.0.1", "-out", request], check=True)
            subprocess.run(["openssl", "x509", "-req", "-in", request, "-signkey", key, "-days", "-1", "-out", pem],
                           check=True, capture_output=True)
            server.process.send_signal(signal.SIGHUP)
            server.eventually(lambda: self.get(server, "/health")[0] == 503)
            self.assertEqual(json.loads(self.get(server, "/health")[2]),
                             {"status": "failing", "reasons": ["the certificate has expired"]})

    def test_hangup_reads_the_certificate_anew(self):
        def serial():
            with server.connect() as tls:
                return tls.getpeercert()["serialNumber"]

        with Server(self.where, "--token", "secret") as server:
            first = serial()
            link = WebSocket(f"wss://127.0.0.1:{server.port}/notifications", CA)
            link.send({"id": 1, "method": "login", "params": ["secret"]})
            self.assertTrue(link.receive()["result"])
            with open(f"{self.where}/console.key", "w", encoding="ascii") as key:
                key.write("half a ke")
            server.process.send_signal(signal.SIGHUP)
            # The old one stays; then there is a whole one.
            self.assertEqual(serial(), first)
            self.certify()
            server.process.send_signal(signal.SIGHUP)
            server.eventually(lambda: serial() != first)
            link.send({"id": 2, "method": "registerObserver", "params": [["Devices"]]})
            self.assertTrue(link.receive()["result"])
            link.close()

    def test_service_manager(self):
        for name in (f"{self.where}/notify", f"@kyr-{os.getpid()}"):
            with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
                manager.bind(name.replace("@", "\0"))
                manager.settimeout(WAIT)

                def until(wanted):
                    while not re.match(wanted, manager.recv(1000).decode()):
                        pass

                with Server(self.where, env={"NOTIFY_SOCKET": name, "WATCHDOG_USEC": "200000"}) as server:
                    until("READY=1")
                    until("WATCHDOG=1")
                    until("WATCHDOG=1")
                    server.process.send_signal(signal.SIGHUP)
                    until("RELOADING=1\nMONOTONIC_USEC=[0-9]+$")
                    until("READY=1")
                    server.process.terminate()
                    until("STOPPING=1")

    def test_a_console_that_hangs_gives_no_sign_of_life(self):
        name, script = f"{self.where}/notify", f"{self.where}/loop.js"
        with open(script, "w", encoding="ascii") as file:
            file.write("const end = Date.now() + 2000; while (Date.now() < end); print('computed')")
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
            manager.bind(name)
            manager.settimeout(WAIT)
            with Running("kyr_console", "--database", "memory", "--log-file", "none",
                         env={**os.environ, "NOTIFY_SOCKET": name, "WATCHDOG_USEC": "200000"}) as console:
                console.process.stdin.write(f"serve --port 0 --certificate {self.where}/console.pem --key {self.where}/console.key\n"
                                            f"script {script}\n")
                console.process.stdin.flush()
                # One comes each 0.1 s, none while the script computes.
                last, gap = time.monotonic(), 0
                while gap < 1.5:
                    manager.recv(1000)
                    last, gap = time.monotonic(), time.monotonic() - last
                self.assertEqual(manager.recv(1000), b"WATCHDOG=1")
                console.until("computed")


if __name__ == "__main__":
    main()
