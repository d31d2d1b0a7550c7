"""The console when the machine has too little of something, and when peers speak TLS in unusual ways: it goes on
serving whoever does it right."""

import glob
import json
import os
import resource
import socket
import ssl
import struct
import subprocess
import time
import unittest
import warnings

from api_client import Post, Refusal
from test_door import ANNA, BEN, Doors
from test_link import BUILD, LABELS, Installation, Server, certificate
from tools import BIN, WAIT, console, main


def hello(version, ciphers=b"\x13\x01"):
    """A client hello that asks for that version of TLS."""
    body = struct.pack(">H", version) + bytes(32) + b"\0" + struct.pack(">H", len(ciphers)) + ciphers + b"\1\0"
    message = b"\1" + len(body).to_bytes(3, "big") + body
    return b"\x16" + struct.pack(">HH", min(version, 0x0301), len(message)) + message


def own_space(set_up):
    """A prefix for programs that shall have file systems and networks of their own."""
    prefix = ["unshare", "--mount", "--net", "sh", "-c", f'{set_up} && exec "$@"', "sh"]
    if subprocess.run([*prefix, "true"], capture_output=True).returncode != 0:
        raise unittest.SkipTest("no spaces for file systems and networks may be made here")
    return prefix


def beside(server):
    """A prefix for programs that shall have a server's networks."""
    return ["nsenter", "-t", str(server.process.pid), "--net"]


def own_clock(where):
    """A prefix for a program that shall have a clock of its own, and what sets that: an offset such as "+1d"."""
    library = glob.glob("/usr/lib/*/faketime/libfaketimeMT.so.1")
    with open(f"{BIN}/kyr_console", "rb") as program:
        if not library or b"san.so" in program.read():
            raise unittest.SkipTest("no libfaketime, or a sanitizer that stands no other library before its own")
    clock = f"{where}/clock"

    def set_clock(offset):
        with open(f"{clock}.new", "w") as file:
            file.write(offset)
        os.rename(f"{clock}.new", clock)

    set_clock("+0")
    return ["env", f"LD_PRELOAD={library[0]}", f"FAKETIME_TIMESTAMP_FILE={clock}", "FAKETIME_NO_CACHE=1",
            "FAKETIME_DONT_FAKE_MONOTONIC=1"], set_clock


