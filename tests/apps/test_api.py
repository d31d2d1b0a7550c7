"""Programs call the API of a console that serves: who gets in, what each may do, what is refused and how."""

import base64
import hashlib
import hmac
import os
import re
import struct
import subprocess
import sys
import time
import unittest
from urllib.parse import parse_qs, urlsplit

from api_client import AUTHORITY, Client, Post, Refusal, request
from notification_client import WebSocket
from test_link import Installation, Server
from tools import ROOT, main

PASSWORD = "correct horse"


def code_of(uri, step):
    secret = parse_qs(urlsplit(uri).query)["secret"][0]
    key = base64.b32decode(secret + "=" * (-len(secret) % 8))
    mac = hmac.new(key, struct.pack(">Q", step), hashlib.sha1).digest()
    at = mac[-1] & 15
    return f"{(int.from_bytes(mac[at:at + 4], 'big') & 0x7FFFFFFF) % 1000000:06}"


class Api(Installation):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.server = Server(cls.dir, env={"KYR_CONSOLE_DATABASE": "memory"})
        cls.password_file = f"{cls.dir}/password"
        with open(cls.password_file, "w") as file:
            file.write(PASSWORD + "\n")
        cls.login("admin", "31", "Administrator")
        cls.login("nobody", "32", "none")

    @classmethod
    def tearDownClass(cls):
        with cls.server:
            pass
        super().tearDownClass()

    @classmethod
    def login(cls, name, user, *permissions):
        for command in (["logins", "add", name, user, "--password-file", cls.password_file],
                        ["logins", "permit", name, *permissions]):
            result = cls.server.ask(*command)
            assert result[0] == 0, result

    def client(self, name="admin"):
        client = Client(self.server.port)
        self.addCleanup(client.socket.close)
        self.session = client.call("login", name, PASSWORD)["session"]
        return client

    def post(self, session=None, **headers):
        post = Post(self.server.port, session, **headers)
        self.addCleanup(post.close)
        return post

    def refused(self, code, call, *arguments):
        with self.assertRaises(Refusal) as caught:
            call(*arguments)
        self.assertEqual(caught.exception.code, code, caught.exception.text)
        return caught.exception

    def events(self, kind):
        return self.server.table("events", "--kind", kind)

    def test_a_program_of_twenty_lines(self):
        url = f"wss://127.0.0.1:{self.server.port}/api"
        result = subprocess.run([sys.executable, f"{ROOT}/examples/new_user.py", url, AUTHORITY, "admin", PASSWORD,
                                 "Zoë <b>", "3"], capture_output=True, text=True, timeout=60)
        if "No module named 'websockets'" in result.stderr:
            self.skipTest("python3-websockets is not installed")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        user = re.search(r"^(\d+) at 3 allowed: ", result.stdout, re.M).group(1)
        self.assertIn(f"heard of ['Model', {{'data': {{'UsersGroups': [{{'id': '{user}'}}]}}", result.stdout)
        changes = [(row["what"], row["operator"]) for row in self.events("changed") if row["user"] == user]
        self.assertEqual(changes, [("created Zoë <b>", "31"), ("changed Zoë <b>", "31")])

    def test_sessions(self):
        stranger = self.post()
        self.assertEqual(self.refused(-32001, stranger.call, "getUser", {}).status, 401)
        self.assertEqual(self.refused(-32001, self.post("0" * 64).call, "getUser", {}).status, 401)
        texts = {self.refused(-32002, stranger.call, "login", *who).text
                 for who in (("admin", "wrong"), ("nobody at all", PASSWORD))}
        self.assertEqual(len(texts), 1)
        nobody = self.client("nobody")
        theirs = self.session
        admin = self.client()
        mine = self.post(self.session)
        self.assertEqual(mine.call("getLoggedInId"), "31")
        self.assertEqual(self.post(theirs).call("getLoggedInId"), "32")
        self.assertTrue(nobody.call("logout"))
        self.refused(-32001, self.post(theirs).call, "getLoggedInId")
        self.assertEqual(admin.call("getLoggedInId"), "31")
        # Another password ends what was begun with the old one, other permissions count at the next call.
        self.login("guest", "33", "UsersRead")
        guest = self.client("guest")
        self.assertEqual(guest.call("getUser", {"id": 33})["label"], "Clara Dubois")
        self.server.ask("logins", "permit", "guest", "none")
        self.assertEqual(self.refused(-32003, self.post(self.session).call, "getUser", {}).status, 403)
        self.server.ask("logins", "password", "guest", "--password-file", self.password_file)
        self.refused(-32001, guest.call, "getLoggedInId")
        self.assertEqual([row["details"]["method"] for row in self.events("refused") if row["user"] == "33"],
                         ["getUser"])

    def test_cookies_and_origins(self):
        post = self.post()
        status, headers, message = post.send(request("login", ["admin", PASSWORD]))
        cookie = headers["Set-Cookie"]
        for word in ("HttpOnly", "Secure", "SameSite=Strict", "Path=/"):
            self.assertIn(word, cookie)
        cookie = cookie.split(";")[0]
        home, away = f"https://127.0.0.1:{self.server.port}", "https://evil.example"
        ask = request("getLoggedInId", [])
        for headers, status in (({"Cookie": cookie}, 200), ({"Cookie": cookie, "Origin": home}, 200),
                                ({"Cookie": cookie, "Origin": away}, 403), ({"Cookie": cookie, "Origin": "null"}, 403),
                                ({"Cookie": cookie, "Origin": home + ".evil.example"}, 403),
                                ({"Cookie": cookie, "Content-Type": "text/plain"}, 415),
                                ({"Origin": away, "Authorization": f"Bearer {message['result']['session']}"}, 200)):
            self.assertEqual(self.post(**headers).send(ask)[0], status, headers)
        with Client(self.server.port, [f"Origin: {home}", f"Cookie: {cookie}"]) as page:
            self.assertEqual(page.call("getLoggedInId"), "31")
        with self.assertRaises(ConnectionError) as refused:
            Client(self.server.port, [f"Origin: {away}", f"Cookie: {cookie}"])
        self.assertIn("403", str(refused.exception))
        _, headers, _ = self.post(Cookie=cookie).send(request("logout", []))
        self.assertIn("Max-Age=0", headers["Set-Cookie"])
        self.assertEqual(self.post(Cookie=cookie).send(ask)[0], 401)

    def test_every_method_without_its_permission(self):
        methods = self.post().call("system.describe")
        self.assertGreater(len(methods), 80)
        nobody = self.client("nobody")
        for method in methods:
            permission = method["permission"]
            if permission is not None:
                self.refused(-32001, self.post().call, method["name"])
            if permission:
                self.refused(-32003, nobody.call, method["name"])
        self.assertEqual(len([row for row in self.events("refused") if row["user"] == "32"]),
                         len([m for m in methods if m["permission"]]))

    def test_ten_thousand_wrong_passwords(self):
        self.login("victim", "34", "none")
        attacker = self.post(source="127.0.0.9")
        session = attacker.call("login", "victim", PASSWORD)["session"]
        codes = {}
        batch = [request("login", ["victim", f"guess {i}"], i) for i in range(100)]
        for _ in range(100):
            for answer in attacker.send(batch)[2]:
                codes[answer["error"]["code"]] = codes.get(answer["error"]["code"], 0) + 1
        self.assertEqual(codes, {-32002: 10, -32029: 9990})
        # Right ones are not looked at either; sessions go on, and from elsewhere the name is free.
        self.assertEqual(self.refused(-32029, attacker.call, "login", "victim", PASSWORD).status, 429)
        attacker.headers["Authorization"] = f"Bearer {session}"
        self.assertEqual(attacker.call("getLoggedInId"), "34")
        self.assertIn("session", self.post(source="127.0.0.10").call("login", "victim", PASSWORD))
        self.assertEqual(len([r for r in self.events("loginRefused") if r["details"].get("login") == "victim"]), 10)

    def test_one_time_passwords(self):
        self.login("careful", "35", "none")
        code, uri, error = self.server.ask("logins", "otp", "careful")
        self.assertTrue(uri.startswith("otpauth://totp/"), (uri, error))
        post = self.post()
        self.refused(-32004, post.call, "login", "careful", PASSWORD)
        self.refused(-32002, post.call, "login", "careful", "wrong", "123456")
        valid = code_of(uri.strip(), int(time.time()) // 30)
        self.assertIn("session", post.call("login", "careful", PASSWORD, valid))
        self.refused(-32002, post.call, "login", "careful", PASSWORD, valid)
        self.assertEqual(self.server.ask("logins", "otp", "careful", "--off")[0], 0)
        self.assertIn("session", post.call("login", "careful", PASSWORD))

    def test_rubbish_and_too_much(self):
        post = self.post()
        for body, code in (("{", -32700), ('{"a":1,"a":2}', -32700), ("1", -32600), ("[]", -32600), (b"\xff\xfe", -32700),
                           ("[1]", -32600), ('{"jsonrpc":"2.0","id":1,"method":"x"}', -32601), ("x" * 17000, -32600),
                           ("x" * 3000000, -32600), ('[' + '{},' * 100 + '{}]', -32600)):
            status, _, message = post.send(body)
            answer = message[0] if isinstance(message, list) else message
            self.assertEqual((status, answer["error"]["code"]), (200, code), body[:40])
        self.assertEqual(post.send({"jsonrpc": "2.0", "method": "getLoggedInId"})[0], 204)
        with Client(self.server.port) as client:
            client.socket.send({"id": 1, "method": "login", "params": ["x" * 1000000]})
            self.assertEqual(client.socket.receive()["error"]["code"], -32600)
            client.call("system.describe")
            with self.assertRaises(OSError):
                for _ in range(10):
                    client.socket.send({"id": 1, "method": "login", "params": ["x" * 10000000]})

    def test_notifications_by_permission(self):
        self.login("reader", "33", "MediaRead")
        admin, reader = self.client(), self.client("reader")
        for client in (admin, reader):
            client.call("registerObserver", ["Model", "Devices", "Access"])
        user = admin.call("createUser", {"label": "Nina"})
        medium = admin.call("items.add", "Media", {"uid": "04:A1:22:3B:5C:6D:99", "userId": user})
        self.assertEqual(admin.hear("Model")["data"], {"UsersGroups": [{"id": user}]})
        self.assertEqual(reader.hear("Model")["data"], {"Media": [{"id": medium}]})

    def test_sessions_are_let_in_for_notifications(self):
        self.login("porter", "33", "Logs")
        watcher = WebSocket(f"wss://127.0.0.1:{self.server.port}/notifications", AUTHORITY)
        self.addCleanup(watcher.close)
        self.client("porter")
        theirs = self.session
        admin = self.client()
        stranger = WebSocket(f"wss://127.0.0.1:{self.server.port}/notifications", AUTHORITY)
        stranger.send({"id": 1, "method": "login", "params": [""]})
        self.assertEqual(stranger.receive()["error"]["code"], -32001)
        for number, (method, params) in enumerate((("login", [theirs]), ("registerObserver", [["Model", "Access"]]),
                                                   ("registerExtension", ["lift"]))):
            watcher.send({"id": number, "method": method, "params": params})
        answers = {m["id"]: m for m in (watcher.receive() for _ in range(4)) if "id" in m}
        self.assertEqual((answers[0]["result"], answers[1]["result"], answers[2]["error"]["code"]), (True, True, -32004))
        # What it may hear is its permission's matter at that moment.
        admin.call("createUser", {"label": "Unheard"})
        self.server.ask("logins", "permit", "porter", "UsersRead")
        heard = admin.call("createUser", {"label": "Heard"})
        self.assertEqual(watcher.receive()["params"][1]["data"], {"UsersGroups": [{"id": heard}]})

    def test_who_names_no_session_stays_a_stranger(self):
        with Client(self.server.port, ["Authorization: Bearer rubbish"]) as client:
            client.socket._send(1, b"{")
            self.assertEqual(client.socket.receive()["error"]["code"], -32700)
            client.socket.send({"id": 1, "method": "x" * 20000})
            self.assertEqual(client.socket.receive()["error"]["code"], -32600)

    def test_who_reads_nothing_is_cut_off(self):
        admin, lazy = self.client(), self.client()
        self.assertEqual(len(self.server.table("users")) > 3, True)
        lazy.call("registerObserver", ["Model"])
        pressing = {"jsonrpc": "2.0", "id": 2, "method": "system.describe"}
        deadline = time.monotonic() + 30
        with self.assertRaises(OSError):
            while time.monotonic() < deadline:
                lazy.socket.send(pressing)
        self.assertEqual(admin.call("getLoggedInId"), "31")


class ShortSessions(Installation):
    def test_end_by_themselves(self):
        with Server(self.dir, "--session-seconds", 1, env={"KYR_CONSOLE_DATABASE": "memory"}) as server:
            with open(f"{self.dir}/password", "w") as file:
                file.write(PASSWORD)
            server.ask("logins", "add", "anna", "31", "--password-file", f"{self.dir}/password")
            with Client(server.port) as client:
                session = client.call("login", "anna", PASSWORD)["session"]
                client.call("registerObserver", ["Model"])
                time.sleep(2.1)
                for call in (client.call, Post(server.port, session).call):
                    with self.assertRaises(Refusal) as caught:
                        call("getLoggedInId")
                    self.assertEqual(caught.exception.code, -32001)
                client.call("login", "anna", PASSWORD)
                self.assertEqual(client.call("getLoggedInId"), "31")


if __name__ == "__main__":
    main()
