"""A client of the notification service that speaks WebSocket with the standard library alone."""

import base64
import hashlib
import json
import os
import socket
import ssl
import struct
from urllib.parse import urlsplit


class WebSocket:
    def __init__(self, url, ca=None, headers=()):
        parts = urlsplit(url)
        self.socket = socket.create_connection((parts.hostname, parts.port), timeout=30)
        if parts.scheme == "wss":
            context = ssl.create_default_context(cafile=ca)
            self.socket = context.wrap_socket(self.socket, server_hostname=parts.hostname)
        self.stream = self.socket.makefile("rb")
        key = base64.b64encode(os.urandom(16)).decode()
        self.socket.sendall((f"GET {parts.path or '/'} HTTP/1.1\r\nHost: {parts.netloc}\r\nUpgrade: websocket\r\n"
                             f"Connection: Upgrade\r\nSec-WebSocket-Key: {key}\r\n"
                             "Sec-WebSocket-Version: 13\r\n" + "".join(f"{line}\r\n" for line in headers)
                             + "\r\n").encode())
        head = [self.stream.readline().decode().strip()]
        while head[-1]:
            head.append(self.stream.readline().decode().strip())
        expected = base64.b64encode(hashlib.sha1((key + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11").encode()).digest())
        if " 101 " not in head[0] or not any(line.endswith(expected.decode()) for line in head):
            raise ConnectionError(f"no WebSocket: {head[0]}")

    def _send(self, opcode, payload):
        mask = os.urandom(4)
        size = len(payload)
        length = (bytes([0x80 | size]) if size < 126 else
                  b"\xfe" + struct.pack(">H", size) if size < 1 << 16 else b"\xff" + struct.pack(">Q", size))
        self.socket.sendall(bytes([0x80 | opcode]) + length + mask
                            + bytes(byte ^ mask[i % 4] for i, byte in enumerate(payload)))

    def close(self):
        self.stream.close()
        self.socket.close()

    def send(self, message):
        self._send(1, json.dumps({"jsonrpc": "2.0", **message}).encode())

    def receive(self):
        """The next message, None at the end of the connection."""
        text = b""
        while True:
            head = self.stream.read(2)
            if len(head) < 2:
                return None
            size = head[1] & 0x7F
            if size > 125:
                size = int.from_bytes(self.stream.read(2 if size == 126 else 8), "big")
            payload = self.stream.read(size)
            opcode = head[0] & 0x0F
            if opcode == 8:
                return None
            if opcode == 9:
                self._send(10, payload)
            elif opcode in (0, 1):
                text += payload
                if head[0] & 0x80:
                    return json.loads(text)
