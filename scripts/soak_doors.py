"""Cards are held to doors and rights change, while links are cut, the server is killed and started again, and locks lose
their power (kill -9). In rounds; after each everything is left in peace for a moment: then each lock has to have its list,
each card has to get the verdict that its rights give it, and the account has to be even: whatever a lock answered stands
in the trail, once, as it was answered; what it did not come to answer stands there at most once; and nothing else does.
"""

import collections
import json
import os
import random
import shutil
import signal
import subprocess
import threading
import time

from soak_common import (BIN, FIRST_DEVICE, FOLDER, Findings, device_options, lines_of, make_certificates,
                         serve_options, simulator_command)

PROCESSES = 3                  # simulators, each of
LOCKS = 2
USERS = 8
ROUND_SECONDS = 12
PEACE_SECONDS = 120            # of a stalled machine; usually it takes a few
START_SECONDS = 60
ATTEMPTS = 10                  # of a change that finds the database busy
UNKNOWN_UID = "04:FF:00:00:00:00:01"
WRONG_CODE = "4711"

# What a lock was told to do; key: device and number of the event, None for one that it did not come to answer.
Deed = collections.namedtuple("Deed", "device what uid user kind reason")


class Locks:
    """A simulator of some locks, and somebody who stands there with cards."""

    def __init__(self, soak, number, labels):
        self.soak, self.number, self.labels = soak, number, labels
        self.channel = f"{soak.sockets}/locks{number}"
        self.random = random.Random(soak.seed * 1000 + number)
        self.process = None

    def start(self):
        first = FIRST_DEVICE + self.number * LOCKS
        self.process = subprocess.Popen(
            simulator_command(*device_options(first, LOCKS, self.soak.port), "--state", f"{FOLDER}/locks", "--faults",
                              str(self.random.randrange(1 << 30)), "--control", self.channel), stdout=subprocess.DEVNULL)

    def kill(self):
        self.process.kill()
        self.process.wait()

    def ask(self, command):
        lines, code = lines_of(self.channel, command)
        return json.loads(lines[0]) if code == 0 else self.soak.findings.add(f"{command!r} is refused")

    def tell(self, command):
        """Until it has started and heard it."""
        end = time.monotonic() + START_SECONDS
        while True:
            try:
                return self.ask(command)
            except (OSError, ValueError, IndexError):
                if time.monotonic() > end or self.process.poll() is not None:
                    raise
                time.sleep(0.1)

    def do(self, device, what, uid, user, kinds):
        command = " ".join(filter(None, (what, device, uid)))
        try:
            answer = self.ask(command)
        except (FileNotFoundError, ConnectionRefusedError):
            return None  # it has no power: nobody heard of it
        except OSError:
            self.soak.unanswered.append(Deed(device, what, uid, user, kinds, None))
            return None
        kind = kinds[0] if answer["allowed"] or len(kinds) == 1 else kinds[1]
        key = device, answer["event"]
        if key in self.soak.answered:
            self.soak.findings.add(f"{device} gave the number {answer['event']} twice")
        self.soak.answered[key] = Deed(device, what, uid, user, [kind], answer["reason"])
        return answer

    def present(self, device, user):
        return self.do(device, "present", self.soak.uid(user) if user else UNKNOWN_UID, user, ["granted", "denied"])

    def stand_there(self):
        while self.soak.busy.is_set():
            device = self.random.choice(self.labels)
            dice = self.random.randrange(20)
            if dice == 0:
                self.do(device, "button", "", None, ["opened"])
            elif dice == 1:
                self.do(device, "force", "", None, ["forced"])
            elif dice == 2:
                self.do(device, "enter", WRONG_CODE, None, ["granted", "denied"])
            else:
                self.present(device, self.random.randrange(USERS + 1))
            time.sleep(self.random.uniform(0, 0.05))


