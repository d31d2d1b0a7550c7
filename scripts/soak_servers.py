"""Several servers, a broker and PostgreSQL, which come and go while cards are held to doors and rights change. In rounds: in
each of them some part is killed or stopped for a while; then the installation has to become whole again by itself, and a
sample of cards has to get the verdict that the model gives them. At the end the account of scale_run.py has to be even.
One server lives through all of it: its memory has to be flat.
"""

import json
import signal
import subprocess
import threading
import time

from scale_run import SERVERS, Scale
from soak_common import BIN, lines_of

LOCKS = 60
SURVIVOR = SERVERS[0]
MOST_GROWTH = 0.25             # of the survivor's memory, from a quarter of the time on
GROWTH_ALLOWED = 8 << 10       # kB, of a short run
VERDICTS = 30                  # that are looked at in a round


class Options:
    devices = LOCKS
    database = "postgresql"


class ServerSoak(Scale):
    def __init__(self, seed, sockets):
        super().__init__(sockets, Options)
        self.random.seed(seed)
        self.rights = {}  # those that were changed since the begin: None where it is not known whether it was done
        self.memory = []

    # --- What goes on all the time

    def change(self):
        while self.busy.is_set():
            user, door = self.random.randrange(self.users()), self.random.choice(self.labels)
            verb = self.random.choice(("grant", "revoke"))
            done = self.console(verb, f"User {user}", door).returncode == 0
            # A change whose answer was lost with the database may have been made.
            self.rights[user, door] = verb == "grant" if done else None
            self.changes["made" if done else "refused"] += 1
            time.sleep(0.1)

    def users(self):
        return self.count // 20

    # --- How it stands

    def parts(self):
        return [server for name, server in self.servers.items() if name != SURVIVOR] + [*self.simulators, self.broker,
                                                                                       self.database]

    def halt(self, part, seconds):
        """It neither lives nor dies."""
        programs = [part.process.pid]
        if part is self.database:
            programs += map(int, subprocess.run(["pgrep", "-P", str(part.process.pid)], capture_output=True, text=True,
                                                check=False).stdout.split())
        for number in (signal.SIGSTOP, signal.SIGCONT):
            subprocess.run(["kill", f"-{int(number)}", *map(str, programs)], stderr=subprocess.DEVNULL, check=False)
            if number == signal.SIGSTOP:
                time.sleep(seconds)

    def check_verdicts(self):
        """What the locks say, what the model says, and what was asked for have to be one."""
        pairs = self.random.sample(sorted(self.rights), min(VERDICTS, len(self.rights)))
        questions = "".join(f'access why "User {user}" {door} --json\n' for user, door in pairs)
        answers = [json.loads(line) for line in self.console(lines=questions).stdout.splitlines() if line.startswith("{")]
        if len(answers) != len(pairs):
            self.findings.add(f"{len(answers)} answers to {len(pairs)} questions")
        for (user, door), answer in zip(pairs, answers):
            place = self.labels.index(door) // (self.count // len(self.simulators))
            lines, _ = lines_of(f"{self.where}/simulator{place}", f"present {door} {self.uid(user)}")
            said = json.loads(lines[0])["allowed"]
            if said != answer["allowed"] or self.rights[user, door] not in (None, said):
                self.findings.add(f"User {user} at {door}: the lock says {said}, the model {answer['allowed']}, asked for was "
                                  f"{self.rights[user, door]}")
            self.changes["verdicts"] += 1

    def measure(self):
        with open(f"/proc/{self.servers[SURVIVOR].process.pid}/status", encoding="utf-8") as file:
            self.memory.append(next(int(line.split()[1]) for line in file if line.startswith("VmRSS")))

    def misfortune(self):
        part = self.random.choice(self.parts())
        name = getattr(part, "name", "broker")
        seconds = self.random.uniform(0, 8)
        if self.random.randrange(3):
            part.kill()
            time.sleep(seconds)
            part.start()
            if part is self.broker:
                self.account.subscribe()
            self.changes[f"{name} killed"] += 1
        else:
            self.halt(part, seconds)
            self.changes[f"{name} stopped for a while"] += 1
        return name

    # --- All of it

    def run(self, minutes):
        end = time.monotonic() + minutes * 60
        people = []
        self.begin()
        try:
            self.until_whole("the start")
            print("round  rights changed  cards  until whole  memory of a server", flush=True)
            number = 0
            while not self.findings and (number == 0 or time.monotonic() < end):
                number += 1
                self.busy.set()
                people = [threading.Thread(target=work) for work in (self.hold_cards, self.change)]
                for person in people:
                    person.start()
                time.sleep(self.random.uniform(1, 5))
                name = self.misfortune()
                time.sleep(self.random.uniform(0, 5))
                self.busy.clear()
                for person in people:
                    person.join()
                time.sleep(1)  # until the last event has been stored and taken up
                whole = self.until_whole(name)
                if self.findings:
                    break
                self.check_verdicts()
                self.measure()
                print(f"{number:5}  {self.changes['made']:14}  {self.cards['answered']:5}  {whole:9.1f} s  "
                      f"{self.memory[-1] >> 10:4} MB", flush=True)
            if not self.findings:
                self.settle()
                early, late = self.memory[len(self.memory) // 4], self.memory[-1]
                if late > early * (1 + MOST_GROWTH) + GROWTH_ALLOWED:
                    self.findings.add(f"the memory of a server grew from {early} kB to {late} kB")
        finally:
            self.busy.clear()
            self.end()
        for name, count in sorted(self.changes.items()):
            print(f"{count:7} {name}")
