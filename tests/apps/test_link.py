"""Simulated devices call a console that serves: who gets in, who does not and why, and what becomes of the links."""

import json
import os
import shutil
import signal
import socket
import ssl
import subprocess
import tempfile
import time
import unittest

from notification_client import WebSocket
from tools import BUILD, ROOT, WAIT, Running, console, main, simulator

SYSTEM = "0012.3457"
LABELS = ["000.123.457", "000.123.465", "000.123.470"]  # of the ids 12345 and following


def certificate(label, where, ca=f"{BUILD}/dev-ca", *options):
    subprocess.run([f"{ROOT}/scripts/device-certificate", label, where, ca, *options], check=True)


class Server(Running):
    """A console that serves on a port that the system chose, and is asked through its socket."""

    def __init__(self, where, *options, log=("--log-file", "none"), env=None, prefix=()):
        self.socket = f"{where}/console.socket"
        super().__init__("kyr_console", "--socket", self.socket, *log, "serve", "--port", 0, "--json",
                         "--certificate", f"{where}/console.pem", "--key", f"{where}/console.key", "--system", SYSTEM, *options,
                         env={**os.environ, **(env or {})}, prefix=prefix)
        self.first = json.loads(self.until('{"port"'))
        self.port = self.first["port"]

    def ask(self, *command):
        return console("--attach", self.socket, *command)

    def table(self, *command):
        return json.loads(self.ask(*command, "--json")[1])

    def links(self):
        return [row["label"] for row in self.table("devices")]

    def refusals(self):
        return [(row["device"], row["reason"]) for row in self.table("devices", "--refused")]

    def eventually(self, condition):
        end = time.monotonic() + WAIT
        while not condition():
            assert time.monotonic() < end, (self.links(), self.refusals()[-5:])
            time.sleep(0.05)

    def connect(self):
        context = ssl.create_default_context(cafile=f"{BUILD}/dev-ca/ca-chain.pem")
        plain = socket.create_connection(("127.0.0.1", self.port), timeout=WAIT)
        return context.wrap_socket(plain, server_hostname="127.0.0.1")


class Installation(unittest.TestCase):
    """Certificates for a console and three devices."""

    @classmethod
    def setUpClass(cls):
        cls.dir = tempfile.mkdtemp(prefix="kyr-link-")
        certificate("console", cls.dir, f"{BUILD}/dev-ca", "--name", "IP:127.0.0.1", "--name", "IP:::1")
        for label in LABELS:
            certificate(label, cls.dir)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.dir)

    def device(self, port, label, *options, certificate_of="%1", where=None, host="127.0.0.1", prefix=()):
        where = where or self.dir
        return simulator("--label", label, "--system", SYSTEM, "--call", f"https://{host}:{port}", "--certificate",
                         f"{where}/{certificate_of}.pem", "--key", f"{where}/{certificate_of}.key", *options, prefix=prefix)[0]


