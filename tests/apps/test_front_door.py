"""How devices reach a console's TLS port: with keys of either kind, and behind a balancer that does TLS for it."""

import os
import socket
import struct
import subprocess

from test_link import LABELS, BUILD, Installation, Server, certificate
from tools import WAIT, main

SIGNATURE = b"\r\n\r\n\0\r\nQUIT\n"


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class FrontDoor(Installation):
    def test_a_server_with_a_key_on_a_curve(self):
        where = f"{self.dir}/curve"
        certificate("console", where, f"{BUILD}/dev-ca", "--ec", "--name", "IP:127.0.0.1")
        with Server(where) as server, self.device(server.port, LABELS[0]):
            server.eventually(lambda: server.links() == LABELS[:1])
            with server.connect() as visitor:
                self.assertEqual(visitor.version(), "TLSv1.3")

    def test_behind_a_balancer(self):
        with Server(self.dir, "--proxy-protocol", "127.0.0.1/32", "--proxy-port", 0,
                    env={"QUINTOR_SERVER_IPS_REMOTE": "127.0.0.1"}) as server:
            port = server.first["proxyPort"]
            with self.balancer(port) as front, self.device(front, LABELS[0]), self.device(server.port, LABELS[1]):
                server.eventually(lambda: server.links() == LABELS[:2])
            self.visit(port, SIGNATURE + b"\x21\x11" + struct.pack(">H4s4sHH", 12, bytes([192, 0, 2, 7]), bytes(4), 50001, 443))
            server.eventually(lambda: any(row["peer"] == "192.0.2.7:50001" for row in server.table("devices", "--refused")))
            self.visit(port, b"")
            server.eventually(lambda: ("", "no PROXY header") in server.refusals())
        with Server(self.dir, "--proxy-protocol", "192.0.2.0/24", "--proxy-port", 0) as server:
            self.visit(server.first["proxyPort"], SIGNATURE + b"\x20\0\0\0")
            server.eventually(lambda: ("", "no trusted balancer") in server.refusals())
            self.assertEqual(server.ask("serve", "--proxy-protocol", "192.0.2.0/33", "--port", "0")[0], 2)

    def visit(self, port, header):
        """A plain connection that asks for a WebSocket which is not there."""
        with socket.create_connection(("127.0.0.1", port), timeout=WAIT) as visitor:
            visitor.sendall(header + b"GET /elsewhere HTTP/1.1\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n\r\n")
            try:
                self.assertEqual(visitor.recv(1), b"")
            except ConnectionResetError:
                pass

    def balancer(self, port):
        return Balancer(self.dir, port)


class Balancer:
    """Debian's haproxy, which does TLS and passes on what it gets to a port."""

    def __init__(self, where, port):
        with open(f"{where}/both.pem", "w") as both:
            for name in ("console.pem", "console.key"):
                both.write(open(f"{where}/{name}").read())
        self.port = free_port()
        self.config = f"{where}/haproxy.cfg"
        with open(self.config, "w") as config:
            config.write(f"""
global
    nbthread 1
defaults
    mode tcp
    timeout connect 5s
    timeout client 1h
    timeout server 1h
listen devices
    bind 127.0.0.1:{self.port} ssl crt {where}/both.pem
    server console 127.0.0.1:{port} send-proxy-v2
""")

    def __enter__(self):
        self.process = subprocess.Popen(["/usr/sbin/haproxy", "-q", "-f", self.config])
        return self.port

    def __exit__(self, *unused):
        self.process.terminate()
        self.process.wait(WAIT)


if __name__ == "__main__":
    if not os.path.exists("/usr/sbin/haproxy"):
        print("no haproxy here")
        raise SystemExit(77)
    main()