class Scarcity(Installation):
    def gets_in(self, server, label=LABELS[0], prefix=()):
        with self.device(server.port, label, prefix=prefix):
            server.eventually(lambda: server.links() == [label])
        server.eventually(lambda: server.links() == [])

    def test_disk_full_for_the_log(self):
        small = f"{self.dir}/small"
        begin = 2 * 4096 - 100  # the log has one page of the disk to itself, and room for a line and a half in it
        space = own_space(f"ip link set lo up && mkdir {small}; mount -t tmpfs -o size=16k tmpfs {small} && "
                          f"head -c {begin} /dev/zero > {small}/log && head -c 8192 /dev/zero > {small}/rest")
        with Server(self.dir, log=("--log-file", f">>{small}/log", "--log-level", "DBG"), prefix=space) as server:
            disk = f"/proc/{server.process.pid}/root{small}"
            self.gets_in(server, prefix=beside(server))
            self.assertEqual(os.path.getsize(f"{disk}/log"), 2 * 4096)
            os.remove(f"{disk}/rest")
            self.gets_in(server, prefix=beside(server))
            with open(f"{disk}/log") as log:
                lines = log.read()[begin:].split("\n")
        self.assertGreater(len(lines), 5)
        for line in lines:
            self.assertNotRegex(line, r".\d\d:\d\d:\d\d\.\d{3} ", "two lines in one")

    def test_interface_down_for_a_while(self):
        with Server(self.dir, prefix=own_space("ip link set lo up")) as server:
            with self.device(server.port, LABELS[0], prefix=beside(server)):
                server.eventually(lambda: server.links() == LABELS[:1])
                linked = server.table("devices")[0]["peer"]
                subprocess.run([*beside(server), "ip", "link", "set", "lo", "down"], check=True)
                self.assertIn("no answer in time", server.ask("send", LABELS[0], "--wait", "300", "status")[2])
                subprocess.run([*beside(server), "ip", "link", "set", "lo", "up"], check=True)
                self.assertIn('"status":"ok"', server.ask("send", LABELS[0], "--wait", "5000", "status")[1])
                self.assertEqual(server.table("devices")[0]["peer"], linked)

    def test_clock_set(self):
        prefix, set_clock = own_clock(self.dir)
        with Server(self.dir, "--ping", 1, prefix=prefix) as server:
            with self.device(server.port, LABELS[0]):
                server.eventually(lambda: server.links() == LABELS[:1])
                linked = server.table("devices")[0]["peer"]
                set_clock("+1d")
                with self.device(server.port, LABELS[1]):
                    server.eventually(lambda: server.links() == LABELS[:2])
                server.eventually(lambda: server.links() == LABELS[:1])
                set_clock("-1d")  # when the certificates had not been issued yet
                with self.device(server.port, LABELS[1]):
                    server.eventually(lambda: (LABELS[1], "invalid device certificate") in server.refusals())
                time.sleep(1.2)  # until after a ping
                self.assertIn('"status":"ok"', server.ask("send", LABELS[0], "status")[1])
                self.assertEqual([row["peer"] for row in server.table("devices")], [linked])

    def test_silent_name_server(self):
        """Nothing waits longer than it says, and a program that is asked to end does so."""
        with open(f"{self.dir}/resolv.conf", "w") as file:
            file.write("nameserver 10.0.0.2\n")
        space = own_space("ip link add v0 type veth peer name v1 && ip addr add 10.0.0.1/24 dev v0 && ip link set v0 up && "
                          "ip link set v1 up && ip neigh add 10.0.0.2 lladdr 02:00:00:00:00:02 dev v0 && "
                          f"mount --bind {self.dir}/resolv.conf /etc/resolv.conf")
        begin = time.monotonic()
        code, _, error = console("discover", "--address", "door.example", "--wait", "300", prefix=space)
        self.assertEqual((code, '"door.example": no name server answered' in error), (1, True), error)
        self.assertLess(time.monotonic() - begin, WAIT)
        with self.device(443, LABELS[0], "--log-file", "stderr", "--log-level", "DBG", host="door.example", prefix=space) as device:
            device.until("Start connect to addresses")
            time.sleep(0.2)

    def test_long_chain_of_certificates(self):
        with open(f"{BUILD}/dev-ca/intermediate.pem") as issuer, open(f"{self.dir}/console.pem") as own:
            certificates = own.read(), issuer.read()
        for copies, works in ((30, True), (400, False)):
            with open(f"{self.dir}/long.pem", "w") as file:
                file.write(certificates[0] + copies * certificates[1])
            with Server(self.dir, "--certificate", f"{self.dir}/long.pem") as server:
                if works:
                    self.gets_in(server)
                    continue
                with self.device(server.port, LABELS[0]):
                    server.eventually(lambda: len(server.refusals()) > 1)
                    self.assertEqual(server.links(), [])

    def test_unusual_tls(self):
        with Server(self.dir) as server:
            for begin in (hello(0x0305), hello(0x7F7F), hello(0x0300, b"\0\x05"), hello(0x0301, b"\0\x2f"), hello(0x0002),
                          hello(0x0303, b"\xfa\xfa" * 8000), b"\x16\x03\x01\xff\xff" + bytes(70000), b"\x80\x2e\1\0\2" + bytes(60),
                          b"\x15\x03\x03\0\2\2\x28", b"GET / HTTP/1.1\r\n\r\n"):
                with socket.create_connection(("127.0.0.1", server.port), timeout=2 * WAIT) as peer:
                    try:
                        peer.sendall(begin)
                        peer.shutdown(socket.SHUT_WR)
                        answer = peer.recv(1000)
                        # Refused by an alert or a closed connection, never by a server's hello.
                        self.assertIn(answer[:1], (b"", b"\x15"), begin[:12])
                    except (ConnectionResetError, BrokenPipeError):
                        pass
            for label, bits in zip(LABELS[1:], ("4096", "1024")):
                certificate(label, self.dir, f"{BUILD}/dev-ca", "--bits", bits)
            self.gets_in(server, LABELS[1])
            # Too short for the system's TLS policy, or not: in or refused, but nobody else notices.
            known = len(server.refusals())
            with self.device(server.port, LABELS[2]):
                server.eventually(lambda: server.links() or len(server.refusals()) > known)
            server.eventually(lambda: server.links() == [])
            old = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
            old.set_ciphers("ALL:@SECLEVEL=0")
            warnings.simplefilter("ignore", DeprecationWarning)
            old.minimum_version = old.maximum_version = ssl.TLSVersion.TLSv1
            old.check_hostname = False
            old.verify_mode = ssl.CERT_NONE
            with self.assertRaises((ssl.SSLError, ConnectionResetError)):
                old.wrap_socket(socket.create_connection(("127.0.0.1", server.port), timeout=WAIT))
            self.gets_in(server)

    def test_descriptors_exhausted(self):
        """Visitors leave some to operators."""
        with Server(self.dir) as server:
            def numbers():
                return {int(name) for name in os.listdir(f"/proc/{server.process.pid}/fd")}

            def used():
                return len(numbers())

            def settled():
                before = numbers()
                time.sleep(0.2)
                return numbers() == before

            self.gets_in(server)
            limit = used() + 40
            resource.prlimit(server.process.pid, resource.RLIMIT_NOFILE, (limit, limit))
            peers = [socket.create_connection(("127.0.0.1", server.port), timeout=WAIT) for _ in range(100)]
            server.eventually(lambda: used() >= limit - limit // 4 - 2)
            self.assertEqual(server.links(), [])
            for peer in peers:
                peer.close()
            self.gets_in(server)

            # With none left at all who connects has to wait, and does not keep others from it for ever.
            server.eventually(settled)
            lowest = min(set(range(limit)) - numbers())
            resource.prlimit(server.process.pid, resource.RLIMIT_NOFILE, (lowest, limit))
            with socket.socket(socket.AF_UNIX) as client:
                client.connect(server.socket)
                client.sendall(b"status\n")
                client.settimeout(1)
                with self.assertRaises(TimeoutError):
                    client.recv(1)
                resource.prlimit(server.process.pid, resource.RLIMIT_NOFILE, (limit, limit))
                client.settimeout(WAIT)
                self.assertTrue(client.recv(1))
            self.gets_in(server)


class ScarcityAtDoors(Doors):
    def test_few_descriptors(self):
        """With each number that is too small a command says so, and changes nothing."""
        self.ask("users", "add", "0")
        done = ["0"]
        for most in range(5, 25):
            code, _, error = console("users", "add", str(most), database=self.database, prefix=["prlimit", f"--nofile={most}"])
            if code == 0:
                done.append(str(most))
            else:
                self.assertRegex(error, "^users add: .*(Too many open files|no file descriptor is free)\n$")
        self.assertGreater(len(done), 2)
        self.assertEqual([row["label"] for row in self.table("users")], done)
        self.assertTrue(self.table("audit", "verify")["ok"])

    def test_clock_set_while_locks_are_linked(self):
        prefix, set_clock = own_clock(self.dir)
        self.furnish()
        days = ",".join(time.strftime("%a", time.gmtime(time.time() + day * 86400)) for day in (-1, 0, 1))
        self.ask("schedules", "add", "These days", f"{days} 00:00-24:00")
        self.ask("grant", "Ben", "Side", "--schedule", "These days")
        with open(f"{self.dir}/password", "w") as file:
            file.write("correct horse")
        self.ask("logins", "add", "anna", "Anna", "--password-file", f"{self.dir}/password")
        clocks = lambda: len(json.loads(self.attached("events", "--kind", "clock", "--json")[1]))
        with self.serve(prefix=prefix) as server, self.locks():
            self.eventually(self.up_to_date)
            session = None
            for step, offset in enumerate(("+0", "+3d", "-3d", "+0")):
                set_clock(offset)
                self.eventually(lambda: clocks() == 3 * step)  # the server's and that of each lock
                post = Post(server.port, session)
                self.addCleanup(post.close)
                with self.assertRaises(Refusal):  # there is none, it is over, or has not begun yet
                    post.call("getLoggedInId")
                session = post.call("login", "anna", "correct horse")["session"]
                post.headers["Authorization"] = f"Bearer {session}"
                self.assertEqual(post.call("getLoggedInId"), "1")
                self.assertEqual([self.present(ANNA)[0], self.present(BEN, 1)[0]], [True, offset == "+0"])
                self.assertEqual(self.attached("access", "why", "Ben", "Side")[0], 0 if offset == "+0" else 1)
            self.attached("revoke", "Anna", "Main")
            self.eventually(lambda: not self.present(ANNA)[0])
        events = self.table("events")
        self.assertEqual({event["seq"] for event in events}, set(range(1, len(events) + 1)))
        self.assertTrue(self.table("audit", "verify")["ok"])


if __name__ == "__main__":
    main()