class Link(Installation):
    def test_the_right_ones_and_only_those(self):
        subprocess.run([f"{ROOT}/scripts/development-ca", f"{self.dir}/foreign"], check=True)
        certificate(LABELS[2], f"{self.dir}/stranger", f"{self.dir}/foreign")
        with Server(self.dir, env={"QUINTOR_SERVER_IPS_REMOTE": "127.0.0.1,192.0.2.7"}) as server:
            wanted = [(LABELS[2], reason) for reason in (
                "invalid device certificate", "invalid random number", "invalid server IP (::1)",
                f"invalid request line (GET /gw/{LABELS[2]}/41/0012.3465 HTTP/1.1)")]
            with self.device(server.port, LABELS[0], "--count", 2), \
                    self.device(server.port, LABELS[2], certificate_of=LABELS[0]):
                server.eventually(lambda: server.links() == LABELS[:2] and wanted[0] in server.refusals())
                before = len(server.refusals())
                with self.device(server.port, LABELS[2], where=f"{self.dir}/stranger"), \
                        self.device(server.port, LABELS[2], "--replay"), \
                        self.device(server.port, LABELS[2], host="[::1]"), \
                        self.device(server.port, LABELS[2], "--system", "0012.3465"):
                    server.eventually(lambda: set(wanted) <= set(server.refusals()[before:]))
                self.assertEqual(server.links(), LABELS[:2])

                rows = server.table("send", "all", "--count", "20", '{"command":"echo","data":"\u00e4"}')
                self.assertEqual([(row["label"], row["answers"]) for row in rows], [(label, 20) for label in LABELS[:2]])
                self.assertEqual(json.loads(rows[0]["answer"]), {"status": "ok", "data": "\u00e4"})
                self.assertIn('"door":"open"', server.ask("send", LABELS[0], "open")[1])
                self.assertIn('"opened":1', server.ask("send", LABELS[0], "status")[1])
                code, out, error = server.ask("send", "all", "fly")
                self.assertEqual((code, out.count("unknown command"), error.count("unknown command")), (1, 2, 2))
                self.assertEqual(server.ask("send", LABELS[2], "status")[0], 1)
            server.eventually(lambda: server.links() == [])

    def test_the_newest_link_counts_and_lost_ones_return(self):
        with Server(self.dir) as server:
            with self.device(server.port, LABELS[0]):
                server.until("came in")
                first = server.table("devices")[0]["peer"]
                with self.device(server.port, LABELS[0]):
                    server.eventually(lambda: [row["peer"] for row in server.table("devices")] not in ([], [first]))
            server.eventually(lambda: server.links() == [])
            port = server.port
        # The device is there before its application, and finds it after some tries.
        with self.device(port, LABELS[0], "--log-file", "stderr") as device:
            device.until("calls again")
            with Server(self.dir, "--port", port) as server:
                server.until("came in", 2 * WAIT)
                device.until("is linked")
            device.until("has lost its link")
            device.until("calls again")

    def test_faults_repeat_from_the_seed_and_obey_the_control(self):
        def fates(seed):
            with self.device(1, LABELS[0], "--log-file", "stderr", "--faults", seed, "--control", control) as device:
                return [device.until(": connection ").split(": ", 1)[1] for _ in range(3)]

        control = f"{self.dir}/control"
        first = fates(7)
        self.assertEqual(fates(7), first)
        self.assertNotEqual(fates(8), first)
        with Server(self.dir) as server:
            with self.device(server.port, LABELS[0], "--control", control):
                server.until("came in")
                self.assertIn('"linked":1', console("--attach", control, "status")[1])
                self.assertEqual(console("--attach", control, "faults", "drop", "101")[0], 1)
                console("--attach", control, "halt", "all")
                code, _, answer = server.ask("send", LABELS[0], "--wait", "300", "status")
                self.assertEqual((code, "no answer in time" in answer), (1, True))
                console("--attach", control, "drop", "all")
                server.until("came in")
                self.assertIn('"status":"ok"', server.ask("send", LABELS[0], "status")[1])

    def test_a_silent_device_is_no_link(self):
        with Server(self.dir, "--ping", "1") as server, \
                self.device(server.port, LABELS[0]), self.device(server.port, LABELS[1]) as halted:
            server.eventually(lambda: server.links() == LABELS[:2])
            halted.process.send_signal(signal.SIGSTOP)
            code, out, error = server.ask("send", "all", "--wait", "300", "status")
            self.assertEqual((code, f"1 of 2 answered, no answer in time from {LABELS[1]}" in error), (1, True), error)
            rows = server.table("devices")
            self.assertLessEqual(rows[1]["since"], rows[1]["lastHeard"])
            server.eventually(lambda: server.links() == LABELS[:1])
            halted.process.send_signal(signal.SIGCONT)

    def test_ordinary_requests_and_rubbish(self):
        with Server(self.dir) as server:
            def say(data):
                with server.connect() as link:
                    link.sendall(data)
                    return link.makefile("rb").read()

            answer = say(b"GET / HTTP/1.1\r\n\r\n" * 50 + b"GET /x HTTP/1.1\r\nConnection: close\r\n\r\nrest")
            self.assertEqual((answer.count(b"HTTP/1.1 200 OK\r\n"), answer.count(b"HTTP/1.1 404 ")), (50, 1))
            self.assertTrue(say(b"POST / HTTP/1.1\r\n\r\n").startswith(b"HTTP/1.1 405 "))
            for rubbish in (b"hello\r\n\r\n", b"GET / HTTP/1.1\r\n" + b"a: b\r\n" * 2000,
                            b"GET /else HTTP/1.1\r\nUpgrade: websocket\r\n\r\n"):
                try:
                    self.assertEqual(say(rubbish), b"")
                except ConnectionError:
                    pass
            with socket.create_connection(("127.0.0.1", server.port), timeout=WAIT) as plain:
                plain.sendall(b"GET / HTTP/1.1\r\n\r\n")
                while plain.recv(100):
                    pass
            server.eventually(lambda: len(server.refusals()) == 4)
            reasons = " ".join(reason for _, reason in server.refusals())
            for part in ("no HTTP request", "request too long", 'no WebSocket at "/else"', "TLS failed"):
                self.assertIn(part, reasons)

    def test_news_are_for_those_who_read(self):
        def refuse():
            known = len(server.refusals())
            with socket.create_connection(("127.0.0.1", server.port), timeout=WAIT) as visitor:
                visitor.sendall(b"no TLS at all\r\n\r\n")
            server.eventually(lambda: len(server.refusals()) > known)

        with Server(self.dir) as server, socket.socket(socket.AF_UNIX) as lazy:
            lazy.connect(server.socket)
            lazy.settimeout(WAIT)
            lazy.sendall(b"mapping DeviceType\n" * 1000)
            stream = lazy.makefile("r")
            self.assertNotEqual(stream.readline(), "")
            refuse()
            codes = news = 0
            while codes < 1000:
                line = stream.readline()
                codes, news = codes + (line == "= 0\n"), news + line.startswith("! ")
            self.assertEqual(news, 0)
            refuse()
            self.assertIn("TLS failed", stream.readline())
            stream.close()

    def test_notification_clients_see_devices_come_and_go(self):
        with Server(self.dir, env={"KYR_CONSOLE_SERVE_TOKEN": "let me in"}) as server:
            url = f"wss://127.0.0.1:{server.port}/notifications"

            def client(token):
                web_socket = WebSocket(url, f"{BUILD}/dev-ca/ca-chain.pem")
                web_socket.send({"id": 1, "method": "login", "params": [token]})
                return web_socket, web_socket.receive()

            stranger, answer = client("wrong")
            self.assertFalse(answer and answer.get("result"))
            observer, answer = client("let me in")
            self.assertIs(answer["result"], True)
            observer.send({"method": "registerObserver", "params": [["Devices"]]})
            self.assertEqual(observer.receive()["method"], "acknowledge")
            with self.device(server.port, LABELS[0]):
                with self.device(server.port, LABELS[2], certificate_of=LABELS[0]):
                    news = [observer.receive()["params"][1] for _ in range(2)]
            while news[-1]["event"] != "left":
                news.append(observer.receive()["params"][1])
            told = {(item["event"], item["device"]) for item in news}
            self.assertEqual(told, {("came", LABELS[0]), ("refused", LABELS[2]), ("left", LABELS[0])})
            self.assertEqual(server.ask("serve", "--stop")[0], 0)
            self.assertEqual(observer.receive()["method"], "aboutToQuit")
            for web_socket in (stranger, observer):
                web_socket.close()

    def test_silent_visitors_do_not_block_the_door(self):
        descriptors = lambda: len(os.listdir(f"/proc/{server.process.pid}/fd"))
        with Server(self.dir) as server:
            before = descriptors()
            silent = [socket.create_connection(("127.0.0.1", server.port), timeout=WAIT) for _ in range(600)]
            with server.connect() as link:
                link.sendall(b"GET / HTTP/1.1\r\nConnection: close\r\n\r\n")
                self.assertIn(b"200 OK", link.makefile("rb").read())
            # The oldest had to go, the others are still there; when they leave nothing stays.
            self.assertEqual(silent[0].recv(1), b"")
            server.eventually(lambda: descriptors() <= before + 520)
            for visitor in silent:
                visitor.close()
            server.eventually(lambda: descriptors() <= before)

    def test_mistakes(self):
        for options, text in ((["--port", "0"], "--certificate and --key are needed"),
                              (["--certificate", "/nowhere", "--key", f"{self.dir}/console.key"], "cannot read"),
                              (["--certificate", f"{self.dir}/console.key", "--key", f"{self.dir}/console.key"],
                               "contains no certificate"),
                              (["--certificate", f"{self.dir}/console.pem", "--key", f"{self.dir}/console.pem"],
                               "contains no key"),
                              (["--certificate", f"{self.dir}/console.pem", "--key", f"{self.dir}/{LABELS[0]}.key"],
                               "does not belong to the first certificate")):
            code, out, error = console("serve", *options)
            self.assertNotEqual(code, 0)
            self.assertEqual(error.count("\n"), 1)
            self.assertIn(text, error)
        certificate("console", f"{self.dir}/old", f"{BUILD}/dev-ca", "--expired", "--name", "IP:127.0.0.1")
        with Running("kyr_console", "--socket", f"{self.dir}/old/socket", "serve", "--port", 0, "--certificate",
                     f"{self.dir}/old/console.pem", "--key", f"{self.dir}/old/console.key") as old:
            old.until("has expired")
            old.until("Serving")
        with Server(self.dir) as server:
            pem = ["--certificate", f"{self.dir}/console.pem", "--key", f"{self.dir}/console.key"]
            code, _, error = console("serve", "--port", str(server.port), *pem)
            self.assertEqual((code, "cannot listen" in error), (1, True))
            for name, text in ((server.socket, "another program"), ("/nowhere/socket", "cannot listen")):
                code, _, error = console("--socket", name, "help")
                self.assertEqual((code, error.count("\n"), text in error), (1, 1, True), error)
            self.assertIn("already serving", server.ask("serve", *pem)[2])
            self.assertEqual(server.ask("serve", "--stop")[0], 0)
            self.assertEqual(server.ask("devices")[0], 1)


if __name__ == "__main__":
    main()