class DoorSoak:
    def __init__(self, seed, sockets):
        self.seed = seed
        self.random = random.Random(seed)
        self.sockets = sockets
        self.findings = Findings()
        self.database = f"{FOLDER}/doors.db"
        self.port = 0
        self.server = None
        self.busy = threading.Event()
        self.answered = {}
        self.unanswered = []
        self.rights = set()
        self.online = None
        self.counters = collections.Counter()

    @staticmethod
    def uid(user):
        return f"04:A1:22:3B:5C:6D:{user:02X}"

    # --- The installation

    def console(self, *words, through_server=False):
        """Changes are made again where they found the database busy."""
        where = ["--attach", f"{self.sockets}/doors"] if through_server else ["--database", self.database]
        for _ in range(ATTEMPTS):
            result = subprocess.run([f"{BIN}/kyr_console", *where, *words], capture_output=True, text=True)
            if result.returncode == 0:
                return result.stdout
            time.sleep(0.5)
        self.findings.add(f"{' '.join(words)}: {result.stderr.strip()}")
        return "[]"

    def install(self):
        for name in os.listdir(FOLDER):
            if name.startswith("doors.db"):
                os.remove(f"{FOLDER}/{name}")
        shutil.rmtree(f"{FOLDER}/locks", ignore_errors=True)
        labels = make_certificates(PROCESSES * LOCKS)
        for user in range(1, USERS + 1):
            self.console("users", "add", f"User {user}")
            self.console("media", "add", self.uid(user), "--user", f"User {user}")
        for label in labels:
            self.console("doors", "add", label, "timeZone=Europe/Zurich")
            self.console("doors", "assign", label, label)
        # At the first door the server has to be asked about one user.
        self.console("grant", "User 1", labels[0], "--online")
        self.online = (1, labels[0])
        self.rights.add(self.online)
        self.locks = [Locks(self, i, labels[i * LOCKS:(i + 1) * LOCKS]) for i in range(PROCESSES)]
        self.pairs = [(user, label) for user in range(1, USERS + 1) for label in labels]
        self.pairs.remove(self.online)
        for _ in range(10):
            self.change_rights(False)

    def change_rights(self, through_server):
        user, door = self.random.choice(self.pairs)
        verb = "revoke" if (user, door) in self.rights else "grant"
        self.console(verb, f"User {user}", door, through_server=through_server)
        self.rights ^= {(user, door)}
        self.counters["rights changed"] += 1

    # --- The server

    def start_server(self):
        with open(f"{FOLDER}/doors.out", "w", encoding="utf-8") as out:
            self.server = subprocess.Popen([f"{BIN}/kyr_console", "--database", self.database, "--socket",
                                            f"{self.sockets}/doors", "--log-file", "none", *serve_options(self.port)],
                                           stdin=subprocess.PIPE, stdout=out, stderr=subprocess.STDOUT)
        end = time.monotonic() + START_SECONDS
        while True:
            with open(f"{FOLDER}/doors.out", encoding="utf-8") as out:
                said = out.read()
            for line in said.splitlines():
                if line.startswith('{"port"'):
                    self.port = json.loads(line)["port"]
                    return
            if self.server.poll() is not None or time.monotonic() > end:
                raise OSError(f"the server does not start: {said!r}")
            time.sleep(0.05)

    def kill_server(self):
        self.server.kill()
        self.server.wait()
        self.server.stdin.close()

    # --- What happens

    def misbehave(self, end):
        while time.monotonic() < end and not self.findings:
            time.sleep(self.random.uniform(0.1, 0.6))
            locks = self.random.choice(self.locks)
            deed = self.random.choice(["change", "change", "change", "attach", "server", "power", "cut", "halt", "storm"])
            if deed in ("change", "attach"):
                self.change_rights(deed == "attach")
            elif deed == "server":
                self.kill_server()
                time.sleep(self.random.uniform(0, 1))
                self.start_server()
                self.counters["server killed"] += 1
            elif deed == "power":
                locks.kill()
                time.sleep(self.random.uniform(0, 0.5))
                locks.start()
                locks.tell("faults on")
                self.counters["locks without power"] += LOCKS
            else:
                locks.tell({"cut": "drop all", "halt": "halt all", "storm": "storm 1"}[deed])
                self.counters[{"cut": "links cut", "halt": "links half-open", "storm": "storms"}[deed]] += 1

    def in_peace(self):
        """Whether all locks are linked and up to date and have reported everything; what is missing if not."""
        rows = json.loads(self.console("devices", "--json", through_server=True))
        missing = [row["label"] for row in rows if not row["upToDate"]]
        linked = len(rows) - len(missing)
        journals = {label: locks.ask(f"journal {label}") for locks in self.locks for label in locks.labels}
        unsaid = sum(journal["next"] - 1 - journal["acknowledged"] for journal in journals.values())
        if linked == len(journals) and unsaid == 0:
            return journals, ""
        return journals, f"{linked} of {len(journals)} locks are up to date, {unsaid} events are not reported"

    def make_peace(self):
        begin = time.monotonic()
        for locks in self.locks:
            for command in ("faults off", "drop all", "storm 1"):
                locks.tell(command)
        while True:
            journals, missing = self.in_peace()
            if not missing:
                self.counters["seconds until in peace, at most"] = max(
                    self.counters["seconds until in peace, at most"], round(time.monotonic() - begin))
                return journals
            if time.monotonic() > begin + PEACE_SECONDS:
                self.findings.add(f"{PEACE_SECONDS} s after the last fault {missing}")
                return journals
            time.sleep(0.3)

    def check_verdicts(self):
        for locks in self.locks:
            for door in locks.labels:
                for user in range(USERS + 1):
                    answer = locks.present(door, user)
                    if answer and (user, door) == self.online and answer["way"] == "offline":
                        # A lock waits for a second; on a machine with much to do the server may take longer.
                        self.counters["online verdicts that came too late"] += 1
                        continue
                    if not answer or answer["allowed"] != ((user, door) in self.rights):
                        self.findings.add(f"User {user} at {door}: {answer}, though the rights say "
                                          f"{(user, door) in self.rights}")
                    self.counters["verdicts checked against the rights"] += 1

    # --- The account

    def settle_account(self, journals):
        events = [event for event in json.loads(self.console("events", "--json")) if event["device"]]
        stored = collections.defaultdict(list)
        for event in events:
            stored[event["device"], event["deviceSeq"]].append(event)
        for device, journal in journals.items():
            numbers = sorted(number for label, number in stored if label == device)
            if numbers != list(range(1, journal["next"])):
                gaps = sorted(set(range(1, journal["next"])) ^ set(numbers))
                self.findings.add(f"{device}: of {journal['next'] - 1} events these are not stored, or were never there: {gaps}")
            if journal["lost"]:
                self.findings.add(f"{device} has lost {journal['lost']} events")
        twice = [key for key, same in stored.items() if len(same) > 1]
        lost = [key for key in self.answered if key not in stored]
        other = [key for key, deed in self.answered.items() if key in stored and not self.fits(deed, stored[key][0])]
        for keys, what in ((twice, "stored twice"), (lost, "answered, but not stored"), (other, "stored, but not as answered")):
            if keys:
                self.findings.add(f"{len(keys)} events are {what}, such as {keys[0]}: {self.answered.get(keys[0])}, "
                                  f"{stored.get(keys[0])}")
        # What was not answered may have been noted before the power went.
        silent = list(self.unanswered)
        noted = 0
        for key, same in stored.items():
            event = same[0]
            if key in self.answered or event["kind"] in ("start", "clock"):
                continue
            deed = next((deed for deed in silent if self.fits(deed, event)), None)
            if deed is None:
                self.findings.add(f"an event of nothing that happened: {event}")
            else:
                silent.remove(deed)
                noted += 1
        deeds = [event for event in events if event["kind"] not in ("start", "clock")]
        asked = len(self.answered) + len(self.unanswered)
        if len(deeds) != len(self.answered) + noted:
            self.findings.add("the account is not even")
        return (f"{asked} cards, codes, buttons and forced doors = {len(self.answered)} answered + "
                f"{len(self.unanswered)} cut short by a lock's end\n"
                f"{len(deeds)} events of them stored = {len(self.answered) - len(lost)} answered + {noted} cut short; "
                f"{len(lost)} lost, {len(twice)} doubled; {len(events) - len(deeds)} of starts and clocks")

    def fits(self, deed, event):
        if event["device"] != deed.device or event["kind"] not in deed.kind or deed.reason not in (None, event["reason"]):
            return False
        if deed.what != "present":
            return event["uid"] == ""
        return event["uid"] in ("", deed.uid) and (event["credential"] == deed.uid or not deed.user and not event["medium"])

    # --- All of it

    def run(self, minutes):
        end = time.monotonic() + minutes * 60
        self.install()
        self.start_server()
        print(f"{PROCESSES * LOCKS} locks in {PROCESSES} processes, {USERS} users, seed {self.seed}\n"
              "round  rights changed  server killed  locks killed  answered  cut short", flush=True)
        number = 0
        journals = {}
        try:
            for locks in self.locks:
                locks.start()
            while not self.findings and (number == 0 or time.monotonic() < end):
                number += 1
                self.busy.set()
                people = [threading.Thread(target=locks.stand_there) for locks in self.locks]
                for locks in self.locks:
                    locks.tell("faults on")
                for person in people:
                    person.start()
                self.misbehave(time.monotonic() + max(5, min(ROUND_SECONDS, end - time.monotonic())))
                self.busy.clear()
                for person in people:
                    person.join()
                self.make_peace()
                self.check_verdicts()
                journals = self.make_peace()
                print(f"{number:5}  {self.counters['rights changed']:14}  {self.counters['server killed']:13}  "
                      f"{self.counters['locks without power']:12}  {len(self.answered):8}  {len(self.unanswered):9}",
                      flush=True)
        except (OSError, ValueError) as error:
            self.findings.add(f"a program does not answer: {error!r}")
        finally:
            self.busy.clear()
            for locks in self.locks:
                if locks.process:
                    locks.kill()
            self.server.send_signal(signal.SIGTERM)
            try:
                if self.server.wait(30) != 0:
                    self.findings.add(f"the server ended with {self.server.returncode}")
            except subprocess.TimeoutExpired:
                self.findings.add("the server does not end when asked to")
                self.kill_server()
        account = self.settle_account(journals)
        self.console("audit", "verify")
        print(f"\n{account}")
        for name, count in sorted(self.counters.items()):
            print(f"{count:7} {name}")
