#!/usr/bin/env python3
"""Observes sources of a notification service: notification_client.py --count N URL TOKEN SOURCE...

Prints each message after the log-in as a line of JSON; ends after N of them, or when the server ends the connection.
Exit code 0, or 1 when the log-in was refused or a message was missed. Speaks WebSocket with the standard library alone.
"""

import base64
import hashlib
import json
import os
import socket
import ssl
import struct
import sys
from urllib.parse import urlsplit


class WebSocket:
    def __init__(self, url, ca=None):
        parts = urlsplit(url)
        self.socket = socket.create_connection((parts.hostname, parts.port), timeout=30)
        if parts.scheme == "wss":
            context = ssl.create_default_context(cafile=ca)
            self.socket = context.wrap_socket(self.socket, server_hostname=parts.hostname)
        self.stream = self.socket.makefile("rb")
        key = base64.b64encode(os.urandom(16)).decode()
        self.socket.sendall((f"GET {parts.path or '/'} HTTP/1.1\r\nHost: {parts.netloc}\r\nUpgrade: websocket\r\n"
                             f"Connection: Upgrade\r\nSec-WebSocket-Key: {key}\r\n"
                             "Sec-WebSocket-Version: 13\r\n\r\n").encode())
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


def main():
    count, url, token, *sources = sys.argv[2:]
    connection = WebSocket(url)
    connection.send({"id": 1, "method": "login", "params": [token]})
    answer = connection.receive()
    if not answer or answer.get("result") is not True:
        print(answer, file=sys.stderr)
        return 1
    connection.send({"method": "registerObserver", "params": [sources]})
    for number in range(1, int(count) + 1):
        message = connection.receive()
        if message is None:
            break
        print(json.dumps(message), flush=True)
        if message["seq"] != number:
            print(f"missed {message['seq'] - number} messages", file=sys.stderr)
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
