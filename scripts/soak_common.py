"""What the parts of the soak share: where they work, certificates, findings, programs that are driven by a socket."""

import json
import os
import shutil
import socket
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "apps"))
from tools import BIN, BUILD, ROOT, Running  # noqa: E402

SYSTEM = "0012.3457"
FOLDER = f"{BUILD}/soak"
CERTIFICATES = f"{FOLDER}/certificates"
FIRST_DEVICE = 12345
ANSWER_SECONDS = 120           # a program that hangs never answers, one on a busy machine late


class Findings(list):
    def add(self, text):
        self.append(text)
        print(f"FINDING: {text}", flush=True)


def lines_of(channel, command, wait=ANSWER_SECONDS):
    """The answer of a program that is driven by a local socket: its lines, and the code."""
    with socket.socket(socket.AF_UNIX) as link:
        link.settimeout(wait)
        link.connect(channel)
        link.sendall(command.encode())
        text = b""
        lines = []
        while True:
            part = link.recv(1 << 16)
            if not part:
                raise ConnectionError(f"gone before it answered {command!r}")
            text += part
            *whole, text = text.split(b"\n")
            for line in whole:
                if line.startswith(b"= "):
                    return lines, int(line[2:])
                if not line.startswith(b"! "):
                    lines.append(line.decode())


def make_certificates(devices):
    """For a console and that many devices, which share its key; the labels of the devices."""
    with Running("kyr_device_simulator", "--id", FIRST_DEVICE, "--count", devices, "--udp-port", 0, "--tcp-port", 0,
                 "--log-file", "none") as tool:
        labels = [json.loads(tool.until('{"device"'))["device"] for _ in range(devices)]
    authority = f"{BUILD}/dev-ca/intermediate.pem"
    if os.path.exists(f"{CERTIFICATES}/console.pem") and \
            os.path.getmtime(f"{CERTIFICATES}/console.pem") < os.path.getmtime(authority):
        shutil.rmtree(CERTIFICATES)
    tool = f"{ROOT}/scripts/device-certificate"
    if not os.path.exists(f"{CERTIFICATES}/console.pem"):
        subprocess.run([tool, "console", CERTIFICATES, f"{BUILD}/dev-ca", "--name", "IP:127.0.0.1"], check=True)
    for label in labels:
        if not os.path.exists(f"{CERTIFICATES}/{label}.pem"):
            subprocess.run([tool, label, CERTIFICATES, f"{BUILD}/dev-ca", "--key", f"{CERTIFICATES}/console.key"], check=True)
    return labels


def device_options(first, count, port):
    """Of a simulator whose devices call the console of that port."""
    return ["--id", str(first), "--count", str(count), "--system", SYSTEM, "--udp-port", "0", "--tcp-port", "0",
            "--log-file", "none", "--call", f"https://127.0.0.1:{port}", "--certificate", f"{CERTIFICATES}/%1.pem",
            "--key", f"{CERTIFICATES}/console.key"]


def serve_options(port, ping=2):
    return ["serve", "--port", str(port), "--json", "--ping", str(ping), "--certificate", f"{CERTIFICATES}/console.pem",
            "--key", f"{CERTIFICATES}/console.key", "--system", SYSTEM]


def simulator_command(*options):
    return [f"{BIN}/kyr_device_simulator", *options]
