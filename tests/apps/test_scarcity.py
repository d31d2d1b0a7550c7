"""The console when the machine has too little of something, and when peers speak TLS in unusual ways: it goes on
serving whoever does it right."""

import os
import resource
import socket
import ssl
import struct
import time
import warnings

from test_link import BUILD, LABELS, Installation, Server, certificate
from tools import WAIT, main


def hello(version, ciphers=b"\x13\x01"):
    """A client hello that asks for that version of TLS."""
    body = struct.pack(">H", version) + bytes(32) + b"\0" + struct.pack(">H", len(ciphers)) + ciphers + b"\1\0"
    message = b"\1" + len(body).to_bytes(3, "big") + body
    return b"\x16" + struct.pack(">HH", min(version, 0x0301), len(message)) + message


class Scarcity(Installation):
    def gets_in(self, server, label=LABELS[0]):
        with self.device(server.port, label):
            server.eventually(lambda: server.links() == [label])
        server.eventually(lambda: server.links() == [])

    def test_disk_full_for_the_log(self):
        with Server(self.dir, log=("--log-file", "/dev/full", "--log-level", "DBG")) as server:
            self.gets_in(server)

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
        with Server(self.dir) as server:
            self.gets_in(server)
            used = len(os.listdir(f"/proc/{server.process.pid}/fd"))
            resource.prlimit(server.process.pid, resource.RLIMIT_NOFILE, (used + 8, used + 8))
            peers = [socket.create_connection(("127.0.0.1", server.port), timeout=WAIT) for _ in range(30)]
            end = time.monotonic() + WAIT
            while len(os.listdir(f"/proc/{server.process.pid}/fd")) < used + 8:
                self.assertLess(time.monotonic(), end, "the descriptors are not used up")
                time.sleep(0.02)
            for peer in peers:
                peer.close()
            self.gets_in(server)


if __name__ == "__main__":
    main()
