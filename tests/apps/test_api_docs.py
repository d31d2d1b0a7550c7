"""Calls each method of the API once and holds docs/api.md against it; with --write it writes that page."""

import json
import sys
import threading

from api_client import AUTHORITY, Client, Refusal
from notification_client import WebSocket
from test_link import Installation, Server
from tools import ROOT, main

PAGE = f"{ROOT}/docs/api.md"
INTRODUCTION = f"{ROOT}/tests/apps/api_introduction.md"
EXAMPLES = f"{ROOT}/tests/apps/api_examples.json"
PASSWORD = "correct horse"
WRITE = "--write" in sys.argv
LONGEST = 300

# What is another one each time.
VARYING = {"session": "5f0c…", "expires": "2026-11-22T04:10:00Z", "next": "2026-11-23T07:00:00+00:00",
           "recorded": "2026-11-22T03:10:00+00:00", "softwareVersion": "1.0.0"}


def settled(value, method):
    if isinstance(value, list):
        return [settled(element, method) for element in value]
    if not isinstance(value, dict):
        return value
    known = dict(VARYING, at="2026-11-22T03:10:00+00:00", details={}, operator="root") if method == "events.list" else VARYING
    return {key: known[key] if key in known and element is not None else settled(element, method)
            for key, element in value.items()}


def shown(value):
    text = json.dumps(value, ensure_ascii=False)
    return text if len(text) <= LONGEST else text[:LONGEST] + " …"


class Docs(Installation):
    def test_each_method_by_its_example(self):
        with open(EXAMPLES) as file:
            examples = json.load(file)
        with Server(self.dir, "--token", "token", env={"KYR_CONSOLE_DATABASE": "memory", "TZ": "UTC"}) as server:
            password_file = f"{self.dir}/password"
            with open(password_file, "w") as file:
                file.write(PASSWORD)
            server.ask("logins", "add", "admin", "31", "--password-file", password_file)
            server.ask("logins", "permit", "admin", "Administrator")
            with Client(server.port) as client:
                Docs.extension(server.port)
                described = {method["name"]: method for method in client.call("system.describe")}
                client.call("login", "admin", PASSWORD)
                self.assertEqual(sorted(described), sorted(examples))
                sections = {name: self.section(client, described[name], *examples[name])
                            for name in sorted(examples, key=lambda name: examples[name][0])}
        with open(INTRODUCTION) as file:
            page = file.read()
        page += "".join(sections[name] for name in described)
        if WRITE:
            with open(PAGE, "w") as file:
                file.write(page)
        with open(PAGE) as file:
            self.assertEqual(file.read(), page, "docs/api.md is written anew by tests/apps/test_api_docs.py --write")

    @staticmethod
    def extension(port):
        """Something that answers to the name of lift."""
        socket = WebSocket(f"wss://127.0.0.1:{port}/notifications", AUTHORITY)
        socket.send({"id": 1, "method": "login", "params": ["token"]})
        socket.send({"id": 2, "method": "registerExtension", "params": ["lift"]})

        def answer():
            while message := socket.receive():
                if message.get("method") == "notify":
                    socket.send({"method": "customNotificationResponse",
                                 "params": [message["params"][1]["id"], "coming"]})

        threading.Thread(target=answer, daemon=True).start()

    @staticmethod
    def section(client, method, _order, text, params):
        name = method["name"]
        parameters = ", ".join(f"{p['name']}: {p['type']}{'?' if p.get('optional') else ''}" for p in method["params"])
        needs = {None: "nothing, not even a log-in", "": "a log-in"}.get(method["permission"], method["permission"])
        if name == "quit":
            client.call("login", "admin", PASSWORD)
        if name == "login":
            answer = {"result": Client(client.port).call(name, *params)}
        else:
            try:
                answer = {"result": client.call(name, *params)}
                if client.omitted:
                    answer["omitted"] = client.omitted
            except TimeoutError:
                raise AssertionError(f"{name} is not answered")
            except Refusal as refusal:
                answer = {"error": {"code": refusal.code, "message": refusal.text}}
        return (f"\n### {name}({parameters}) → {method['result']}\n\n{text} Needs: {needs}.\n\n"
                f"    > {json.dumps({'method': name, 'params': params}, ensure_ascii=False)}\n"
                f"    < {shown(settled(answer, name))}\n")


if __name__ == "__main__":
    sys.argv = [argument for argument in sys.argv if argument != "--write"]
    main()
