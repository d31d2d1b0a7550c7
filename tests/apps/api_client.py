"""Clients of the API for the tests: one over WebSocket, one that posts."""

import http.client
import json
import ssl

from notification_client import WebSocket
from tools import BUILD, WAIT

AUTHORITY = f"{BUILD}/dev-ca/ca-chain.pem"


class Refusal(Exception):
    def __init__(self, error, status=None):
        super().__init__(error)
        self.code = error["code"]
        self.text = error["message"]
        self.status = status


def request(method, params, number=1):
    return {"jsonrpc": "2.0", "id": number, "method": method, "params": params}


class Client:
    """Over WebSocket; what is heard between a question and its answer stands in `heard`."""

    def __init__(self, port, headers=()):
        self.socket = WebSocket(f"wss://127.0.0.1:{port}/api", AUTHORITY, headers)
        self.port = port
        self.socket.socket.settimeout(WAIT)
        self.heard = []

    def call(self, method, *params, **named):
        self.socket.send({"id": 1, "method": method, "params": named or params})
        while True:
            message = self.socket.receive()
            if message is None:
                raise ConnectionError("the connection has ended")
            if "id" not in message:
                self.heard.append(message)
            elif "error" in message:
                raise Refusal(message["error"])
            else:
                self.omitted = message.get("omitted", 0)
                return message["result"]

    def hear(self, source):
        while not any(m["method"] == "notify" and m["params"][0] == source for m in self.heard):
            message = self.socket.receive()
            if message is None:
                raise ConnectionError("the connection has ended")
            self.heard.append(message)
        found = next(m for m in self.heard if m["method"] == "notify" and m["params"][0] == source)
        self.heard.remove(found)
        return found["params"][1]

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.socket.close()


class Post:
    """Over one connection that stays; `source` is the address that it comes from."""

    def __init__(self, port, session=None, source="127.0.0.1", **headers):
        context = ssl.create_default_context(cafile=AUTHORITY)
        self.connection = http.client.HTTPSConnection("127.0.0.1", port, context=context, timeout=4 * WAIT,
                                                      source_address=(source, 0))
        self.headers = {"Content-Type": "application/json",
                        **{name.replace("_", "-"): value for name, value in headers.items()}}
        if session:
            self.headers["Authorization"] = f"Bearer {session}"

    def send(self, body):
        """(status, headers, what was answered)"""
        body = body if isinstance(body, (bytes, str)) else json.dumps(body)
        self.connection.request("POST", "/api", body, self.headers)
        answer = self.connection.getresponse()
        text = answer.read()
        return answer.status, answer.headers, json.loads(text) if text else None

    def call(self, method, *params):
        status, _, message = self.send(request(method, params))
        if "error" in message:
            raise Refusal(message["error"], status)
        return message["result"]

    def close(self):
        self.connection.close()
