"""One console serves while simulated devices come, go and misbehave: faulty lines, false answers, resets, half-open links,
reconnect storms, processes that are killed or stopped; notification clients vanish. In rounds; after each all devices
are gone, and the console has to be back where it was after the warm-up: links, descriptors, memory. Each question that
was answered has to stand in the journal of the device that answered, once.
"""

import collections
import concurrent.futures
import json
import os
import random
import signal
import socket
import ssl
import subprocess
import threading
import time

from soak_common import (ANSWER_SECONDS, BUILD, FIRST_DEVICE, FOLDER, Findings, Running, device_options, lines_of,
                         make_certificates, serve_options, simulator_command)
from notification_client import WebSocket  # beside the tests' tools, whose folder soak_common names

TOKEN = "soak"
GROUPS = 4                     # simulator processes
ROUND_SECONDS = 15
CROWD = 500                    # visitors at once
WARM_UP_ROUNDS = 3             # the lists of the last refusals and log lines fill, the allocator takes its share
MEMORY_MARGIN = 16 * 1024      # KiB above that
DESCRIPTOR_MARGIN = 2
GONE_SECONDS = 30


class Group:
    """Devices in one process, started again and again."""

    def __init__(self, soak, number, first, count):
        self.soak, self.number, self.first, self.count = soak, number, first, count
        self.channel = f"{soak.sockets}/sim{number}"
        self.process = None

    def start(self, seed):
        self.process = subprocess.Popen(
            simulator_command(*device_options(self.first, self.count, self.soak.port), "--faults", str(seed), "--control",
                              self.channel, "--journal", f"{FOLDER}/journal{self.number}"), stdout=subprocess.DEVNULL)

    def tell(self, command):
        try:
            answer, _ = lines_of(self.channel, command, 5)
            return json.loads(answer[0])
        except (OSError, ValueError, IndexError):
            return {}  # it starts, is stopped or overloaded

    def end(self, number=signal.SIGTERM):
        if self.process:
            self.process.send_signal(number)
            self.process.send_signal(signal.SIGCONT)
            try:
                code = self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.soak.findings.add("a simulator does not end when asked to")
                self.process.kill()
                code = self.process.wait()
            if number == signal.SIGTERM and code != 0:
                self.soak.findings.add(f"a simulator ended with {code}")
            self.process = None


class LinkSoak:
    def __init__(self, seed, devices, sockets):
        self.random = random.Random(seed)
        self.seed = seed
        self.devices = devices
        self.sockets = sockets
        self.findings = Findings()
        self.acknowledged = []
        self.asked = 0
        self.counters = collections.Counter()
        self.port = 0
        self.asking = threading.Lock()
        self.busy = threading.Event()
        self.over = threading.Event()

    # One at a time: the console answers whoever sent last.
    def ask(self, command):
        with self.asking:
            return lines_of(f"{self.sockets}/console", command)

    def links(self):
        return [row["label"] for row in json.loads("".join(self.ask("devices --json")[0]))]

    # Sends while devices are there; notes what was answered.
    def send(self):
        number = 0
        while not self.over.is_set():
            if not self.busy.wait(0.2):
                continue
            number += 1
            text = f"q{number}"
            try:
                answer, _ = self.ask(f"""send all --json --wait 1500 '{{"command":"echo","data":"{text}"}}'""")
                rows = json.loads("".join(line for line in answer if line[:1] in "[{]}") or "[]")
            except (OSError, ValueError) as error:
                self.findings.add(f"the console does not answer: {error!r}")
                return
            self.asked += len(rows)
            for row in rows:
                if row["answers"]:
                    self.acknowledged.append((row["label"], text))
                    if json.loads(row["answer"]).get("data") != text:
                        self.findings.add(f"{row['label']} answered {row['answer']} to {text}")
            time.sleep(0.1)

    # Notification clients: log in, look at a few messages or none, and are gone without a word.
    def observe(self):
        dice = random.Random(self.seed + 1)
        while not self.over.is_set():
            if not self.busy.wait(0.2):
                continue
            try:
                client = WebSocket(f"wss://127.0.0.1:{self.port}/notifications", f"{BUILD}/dev-ca/ca-chain.pem")
                client.socket.settimeout(2)
                client.send({"id": 1, "method": "login", "params": [TOKEN]})
                client.receive()
                client.send({"method": "registerObserver", "params": [["Devices"]]})
                self.counters["notification clients"] += 1
                for number in range(1, dice.randrange(6) + 1):
                    message = client.receive()
                    if message and message["seq"] != number:
                        self.findings.add(f"notification {message['seq']} came instead of {number}")
                    self.counters["notifications"] += 1
            except (OSError, ValueError, ConnectionError):
                self.counters["notification clients that waited in vain"] += 1
            else:
                if dice.randrange(2):
                    client.socket.shutdown(socket.SHUT_RDWR)
            try:
                client.close()
            except (OSError, UnboundLocalError):
                pass
            time.sleep(dice.random())

    # Almost as many visitors as the console holds. The allocator keeps what they needed: without them memory would grow
    # in whatever round a busy machine lets the devices pile up.
    def crowd(self):
        context = ssl.create_default_context(cafile=f"{BUILD}/dev-ca/ca-chain.pem")

        def visit(_):
            try:
                plain = socket.create_connection(("127.0.0.1", self.port), timeout=20)
                return context.wrap_socket(plain, server_hostname="127.0.0.1")
            except OSError:
                return None  # turned away for one that came later

        with concurrent.futures.ThreadPoolExecutor(16) as pool:
            for visitor in list(pool.map(visit, range(CROWD))):
                if visitor:
                    visitor.close()
                    self.counters["visitors without a request"] += 1

    def misbehave(self, groups, seconds):
        end = time.monotonic() + seconds
        while time.monotonic() < end and self.console.process.poll() is None:
            time.sleep(self.random.uniform(0.5, 2))
            group = self.random.choice(groups)
            action = self.random.choice(["kill", "stop", "storm 3", "drop all", "halt all", "faults latency 200",
                                         "faults latency 20", "faults off", "faults on"])
            self.counters[action] += 1
            if action == "kill":
                self.note(group)
                group.end(signal.SIGKILL)
                group.start(self.random.randrange(1 << 30))
            elif action == "stop":
                group.process.send_signal(signal.SIGSTOP)
                time.sleep(self.random.uniform(0.5, 4))
                group.process.send_signal(signal.SIGCONT)
            else:
                group.tell(action)

    def note(self, group):
        status = group.tell("status")
        for name in ("connections", "dropped", "halfOpen", "corrupted", "falseAnswers"):
            self.counters[name] += status.get(name, 0)

    def measure(self):
        pid = self.console.process.pid
        with open(f"/proc/{pid}/status") as status:
            memory = next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))
        return memory, len(os.listdir(f"/proc/{pid}/fd"))

    def run(self, minutes):
        for name in os.listdir(FOLDER):
            if name.startswith("journal"):
                os.remove(f"{FOLDER}/{name}")
        make_certificates(self.devices)
        os.environ["KYR_CONSOLE_SERVE_TOKEN"] = TOKEN
        self.console = Running("kyr_console", "--database", "memory", "--socket", f"{self.sockets}/console", "--log-file", "none",
                               *serve_options(0))
        self.port = json.loads(self.console.until('{"port"'))["port"]
        size = -(-self.devices // GROUPS)
        groups = [Group(self, i, FIRST_DEVICE + i * size, min(size, self.devices - i * size)) for i in range(GROUPS)]
        threads = [threading.Thread(target=target) for target in (self.send, self.observe, self.observe)]
        for thread in threads:
            thread.start()
        first = None
        end = time.monotonic() + minutes * 60
        number = 0
        print(f"{self.devices} devices in {GROUPS} processes, seed {self.seed}\n"
              "round  most linked  asked  answered  memory KiB  descriptors", flush=True)
        try:
            while time.monotonic() < end and not self.findings:
                number += 1
                for group in groups:
                    group.start(self.random.randrange(1 << 30))
                self.busy.set()
                most = 0
                slices = 3
                for _ in range(slices):
                    self.misbehave(groups, min(ROUND_SECONDS, max(10, end - time.monotonic())) / slices)
                    most = max(most, len(self.links()))
                self.crowd()
                self.busy.clear()
                for group in groups:
                    self.note(group)
                    group.end()
                measured = self.settle(first, number >= WARM_UP_ROUNDS)
                print(f"{number:5}  {most:11}  {self.asked:5}  {len(self.acknowledged):8}  {measured[0]:10}  "
                      f"{measured[1]:11}", flush=True)
                if most == 0:
                    self.findings.add("no device was ever linked")
                if number == WARM_UP_ROUNDS:
                    first = measured
        except (OSError, ValueError) as error:
            self.findings.add(f"the console does not answer: {error!r}")
        finally:
            self.over.set()
            for group in groups:
                group.end(signal.SIGKILL)
            for thread in threads:
                thread.join()
            self.console.process.terminate()
        code = self.console.process.wait(10)
        if code != 0:
            self.findings.add(f"the console ended with {code}")
        self.check_journals()

    # Waits until everybody has gone and the console is back; what it does not get rid of is a finding.
    def settle(self, first, counts):
        end = time.monotonic() + GONE_SECONDS
        while True:
            if self.console.process.poll() is not None:
                self.findings.add(f"the console ended with {self.console.process.returncode}")
                return 0, 0
            linked, measured = self.links(), self.measure()
            settled = not linked and (first is None or measured[1] <= first[1] + DESCRIPTOR_MARGIN)
            # The first measure that counts waits for the last visitors' time to be over.
            if settled and (first is not None or not counts or time.monotonic() > end - GONE_SECONDS + 12):
                break
            if time.monotonic() > end:
                self.findings.add(f"{GONE_SECONDS} s after the last device left: {len(linked)} links, {measured[1]} descriptors")
                break
            time.sleep(0.3)
        if first and measured[0] > first[0] + MEMORY_MARGIN:
            self.findings.add(f"memory grew from {first[0]} to {measured[0]} KiB")
        return measured

    def check_journals(self):
        received = collections.Counter()
        for name in os.listdir(FOLDER):
            if not name.startswith("journal"):
                continue
            with open(f"{FOLDER}/{name}") as journal:
                for line in journal:
                    label, question = line.split(" ", 1)
                    received[label, json.loads(question).get("data")] += 1
        lost = [entry for entry in self.acknowledged if received[entry] == 0]
        twice = [entry for entry, times in received.items() if times > 1]
        if lost:
            self.findings.add(f"{len(lost)} answers to questions that no device received, such as {lost[0]}")
        if twice:
            self.findings.add(f"{len(twice)} questions were received more than once, such as {twice[0]}")
        if not self.acknowledged:
            self.findings.add("no question was ever answered")
        print(f"\n{self.asked} questions, {len(received)} received, {len(self.acknowledged)} answered, {len(lost)} lost, "
              f"{len(twice)} doubled")
        for name, count in sorted(self.counters.items()):
            print(f"{count:7} {name}")
